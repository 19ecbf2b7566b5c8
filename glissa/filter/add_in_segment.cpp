// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/add_in_segment.h"

#include "glissa/curve/weight_split.h"
#include "glissa/utils/held_sides.h"

namespace
{
struct Sides
{
    Sides(Glissa& pCurve, int pIndex)
        : left(pCurve.KeyGetLeftDerivative(pIndex)), right(pCurve.KeyGetRightDerivative(pIndex))
    {}
    float left;
    float right;
};
}  // namespace

int AddInSegment(Glissa& pCurve, int pIndex, const GlissaKey& pKey)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex + 1 < pCurve.KeyGetCount());
    const KTime time = pKey.GetTime();
    const Sides before(pCurve, pIndex);
    const Sides behind(pCurve, pIndex + 1);
    const float slope = pCurve.EvaluateLeftDerivative(time, nullptr);
    const auto weights = SplitSegmentBehind(pCurve, pIndex, time);
    int hint = pIndex;
    const int index = pCurve.KeyAdd(time, pKey, &hint);
    HoldLeftSlope(pCurve, index, slope);
    HoldSides(pCurve, index - 1, before.left, before.right);
    HoldSides(pCurve, index + 1, behind.left, behind.right);
    if (weights) {
        pCurve.KeySetRightTangeantWeight(index - 1, weights->firstRight);
        pCurve.KeySetLeftTangeantWeight(index, weights->left);
        pCurve.KeySetRightTangeantWeight(index, weights->right);
        pCurve.KeySetLeftTangeantWeight(index + 1, weights->lastLeft);
    }
    return index;
}
