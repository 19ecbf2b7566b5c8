// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// New nodes: from a name and a type, from a template, and as copies of others.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve_holder.h"
#include "glissa/node/node_state.h"

#include <algorithm>
#include <iterator>

namespace
{
// Names of the members of a type, in order.
constexpr char kMemberNames[] = {'X', 'Y', 'Z', ' ', 'A', 'B', 'C', 'D', 'E', 'F', 'G',
                                 'H', 'I', 'J', 'K', 'L', 'M', 'N', 'O', 'P', 'Q'};

bool IsAnyOf(KDataType* pType, std::initializer_list<KDataType*> pTypes)
{
    return std::find(pTypes.begin(), pTypes.end(), pType) != pTypes.end();
}

int LayerTypeOf(KDataType* pType)
{
    if (IsAnyOf(pType, {KDataTypeRotation, KDataTypeLclRotation, KDataTypeMatrixRotation})) {
        return eLayerTypeRotation;
    }
    if (IsAnyOf(pType, {KDataTypeScaling, KDataTypeLclScaling, KDataTypeMatrixScaling,
                        KDataTypeScalingUV})) {
        return eLayerTypeScaling;
    }
    return eLayerTypeVector;
}
}  // namespace

GlissaNode* GlissaNodeCreate(const char* pName, KDataType* pType, int pLayerType,
                             const GlissaLayerInfo& pInfo)
{
    const char* name = pType == KDataTypeTimeWarp ? "" : pName;
    return new GlissaNode(name, pName, pType, pLayerType, pInfo);
}

GlissaNode* GlissaNodeCreate(const char* pName, const char* pUserName, const char* pTypeName,
                             int pLayerType, const GlissaLayerInfo& pInfo)
{
    return new GlissaNode(pName, pUserName, KDataTypeGet(pTypeName), pLayerType, pInfo);
}

GlissaNode* GlissaNodeCreate(GlissaNode* pTemplate)
{
    return new GlissaNode(pTemplate);
}

GlissaNode* FCurveNodeCreateFromDataType(KDataType* pType, const char* pName)
{
    NodeHolder node(GlissaNodeCreate(pName, pType, LayerTypeOf(pType), GlissaLayerInfo::Base));
    const int members = pType ? pType->GetMemberCount() : 0;
    if (members < 2) {
        return node.release();
    }
    const int count = std::min(members, static_cast<int>(std::size(kMemberNames)));
    for (int i = 0; i < count; ++i) {
        const char name[] = {kMemberNames[i], '\0'};
        AddNew(*node, GlissaNodeCreate(name, static_cast<KDataType*>(nullptr), eLayerTypeValue,
                                       GlissaLayerInfo::Base));
    }
    return node.release();
}

GlissaNode* GlissaNode::Clone(bool pKeepAttached)
{
    return CloneTemplate(pKeepAttached, true, false, GlissaLayerInfo::Invalid);
}

GlissaNode* GlissaNode::CloneTemplate(bool pKeepAttached, bool pCloneCurves, bool pCreateCurves,
                                      const GlissaLayerInfo& pInfo)
{
    const bool own_layer = pInfo.GetLayerID() == GlissaLayerInfo::Invalid.GetLayerID();
    const GlissaLayerInfo info = own_layer ? mState->mLayer : pInfo;
    NodeHolder clone;
    if (pKeepAttached) {
        clone.reset(GlissaNodeCreate(this));
    } else {
        clone.reset(
            new GlissaNode(GetName(), GetTimeWarpName(), GetDataType(), GetLayerType(), info));
        clone->mState->mRotationOrder = mState->mRotationOrder;
        clone->mState->mEvaluationFlags |= mState->mEvaluationFlags & kNodeUseQuaternion;
        clone->mState->SetFlag(kNodeVisible, GetVisibility());
        if (info.GetLayerID() != 0) {
            clone->ObjectLayerSet(mState->mObjectLayer);
        }
    }
    if (!mState->mCurve) {
        clone->mState->mChildren.SetCapacity(GetCount());
        for (GlissaNode* child : mState->mChildren) {
            clone->AppendNew(
                child->CloneTemplate(pKeepAttached, pCloneCurves, pCreateCurves, pInfo));
        }
    } else if (pCloneCurves || pCreateCurves) {
        CurveHolder curve(GlissaCreate());
        if (pCloneCurves) {
            curve->CopyFrom(*mState->mCurve, true);
        }
        clone->FCurveSet(curve.release(), false);
    }
    if (pCloneCurves) {
        clone->ReplaceUnmatched(this, false);
    }
    clone->SetETI(GetETI());
    return clone.release();
}

