// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A sparse curve is brought to a dense one by the slopes of its keys and by further keys.

#include "glissa/plot/fidelity.h"

#include "glissa/curve/modify_bracket.h"
#include "glissa/node/node.h"
#include "glissa/plot/inserted_key.h"
#include "glissa/utils/held_sides.h"

#include <algorithm>
#include <cmath>

namespace
{
// Points of comparison are further apart than this, which ends the recursion.
constexpr KTime kStepLimit(KTime::kTicksPerSecond / 120);

double Slope(double pRise, KTime pTime)
{
    return pRise / pTime.GetSecondDouble();
}

}  // namespace

void BreakKey(Glissa& pCurve, int pIndex, Glissa& pReference, const BreakRule& pRule)
{
    const int last = pCurve.KeyGetCount() - 1;
    if (pRule.period < KTime(1) || pIndex > last ||
        pCurve.KeyGetInterpolation(pIndex) != eInterpolationCubic) {
        return;
    }
    const KTime time = pCurve.KeyGetTime(pIndex);
    const double value = pCurve.KeyGetValue(pIndex);
    double left = 0.0;
    double right = 0.0;
    bool differs = false;
    if (pIndex > 0) {
        const KTime before = time - pRule.period;
        left =
            Slope(value - static_cast<double>(pReference.Evaluate(before, nullptr)), time - before);
        const double own = pCurve.KeyGetLeftDerivative(pIndex, false, false);
        differs = std::fabs(left - own) > pRule.tolerance;
    }
    if (pIndex < last) {
        const KTime after = time + pRule.period;
        right =
            Slope(static_cast<double>(pReference.Evaluate(after, nullptr)) - value, after - time);
        const double own = pCurve.KeyGetRightDerivative(pIndex, false);
        differs = differs || std::fabs(right - own) > pRule.tolerance;
    }
    if (!differs) {
        return;
    }
    // The key has stored the left side of the next one, which a change of its kind reads anew.
    const float nextLeft = pIndex < last ? pCurve.KeyGetLeftDerivative(pIndex + 1) : 0.0f;
    pCurve.KeySetTangeantMode(pIndex, eTangentUserBreak);
    pCurve.KeySetLeftDerivative(pIndex, static_cast<float>(left));
    pCurve.KeySetRightDerivative(pIndex, static_cast<float>(right));
    if (pIndex < last) {
        HoldLeftSlope(pCurve, pIndex + 1, nextLeft);
    }
}

int InsertKey(Glissa& pCurve, KTime pTime, float pValue)
{
    int index = 0;
    // Behind the last key the index that is returned is not that of the new key.
    pCurve.KeyInsert(pTime, &index);
    pCurve.KeySetValue(index, pValue);
    return index;
}

namespace
{
class Refinement
{
public:
    double tolerance;
    int subdivisions;
    bool breaksTangents;
    BreakRule breaking;
    bool hasSiblings;

    void RefineNode(GlissaNode& pKeyNode, GlissaNode& pReferenceNode,
                    KArrayTemplate<Glissa*, 16>* pSiblingKeys,
                    KArrayTemplate<Glissa*, 16>* pSiblingReferences) const;

private:
    // The curve that is refined, and those that get keys at the same times.
    struct Curves
    {
        Glissa& keys;
        Glissa& reference;
        KArrayTemplate<Glissa*, 16>* siblingKeys;
        KArrayTemplate<Glissa*, 16>* siblingReferences;
    };

