// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/scale.h"

#include "glissa/filter/map_values.h"

#include <cmath>
#include <vector>

template class KClassFrame<GlissaFilterScale, GlissaCurveFilter>;

GlissaFilterScale::GlissaFilterScale() : KClassFrame("Filter Scale", kUsualErrors, kUsualErrorCount)
{
    GlissaFilterScale::Reset();
}

void GlissaFilterScale::Reset()
{
    mScale = 0.0;
    mApplyTangent = false;
    GlissaFilter::Reset();
}

EGlissaFilterAnswer GlissaFilterScale::Examine(Glissa& pCurve)
{
    if (mScale == 0.0 || mScale == 1.0 || !std::isfinite(mScale)) {
        return RefuseCurve(eFilterUnchanged, "FilterScale, No key were changed by filter.");
    }
    return pCurve.KeyGetCount() == 0 ? eFilterNothingToDo : eFilterChanges;
}

// Slopes of automatic tangents follow from values: all are read before a value changes, and set
// when all have changed.
bool GlissaFilterScale::Change(Glissa& pCurve)
{
    struct Slopes
    {
        int key;
        float right;
        float left;
    };
    std::vector<Slopes> slopes;
    const int first = GetStartKey(pCurve);
    const int last = GetStopKey(pCurve);
    for (int i = first; i <= last && mApplyTangent; ++i) {
        const unsigned mode = pCurve.KeyGetTangeantMode(i, false);
        if (pCurve.KeyGetInterpolation(i) == eInterpolationCubic &&
            (mode & (eTangentUser | eTangentAuto)) != 0) {
            slopes.push_back({i, pCurve.KeyGetRightDerivative(i), pCurve.KeyGetLeftDerivative(i)});
        }
    }
    pCurve.SetValue(static_cast<float>(pCurve.GetValue() * mScale));
    MapKeyValues(pCurve, first, last,
                 [factor = static_cast<float>(mScale)](float pValue) { return pValue * factor; });
    for (const Slopes& each : slopes) {
        pCurve.KeySetRightDerivative(each.key, static_cast<float>(each.right * mScale));
        pCurve.KeySetLeftDerivative(each.key, static_cast<float>(each.left * mScale));
    }
    return true;
}
