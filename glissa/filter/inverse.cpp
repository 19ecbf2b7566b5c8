// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/inverse.h"

#include "glissa/filter/map_values.h"

#include <cmath>

template class KClassFrame<GlissaFilterInverse, GlissaCurveFilter>;

GlissaFilterInverse::GlissaFilterInverse() : KClassFrame("Filter Inverse", kUsualErrors, 1)
{
    GlissaFilterInverse::Reset();
}

void GlissaFilterInverse::Reset()
{
    mTopRange = 100.0;
    GlissaFilter::Reset();
}

EGlissaFilterAnswer GlissaFilterInverse::Examine(Glissa& pCurve)
{
    if (!std::isfinite(mTopRange)) {
        return eFilterRefused;
    }
    return pCurve.KeyGetCount() == 0 ? eFilterNothingToDo : eFilterChanges;
}

bool GlissaFilterInverse::Change(Glissa& pCurve)
{
    MapValues(pCurve, GetStartKey(pCurve), GetStopKey(pCurve),
              [this](double pValue) { return mTopRange - pValue; });
    return true;
}
