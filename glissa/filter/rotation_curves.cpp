// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/rotation_curves.h"

#include "glissa/curve/key_kind.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/filter/key_sync.h"
#include "glissa/filter/map_values.h"
#include "glissa/node/tree.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <new>

namespace
{
constexpr const char* kAxisNames[kRotationAxes] = {"X", "Y", "Z"};

// Locks a node without a property.
class LockedLayer final : public GlissaLayer
{
public:
    double GetWeight(KTime) const override { return 1.0; }
    bool IsMuted() const override { return false; }
    bool IsLocked() const override { return true; }
    eLayerMode GetLayerMode() const override { return eLayerModeAdditive; }
    bool GetLayerModeBypass(KDataType*) const override { return false; }
    eWeightRotationAccumulationMode GetLayerRotationMode() const override
    {
        return eRotationByLayer;
    }
    eAnimLayerScaleAccumulationMode GetLayerScalingMode() const override { return eScaleMultiply; }
};

const LockedLayer kLockedLayer;

// Inserts keys at the times of another curve, with the values that the curve has there.
void InsertMissing(Glissa& pCurve, const Glissa& pTimes, KTime pStart, KTime pStop)
{
    int hint = 0;
    for (int i = 0; i < pTimes.KeyGetCount(); ++i) {
        const KTime time = pTimes.KeyGetTime(i);
        const double place = pCurve.KeyFind(time, &hint);
        if (time >= pStart && time <= pStop && place != std::floor(place)) {
            const float value = pCurve.Evaluate(time, &hint);
            pCurve.KeyInsert(time, &hint);
            WriteKeyValue(pCurve, hint, value);
        }
    }
}

void Negate(Glissa& pCurve, int pIndex, EGlissaDataIndex pSlope)
{
    pCurve.KeySetDataDouble(pIndex, pSlope, -pCurve.KeyGetDataDouble(pIndex, pSlope));
}

// Automatic and TCB tangents follow the values of the keys.
void MirrorSlopes(Glissa& pCurve, int pIndex)
{
    if (IsCubicUser(pCurve, pIndex)) {
        Negate(pCurve, pIndex, eDataRightSlope);
    }
    // The left slope of a cubic key is stored in the key before it.
    if (pIndex > 0 && IsCubic(pCurve, pIndex - 1) &&
        IsCubicUser(pCurve, IsCubic(pCurve, pIndex) ? pIndex : pIndex - 1)) {
        Negate(pCurve, pIndex - 1, eDataNextLeftSlope);
    }
}
}  // namespace

Glissa* FindCurveBelow(GlissaNode& pNode, const char* pName)
{
    const GlissaNode* const found = pNode.FindRecursive(pName);
    return found ? found->FCurveGet() : nullptr;
}

bool FindRotationCurves(GlissaNode& pNode, Glissa* (&pCurves)[kRotationAxes])
{
    for (int i = 0; i < kRotationAxes; ++i) {
        pCurves[i] = FindCurveBelow(pNode, kAxisNames[i]);
    }
    return pCurves[0] && pCurves[1] && pCurves[2];
}

bool AreChildCurves(GlissaNode& pNode, Glissa* const* pCurves)
{
    CORVEKIT_ASSERT(pNode.GetCount() >= kRotationAxes);
    bool areChildren = true;
    for (int i = 0; i < kRotationAxes; ++i) {
        areChildren = areChildren && pNode.Get(i)->FCurveGet() == pCurves[i];
    }
    return areChildren;
}

bool FindQuaternionCurves(GlissaNode& pNode, Glissa* (&pCurves)[kQuaternionParts])
{
    Glissa* angles[kRotationAxes];
    const bool hasAngles = FindRotationCurves(pNode, angles);
    std::copy_n(angles, kRotationAxes, pCurves);
    pCurves[kRotationAxes] = FindCurveBelow(pNode, kRealPartName);
    return hasAngles && pCurves[kRotationAxes];
}

bool IsNamedRotation(const GlissaNode& pNode)
{
    const char* const name = pNode.GetName();
    return std::strcmp(name, "R") == 0 || std::strcmp(name, "Lcl Rotation") == 0;
}

bool IsNodeOrChildLocked(GlissaNode& pNode)
{
    bool isLocked = pNode.IsNodeLocked();
    for (int i = 0; i < pNode.GetCount(); ++i) {
        isLocked = isLocked || pNode.Get(i)->IsNodeLocked();
    }
    return isLocked;
}

KTimeSpan SpanOfKeys(Glissa* const* pCurves, int pCount, KTime pStart, KTime pStop)
{
    KTime first = KTime::Infinite();
    KTime last = KTime::MinusInfinite();
    for (int i = 0; i < pCount; ++i) {
        if (const int keys = pCurves[i]->KeyGetCount(); keys > 0) {
            first = std::min(first, pCurves[i]->KeyGetTime(0));
            last = std::max(last, pCurves[i]->KeyGetTime(keys - 1));
        }
    }
    return {std::max(first, pStart), std::min(last, pStop)};
}

