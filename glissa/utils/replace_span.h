// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the keys of a span replaced, and nothing else.
#pragma once

#include "glissa/curve/curve.h"

/// Glissa::Replace without an offset. The default value stays: where all keys are replaced, it
/// would become that of the first one.
inline void ReplaceSpan(Glissa& pCurve, Glissa& pSource, KTime pStart, KTime pStop, bool pExactSpan)
{
    const float defaultValue = pCurve.GetValue();
    pCurve.Replace(&pSource, pStart, pStop, pExactSpan, true, KTime());
    if (pCurve.GetValue() != defaultValue) {
        pCurve.SetValue(defaultValue);
    }
}
