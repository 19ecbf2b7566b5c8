// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/offset.h"

#include "glissa/filter/map_values.h"

#include <cmath>

template class KClassFrame<GlissaFilterOffset, GlissaCurveFilter>;

GlissaFilterOffset::GlissaFilterOffset()
    : KClassFrame("Filter Offset", kUsualErrors, kUsualErrorCount)
{
    GlissaFilterOffset::Reset();
}

void GlissaFilterOffset::Reset()
{
    mOffset = 0.0;
    GlissaFilter::Reset();
}

EGlissaFilterAnswer GlissaFilterOffset::Examine(Glissa& pCurve)
{
    if (mOffset == 0.0 || !std::isfinite(mOffset)) {
        return RefuseCurve(eFilterUnchanged, "FilterOffset, No key were changed by filter.");
    }
    return pCurve.KeyGetCount() == 0 ? eFilterNothingToDo : eFilterChanges;
}

bool GlissaFilterOffset::Change(Glissa& pCurve)
{
    MapValues(pCurve, GetStartKey(pCurve), GetStopKey(pCurve),
              [this](double pValue) { return pValue + mOffset; });
    return true;
}
