// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Stretches that change the time of each key: the marked keys are copied, moved and merged with the
// other parts.

#include "glissa/manip/numbers.h"
#include "glissa/manip/workspace.h"

#include <utility>

namespace
{
KTime Framed(KTime pTime, bool pSnapToFrame)
{
    return pSnapToFrame ? PossibleKeyTime(pTime.GetFramedTime(true)) : pTime;
}

// An edge that misses its place by the rounding of a tick is put there. Nothing is rounded where
// nothing is stretched.
void RepairEdge(GlissaKeyEdit2& pKey, KTime pEdge, double pScale, bool pSnapToFrame)
{
    const KTime miss = pEdge - pKey.mTime;
    if (pScale != 1.0 && miss >= KTime(-1) && miss <= KTime(1)) {
        pKey.mTime = Framed(PossibleKeyTime(pEdge), pSnapToFrame);
    }
}
}  // namespace

void GlissaManipulator::ApplyToNode(const GlissaEdit2& pEdit, Glissa& pCurve, Part& pPart)
{
    mWork->mWriter.ApplyToNode(pCurve, pEdit, pPart.mAllEdit, *pPart.mOriginal, pPart.mTimeline);
}

// Without memory the base stays as it was.
void GlissaManipulator::SetBase(Glissa& pCurve, Part& pPart)
{
    if (pPart.mBase) {
        CurveWriter::Copy(*pPart.mBase, pCurve);
    } else {
        pPart.mBase.reset(pCurve.Copy());
    }
}

void GlissaManipulator::OrderTimes()
{
    constexpr Range kEmpty;
    if (mSelection.mStart != kEmpty.mStart && mSelection.mStop != kEmpty.mStop &&
        mSelection.mStop < mSelection.mStart) {
        std::swap(mSelection.mStart, mSelection.mStop);
    }
}

void GlissaManipulator::StretchX(KTime pPivot, KTime pEdge, KTime pDelta, bool pSnapToFrame)
{
    if (!HasEdge()) {
        return;
    }
    const KOperation operation;
    const double scale = TimeScale(pPivot, pEdge, pDelta);
    const KTime edge = pEdge + pDelta;
    EditRecords([&](GlissaNode&, Glissa& pCurve, Part& pPart) {
        if (pPart.mMarkedEdit.IsEmpty()) {
            ApplyToNode(pPart.mAllEdit, pCurve, pPart);
            return;
        }
        GlissaEdit2& marked = mWork->mScratchMarked;
        GlissaEdit2& result = mWork->mScratchResult;
        marked.Assign(pPart.mMarkedEdit);
        for (int i = 0; i < marked.GetCount(); ++i) {
            const KTime time = StretchedTime(marked[i].mTime, pPivot, scale);
            marked[i].mTime = PossibleKeyTime(Framed(time, pSnapToFrame));
            StrecthTangentX(&marked[i], scale);
        }
        RepairEdge(MovesLeftEdge() ? marked.First() : marked.Last(), edge, scale, false);
        if (scale < 0.0) {
            marked.Reverse();
        }
        const auto merge = [&](const GlissaEdit2& pKeys, KTime pShift) {
            if (!pKeys.IsEmpty()) {
                result.MergeAt(pKeys, pKeys.First().mTime + pShift);
            }
        };
        result.Clear();
        merge(pPart.mBeforeEdit, mMode == eManipRippleLeftEdge ? pDelta : KTime());
        merge(marked, KTime());
        merge(pPart.mBetweenEdit, KTime());
        merge(pPart.mAfterEdit, mMode == eManipRippleRightEdge ? pDelta : KTime());
        ApplyToNode(result, pCurve, pPart);
    });
    SetLimit(&Range::mStart,
             MovesLeftEdge() ? edge : StretchedTime(mOriginal.mStart, pPivot, scale));
    SetLimit(&Range::mStop, MovesLeftEdge() ? StretchedTime(mOriginal.mStop, pPivot, scale) : edge);
    OrderTimes();
}

