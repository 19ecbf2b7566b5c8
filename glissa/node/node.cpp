// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// How a node is made, cleared and destroyed.

#include "glissa/node/node.h"

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/node/chain.h"

#include <utility>

namespace
{
// Takes a node that ends out of one that holds it, whatever it is there.
void TakeOutOf(GlissaNode& pHolder, GlissaNode& pNode)
{
    GlissaNodeState& holder = StateOf(pHolder);
    holder.mChildren.RemoveIt(&pNode);
    if (holder.mNextLayer == &pNode) {
        ExchangeNextLayer(pHolder, nullptr);
    }
    std::erase(holder.mUnmatched, &pNode);
}
}  // namespace

GlissaNode::GlissaNode(const char* pName, const char* pUserName, KDataType* pType, int pLayerType,
                       const GlissaLayerInfo& pInfo)
{
    auto state = std::make_unique<State>();
    NameInfo& names = state->Names();
    names.mName = KString(pName);
    names.mUserName = KString(pUserName);
    names.mDataType = pType;
    mState = state.release();
    mState->mLayer = pInfo;
    mState->SetObjectLayer(this, this);
    int type = pLayerType;
    if (type == eLayerTypeRotation || type == eLayerTypeRotationByChannel) {
        const bool isByChannel =
            pInfo.GetLayerID() != 0 && pInfo.GetLayerRotationMode() == eRotationByChannel;
        type = isByChannel ? eLayerTypeRotationByChannel : eLayerTypeRotation;
    }
    mState->mEvaluationFlags = State::LayerTypeBit(type);
    mState->SetSpecificCandidateMethod(eCandidateSpecific);
    mState->SetTotalCandidateMethod(eCandidateSpecific);
}

GlissaNode::GlissaNode(GlissaNode* pTemplate) : mState(new State)
{
    CORVEKIT_ASSERT(pTemplate && pTemplate != this);
    const State& source = *pTemplate->mState;
    SetNameInfo(source.mNames);
    mState->mTemplate = pTemplate;
    mState->SetObjectLayer(this, this);
    mState->mRotationOrder = source.mRotationOrder;
    mState->mEvaluationFlags = source.mEvaluationFlags & (kNodeLayerTypes | kNodeUseQuaternion);
    mState->CopyCandidates(source);
}

GlissaNode::~GlissaNode()
{
    mState->mIsEnding = true;
    // Listeners that are turned off are called too.
    CallbackAddEvent(eNodeEventDestroy);
    CallbackEnable(true);
    delete mState->mCallbacks;
    mState->mCallbacks = nullptr;
    GlissaNode::Clear();
    if (mState->mParent) {
        mState->mParent->mState->mChildren.RemoveIt(this);
    }
    while (!mState->mOtherHolders.empty()) {
        GlissaNode* const holder = mState->mOtherHolders.back();
        mState->mOtherHolders.pop_back();
        TakeOutOf(*holder, *this);
    }
    if (GlissaNode* const holder = mState->mHolder) {
        // A child of SortedAdd has a holder and no parent.
        TakeOutOf(*holder, *this);
    }
    while (mState->mWarpUsers) {
        mState->mWarpUsers->mOwner.load()->TimeWarpSet(nullptr);
    }
    // A layer without its base is its own base.
    NodeLink::LeaveAll(mState->mBaseUsers,
                       [](GlissaNode* pLayer) { pLayer->mState->mObjectLayer = pLayer; });
    NoteStructureChange();
    SetETI(nullptr);
    delete mState;
}

void GlissaNode::Clear()
{
    const KOperation operation;
    // The first layer becomes the base of the others.
    GlissaNode* const layer = ExchangeNextLayer(*this, nullptr);
    for (GlissaNode* node = layer; node; node = node->LayerGet()) {
        SetBase(*node, *layer);
    }
    for (int i = mState->mChildren.GetCount() - 1; i >= 0; --i) {
        if (mState->IsContainer()) {
            Remove(i);
        } else {
            Delete(i);
        }
    }
    CORVEKIT_ASSERT(mState->mChildren.IsEmpty());
    mState->mChildren.Clear();
    DestroyUnmatched(*this);
    NoteStructureChange();
    if (Glissa* curve = std::exchange(mState->mCurve, nullptr)) {
        curve->Destroy();
    }
    if (layer && layer->DecReferenceCount() < 1) {
        layer->Destroy();
    }
    mState->SetObjectLayer(this, this);
    mState->SetTimeWarp(this, nullptr);
}

IObject* GlissaNode::IQuery(unsigned long pId, int)
{
    return pId == 0 || pId == 51 || pId == 0x29BC7B2 ? this : nullptr;
}

void GlissaNode::Destroy(int)
{
    if (!mState->mIsEnding) {
        const KOperation operation;
        KOperation::DeleteAtEnd(*this);
    }
}

KZrObjectHolder* GlissaNode::GetZrHolder()
{
    return &mState->mObjectHolder;
}
