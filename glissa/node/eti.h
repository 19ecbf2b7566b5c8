// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/math/vector.h"
#include "corvekit/object/iobject.h"
#include "corvekit/time.h"

/// Places the animation of a node on the timeline of the host, as a clip on a track: where it
/// starts, how long it lasts, how fast it runs. Implemented by the host and shared with it by a
/// reference count of its own. Asked during evaluation too.
class IGlissaETI : public IObject
{
public:
    /// A node starts to hold it, and stops holding it.
    virtual void AddReference() = 0;
    virtual void ReleaseReference() = 0;
    /// False: nodes that hold it act as if they did not.
    virtual bool IsValid() = 0;
    /// Kept free, here and below, for what hosts ask of each other; the library calls none of them.
    virtual void Reserved1() {}
    /// Start of the active span.
    virtual KTime GetActiveStart() = 0;
    /// Offset on the timeline of the element above.
    virtual KTime GetGlobalOffset() = 0;
    /// Length of the active span.
    virtual KTime GetDuration() = 0;
    /// What is trimmed off at the start.
    virtual KTime GetTrimOffset() = 0;
    virtual void Reserved2() {}
    virtual void Reserved3() {}
    /// Speed; 1 is unchanged.
    virtual double GetScaleFactor() = 0;
    virtual bool IsSelectedDuration() = 0;
    /// Display colour.
    virtual KgeRGBVector GetColor() = 0;

protected:
    ~IGlissaETI() = default;
};
