// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What all filters share: the span and its keys, the walks over arrays and trees, the error.
//
// A walk is one operation: a listener of one curve may destroy another one, or the filter.

#include "glissa/filter/filter.h"

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node.h"

#include <algorithm>
#include <cmath>

template class KClassFrame<GlissaFilter, KObject>;

GlissaFilter::GlissaFilter(const char* pName, const char* const* pErrorStrings, int pErrorCount)
    : mName(pName), mError(pErrorStrings, pErrorCount)
{}

bool GlissaFilter::NeedApply(Glissa&)
{
    return true;
}

bool GlissaFilter::NeedApply(Glissa** pCurves, int pCount)
{
    for (int i = 0; i < pCount; ++i) {
        NeedApply(*pCurves[i]);
    }
    return true;
}

bool GlissaFilter::NeedApply(GlissaNode& pNode, bool pRecursive)
{
    for (int i = 0; pRecursive && i < pNode.GetCount(); ++i) {
        NeedApply(*pNode.Get(i), pRecursive);
    }
    if (Glissa* curve = pNode.FCurveGet()) {
        NeedApply(&curve, 1);
    }
    return true;
}

bool GlissaFilter::Apply(Glissa** pCurves, int pCount)
{
    const KOperation operation;
    for (int i = 0; i < pCount; ++i) {
        if (!pCurves[i]->IsLocked()) {
            Apply(*pCurves[i]);
        }
    }
    return true;
}

bool GlissaFilter::Apply(GlissaNode& pNode, bool pRecursive)
{
    const KOperation operation;
    // The count is read anew: a filter may add or remove children.
    for (int i = 0; pRecursive && i < pNode.GetCount(); ++i) {
        GlissaNode& child = *pNode.Get(i);
        if (!child.IsNodeLocked()) {
            Apply(child, pRecursive);
        }
    }
    Glissa* curve = pNode.FCurveGet();
    if (curve && !curve->IsLocked()) {
        Apply(*curve);
    }
    return true;
}

void GlissaFilter::Reset()
{
    mStart = KTime::MinusInfinite();
    mStop = KTime::Infinite();
}

void GlissaFilter::UpdateProgressInformation(KTime, KTime) {}

int GlissaFilter::GetStartKey(Glissa& pCurve) const
{
    if (pCurve.KeyGetCount() == 0) {
        return -1;
    }
    const KTime time = std::max(mStart, pCurve.KeyGetTime(0));
    return std::max(static_cast<int>(std::floor(pCurve.KeyFind(time, nullptr))), 0);
}

int GlissaFilter::GetStopKey(Glissa& pCurve) const
{
    const int last = pCurve.KeyGetCount() - 1;
    if (last < 0) {
        return -1;
    }
    const KTime time = std::min(mStop, pCurve.KeyGetTime(last));
    return std::min(static_cast<int>(std::ceil(pCurve.KeyFind(time, nullptr))), last);
}

bool GlissaFilter::Refuse(int pId, const char* pText)
{
    mError.SetLastError(pId, pText);
    return false;
}
