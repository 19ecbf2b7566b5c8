// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the left side of a key whose neighbour before it is another one.
#pragma once

#include "glissa/curve/curve.h"

/// Gives a key the left side that it had: its automatic parameter or its slope, and its weight.
/// They are stored in the key before. The right slope stays.
inline void PutBackLeftSide(Glissa& pCurve, int pIndex, const GlissaTangeantInfo& pLeft)
{
    const float right = pCurve.KeyGetRightDerivative(pIndex);
    pCurve.KeySetLeftDerivativeInfo(pIndex, pLeft, false);
    if (pCurve.KeyGetRightDerivative(pIndex) != right) {
        pCurve.KeySetRightDerivative(pIndex, right);
    }
}