bool SyncRotation(Glissa** pCurves, KTime pStart, KTime pStop)
{
    GlissaFilterKeySync sync;
    sync.SetStartTime(pStart);
    sync.SetStopTime(pStop);
    if (!sync.NeedApply(pCurves, kRotationAxes)) {
        return false;
    }
    sync.Apply(pCurves, kRotationAxes);
    for (int i = 0; i < kRotationAxes && sync.NeedApply(pCurves, kRotationAxes); ++i) {
        for (int j = 1; j < kRotationAxes && !pCurves[i]->IsLocked(); ++j) {
            InsertMissing(*pCurves[i], *pCurves[(i + j) % kRotationAxes], pStart, pStop);
        }
    }
    return true;
}

int FindKey(Glissa& pCurve, KTime pTime)
{
    const double place = pCurve.KeyFind(pTime, nullptr);
    return place >= 0.0 && place == std::floor(place) ? static_cast<int>(place) : -1;
}

KgeRVector RotationAtKey(Glissa* const* pCurves, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurves[0]->KeyGetCount());
    const KTime time = pCurves[0]->KeyGetTime(pIndex);
    return KgeRVector(pCurves[0]->KeyGetValue(pIndex), pCurves[1]->Evaluate(time, nullptr),
                      pCurves[2]->Evaluate(time, nullptr));
}

KgeRVector RotationOfKey(Glissa* const* pCurves, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0);
    return KgeRVector(pCurves[0]->KeyGetValue(pIndex), pCurves[1]->KeyGetValue(pIndex),
                      pCurves[2]->KeyGetValue(pIndex));
}

void WriteRotation(Glissa* const* pCurves, int pIndex, const KgeRVector& pValues, int pMirrored)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pMirrored < kRotationAxes);
    for (int i = 0; i < kRotationAxes; ++i) {
        if (pCurves[i]) {
            WriteKeyValue(*pCurves[i], pIndex, static_cast<float>(pValues[i]));
        }
    }
    if (pMirrored >= 0 && pCurves[pMirrored]) {
        MirrorSlopes(*pCurves[pMirrored], pIndex);
    }
}

KeptOnFailure::KeptOnFailure(Glissa* const* pCurves, int pCount)
    : mExceptions(std::uncaught_exceptions())
{
    for (int i = 0; i < pCount; ++i) {
        if (!pCurves[i]->IsLocked()) {
            mOld.emplace_back(*pCurves[i]);
        }
    }
}

KeptOnFailure::~KeptOnFailure()
{
    if (std::uncaught_exceptions() <= mExceptions) {
        return;
    }
    for (Old& each : mOld) {
        const KeyModifyBracket bracket(each.curve);
        try {
            each.keys.Commit();
        } catch (const std::bad_alloc&) {
            continue;  // without room for its old keys a curve stays as it is
        }
    }
}

RotationTree::RotationTree(Glissa* const* pCurves, int pOrder)
    : mNode(GlissaNodeCreate("R", static_cast<KDataType*>(nullptr), eLayerTypeRotation,
                             GlissaLayerInfo::Base))
{
    // All owners first: a curve that is given twice leaves its owner once.
    for (int i = 0; i < kRotationAxes; ++i) {
        mOwners[i] = pCurves[i]->GetOwner();
    }
    try {
        mNode->SetRotationOrder(pOrder);
        for (int i = 0; i < kRotationAxes; ++i) {
            const GlissaLayerInfo layer =
                pCurves[i]->IsLocked() ? GlissaLayerInfo(0, &kLockedLayer) : GlissaLayerInfo::Base;
            GlissaNode* const child = AddNew(
                *mNode, GlissaNodeCreate(kAxisNames[i], KDataTypeNumber, eLayerTypeValue, layer));
            mCurves[i] = pCurves[i];
            child->FCurveSet(pCurves[i], false);
        }
    } catch (...) {
        GiveBack();
        throw;
    }
}

RotationTree::~RotationTree()
{
    GiveBack();
}

void RotationTree::GiveBack()
{
    for (int i = 0; i < std::min(kRotationAxes, mNode->GetCount()); ++i) {
        if (mCurves[i]) {
            mNode->Get(i)->FCurveSet(nullptr, false);
        }
    }
    mNode->Destroy();
    for (int i = 0; i < kRotationAxes; ++i) {
        if (!mCurves[i] || !mOwners[i]) {
            continue;
        }
        if (mOwners[i]->FCurveGet()) {
            mCurves[i]->SetOwner(mOwners[i]);  // an owner in name only
        } else {
            mOwners[i]->FCurveSet(mCurves[i], false);
        }
    }
}
