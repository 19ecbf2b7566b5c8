// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The marked keys around a retime marker follow it.

#include "glissa/manip/workspace.h"

namespace
{
// The slopes of two neighbouring keys, for the width that the segment between them gets. A segment
// that ends without a width keeps its slopes.
void FollowWidth(GlissaKeyEdit2& pLeft, GlissaKeyEdit2& pRight, KTime pOldWidth)
{
    for (GlissaKeyEdit2* const key : {&pLeft, &pRight}) {
        // The slopes of a TCB key cannot be separated.
        if (!key->IsTcb()) {
            key->mTangentMode |= eTangentBreak;
        }
    }
    const KTime width = pRight.mTime - pLeft.mTime;
    if (pOldWidth <= KTime() || width <= KTime()) {
        return;
    }
    const double factor = pOldWidth.GetSecondDouble() / width.GetSecondDouble();
    for (GlissaTangeantInfo* const side : {&pLeft.mRightTangent, &pRight.mLeftTangent}) {
        side->mDerivative = static_cast<float>(side->mDerivative * factor);
    }
}
}  // namespace

KTime GlissaManipulator::RetimeAlgorithmLeftRegion(KTime pLeft, KTime pCenter, KTime pOffset,
                                                   KTime pTime)
{
    if (pLeft == pCenter) {
        return KTime();
    }
    const double left = pLeft.GetSecondDouble();
    const double center = pCenter.GetSecondDouble();
    const double scale = (center + pOffset.GetSecondDouble() - left) / (center - left);
    return KTime::FromSeconds((pTime.GetSecondDouble() - left) * (scale - 1.0));
}

KTime GlissaManipulator::RetimeAlgorithmRightRegion(KTime pCenter, KTime pRight, KTime pOffset,
                                                    KTime pTime)
{
    if (pCenter == pRight) {
        return KTime();
    }
    const double center = pCenter.GetSecondDouble();
    const double right = pRight.GetSecondDouble();
    const double scale = (right - center - pOffset.GetSecondDouble()) / (right - center);
    return KTime::FromSeconds((right - pTime.GetSecondDouble()) * (1.0 - scale));
}

KTime GlissaManipulator::GetRetimeOffset(KTime pLeft, KTime pCenter, KTime pRight, KTime pOffset,
                                         KTime pTime)
{
    if (pTime == pCenter) {
        return pOffset;
    }
    if (pTime == pLeft || pTime == pRight) {
        return KTime();
    }
    if (pTime < pCenter) {
        return pLeft == KTime::MinusInfinite()
                   ? pOffset
                   : RetimeAlgorithmLeftRegion(pLeft, pCenter, pOffset, pTime);
    }
    return pRight == KTime::Infinite()
               ? pOffset
               : RetimeAlgorithmRightRegion(pCenter, pRight, pOffset, pTime);
}

void GlissaManipulator::OffsetXForRetiming(KTime pLeft, KTime pCenter, KTime pRight, KTime pOffset)
{
    const KOperation operation;
    EditRecords([&](GlissaNode&, Glissa& pCurve, Part& pPart) {
        if (pPart.mMarkedEdit.IsEmpty()) {
            return;
        }
        GlissaEdit2& marked = mWork->mScratchMarked;
        GlissaEdit2& result = mWork->mScratchResult;
        GlissaEdit2& after = mWork->mScratchAfter;
        marked.Assign(pPart.mMarkedEdit);
        result.Assign(pPart.mBeforeEdit);
        after.Assign(pPart.mAfterEdit);
        const int count = marked.GetCount();
        for (int i = 0; i < count; ++i) {
            const KTime time = marked[i].mTime;
            if (time >= pLeft && time <= pRight) {
                const KTime offset = GetRetimeOffset(pLeft, pCenter, pRight, pOffset, time);
                marked[i].mTime = PossibleKeyTime(time + offset);
            }
        }
        // The pairs of neighbours: with the last key before, and with the first one after.
        const auto adjust = [&](GlissaKeyEdit2& pKey, KTime pOld, GlissaKeyEdit2& pNext,
                                KTime pOldNext) {
            if (pKey.IsUser() || pNext.IsUser()) {
                FollowWidth(pKey, pNext, pOldNext - pOld);
            }
        };
        const auto old = [&](int i) { return pPart.mMarkedEdit[i].mTime; };
        if (!result.IsEmpty()) {
            adjust(result.Last(), result.Last().mTime, marked.First(), old(0));
        }
        for (int i = 1; i < count; ++i) {
            adjust(marked[i - 1], old(i - 1), marked[i], old(i));
        }
        if (!after.IsEmpty()) {
            adjust(marked.Last(), old(count - 1), after.First(), after.First().mTime);
        }
        result.Merge(marked);
        result.Merge(pPart.mBetweenEdit);
        result.Merge(after);
        ApplyToNode(result, pCurve, pPart);
    });
}
