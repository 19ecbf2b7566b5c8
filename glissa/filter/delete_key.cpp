// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/delete_key.h"

#include "glissa/curve/curve.h"
#include "glissa/curve/hold_slopes.h"
#include "glissa/curve/key_index.h"
#include "glissa/curve/key_kind.h"
#include "glissa/filter/add_in_segment.h"
#include "glissa/utils/span_edits.h"

template class KClassFrame<GlissaFilterDeleteKey, GlissaCurveFilter>;

namespace
{
constexpr KTime kTick(1);

// A key between the first and the last one that keeps the curve on both sides of it.
void AddBridge(Glissa& pCurve, KTime pTime)
{
    const int before = static_cast<int>(pCurve.KeyFind(pTime, nullptr));
    if (pCurve.KeyGetTime(before) == pTime) {
        return;  // this one keeps it
    }
    const GlissaKey model = pCurve.KeyGet(before);
    const bool isCubic = model.GetInterpolation() == eInterpolationCubic;
    GlissaKey key;
    key.Set(pTime, pCurve.Evaluate(pTime, nullptr), model.GetInterpolation(),
            isCubic ? eTangentUser : eTangentAuto, 0.0f, 0.0f, eWeightNone, kGlissaDefaultWeight,
            kGlissaDefaultWeight, 0.0f, 0.0f);
    if (model.GetInterpolation() == eInterpolationConstant) {
        key.SetConstantMode(model.GetConstantMode());
    } else if (isCubic && model.GetTangeantMode(false) == eTangentTCB) {
        key.SetTCB(pTime, key.GetValue(), model.GetDataFloat(eDataTCBTension),
                   model.GetDataFloat(eDataTCBContinuity), model.GetDataFloat(eDataTCBBias));
    } else if (isCubic) {
        key.SetDataDouble(eDataRightSlope, pCurve.EvaluateRightDerivative(pTime, nullptr));
    }
    AddInSegment(pCurve, before, key);
}

// Give the keys at a seam of a few ticks the slopes on their other sides. The seam is too steep for
// the parameters of an automatic tangent.
void HoldInFront(Glissa& pCurve, int pIndex, float pSlope)
{
    CORVEKIT_ASSERT(pIndex >= -1 && pIndex < pCurve.KeyGetCount());
    if (pIndex > 0 && !IsCubicTcb(pCurve, pIndex) && IsCubic(pCurve, pIndex - 1) &&
        pCurve.KeyGetLeftDerivative(pIndex) != pSlope) {
        // Its kind shapes the seam alone.
        pCurve.KeySetInterpolation(pIndex, eInterpolationCubic);
        HoldSlopesByUserTangent(pCurve, pIndex, {pSlope, pSlope});
    }
}

void HoldBehind(Glissa& pCurve, int pIndex, float pSlope)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex <= pCurve.KeyGetCount());
    if (pIndex + 1 < pCurve.KeyGetCount() && !IsCubicTcb(pCurve, pIndex) &&
        IsCubic(pCurve, pIndex) && pCurve.KeyGetRightDerivative(pIndex) != pSlope) {
        HoldSlopesByUserTangent(pCurve, pIndex, {pSlope, pSlope});
    }
}
}  // namespace

GlissaFilterDeleteKey::GlissaFilterDeleteKey()
    : KClassFrame("DeleteKeyFilter", kUsualErrors, kUsualErrorCount)
{
    GlissaFilterDeleteKey::Reset();
}

void GlissaFilterDeleteKey::Reset()
{
    mCutTimeInterval = true;
    GlissaFilter::Reset();
}

EGlissaFilterAnswer GlissaFilterDeleteKey::Examine(Glissa& pCurve)
{
    const int count = pCurve.KeyGetCount();
    if (count == 0) {
        return RefuseCurve(eFilterNoKey, "DeleteKeyFilter, No key to be filtered.");
    }
    if (CutsTime()) {
        // An endless start with nothing behind it removes no time.
        const bool isOutside =
            GetStartTime() > pCurve.KeyGetTime(count - 1) ||
            (GetStartTime() == KTime::MinusInfinite() && GetStopTime() < pCurve.KeyGetTime(0));
        return isOutside ? eFilterNothingToDo : eFilterChanges;
    }
    if (!KeysBetween(pCurve, GetStartTime(), GetStopTime(), true)) {
        return RefuseCurve(eFilterUnchanged, "DeleteKeyFilter, No key were changed by filter.");
    }
    return eFilterChanges;
}

bool GlissaFilterDeleteKey::Change(Glissa& pCurve)
{
    const KTime start = GetStartTime();
    const KTime stop = GetStopTime();
    if (!CutsTime()) {
        RemoveKeys(pCurve, *KeysBetween(pCurve, start, stop, true));
        return true;
    }
    const KTime first = pCurve.KeyGetTime(0);
    const KTime last = pCurve.KeyGetTime(pCurve.KeyGetCount() - 1);
    if (first > start && last < stop) {
        pCurve.KeyClear();
        return true;
    }
    const bool isInside = first < start && stop < last;
    if (isInside) {
        AddBridge(pCurve, stop + kTick);
        AddBridge(pCurve, start - kTick);
    }
    const int behind = Ceil(pCurve.KeyFind(start, nullptr));  // the first key that goes or moves
    const auto gone = KeysBetween(pCurve, start, stop, true);
    const OuterSlopes outer(pCurve, behind, gone ? gone->last : behind - 1);
    if (gone) {
        pCurve.Delete(gone->first, gone->last);
    }
    const KTime length = stop - (start == KTime::MinusInfinite() ? first : start);
    for (int i = behind; i < pCurve.KeyGetCount(); ++i) {
        pCurve.KeySetTime(i, pCurve.KeyGetTime(i) - length);
    }
    if (isInside) {
        HoldInFront(pCurve, behind - 1, outer.front);
        HoldBehind(pCurve, behind, outer.behind);
    } else {
        outer.Hold(pCurve, behind - 1, behind);
    }
    return true;
}
