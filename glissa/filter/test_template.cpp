// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/test_template.h"

#include "glissa/curve/curve.h"

template class KClassFrame<GlissaFilter_TestTemplate, GlissaCurveFilter>;

GlissaFilter_TestTemplate::GlissaFilter_TestTemplate()
    : KClassFrame("Filter Name", kUsualErrors, kUsualErrorCount)
{
    GlissaFilter::Reset();
}

EGlissaFilterAnswer GlissaFilter_TestTemplate::Examine(Glissa& pCurve)
{
    return pCurve.KeyGetCount() == 0
               ? RefuseCurve(eFilterNoKey, "No key to be filtered.")
               : RefuseCurve(eFilterUnchanged, "No key were changed by filter.");
}

bool GlissaFilter_TestTemplate::Change(Glissa&)
{
    return false;
}
