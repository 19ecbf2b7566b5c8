// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Moves in time, which put the curve together of its parts, and in value, which begin from the
// base.

#include "glissa/manip/numbers.h"
#include "glissa/manip/workspace.h"

#include <cmath>

namespace
{
// A span of global time as one of the node. A scale of 0 leaves nothing of it.
KTime SpanInNode(KTime pSpan, double pScale)
{
    return pScale == 1.0   ? pSpan
           : pScale == 0.0 ? KTime()
                           : KTime::FromSeconds(pSpan.GetSecondDouble() / pScale);
}

bool HasMarkedKey(const Glissa& pCurve)
{
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        if (pCurve.KeyGetMarkedForManipulation(i)) {
            return true;
        }
    }
    return false;
}
}  // namespace

void GlissaManipulator::Restore(Glissa& pCurve, Part& pPart)
{
    CurveWriter::Copy(pCurve, pPart.Base());
}

bool GlissaManipulator::RipplesValues(const Glissa& pCurve, bool pRipple) const
{
    return pRipple && !HasMarkedKey(pCurve);
}

bool GlissaManipulator::IsInRippleTime(const Glissa& pCurve, int pIndex, const Part& pPart) const
{
    if (mRippleAllY) {
        return true;
    }
    const KTime time = pPart.mTimeline.ToGlobal(pCurve.KeyGetTime(pIndex));
    return mOriginal.mStart <= time && time <= mOriginal.mStop;
}

// The first node of which an end comes near the value of the key next to it decides for all.
double GlissaManipulator::AdjustYOffsetToSnapOnNeighbor(double pY) const
{
    if (!mWork || !(std::fabs(pY) > mSnapThreshold)) {
        return pY;
    }
    for (int i = 0; i < static_cast<int>(mWork->mParts.size()); ++i) {
        const Part* const part = mWork->mParts[static_cast<std::size_t>(i)].get();
        // A curve that is gone does not decide.
        if (!part || part->mMarked.IsEmpty() || RelatedCurve(i) != part->mCurve) {
            continue;
        }
        const auto snap = [&](int pMarked, int pNeighbour, double& pSnapped) {
            const Glissa& curve = *part->mOriginal;
            if (pNeighbour < 0 || pNeighbour >= curve.KeyGetCount()) {
                return false;
            }
            const float marked = curve.KeyGetValue(pMarked);
            const float neighbour = curve.KeyGetValue(pNeighbour);
            pSnapped = static_cast<double>(neighbour - marked);
            return std::fabs(marked + pY - neighbour) <= mSnapThreshold;
        };
        double snapped = 0.0;
        if (snap(part->mMarked.first, part->mMarked.first - 1, snapped) ||
            snap(part->mMarked.last, part->mMarked.last + 1, snapped)) {
            return snapped;
        }
    }
    return pY;
}

void GlissaManipulator::Offset(KTime pX, double pY, double pFallOff)
{
    const KOperation operation;
    const bool movesTime = pX != KTime();
    const double y = AdjustYOffsetToSnapOnNeighbor(NumberOrZero(pY));
    EditCurves([&](GlissaNode& pNode, Glissa& pCurve, Part& pPart) {
        if (!movesTime || pPart.mMarked.IsEmpty()) {
            Restore(pCurve, pPart);
        } else if (HasEdge()) {
            const KTime shift = SpanInNode(pX, pNode.ETIGetScaleFactor());
            const KTime ripple = HasRippleEdge() && mRippleMoveX ? shift : KTime();
            // In a ripple mode the keys are removed before the span of the event is computed.
            const int last = HasRippleEdge() ? -1 : pCurve.KeyGetCount() - 1;
            pCurve.AddDetailedEvent(eEventEditTime, 0, last);
            mWork->mWriter.RecomposeFCurve(
                pCurve, *pPart.mOriginal, pPart.mMarked,
                {shift, std::min(ripple, KTime()), std::max(ripple, KTime())},
                mWork->mKeepOriginals);
            pCurve.SetCallbackForCustomKeyAddEnabled(true);
        }
        if (y != 0.0) {
            const bool ripples = RipplesValues(pCurve, HasRippleEdge() && mRippleMoveY);
            for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
                const double value = pCurve.KeyGetValue(i);
                const bool follows =
                    ripples && IsInRippleTime(pCurve, i, pPart) &&
                    (y > 0.0 ? value >= mOriginal.mMaxValue : value <= mOriginal.mMinValue);
                if (follows || pCurve.KeyGetMarkedForManipulation(i)) {
                    pCurve.KeySetValue(i, static_cast<float>(value + y));
                    pCurve.AddDetailedEvent(eEventEditValue, i, i);
                }
            }
        }
        if (!movesTime) {
            FallOff(&pCurve, y, pFallOff, nullptr);
        }
    });
    if (HasEdge()) {
        const KTime yTime = KTime::FromSeconds(y);
        SetLimit(&Range::mStart, mOriginal.mStart + pX);
        SetLimit(&Range::mStop, mOriginal.mStop + pX);
        SetLimit(&Range::mMinValue, mOriginal.mMinValue + y);
        SetLimit(&Range::mMaxValue, mOriginal.mMaxValue + y);
        SetLimit(&Range::mMinValueTime, mOriginal.mMinValueTime + yTime);
        SetLimit(&Range::mMaxValueTime, mOriginal.mMaxValueTime + yTime);
    }
}

void GlissaManipulator::Offset(KTime pX, KTime pY, double pFallOff)
{
    const KOperation operation;
    Offset(pX, pY.GetSecondDouble(), pFallOff);
    if (HasEdge()) {
        SetLimit(&Range::mMinValueTime, mOriginal.mMinValueTime + pY);
        SetLimit(&Range::mMaxValueTime, mOriginal.mMaxValueTime + pY);
    }
}

void GlissaManipulator::SetY(double pValue)
{
    if (mMode == eManipNone || std::isnan(pValue)) {
        return;
    }
    const KOperation operation;
    EditCurves([&](GlissaNode&, Glissa& pCurve, Part&) {
        for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
            if (pCurve.KeyGetMarkedForManipulation(i)) {
                pCurve.KeySetValue(i, static_cast<float>(pValue));
            }
        }
    });
    SetLimit(&Range::mMinValue, pValue);
    SetLimit(&Range::mMaxValue, pValue);
    SetLimit(&Range::mMinValueTime, KTime::FromSeconds(pValue));
    SetLimit(&Range::mMaxValueTime, KTime::FromSeconds(pValue));
}
