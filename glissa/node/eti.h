// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/math/vector.h"
#include "corvekit/object/iobject.h"
#include "corvekit/time.h"

/// Places the animation of a node on the timeline of the host, as a clip on a track: where it
/// starts, how long it lasts, how fast it runs. Implemented by the host and counted by references.
/// It is called during evaluation too.
class IGlissaETI : public IObject
{
public:
    /// Called when a node begins and ends to refer to it.
    virtual void AddReference() = 0;
    virtual void ReleaseReference() = 0;
    /// While it returns false, nodes behave as without an ETI.
    virtual bool IsValid() = 0;
    /// Reserved for the host, here and below; the library calls none of them.
    virtual void Reserved1() {}
    /// Start of the active span.
    virtual KTime GetActiveStart() = 0;
    /// Offset on the timeline of the element above.
    virtual KTime GetGlobalOffset() = 0;
    /// Length of the active span.
    virtual KTime GetDuration() = 0;
    /// Time that is trimmed off at the start.
    virtual KTime GetTrimOffset() = 0;
    virtual void Reserved2() {}
    virtual void Reserved3() {}
    /// Speed; 1 is unchanged.
    virtual double GetScaleFactor() = 0;
    virtual bool IsSelectedDuration() = 0;
    /// Display colour, red, green and blue from 0 to 1.
    virtual KgeRGBVector GetColor() = 0;

protected:
    ~IGlissaETI() = default;
};
