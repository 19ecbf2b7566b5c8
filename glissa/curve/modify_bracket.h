// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"

/// An operation on a curve, with KeyModifyBegin and KeyModifyEnd around it, for as long as the
/// bracket lives. Listeners are called when the outermost one ends, see KOperation.
class KeyModifyBracket
{
public:
    explicit KeyModifyBracket(Glissa& pCurve) : mOperation(pCurve.IsObserved()), mCurve(pCurve)
    {
        mCurve.KeyModifyBegin();
    }
    ~KeyModifyBracket() { mCurve.KeyModifyEnd(); }
    KeyModifyBracket(const KeyModifyBracket&) = delete;
    KeyModifyBracket& operator=(const KeyModifyBracket&) = delete;

private:
    KOperation mOperation;  // ends last
    Glissa& mCurve;
};
