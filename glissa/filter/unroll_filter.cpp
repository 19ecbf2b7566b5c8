// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Three curves with the same key times are unrolled in place, where the span holds all keys. Else a
// copy gets keys at the same times and is unrolled; the rotation then takes the span of the copy,
// which joins it to the keys outside by whole turns.

#include "glissa/filter/unroll_filter.h"

#include "glissa/curve/key_kind.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/filter/key_sync.h"
#include "glissa/filter/rotation_curves.h"
#include "glissa/filter/rotation_helpers.h"
#include "glissa/filter/unroll_keys.h"
#include "glissa/node/node_state.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <optional>

namespace
{
const char* const kErrors[] = {"No key", "Left unchanged", "Need rotation curvenode",
                               "Unexepected"};
constexpr const char* kNoKeyText = "Unroll Filter, No key to be filtered.";

bool FindChildCurves(GlissaNode& pNode, Glissa* (&pCurves)[kRotationAxes])
{
    for (int i = 0; i < kRotationAxes; ++i) {
        pCurves[i] = pNode.Get(i)->FCurveGet();
    }
    return pCurves[0] && pCurves[1] && pCurves[2];
}

bool HasUserTangents(const Glissa& pCurve)
{
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        if (IsCubicUser(pCurve, i)) {
            return true;
        }
    }
    return false;
}
}  // namespace

GlissaUnrollFilter::GlissaUnrollFilter(const char* pName) : GlissaFilter(pName, kErrors, 4) {}

void GlissaUnrollFilter::Reset()
{
    mQualityTolerance = GLISSA_GetRotationFilterUnrollQuality();
    mTestForPath = GLISSA_GetRotationFilterUnrollTestForPath();
    mRotationOrder = 0;
    GlissaFilter::Reset();
}

double GlissaUnrollFilter::InterpolationQualityFactor(const KgeRVector& pFrom,
                                                      const KgeRVector& pTo) const
{
    return RotationInterpolationQuality(pFrom, pTo);
}

const char* GlissaUnrollFilter::FindFault() const
{
    return std::isfinite(mQualityTolerance) ? nullptr
                                            : "Unroll Filter, The quality tolerance is not finite.";
}

void GlissaUnrollFilter::AddLimits(UnrollRules&) const {}

bool GlissaUnrollFilter::RefuseNode()
{
    return Refuse(kNotRotation, "Unroll Filter, Works only on rotation CurveNodes.");
}

bool GlissaUnrollFilter::Apply(Glissa&)
{
    return RefuseNode();
}

bool GlissaUnrollFilter::Apply(Glissa** pCurves, int pCount)
{
    if (pCount != kRotationAxes) {
        return RefuseNode();
    }
    RotationTree tree(pCurves, mRotationOrder);
    return Apply(tree.GetNode(), true);
}

bool GlissaUnrollFilter::Apply(GlissaNode& pNode, bool)
{
    Glissa* curves[kRotationAxes];
    if (!pNode.IsRotationLayerType() || !FindRotationCurves(pNode, curves)) {
        return RefuseNode();
    }
    mRotationOrder = pNode.GetRotationOrder();
    return DoUnroll(&pNode);
}

bool GlissaUnrollFilter::DoUnroll(GlissaNode* pNode)
{
    Glissa* curves[kRotationAxes];
    if (!pNode || pNode->GetCount() != kRotationAxes || !pNode->IsRotationLayerType() ||
        !FindChildCurves(*pNode, curves)) {
        return RefuseNode();
    }
    const KTimeSpan keys = SpanOfKeys(curves, kRotationAxes);
    if (keys.GetStart() > keys.GetStop()) {
        return Refuse(eFilterNoKey, kNoKeyText);
    }
    if (const char* const fault = FindFault()) {
        return Refuse(eFilterUnchanged, fault);
    }
    const KOperation operation;
    UnrollRules rules;
    rules.order = KVdRotationOrder(mRotationOrder);
    rules.testForPath = mTestForPath;
    rules.qualityTolerance = mQualityTolerance;
    for (int i = 0; i < kRotationAxes; ++i) {
        rules.isLocked[i] = pNode->Get(i)->IsNodeLocked();
    }
    AddLimits(rules);
    if (GetStartTime() <= keys.GetStart() && GetStopTime() >= keys.GetStop() &&
        !GlissaFilterKeySync().NeedApply(curves, kRotationAxes)) {
        // Without slopes that change sign nothing here needs memory once a value has changed.
        std::optional<KeptOnFailure> kept;
        if (HasUserTangents(*curves[rules.order.GetAxes()[1]])) {
            kept.emplace(curves, kRotationAxes);
        }
        UnrollKeys(curves, 0, curves[0]->KeyGetCount() - 1, rules);
        return true;
    }
    const KTime start = std::max(keys.GetStart(), GetStartTime());
    const KTime stop = std::min(keys.GetStop(), GetStopTime());

    const NodeHolder clone(pNode->Clone(false));
    Glissa* const own[] = {curves[0], curves[1], curves[2]};
    FindChildCurves(*clone, curves);
    bool isChanged = false;
    {
        std::deque<KeyModifyBracket> brackets;
        for (int i = 0; i < kRotationAxes; ++i) {
            clone->Get(i)->SetLayerInfo(GlissaLayerInfo::Base);  // that of the node may be locked
            brackets.emplace_back(*curves[i]);
        }
        isChanged = SyncRotation(curves, KTime::MinusInfinite(), KTime::Infinite());
        const int first = static_cast<int>(curves[0]->KeyFind(start, nullptr));
        const int last = static_cast<int>(curves[0]->KeyFind(stop, nullptr));
        if (first >= last) {
            return true;  // a span outside the keys
        }
        isChanged = UnrollKeys(curves, first, last, rules) || isChanged;
    }
    if (isChanged) {
        const KeptOnFailure kept(own, kRotationAxes);
        pNode->Replace(clone.get(), GetStartTime(), GetStopTime(), false, true, KTime());
    }
    return true;
}
