// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/utils/held_sides.h"

#include "glissa/curve/curve.h"

#include <cmath>

void HoldSides(Glissa& pCurve, int pIndex, float pLeft, float pRight)
{
    const auto isCubic = [&pCurve](int pKey) {
        return pCurve.KeyGetInterpolation(pKey) == eInterpolationCubic;
    };
    const bool hasLeft = pIndex > 0 && isCubic(pIndex - 1);
    const bool hasRight = pIndex + 1 < pCurve.KeyGetCount() && isCubic(pIndex);
    const unsigned kind = pCurve.KeyGetTangeantMode(pIndex, false);
    if (isCubic(pIndex) && kind == eTangentTCB) {
        return;
    }
    const auto set = [&] {
        // Right after left: the left slope of a user tangent takes the right one along.
        if (hasLeft && pCurve.KeyGetLeftDerivative(pIndex) != pLeft) {
            pCurve.KeySetLeftDerivative(pIndex, pLeft);
        }
        if (hasRight && pCurve.KeyGetRightDerivative(pIndex) != pRight) {
            pCurve.KeySetRightDerivative(pIndex, pRight);
        }
    };
    const auto isNear = [](float pGot, float pWanted) {
        return std::fabs(pGot - pWanted) <= 1e-5f * std::fabs(pWanted);
    };
    set();
    if (isCubic(pIndex) && kind != pCurve.KeyGetTangeantMode(pIndex, true) &&
        !((!hasLeft || isNear(pCurve.KeyGetLeftDerivative(pIndex), pLeft)) &&
          (!hasRight || isNear(pCurve.KeyGetRightDerivative(pIndex), pRight)))) {
        pCurve.KeySetTangeantMode(pIndex, kind);
        set();
    }
}

void HoldLeftSlope(Glissa& pCurve, int pIndex, float pSlope)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    HoldSides(pCurve, pIndex, pSlope, pCurve.KeyGetRightDerivative(pIndex));
}

void HoldRightSlope(Glissa& pCurve, int pIndex, float pSlope)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    HoldSides(pCurve, pIndex, pCurve.KeyGetLeftDerivative(pIndex), pSlope);
}

void MakeConstant(Glissa& pCurve, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    const float left = pCurve.KeyGetLeftDerivative(pIndex);
    pCurve.KeySetInterpolation(pIndex, eInterpolationConstant);
    pCurve.KeySetConstantMode(pIndex, eConstantStandard);
    HoldLeftSlope(pCurve, pIndex, left);
}
