// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/curve_edit.h"

#include "apps/glissa/refusal.h"
#include "glissa/curve/curve.h"

#include <cmath>
#include <utility>

void CheckKeys(const std::vector<EditedCurve>& pCurves)
{
    for (const EditedCurve& each : pCurves) {
        for (int i = 0; i < each.curve->KeyGetCount(); ++i) {
            const KTime time = each.curve->KeyGetTime(i);
            if (time <= KTime::MinusInfinite() || time >= KTime::Infinite()) {
                throw Refusal(each.name + ": a key would leave the range of times");
            }
            if (!std::isfinite(each.curve->KeyGetValue(i))) {
                throw Refusal(each.name + ": a value would leave the range of a float");
            }
        }
    }
}

CurveEdit::CurveEdit(std::vector<EditedCurve> pCurves) : mCurves(std::move(pCurves))
{
    mManipulator.BeginAddRemoveCurveNode();
    for (const EditedCurve& each : mCurves) {
        mManipulator.Add(each.leaf);
    }
    mManipulator.EndAddRemoveCurveNode();
    mManipulator.MarkAllCurveNodeForManip(true);
}

void CurveEdit::Keep()
{
    for (EditedCurve& each : mCurves) {
        each.before.reset(GlissaCreate());
        each.before->CopyFrom(*each.curve, true);
    }
}

void CurveEdit::Restore()
{
    for (const EditedCurve& each : mCurves) {
        each.curve->CopyFrom(*each.before, true);
    }
}
