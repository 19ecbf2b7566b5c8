// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/delete_key.h"

#include "glissa/curve/curve.h"
#include "glissa/filter/add_in_segment.h"
#include "glissa/filter/keys_between.h"

#include <cmath>

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
    if (!HasKeysBetween(pCurve, GetStartTime(), GetStopTime(), true)) {
        return RefuseCurve(eFilterUnchanged, "DeleteKeyFilter, No key were changed by filter.");
    }
    return eFilterChanges;
}

bool GlissaFilterDeleteKey::Change(Glissa& pCurve)
{
    const KTime start = GetStartTime();
    const KTime stop = GetStopTime();
    if (!CutsTime()) {
        return pCurve.Delete(start, stop, true);
    }
    const KTime first = pCurve.KeyGetTime(0);
    const KTime last = pCurve.KeyGetTime(pCurve.KeyGetCount() - 1);
    if (first > start && last < stop) {
        pCurve.KeyClear();
        return true;
    }
    if (first < start && stop < last) {
        AddBridge(pCurve, stop + kTick);
        AddBridge(pCurve, start - kTick);
    }
    pCurve.Delete(start, stop, true);
    const int count = pCurve.KeyGetCount();
    if (count == 0 || pCurve.KeyGetTime(count - 1) < stop) {
        return true;
    }
    const KTime length = stop - (start == KTime::MinusInfinite() ? first : start);
    for (int i = static_cast<int>(std::ceil(pCurve.KeyFind(stop, nullptr))); i < count; ++i) {
        pCurve.KeySetTime(i, pCurve.KeyGetTime(i) - length);
    }
    return true;
}
