// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/time_clamp.h"

#include "glissa/curve/curve.h"
#include "glissa/utils/span_edits.h"

template class KClassFrame<GlissaFilterTimeClamp, GlissaCurveFilter>;

namespace
{
const char* const kErrors[] = {"No key", "Left unchanged", "Time interval is invalid"};
}  // namespace

GlissaFilterTimeClamp::GlissaFilterTimeClamp() : KClassFrame("Time Clamper", kErrors, 3)
{
    GlissaFilterTimeClamp::Reset();
}

void GlissaFilterTimeClamp::Reset()
{
    mApplyMin = true;
    mMin = KTime::MinusInfinite();
    mApplyMax = true;
    mMax = KTime::Infinite();
    GlissaFilter::Reset();
}

EGlissaFilterAnswer GlissaFilterTimeClamp::Examine(Glissa& pCurve)
{
    if (pCurve.KeyGetCount() == 0) {
        return RefuseCurve(eFilterNoKey, "FilterTimeClamp. No key to be filtered.");
    }
    if (From() == KTime::MinusInfinite() && To() == KTime::Infinite()) {
        return RefuseCurve(kInvalidInterval, "FilterTimeClamp. Either Min or Max are not valid.");
    }
    if (!KeysBetween(pCurve, From(), To(), false)) {
        return RefuseCurve(eFilterUnchanged, "FilterTimeClamp. No key were changed by filter.");
    }
    return eFilterChanges;
}

bool GlissaFilterTimeClamp::Change(Glissa& pCurve)
{
    RemoveKeys(pCurve, *KeysBetween(pCurve, From(), To(), false));
    return true;
}
