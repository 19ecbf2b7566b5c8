// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/curve/curve.h"

/// KeyModifyBegin and KeyModifyEnd of a curve, for as long as the bracket lives.
class KeyModifyBracket
{
public:
    explicit KeyModifyBracket(Glissa& pCurve) : mCurve(pCurve) { mCurve.KeyModifyBegin(); }
    ~KeyModifyBracket() { mCurve.KeyModifyEnd(); }
    KeyModifyBracket(const KeyModifyBracket&) = delete;
    KeyModifyBracket& operator=(const KeyModifyBracket&) = delete;

private:
    Glissa& mCurve;
};
