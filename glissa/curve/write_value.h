// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the value of a key, written within a bracket.
#pragma once

#include "glissa/curve/curve.h"
#include "glissa/ext/active.h"

/// Writes the value of a key, checked, and posts 0x2010. Lives inside a bracket.
inline void WriteKeyValue(Glissa& pCurve, int pIndex, float pValue)
{
    // Written straight into the key: what KeySetValue does besides, the bracket does.
    pCurve.Keys()[pIndex].mValue = CheckedKeyValue(pValue);
    pCurve.CallbackAddEvent(kGlissaEventValue, pIndex);
}
