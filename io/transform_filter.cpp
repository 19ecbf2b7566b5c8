// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/transform_filter.h"

#include "glissa/curve/curve.h"
#include "glissa/node/node.h"
#include "glissa/settings/settings.h"
#include "io/owned_curve.h"

#include <algorithm>
#include <vector>

namespace
{
bool HasKeysFromTo(const Glissa& pCurve, KTime pFirst, KTime pLast)
{
    const int count = pCurve.KeyGetCount();
    return count > 0 && pCurve.KeyGetTime(0) == pFirst && pCurve.KeyGetTime(count - 1) == pLast;
}

// Replaces the keys of a curve by its values at the first and the last time and at each period
// between them.
void Sample(Glissa& pCurve, KTime pFirst, KTime pLast, KTime pPeriod)
{
    std::vector<float> values;
    int hint = 0;
    for (KTime time = pFirst; time < pLast; time += pPeriod) {
        values.push_back(pCurve.Evaluate(time, &hint));
    }
    const float last = pCurve.Evaluate(pLast, &hint);
    pCurve.KeyClear();
    KTime time = pFirst;
    for (const float each : values) {
        pCurve.KeyAppendFast(time, each);
        time += pPeriod;
    }
    pCurve.KeyAppendFast(pLast, last);
}
}  // namespace

void TransformFilter::SetR(double pX, double pY, double pZ)
{
    mTurn = KgeRMatrix(KgeRVector(pX, pY, pZ));
    GlissaFilterTRS::SetR(pX, pY, pZ);
}

bool TransformFilter::Apply(GlissaNode& pNode, bool pRecursive)
{
    KTime first;
    KTime last;
    pNode.GetTimeSpan(first, last);
    const bool hasKeys = first <= last;
    if (!hasKeys) {
        first = last = KTime();
    }
    const KTime period = std::max(GLISSA_GetPlotPeriod(), KTime(1));
    std::vector<Glissa*> curves;
    std::vector<OwnedCurve> before;
    for (int i = 0; i < pNode.GetCount(); ++i) {
        Glissa* const curve = pNode.Get(i)->FCurveGet();
        if (curve && !curve->IsLocked()) {
            curves.push_back(curve);
            before.push_back(Duplicate(*curve));
            if (!HasKeysFromTo(*curve, first, last)) {
                Sample(*curve, first, last, period);
            }
        }
    }
    const bool isDone = GlissaFilterTRS::Apply(pNode, pRecursive);
    for (std::size_t i = 0; i < curves.size(); ++i) {
        if (!isDone) {
            curves[i]->CopyFrom(*before[i], true);
        } else if (hasKeys) {
            curves[i]->SetValue(before[i]->GetValue());
        } else {
            curves[i]->SetValue(curves[i]->KeyGetValue(0));
            curves[i]->KeyClear();
        }
    }
    return isDone;
}
