// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Stretches of values, and the slopes that follow them.

#include "glissa/curve/key_kind.h"
#include "glissa/manip/numbers.h"
#include "glissa/manip/workspace.h"

#include <utility>

void GlissaManipulator::OrderValues()
{
    constexpr Range kEmpty;
    if (mSelection.mMinValue != kEmpty.mMinValue && mSelection.mMaxValue != kEmpty.mMaxValue &&
        mSelection.mMinValue > mSelection.mMaxValue) {
        std::swap(mSelection.mMinValue, mSelection.mMaxValue);
    }
    if (mSelection.mMinValueTime != kEmpty.mMinValueTime &&
        mSelection.mMaxValueTime != kEmpty.mMaxValueTime &&
        mSelection.mMinValueTime > mSelection.mMaxValueTime) {
        std::swap(mSelection.mMinValueTime, mSelection.mMaxValueTime);
    }
}

void GlissaManipulator::StretchValues(double pPivot, double pScale)
{
    SetLimit(&Range::mMinValue, StretchedValue(mOriginal.mMinValue, pPivot, pScale));
    SetLimit(&Range::mMaxValue, StretchedValue(mOriginal.mMaxValue, pPivot, pScale));
    SetLimit(&Range::mMinValueTime, StretchedValueTime(mOriginal.mMinValueTime, pPivot, pScale));
    SetLimit(&Range::mMaxValueTime, StretchedValueTime(mOriginal.mMaxValueTime, pPivot, pScale));
    OrderValues();
}

void GlissaManipulator::StretchY(double pPivot, double pEdge, double pDelta, bool pAllowNegative,
                                 double pFallOff)
{
    if (!HasEdge()) {
        return;
    }
    const KOperation operation;
    const double pivot = NumberOrZero(pPivot);
    const double edge = NumberOrZero(pEdge);
    const double delta = NumberOrZero(pDelta);
    const double factor = ValueScale(pivot, edge, delta);
    const double scale =
        pAllowNegative ? AwayFromZero(factor, kLeastStretch) : std::max(factor, kLeastStretch);
    // The keys that follow do not move beyond the pivot.
    const double toPivot = pivot - edge;
    const double ripple = edge > pivot ? std::max(delta, toPivot) : std::min(delta, toPivot);
    EditCurves([&](GlissaNode&, Glissa& pCurve, Part& pPart) {
        Restore(pCurve, pPart);
        if (scale == 1.0) {
            return;
        }
        const bool ripples = RipplesValues(pCurve, HasRippleEdge() && mRippleStretchY);
        for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
            const double value = pCurve.KeyGetValue(i);
            const bool isMarked = pCurve.KeyGetMarkedForManipulation(i);
            if (isMarked) {
                pCurve.KeySetValue(i, static_cast<float>(StretchedValue(value, pivot, scale)));
            } else if (ripples && IsInRippleTime(pCurve, i, pPart) &&
                       (mMode == eManipRippleRightEdge ? value >= mOriginal.mMaxValue
                                                       : value <= mOriginal.mMinValue)) {
                pCurve.KeySetValue(i, static_cast<float>(value + ripple));
            }
            if (isMarked || HasRippleEdge()) {
                StrecthTangentY(&pCurve, i, scale);
            }
        }
        FallOff(&pCurve, 0.0, pFallOff, pPart.mOriginal.get());
    });
    StretchValues(pivot, scale);
}

void GlissaManipulator::StretchY(KTime pPivot, KTime pEdge, KTime pDelta)
{
    const KOperation operation;
    const double pivot = pPivot.GetSecondDouble();
    const double edge = pEdge.GetSecondDouble();
    const double delta = pDelta.GetSecondDouble();
    StretchY(pivot, edge, delta, false, 0.0);
    if (!HasEdge()) {
        return;
    }
    const double scale = std::max(ValueScale(pivot, edge, delta), kLeastStretch);
    SetLimit(&Range::mMinValueTime, StretchedTime(mOriginal.mMinValueTime, pPivot, scale));
    SetLimit(&Range::mMaxValueTime, StretchedTime(mOriginal.mMaxValueTime, pPivot, scale));
    OrderValues();
}

void GlissaManipulator::StrecthTangentY(GlissaKeyEdit2* pKey, double pScale)
{
    if (pKey && pKey->IsUser()) {
        for (GlissaTangeantInfo* side : {&pKey->mLeftTangent, &pKey->mRightTangent}) {
            side->mDerivative = static_cast<float>(side->mDerivative * pScale);
        }
    }
}

void GlissaManipulator::StrecthTangentY(Glissa* pCurve, int pIndex, double pScale)
{
    if (!pCurve || !IsCubic(*pCurve, pIndex) ||
        (pCurve->KeyGetTangeantMode(pIndex, false) & eTangentUser) == 0) {
        return;
    }
    const auto setLeft = [&] {
        const double slope = pCurve->KeyGetLeftDerivative(pIndex) * pScale;
        pCurve->KeySetLeftDerivative(pIndex, static_cast<float>(slope));
    };
    const auto setRight = [&] {
        const double slope = pCurve->KeyGetRightDerivative(pIndex) * pScale;
        pCurve->KeySetRightDerivative(pIndex, static_cast<float>(slope));
    };
    // The right side of an unbroken tangent follows the left one, where the key before has a place
    // for that.
    if (pCurve->KeyGetBreak(pIndex)) {
        setLeft();
        setRight();
    } else if (pIndex > 0 && IsCubic(*pCurve, pIndex - 1) && !IsCubicTcb(*pCurve, pIndex - 1)) {
        setLeft();
    } else {
        setRight();
    }
}
