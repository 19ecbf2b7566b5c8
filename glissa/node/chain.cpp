// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The chain of layers after a base node, in ascending order of id. Its links join whole branches:
// the children of a layer are in no chain of their own.

#include "glissa/node/chain.h"

#include "glissa/node/structure.h"

#include <utility>

GlissaNode* ExchangeNextLayer(GlissaNode& pNode, GlissaNode* pNext)
{
    CORVEKIT_ASSERT(pNext != &pNode);
    if (pNext) {
        EnterHolder(*pNext, pNode);
    }
    GlissaNode* const old = std::exchange(StateOf(pNode).mNextLayer, pNext);
    if (old) {
        LeaveHolder(*old, pNode);
    }
    NoteStructureChange();
    return old;
}

GlissaNode* TakeOutNextLayer(GlissaNode& pNode)
{
    GlissaNode* const layer = StateOf(pNode).mNextLayer;
    CORVEKIT_ASSERT(layer);
    ExchangeNextLayer(pNode, ExchangeNextLayer(*layer, nullptr));
    return layer;
}

void SetBase(GlissaNode& pLayer, GlissaNode& pBase)
{
    pLayer.ObjectLayerSet(&pBase);
    for (int i = 0; i < pLayer.GetCount(); ++i) {
        GlissaNode* const child = pLayer.Get(i);
        GlissaNode* const base = pBase.Get(i) ? pBase.Get(i) : child;
        for (GlissaNode* node = child; node; node = node->LayerGet()) {
            SetBase(*node, *base);
        }
    }
}

void DestroyUnmatched(GlissaNode& pLayer)
{
    std::vector<GlissaNode*>& unmatched = StateOf(pLayer).mUnmatched;
    while (!unmatched.empty()) {
        GlissaNode* const channel = unmatched.back();
        unmatched.pop_back();
        CORVEKIT_ASSERT(StateOf(*channel).mHolder == &pLayer);
        StateOf(*channel).mHolder = nullptr;
        channel->SetParent(nullptr);
        channel->Destroy();
    }
}

void PostLayersEvent(GlissaNode& pNode)
{
    if (GlissaNode* const base = StateOf(pNode).mObjectLayer) {
        base->CallbackAddEvent(eNodeEventLayers);
    }
}

const GlissaLayerInfo& GlissaNode::GetLayerInfo() const
{
    return mState->mLayer;
}

void GlissaNode::SetLayerInfo(const GlissaLayerInfo& pInfo)
{
    mState->mLayer = pInfo;
    NoteStructureChange();
}

int GlissaNode::GetLayerID() const
{
    return mState->mLayer.GetLayerID();
}

bool GlissaNode::IsRotationLayerType() const
{
    return mState->IsRotation();
}

bool GlissaNode::IsScalingLayerType() const
{
    const int type = GetLayerType();
    return type == eLayerTypeScaling || type == eLayerTypeScalingAlt;
}

int GlissaNode::GetCorrectLayerID(int pId) const
{
    return IsMultiLayer() ? pId : 0;
}

GlissaLayerInfo GlissaNode::GetCorrectLayerInfo(const GlissaLayerInfo& pInfo)
{
    const GlissaNode* asked = GetCount() > 0 ? Get(0) : this;
    return IsMultiLayer() && !asked->GetETI() ? pInfo : GlissaLayerInfo::Base;
}

GlissaNode* GlissaNode::LayerGet() const
{
    return mState->mNextLayer;
}

GlissaNode* GlissaNode::LayerGet(int pId)
{
    CORVEKIT_ASSERT(IsChainInOrder(this));
    GlissaNode* node = this;
    while (node && node->GetLayerID() < pId) {
        node = node->LayerGet();
    }
    return node && node->GetLayerID() == pId ? node : nullptr;
}

GlissaNode* GlissaNode::GetPreviousLayer(int pId)
{
    CORVEKIT_ASSERT(IsChainInOrder(this));
    if (pId == 0) {
        return nullptr;
    }
    GlissaNode* node = this;
    while (node->LayerGet() && node->LayerGet()->GetLayerID() < pId) {
        node = node->LayerGet();
    }
    return node;
}

bool GlissaNode::HasOverrideLayer() const
{
    for (const GlissaNode* node = this; node; node = node->LayerGet()) {
        if (node->mState->mLayer.GetLayerMode() != eLayerModeAdditive) {
            return true;
        }
    }
    return false;
}

int GlissaNode::GetUnmatchedCount() const
{
    return static_cast<int>(mState->mUnmatched.size());
}

GlissaNode* GlissaNode::GetUnmatched(int pIndex) const
{
    return pIndex >= 0 && pIndex < GetUnmatchedCount()
               ? mState->mUnmatched[static_cast<std::size_t>(pIndex)]
               : nullptr;
}
