// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Layers of constant keys as one: a key for each time at which a layer has one.

#include "glissa/plot/merge.h"

#include "glissa/curve/modify_bracket.h"
#include "glissa/node/node.h"
#include "glissa/plot/layer_fold.h"
#include "glissa/plot/merge_span.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <vector>

namespace
{
constexpr KTime kSecondKeyGap(KTime::kTicksPerSecond / 120);

// The keys of all layers and channels at a time.
struct KeysAtTime
{
    bool anyStandard = false;
    bool anyNext = false;
    bool allKeyed = true;

    void Count(Glissa& pCurve, KTime pTime)
    {
        const double index = pCurve.KeyFind(pTime, nullptr);
        if (index < 0.0 || std::ceil(index) != index) {
            allKeyed = false;
        } else if (pCurve.KeyGetConstantMode(static_cast<int>(index)) == eConstantNext) {
            anyNext = true;
        } else {
            anyStandard = true;
        }
    }
    // Whether one constant key has the value before a time, at it and behind it.
    bool NeedsSecondKey() const { return anyNext ? anyStandard || !allKeyed : !anyStandard; }
};

KeysAtTime FindKeys(GlissaNode& pSource, KTime pTime)
{
    KeysAtTime keys;
    for (GlissaNode* layer = &pSource; layer; layer = layer->LayerGet()) {
        if (Glissa* curve = layer->FCurveGet()) {
            keys.Count(*curve, pTime);
        }
        for (int i = 0; i < layer->GetCount(); ++i) {
            if (Glissa* curve = layer->Get(i)->FCurveGet()) {
                keys.Count(*curve, pTime);
            }
        }
    }
    return keys;
}

// The curves that take the values of a source, by channel; null for a channel without one.
std::vector<Glissa*> FindTargets(GlissaNode& pDestination, GlissaNode& pSource)
{
    if (pSource.FCurveGet()) {
        return {pDestination.FCurveGet()};
    }
    std::vector<Glissa*> curves;
    for (int i = 0; i < std::min(pDestination.GetCount(), pSource.GetCount()); ++i) {
        curves.push_back(pDestination.Get(i)->FCurveGet());
    }
    return curves;
}

LayerFold AllLayersOf(GlissaNode& pSource)
{
    LayerFold layers(pSource);
    for (GlissaNode* layer = &pSource; layer; layer = layer->LayerGet()) {
        layers.Add(*layer);
    }
    return layers;
}

void AddConstantKeys(const std::vector<Glissa*>& pCurves, KTime pTime,
                     const std::vector<double>& pValues, unsigned pConstantMode)
{
    for (std::size_t i = 0; i < pCurves.size(); ++i) {
        if (!pCurves[i]) {
            continue;
        }
        GlissaKey key;
        key.Set(pTime, static_cast<float>(pValues[i]), eInterpolationConstant, 0, 0.0f, 0.0f,
                eWeightNone, kGlissaDefaultWeight, kGlissaDefaultWeight, 0.0f, 0.0f);
        key.SetConstantMode(pConstantMode);
        pCurves[i]->KeyAdd(pTime, key);
    }
}

bool HaveInterpolation(GlissaNode& pNode, unsigned pMask, bool pChain, bool& pFound)
{
    if (GlissaNode* next = pNode.LayerGet();
        pChain && next && !HaveInterpolation(*next, pMask, true, pFound)) {
        return false;
    }
    for (int i = 0; i < pNode.GetCount(); ++i) {
        if (!HaveInterpolation(*pNode.Get(i), pMask, pChain, pFound)) {
            return false;
        }
    }
    const Glissa* const curve = pNode.FCurveGet();
    const int count = curve ? curve->KeyGetCount() : 0;
    for (int i = 0; i < count; ++i) {
        if ((curve->KeyGetInterpolation(i) & pMask) == 0) {
            return false;
        }
    }
    pFound = pFound || count > 0;
    return true;
}
}  // namespace

bool GLISSA_IsAllSameInterpolation(GlissaNode* pNode, unsigned int pMask, bool pChain)
{
    bool found = false;
    return pNode && HaveInterpolation(*pNode, pMask, pChain, found) && found;
}

void GLISSA_ConstantCurveMerge(GlissaNode* pDestination, GlissaNode* pSource, KTime pStart,
                               KTime pStop)
{
    if (!pDestination || !pSource) {
        return;
    }
    const KOperation operation;
    const std::vector<Glissa*> curves = FindTargets(*pDestination, *pSource);
    LayerFold layers = AllLayersOf(*pSource);
    std::deque<KeyModifyBracket> brackets;
    for (Glissa* curve : curves) {
        if (curve) {
            brackets.emplace_back(*curve);
        }
    }
    std::vector<double> values = ZeroValuesOf(*pSource);
    // GetNextKeyTime does not see a key that is a tick behind the time.
    const KeysAtTime first = FindKeys(*pSource, pStart);
    KTime time = first.anyStandard || first.anyNext
                     ? pStart
                     : pSource->GetNextKeyTime(pStart - KTime(1), nullptr, true);
    while (time <= pStop) {
        const KeysAtTime keys = FindKeys(*pSource, time);
        layers.Evaluate(values.data(), time);
        KTime last = time;
        if (keys.NeedsSecondKey()) {
            last = time + kSecondKeyGap;
            AddConstantKeys(curves, time, values, eConstantStandard);
            layers.Evaluate(values.data(), last);
            AddConstantKeys(curves, last, values, eConstantStandard);
        } else {
            AddConstantKeys(curves, time, values, keys.anyNext ? eConstantNext : eConstantStandard);
        }
        time = pSource->GetNextKeyTime(last, nullptr, true);
        if (time == last) {
            break;
        }
    }
}

void MergeConstantSpan(GlissaNode& pDestination, GlissaNode& pSource, KTime pStart, KTime pStop)
{
    GLISSA_ConstantCurveMerge(&pDestination, &pSource, pStart, pStop);
    if (pStart > pStop || FindKeys(pDestination, pStart).allKeyed) {
        return;
    }
    std::vector<double> values = ZeroValuesOf(pSource);
    AllLayersOf(pSource).Evaluate(values.data(), pStart);
    AddConstantKeys(FindTargets(pDestination, pSource), pStart, values, eConstantStandard);
}