    void Insert(Glissa& pCurve, Glissa& pReference, KTime pTime, float pValue) const
    {
        const int index = InsertKey(pCurve, pTime, pValue);
        if (breaksTangents) {
            BreakKey(pCurve, index, pReference, breaking);
        }
    }
    void InsertAll(const Curves& pCurves, KTime pTime, float pValue) const;
    void RefineSpan(const Curves& pCurves, KTime pStart, KTime pStop) const;
};

void Refinement::InsertAll(const Curves& pCurves, KTime pTime, float pValue) const
{
    Insert(pCurves.keys, pCurves.reference, pTime, pValue);
    if (!hasSiblings || !pCurves.siblingKeys || !pCurves.siblingReferences) {
        return;
    }
    const int count =
        std::min(pCurves.siblingKeys->GetCount(), pCurves.siblingReferences->GetCount());
    for (int i = 0; i < count; ++i) {
        Glissa* const keys = (*pCurves.siblingKeys)[i];
        Glissa* const reference = (*pCurves.siblingReferences)[i];
        if (keys && reference) {
            Insert(*keys, *reference, pTime, reference->Evaluate(pTime, nullptr));
        }
    }
}

void Refinement::RefineSpan(const Curves& pCurves, KTime pStart, KTime pStop) const
{
    if (!(pStart < pStop) || subdivisions < 2) {
        return;
    }
    const KTime step = (pStop - pStart) / subdivisions;
    if (step <= kStepLimit) {
        return;
    }
    int keyHint = 0;
    int referenceHint = 0;
    for (int i = 0; i <= subdivisions - 2; ++i) {
        const KTime start = pStart + step * i;
        const KTime time = pStart + step * (i + 1);
        const float value = pCurves.keys.Evaluate(time, &keyHint);
        const float wanted = pCurves.reference.Evaluate(time, &referenceHint);
        if (std::fabs(static_cast<double>(value) - static_cast<double>(wanted)) > tolerance) {
            InsertAll(pCurves, time, wanted);
            RefineSpan(pCurves, start, time);
            if (i == subdivisions - 2) {
                RefineSpan(pCurves, time, time + step);
            }
        }
    }
}

void Refinement::RefineNode(GlissaNode& pKeyNode, GlissaNode& pReferenceNode,
                            KArrayTemplate<Glissa*, 16>* pSiblingKeys,
                            KArrayTemplate<Glissa*, 16>* pSiblingReferences) const
{
    if (pKeyNode.GetCount() != pReferenceNode.GetCount()) {
        return;
    }
    if (Glissa* keys = pKeyNode.FCurveGet()) {
        Glissa* const reference = pReferenceNode.FCurveGet();
        if (!reference) {
            return;
        }
        const KeyModifyBracket bracket(*keys);
        const Curves curves{*keys, *reference, pSiblingKeys, pSiblingReferences};
        // Spans between new keys are walked again.
        for (int i = 1; i < keys->KeyGetCount(); ++i) {
            RefineSpan(curves, keys->KeyGetTime(i - 1), keys->KeyGetTime(i));
        }
        return;
    }
    for (int i = 0; i < pKeyNode.GetCount(); ++i) {
        KArrayTemplate<Glissa*, 16> keys;
        KArrayTemplate<Glissa*, 16> references;
        for (int j = 0; hasSiblings && j < pKeyNode.GetCount(); ++j) {
            Glissa* const sibling = pKeyNode.Get(j)->FCurveGet();
            Glissa* const reference = pReferenceNode.Get(j)->FCurveGet();
            if (pKeyNode.Get(j) != pKeyNode.Get(i) && sibling && reference) {
                keys.Add(sibling);
                references.Add(reference);
            }
        }
        RefineNode(*pKeyNode.Get(i), *pReferenceNode.Get(i), &keys, &references);
    }
}
}  // namespace

void GLISSA_BreakTangents(GlissaNode* pKeyNode, GlissaNode* pReferenceNode, KTime pPeriod,
                          double pTolerance)
{
    if (!pKeyNode || !pReferenceNode || pPeriod < KTime(1) ||
        pKeyNode->GetCount() != pReferenceNode->GetCount()) {
        return;
    }
    const KOperation operation;
    if (Glissa* curve = pKeyNode->FCurveGet()) {
        if (Glissa* reference = pReferenceNode->FCurveGet()) {
            const KeyModifyBracket bracket(*curve);
            for (int i = 0; i < curve->KeyGetCount(); ++i) {
                BreakKey(*curve, i, *reference, {pPeriod, pTolerance});
            }
        }
        return;
    }
    for (int i = 0; i < pKeyNode->GetCount(); ++i) {
        GLISSA_BreakTangents(pKeyNode->Get(i), pReferenceNode->Get(i), pPeriod, pTolerance);
    }
}

void GLISSA_IncreaseFidelity(GlissaNode* pKeyNode, GlissaNode* pReferenceNode, double pTolerance,
                             int pSubdivisions, bool pBreakTangents, KTime pPeriod,
                             double pBreakTolerance, bool pSiblings,
                             KArrayTemplate<Glissa*, 16>* pSiblingKeys,
                             KArrayTemplate<Glissa*, 16>* pSiblingReferences)
{
    if (!pKeyNode || !pReferenceNode) {
        return;
    }
    const KOperation operation;
    const Refinement refinement{
        pTolerance, pSubdivisions, pBreakTangents, {pPeriod, pBreakTolerance}, pSiblings};
    refinement.RefineNode(*pKeyNode, *pReferenceNode, pSiblingKeys, pSiblingReferences);
}
