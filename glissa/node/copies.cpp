// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// New nodes: from a name and a type, from a template, and as copies of others.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve_holder.h"
#include "glissa/node/chain.h"
#include "glissa/node/layers.h"
#include "glissa/node/structure.h"
#include "glissa/node/tree.h"

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

// Replaces the unmatched channels of a layer by those of another one, or by copies of these. A base
// gets none: its channels are those of the chain, and a reader would make children of the stored
// ones.
void ReplaceUnmatched(GlissaNode& pNode, GlissaNode& pSource, bool pTransfer)
{
    CORVEKIT_ASSERT(&pSource != &pNode);
    if (pNode.GetLayerID() == 0) {
        return;
    }
    DestroyUnmatched(pNode);
    std::vector<GlissaNode*>& unmatched = StateOf(pNode).mUnmatched;
    std::vector<GlissaNode*>& source = StateOf(pSource).mUnmatched;
    unmatched.reserve(source.size());
    for (GlissaNode* const channel : source) {
        unmatched.push_back(pTransfer ? channel : channel->Copy());
        StateOf(*unmatched.back()).mParent = &pNode;
        StateOf(*unmatched.back()).mHolder = &pNode;
    }
    if (pTransfer) {
        source.clear();
    }
}

// What a copy does to the node that it is copied into.
struct CopyMode
{
    bool transfers;       // the curves themselves change hands
    bool includesLocked;  // locked nodes are written too
};

void CopyLayers(GlissaNode& pNode, GlissaNode& pSource, CopyMode pMode);

// Copies curves, candidates and children's layers of a node; not its own layers.
void CopyNode(GlissaNode& pNode, GlissaNode& pSource, CopyMode pMode)
{
    CORVEKIT_ASSERT(&pSource != &pNode);
    if (!pMode.includesLocked && pNode.IsNodeLocked()) {
        return;
    }
    GlissaNodeState& state = StateOf(pNode);
    const GlissaNodeState& source = StateOf(pSource);
    if (!source.mUnmatched.empty() || !state.mUnmatched.empty()) {
        ReplaceUnmatched(pNode, pSource, pMode.transfers);
    }
    float total[kNodeLayeredValues] = {};
    for (int i = 0; i < kNodeLayeredValues; ++i) {
        // A leaf has its own value in the first place.
        const GlissaNode* const of = i == 0 && state.mChildren.IsEmpty() ? &pNode : pNode.Get(i);
        const bool isCopied = of && (pMode.includesLocked || !of->IsNodeLocked());
        total[i] = isCopied ? source.mTotalCandidate[i] : state.mTotalCandidate[i];
    }
    state.CopyCandidates(source);
    std::copy_n(total, kNodeLayeredValues, state.mTotalCandidate);

    if (Glissa* curve = source.mCurve) {
        if (pMode.transfers) {
            pNode.FCurveSet(curve, true);  // which takes it from the source
        } else if (state.mCurve) {
            state.mCurve->CopyFrom(*curve, true);
        } else {
            pNode.FCurveSet(curve->Copy(), false);
        }
    }
    pNode.SetLayerType(pSource.GetLayerType());
    const int count = std::min(pNode.GetCount(), pSource.GetCount());
    for (int i = 0; i < count; ++i) {
        CopyNode(*pNode.Get(i), *pSource.Get(i), pMode);
        CopyLayers(*pNode.Get(i), *pSource.Get(i), pMode);
    }
}

// Makes the chain after a node match that after another one.
void CopyLayers(GlissaNode& pNode, GlissaNode& pSource, CopyMode pMode)
{
    CORVEKIT_ASSERT(&pSource != &pNode);
    GlissaNode* const source = pSource.LayerGet();
    if (!source) {
        GlissaNode* const first = pNode.LayerGet();
        if (first && !first->IsNodeLockedInHierarchy(true)) {
            pNode.LayerSet(nullptr, true);
            return;
        }
        for (GlissaNode* layer = first; layer; layer = layer->LayerGet()) {
            EmptyLayer(*layer);
        }
        return;
    }
    const int id = source->GetLayerID();
    GlissaNode* before = &pNode;
    while (before->LayerGet() && before->LayerGet()->GetLayerID() < id) {
        GlissaNode* const extra = before->LayerGet();
        if (extra->IsNodeLockedInHierarchy(false)) {
            EmptyLayer(*extra);
            before = extra;
        } else {
            TakeOutNextLayer(*before)->Destroy();
        }
    }
    CORVEKIT_ASSERT(IsChainInOrder(&pNode));
    if (GlissaNode* const layer = before->CreateLayerAt(source->GetLayerInfo())) {
        CopyNode(*layer, *source, pMode);
        CopyLayers(*layer, *source, pMode);
    }
}

// Calls pCopy(source, transfers). Where one of the two nodes holds the other, copying would change
// and destroy the source: the source is then a copy of it, whose curves are transferred.
template <typename Copy>
void CopyApart(GlissaNode& pNode, GlissaNode* pSource, bool pTransfer, const Copy& pCopy)
{
    if (!pSource || pSource == &pNode) {
        return;
    }
    if (IsWithin(&pNode, pSource) || IsWithin(pSource, &pNode)) {
        const NodeHolder apart(pSource->Copy());
        pCopy(*apart, true);
    } else {
        pCopy(*pSource, pTransfer);
    }
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
    const bool keepsLayer = pInfo.GetLayerID() == GlissaLayerInfo::Invalid.GetLayerID();
    const GlissaLayerInfo info = keepsLayer ? mState->mLayer : pInfo;
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
            AppendNew(*clone,
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
        ReplaceUnmatched(*clone, *this, false);
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
            AppendNew(*copy, child->Copy(pStart, pStop));
        }
    }
    ReplaceUnmatched(*copy, *this, false);
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
            CopyLayers(*copy, *this, {false, true});
        }
    }
    return copy.release();
}

void GlissaNode::CopyFrom(GlissaNode* pSource, bool pTransfer)
{
    const KOperation operation;
    CopyApart(*this, pSource, pTransfer, [this](GlissaNode& pApart, bool pTakesCurves) {
        CopyNode(*this, pApart, {pTakesCurves, false});
        CopyLayers(*this, pApart, {pTakesCurves, false});
    });
}

void GlissaNode::SingleLayerCopyFrom(GlissaNode* pSource, bool pTransfer)
{
    const KOperation operation;
    CopyApart(*this, pSource, pTransfer, [this](GlissaNode& pApart, bool pTakesCurves) {
        CopyNode(*this, pApart, {pTakesCurves, false});
    });
}

void GlissaNode::LayerCopyFromRecursive(GlissaNode* pSource, bool pTransfer)
{
    const KOperation operation;
    CopyApart(*this, pSource, pTransfer, [this](GlissaNode& pApart, bool pTakesCurves) {
        CopyLayers(*this, pApart, {pTakesCurves, false});
    });
}

GlissaNode* GlissaNode::InsertOrCopyLayer(const GlissaLayerInfo& pInfo, GlissaNode* pSource)
{
    return IfAlive([this, &pInfo, pSource] {
        GlissaNode* layer = LayerGet(pInfo.GetLayerID());
        if (!layer) {
            layer = CreateLayerAt(pInfo);
        }
        if (layer) {
            layer->SingleLayerCopyFrom(pSource, false);
        }
        return layer;
    });
}