void GlissaManipulator::StretchXY(KTime pPivotX, double pPivotY, KTime pEdgeX, double pEdgeY,
                                  KTime pDeltaX, double pDeltaY, bool pSnapToFrame, double pFallOff)
{
    constexpr Range kEmpty;
    if (mSelection.mStart == kEmpty.mStart || mSelection.mStop == kEmpty.mStop ||
        mSelection.mMinValue == kEmpty.mMinValue || mSelection.mMaxValue == kEmpty.mMaxValue ||
        mSelection.mMinValueTime == kEmpty.mMinValueTime ||
        mSelection.mMaxValueTime == kEmpty.mMaxValueTime || mMode == eManipNone) {
        return;
    }
    const KOperation operation;
    const double scaleX = TimeScale(pPivotX, pEdgeX, pDeltaX);
    const double pivotY = NumberOrZero(pPivotY);
    const double scaleY = AwayFromZero(
        ValueScale(pivotY, NumberOrZero(pEdgeY), NumberOrZero(pDeltaY)), kLeastStretch);
    const KTime edge = pEdgeX + pDeltaX;
    const bool ripples = mMode == eManipRippleBothAxes;
    EditRecords([&](GlissaNode&, Glissa& pCurve, Part& pPart) {
        if (pPart.mMarkedEdit.IsEmpty()) {
            ApplyToNode(pPart.mAllEdit, pCurve, pPart);
        } else {
            GlissaEdit2& marked = mWork->mScratchMarked;
            GlissaEdit2& result = mWork->mScratchResult;
            marked.Assign(pPart.mMarkedEdit);
            const auto shiftOf = [&](const GlissaKeyEdit2& pKey) {
                return ripples && mRippleStretchX
                           ? StretchedTime(pKey.mTime, pPivotX, scaleX) - pKey.mTime
                           : KTime();
            };
            const KTime shiftBefore = shiftOf(marked.First());
            const KTime shiftAfter = shiftOf(marked.Last());
            for (int i = 0; i < marked.GetCount(); ++i) {
                const KTime time = StretchedTime(marked[i].mTime, pPivotX, scaleX);
                marked[i].mTime = PossibleKeyTime(Framed(time, pSnapToFrame));
                StrecthTangentX(&marked[i], scaleX);
                marked[i].mValue = StretchedValue(marked[i].mValue, pivotY, scaleY);
                StrecthTangentY(&marked[i], scaleY);
            }
            RepairEdge(marked.First(), edge, scaleX, pSnapToFrame);
            if (scaleX < 0.0) {
                marked.Reverse();
            }
            const auto merge = [&](const GlissaEdit2& pKeys, KTime pShift) {
                if (!pKeys.IsEmpty()) {
                    result.MergeAt(pKeys, Framed(pKeys.First().mTime + pShift, pSnapToFrame));
                }
            };
            result.Clear();
            merge(pPart.mBeforeEdit, shiftBefore);
            result.Merge(marked);
            result.Merge(pPart.mBetweenEdit);
            merge(pPart.mAfterEdit, shiftAfter);
            ApplyToNode(result, pCurve, pPart);
            if (scaleY != 1.0 && pDeltaX == KTime()) {
                FallOff(&pCurve, 0.0, pFallOff, pPart.mOriginal.get());
            }
            SetBase(pCurve, pPart);
        }
        if (scaleY == 1.0 || !RipplesValues(pCurve, ripples && mRippleStretchY)) {
            return;
        }
        for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
            const double value = pCurve.KeyGetValue(i);
            if (IsInRippleTime(pCurve, i, pPart) &&
                (value >= mOriginal.mMaxValue || value <= mOriginal.mMinValue)) {
                pCurve.KeySetValue(i, static_cast<float>(value * scaleY));
                StrecthTangentY(&pCurve, i, scaleY);
            }
        }
    });

    const bool movesStop = pPivotX < pEdgeX;
    SetLimit(&Range::mStart, movesStop ? StretchedTime(mOriginal.mStart, pPivotX, scaleX) : edge);
    SetLimit(&Range::mStop, movesStop ? edge : StretchedTime(mOriginal.mStop, pPivotX, scaleX));
    StretchValues(pivotY, scaleY);
    OrderTimes();
    if (pSnapToFrame) {
        SetLimit(&Range::mStart, mSelection.mStart.GetFramedTime(true));
        SetLimit(&Range::mStop, mSelection.mStop.GetFramedTime(true));
    }
}

void GlissaManipulator::StrecthTangentX(GlissaKeyEdit2* pKey, double pScale)
{
    if (pKey && pKey->IsUser()) {
        for (GlissaTangeantInfo* side : {&pKey->mLeftTangent, &pKey->mRightTangent}) {
            side->mDerivative = static_cast<float>(side->mDerivative / std::fabs(pScale));
        }
    }
}
