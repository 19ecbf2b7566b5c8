// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Two curves put together: keys of the first one, all of the second one, keys of the first one.
//
// Around the two seams the keys are called, in their order, A, S, T and B: A and B of the first
// curve, S and T the ends of the second one. Each seam cuts a segment of the first curve, and what
// is left of it keeps its slopes at both ends and, where it is weighted, gets the weights of the
// piece. Where a seam lies outside the keys of the first curve, the segment between its end key and
// the seam holds the value that the extrapolation held there.

#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/curve/weight_split.h"
#include "glissa/utils/held_end.h"
#include "glissa/utils/held_sides.h"
#include "glissa/utils/scratch_curve.h"
#include "glissa/utils/utils.h"

#include <cmath>
#include <optional>

namespace
{
bool IsCubic(const Glissa& pCurve, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    return pCurve.KeyGetInterpolation(pIndex) == eInterpolationCubic;
}

bool IsTCB(const Glissa& pCurve, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    return IsCubic(pCurve, pIndex) && pCurve.KeyGetTangeantMode(pIndex, false) == eTangentTCB;
}

/// A segment of the first curve at a time inside it or on its first key.
class Cut
{
public:
    Cut(Glissa& pCurve, KTime pTime)
        : mLeft(pCurve.EvaluateLeftDerivative(pTime, nullptr)),
          mRight(pCurve.EvaluateRightDerivative(pTime, nullptr))
    {
        const double place = pCurve.KeyFind(pTime, nullptr);
        const int index = static_cast<int>(std::floor(place));
        if (place != index && index >= 0 && index + 1 < pCurve.KeyGetCount()) {
            mWeights = SplitSegmentBehind(pCurve, index, pTime);
        }
    }

    float Left() const { return mLeft; }
    float Right() const { return mRight; }
    /// Of the pieces, where the time cuts a weighted segment.
    const std::optional<SplitWeights>& Weights() const { return mWeights; }

private:
    float mLeft;
    float mRight;
    std::optional<SplitWeights> mWeights;
};

// Holds the slopes that a key of the first curve had, on the sides that it had. They differ where
// they are automatic and the neighbour is another one.
void HoldKey(Glissa& pResult, int pIndex, Glissa& pFirst, int pOld)
{
    if (pOld > 0) {
        HoldLeftSlope(pResult, pIndex, pFirst.KeyGetLeftDerivative(pOld));
    }
    if (pOld + 1 < pFirst.KeyGetCount()) {
        HoldRightSlope(pResult, pIndex, pFirst.KeyGetRightDerivative(pOld));
    }
}

// From A to S, the piece in front of the cut.
void JoinFront(Glissa& pResult, int pS, Glissa& pFirst, const Cut& pCut)
{
    const int a = pS - 1;
    HoldKey(pResult, a, pFirst, a);
    if (pS == pFirst.KeyGetCount()) {
        if (HoldsEnd(pFirst, true)) {
            HoldEndUpTo(pResult, pS, true, pFirst.KeyGetLeftDerivative(a));
        }
        return;
    }
    if (!IsCubic(pResult, a) || IsTCB(pResult, a)) {
        return;
    }
    HoldLeftSlope(pResult, pS, pCut.Left());
    if (pCut.Weights()) {
        pResult.KeySetRightTangeantWeight(a, pCut.Weights()->firstRight);
        pResult.KeySetLeftTangeantWeight(pS, pCut.Weights()->left);
    }
}

// Gives T the attributes of the key that starts the segment, but for selection and visibility.
void TakeKind(Glissa& pResult, int pT, const GlissaKey& pModel)
{
    constexpr unsigned kShape =
        GlissaKeyAttributes::kInterpolationMask | GlissaKeyAttributes::kTangentModeMask |
        GlissaKeyAttributes::kWeightModeMask | GlissaKeyAttributes::kVelocityModeMask;
    KPriFCurveKeyAttr attributes = pModel.GetKeyAttr();
    const unsigned own = pResult.KeyGet(pT).GetAttributes().mFlags;
    unsigned shape = attributes.mFlags & kShape;
    if (pModel.GetInterpolation() == eInterpolationCubic) {
        // Refinements of an automatic tangent would decide its slope.
        shape &= ~(GlissaKeyAttributes::kTangentModeMask & ~GlissaKeyAttributes::kTangentKindMask);
        shape |= pModel.GetTangeantMode(false) == eTangentUser ? eTangentBreak : 0u;
    }
    attributes.mFlags = (own & ~kShape) | shape;
    pResult.KeyAttrSet(pT, attributes);
}

// From T to B, the piece behind the cut. pOld is the key of the first curve that starts it.
void JoinBehind(Glissa& pResult, int pT, Glissa& pFirst, int pOld, const Cut& pCut)
{
    const int b = pT + 1;
    const bool isCut = pOld >= 0;
    if (isCut) {
        const float arriving = pResult.KeyGetLeftDerivative(pT);
        TakeKind(pResult, pT, pFirst.KeyGet(pOld));
        HoldLeftSlope(pResult, pT, arriving);
        HoldRightSlope(pResult, pT, pCut.Right());
        if (IsCubic(pResult, pT) && !IsTCB(pResult, pT) && pCut.Weights()) {
            pResult.KeySetRightTangeantWeight(pT, pCut.Weights()->right);
            pResult.KeySetLeftTangeantWeight(b, pCut.Weights()->lastLeft);
        }
    }
    HoldKey(pResult, b, pFirst, pOld + 1);
    if (!isCut && HoldsEnd(pFirst, false)) {
        HoldEndUpTo(pResult, pT, false, pFirst.KeyGetRightDerivative(0));
    }
}
}  // namespace

void GlissaUtils::Merge(Glissa& pFirst, Glissa& pSecond, Glissa& pResult)
{
    const int firstCount = pFirst.KeyGetCount();
    const int secondCount = pSecond.KeyGetCount();
    if (firstCount == 0 || secondCount == 0) {
        if (firstCount + secondCount > 0) {
            pResult.CopyFrom(firstCount > 0 ? pFirst : pSecond, true);
        }
        return;
    }
    const KTime start = pSecond.KeyGetTime(0);
    const KTime stop = pSecond.KeyGetTime(secondCount - 1);
    if (start <= pFirst.KeyGetTime(0) && stop >= pFirst.KeyGetTime(firstCount - 1)) {
        pResult.CopyFrom(pSecond, true);
        return;
    }

    const CurveToRead readingFirst(pFirst, pResult);
    const CurveToRead readingSecond(pSecond, pResult);
    Glissa& first = readingFirst.Get();
    Glissa& second = readingSecond.Get();
    const int s = static_cast<int>(std::ceil(first.KeyFind(start, nullptr)));
    const int cutKey = static_cast<int>(std::floor(first.KeyFind(stop, nullptr)));
    const Cut front(first, start);
    const Cut behind(first, stop);

    const KeyModifyBracket bracket(pResult);
    pResult.KeyClear();
    pResult.ResizeKeyBuffer(firstCount + secondCount + s - 1 - cutKey, false);
    for (int i = 0; i < s; ++i) {
        pResult.KeySet(i, &first, i);
    }
    for (int i = 0; i < secondCount; ++i) {
        pResult.KeySet(s + i, &second, i);
    }
    const int t = s + secondCount - 1;
    for (int i = cutKey + 1; i < firstCount; ++i) {
        pResult.KeySet(t + i - cutKey, &first, i);
    }
    if (s > 0) {
        JoinFront(pResult, s, first, front);
    }
    if (cutKey + 1 < firstCount) {
        JoinBehind(pResult, t, first, cutKey, behind);
    }
}
