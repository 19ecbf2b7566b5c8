// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/curve_filter.h"

#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"

const char* const GlissaCurveFilter::kUsualErrors[kUsualErrorCount] = {"No key", "Left unchanged"};

bool GlissaCurveFilter::Apply(Glissa& pCurve)
{
    if (pCurve.IsLocked()) {
        return false;
    }
    const EGlissaFilterAnswer answer = Examine(pCurve);
    if (answer != eFilterChanges) {
        return answer == eFilterNothingToDo;
    }
    // Opened no earlier: the end of a bracket ends a pending candidate.
    const KeyModifyBracket bracket(pCurve);
    return Change(pCurve);
}

bool GlissaCurveFilter::Apply(Glissa** pCurves, int pCount)
{
    return GlissaFilter::Apply(pCurves, pCount);
}

bool GlissaCurveFilter::Apply(GlissaNode& pNode, bool pRecursive)
{
    return GlissaFilter::Apply(pNode, pRecursive);
}

EGlissaFilterAnswer GlissaCurveFilter::RefuseCurve(int pId, const char* pText)
{
    Refuse(pId, pText);
    return eFilterRefused;
}