GlissaNode* GlissaNode::SingleLayerCopy(KTime pStart, KTime pStop)
{
    NodeHolder copy(new GlissaNode(GetName(), GetTimeWarpName(), GetDataType(), GetLayerType(),
                                   mState->mLayer));
    NameInfo& names = copy->mState->Names();
    names.mProperty = GetProperty();
    names.mLockQuery = GetLockQuery();
    copy->mState->CopyCandidates(*mState);
    // A copy turns as its source does.
    copy->mState->mRotationOrder = mState->mRotationOrder;
    copy->mState->mEvaluationFlags |= mState->mEvaluationFlags & kNodeUseQuaternion;
    if (mState->mCurve) {
        copy->FCurveSet(mState->mCurve->Copy(pStart, pStop), true);
    } else {
        for (GlissaNode* child : mState->mChildren) {
            copy->AppendNew(child->Copy(pStart, pStop));
        }
    }
    copy->ReplaceUnmatched(this, false);
    copy->SetLayerType(GetLayerType());
    copy->SetLayerInfo(mState->mLayer);
    return copy.release();
}

GlissaNode* GlissaNode::Copy(KTime pStart, KTime pStop)
{
    NodeHolder copy(SingleLayerCopy(pStart, pStop));
    if (GlissaNode* next = mState->mNextLayer) {
        if (GlissaNode* layer = copy->LayerCreate(next->GetLayerInfo(), true)) {
            layer->mState->mFlags = next->mState->mFlags;
            // A locked layer may not be edited; to copy it is no edit.
            copy->TakeLayers(this, false, true);
        }
    }
    return copy.release();
}

void GlissaNode::CopyFrom(GlissaNode* pSource, bool pTransfer)
{
    const KOperation operation;
    if (pSource && pSource != this) {
        TakeNode(pSource, pTransfer, false);
        TakeLayers(pSource, pTransfer, false);
    }
}

void GlissaNode::SingleLayerCopyFrom(GlissaNode* pSource, bool pTransfer)
{
    const KOperation operation;
    if (pSource && pSource != this) {
        TakeNode(pSource, pTransfer, false);
    }
}

void GlissaNode::TakeNode(GlissaNode* pSource, bool pTransfer, bool pEvenLocked)
{
    CORVEKIT_ASSERT(pSource && pSource != this);
    if (!pEvenLocked && IsNodeLocked()) {
        return;
    }
    const State& source = *pSource->mState;
    if (!source.mUnmatched.empty() || !mState->mUnmatched.empty()) {
        ReplaceUnmatched(pSource, pTransfer);
    }
    float total[kNodeLayeredValues] = {};
    for (int i = 0; i < kNodeLayeredValues; ++i) {
        GlissaNode* child = Get(i);
        const bool takes = child && (pEvenLocked || !child->IsNodeLocked());
        total[i] = takes ? source.mTotalCandidate[i] : mState->mTotalCandidate[i];
    }
    mState->CopyCandidates(source);
    std::copy_n(total, kNodeLayeredValues, mState->mTotalCandidate);

    if (Glissa* curve = source.mCurve) {
        if (pTransfer) {
            FCurveSet(curve, true);
            pSource->FCurveSet(nullptr, false);
        } else if (mState->mCurve) {
            mState->mCurve->CopyFrom(*curve, true);
        } else {
            FCurveSet(curve->Copy(), false);
        }
    }
    SetLayerType(pSource->GetLayerType());
    const int count = std::min(GetCount(), pSource->GetCount());
    for (int i = 0; i < count; ++i) {
        Get(i)->TakeNode(pSource->Get(i), pTransfer, pEvenLocked);
        Get(i)->TakeLayers(pSource->Get(i), pTransfer, pEvenLocked);
    }
}
