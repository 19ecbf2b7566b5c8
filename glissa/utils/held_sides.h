// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: slopes of a key given back to it.
#pragma once

#include "glissa/curve/curve.h"

#include <cmath>

/// Gives a key its slopes, where it has others. On an automatic key the parameters find them, and a
/// refinement that would decide otherwise goes. A TCB key has no such parameters and stays.
inline void HoldSides(Glissa& pCurve, int pIndex, float pLeft, float pRight)
{
    const auto isNear = [](float pGot, float pWanted) {
        return std::fabs(pGot - pWanted) <= 1e-6f * std::fabs(pWanted) || pGot == pWanted;
    };
    const auto set = [&] {
        // Right after left: the left slope of a user tangent takes the right one along.
        if (pIndex > 0 && pCurve.KeyGetLeftDerivative(pIndex) != pLeft) {
            pCurve.KeySetLeftDerivative(pIndex, pLeft);
        }
        if (pCurve.KeyGetRightDerivative(pIndex) != pRight) {
            pCurve.KeySetRightDerivative(pIndex, pRight);
        }
    };
    const unsigned kind = pCurve.KeyGetTangeantMode(pIndex, false);
    const bool isCubic = pCurve.KeyGetInterpolation(pIndex) == eInterpolationCubic;
    if (isCubic && kind == eTangentTCB) {
        return;
    }
    set();
    if (isCubic && kind != pCurve.KeyGetTangeantMode(pIndex, true) &&
        !(isNear(pCurve.KeyGetLeftDerivative(pIndex), pLeft) &&
          isNear(pCurve.KeyGetRightDerivative(pIndex), pRight))) {
        pCurve.KeySetTangeantMode(pIndex, kind);
        set();
    }
}

/// The same for one side; the other one keeps the slope that it has.
inline void HoldLeftSlope(Glissa& pCurve, int pIndex, float pSlope)
{
    if (pIndex > 0 && pCurve.KeyGetLeftDerivative(pIndex) != pSlope) {
        HoldSides(pCurve, pIndex, pSlope, pCurve.KeyGetRightDerivative(pIndex));
    }
}

inline void HoldRightSlope(Glissa& pCurve, int pIndex, float pSlope)
{
    if (pCurve.KeyGetRightDerivative(pIndex) != pSlope) {
        HoldSides(pCurve, pIndex, pCurve.KeyGetLeftDerivative(pIndex), pSlope);
    }
}
