// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"

/// An operation on a curve, with KeyModifyBegin and KeyModifyEnd around it, for as long as the
/// bracket lives. Listeners are called when the outermost one ends, see KOperation.
class GLISSA_API KeyModifyBracket
{
public:
    explicit KeyModifyBracket(Glissa& pCurve);
    ~KeyModifyBracket();
    KeyModifyBracket(const KeyModifyBracket&) = delete;
    KeyModifyBracket& operator=(const KeyModifyBracket&) = delete;

private:
    KOperation mOperation;  // ends last
    Glissa& mCurve;
};
