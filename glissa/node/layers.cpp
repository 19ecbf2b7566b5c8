// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The chain of layers behind a base node: in ascending order of id, every node of the structure of
// the one before it. Links hold whole branches together; the children of a layer have none.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node_state.h"

#include <limits>
#include <utility>

namespace
{
constexpr int kAllNodes = std::numeric_limits<int>::max();

// Gives a curve of a new layer its first value and its colour. Its node hears of none of it.
void PrepareCurve(Glissa* pCurve, double pValue, const float* pColor)
{
    CORVEKIT_ASSERT(pCurve && pColor);
    GlissaNode* owner = pCurve->GetOwner();
    pCurve->SetOwner(nullptr);
    pCurve->SetValue(static_cast<float>(pValue));
    pCurve->SetColor(pColor);
    pCurve->SetOwner(owner);
}

void DeleteAllKeys(GlissaNode* pNode)
{
    if (Glissa* curve = pNode->FCurveGet()) {
        curve->Delete(KTime::MinusInfinite(), KTime::Infinite(), true);
    }
    for (int i = 0; i < pNode->GetCount(); ++i) {
        DeleteAllKeys(pNode->Get(i));
    }
}

// The node that an operation gives, or null where a listener that was called at its end has
// destroyed it.
template <typename Operation>
GlissaNode* IfAlive(const Operation& pOperation)
{
    KWatch watch;
    GlissaNode* node = nullptr;
    {
        const KOperation operation;
        node = pOperation();
        watch.Set(node);
    }
    return watch.IsAlive() ? node : nullptr;
}

// The curve that stands for a node: its own or that of its first child.
Glissa* FirstCurve(GlissaNode* pNode)
{
    if (Glissa* own = pNode->FCurveGet()) {
        return own;
    }
    GlissaNode* first = pNode->Get(0);
    return first ? first->FCurveGet() : nullptr;
}
}  // namespace

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
    const int type = GetLayerType();
    return type == eLayerTypeRotation || type == eLayerTypeRotationByChannel;
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

GlissaNode* GlissaNode::GetCorrectLayerAndCreateIfMissing(const GlissaLayerInfo& pInfo)
{
    const GlissaLayerInfo info = GetCorrectLayerInfo(pInfo);
    GlissaNode* layer = LayerGet(info.GetLayerID());
    return layer ? layer : CreateLayerAt(info);
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

// Links another node behind this one, or none, and gives the one that was there.
GlissaNode* GlissaNode::ExchangeNextLayer(GlissaNode* pNext)
{
    CORVEKIT_ASSERT(pNext != this);
    GlissaNode* const old = std::exchange(mState->mNextLayer, pNext);
    if (old && old->mState->mHolder == this) {
        old->mState->mHolder = nullptr;
    }
    if (pNext) {
        pNext->mState->mHolder = this;
    }
    NoteStructureChange();
    return old;
}

void GlissaNode::LayerSet(GlissaNode* pNode, bool pDeleteOld)
{
    const KOperation operation;
    if (pNode == mState->mNextLayer || (pNode && !MayHold(this, pNode))) {
        return;
    }
    GlissaNode* const old = ExchangeNextLayer(pNode);
    if (old && pDeleteOld) {
        old->Destroy();
    }
    if (pNode) {
        pNode->SetUseQuaternion(GetUseQuaternion());
    }
    TellOfLayers();
}

void GlissaNode::TellOfLayers()
{
    if (mState->mObjectLayer) {
        mState->mObjectLayer->CallbackAddEvent(eNodeEventLayers);
    }
}

GlissaNode* GlissaNode::LayerCreate(const GlissaLayerInfo& pInfo, bool pDeleteOld)
{
    // A clone for no layer is one of this node's own id.
    if (!IsMultiLayer() || pInfo.GetLayerID() == GlissaLayerInfo::Invalid.GetLayerID() ||
        LevelOf(this) + LevelsBelow(this) > kMaxLevels) {
        return nullptr;
    }
    return IfAlive([this, &pInfo, pDeleteOld] { return MakeLayer(pInfo, pDeleteOld); });
}

GlissaNode* GlissaNode::MakeLayer(const GlissaLayerInfo& pInfo, bool pDeleteOld)
{
    NodeHolder made(CloneTemplate(false, false, true, pInfo));
    GlissaNode* const layer = made.get();
    try {
        LayerSet(layer, pDeleteOld);
    } catch (...) {
        if (mState->mNextLayer == layer) {
            made.release();
        }
        throw;
    }
    made.release();

    double zero[kNodeZeroValues] = {};
    GetZeroValues(zero);
    if (mState->mCurve) {
        PrepareCurve(layer->FCurveGet(), zero[0], GetColor());
    }
    for (int i = 0; i < layer->GetCount(); ++i) {
        if (Get(i)->FCurveGet()) {
            // What a node of that many channels is worth when nothing moves is not known beyond.
            const double value = i < kNodeZeroValues ? zero[i] : zero[kNodeZeroValues - 1];
            PrepareCurve(layer->Get(i)->FCurveGet(), value, Get(i)->GetColor());
        }
    }
    layer->RegisterEvalutationOverwrite();
    return layer;
}

GlissaNode* GlissaNode::CreateLayerAt(const GlissaLayerInfo& pInfo)
{
    const int id = pInfo.GetLayerID();
    // Ids rise along the chain, so none below the node's own can stand behind it, nor can a base.
    if (!IsMultiLayer() || id <= GetLayerID() || id == 0) {
        return nullptr;
    }
    GlissaNode* before = GetPreviousLayer(id);
    GlissaNode* behind = before->LayerGet();
    if (behind && behind->GetLayerID() == id) {
        return behind;
    }
    if (behind && LevelOf(behind) + ReachOf(behind, nullptr, kAllNodes).levels > kMaxLevels) {
        return nullptr;
    }
    return IfAlive([this, &pInfo, before, behind] {
        const auto putBack = [before, behind] {
            GlissaNode* const next = before->LayerGet();
            if (behind && next && next != behind) {
                next->ExchangeNextLayer(behind);
            }
        };
        GlissaNode* layer = nullptr;
        try {
            layer = before->LayerCreate(pInfo, !behind);
        } catch (...) {
            putBack();
            throw;
        }
        if (layer) {
            putBack();
            TellOfLayers();
        }
        CORVEKIT_ASSERT(IsChainInOrder(this));
        return layer;
    });
}

GlissaNode* GlissaNode::RemoveLayer(int pId, bool pDestroy)
{
    const KOperation operation;
    GlissaNode* before = GetPreviousLayer(pId);
    GlissaNode* layer = before ? before->LayerGet() : nullptr;
    if (!layer || layer->GetLayerID() != pId) {
        return nullptr;
    }
    before->ExchangeNextLayer(layer->ExchangeNextLayer(nullptr));
    layer->ObjectLayerSet(this);
    if (!pDestroy) {
        return layer;
    }
    layer->Destroy();
    return nullptr;
}

bool GlissaNode::RemoveLayerNode(int pId)
{
    const KOperation operation;
    const int id = GetCorrectLayerID(pId);
    GlissaNode* before = nullptr;
    GlissaNode* layer = this;
    while (layer && layer->GetLayerID() != id) {
        before = layer;
        layer = layer->LayerGet();
    }
    if (!layer) {
        return false;
    }
    if (!before) {
        Delete(KTime::MinusInfinite(), KTime::Infinite(), false);
        ResetValue(false);
        CandidateClear(0, true);
    } else if (layer->IsNodeLockedInHierarchy(false)) {
        layer->Empty();
    } else {
        before->ExchangeNextLayer(layer->ExchangeNextLayer(nullptr));
        layer->Destroy();
    }
    return true;
}

// What a locked layer becomes in place of going: without keys, candidates and effect.
void GlissaNode::Empty()
{
    DeleteAllKeys(this);
    DestroyUnmatched();
    SetZeroValues(true);
    CandidateClear(GetLayerID(), false);
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

void GlissaNode::LayerCopyFromRecursive(GlissaNode* pSource, bool pTransfer)
{
    const KOperation operation;
    TakeLayers(pSource, pTransfer, false);
}

void GlissaNode::TakeLayers(GlissaNode* pSource, bool pTransfer, bool pEvenLocked)
{
    CORVEKIT_ASSERT(pSource && pSource != this);
    GlissaNode* source = pSource->LayerGet();
    if (!source) {
        if (GlissaNode* next = mState->mNextLayer) {
            if (!next->IsNodeLockedInHierarchy(true)) {
                LayerSet(nullptr, true);
                return;
            }
            for (; next; next = next->LayerGet()) {
                next->Empty();
            }
        }
        return;
    }
    const int id = source->GetLayerID();
    GlissaNode* before = this;
    while (before->LayerGet() && before->LayerGet()->GetLayerID() < id) {
        GlissaNode* extra = before->LayerGet();
        if (extra->IsNodeLockedInHierarchy(false)) {
            extra->Empty();
            before = extra;
        } else {
            before->ExchangeNextLayer(extra->ExchangeNextLayer(nullptr));
            extra->Destroy();
        }
    }
    GlissaNode* layer = before->CreateLayerAt(source->GetLayerInfo());
    if (layer) {
        layer->TakeNode(source, pTransfer, pEvenLocked);
        layer->TakeLayers(source, pTransfer, pEvenLocked);
    }
}

// Makes a node the base of this layer. Below, every child has that of the base as its own base, and
// so do the layers behind it.
void GlissaNode::SetBase(GlissaNode* pBase)
{
    CORVEKIT_ASSERT(pBase);
    ObjectLayerSet(pBase);
    for (int i = 0; i < GetCount(); ++i) {
        GlissaNode* const base = pBase->Get(i) ? pBase->Get(i) : Get(i);
        for (GlissaNode* node = Get(i); node; node = node->LayerGet()) {
            node->SetBase(base);
        }
    }
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

void GlissaNode::DestroyUnmatched()
{
    while (!mState->mUnmatched.empty()) {
        GlissaNode* const channel = mState->mUnmatched.back();
        mState->mUnmatched.pop_back();
        channel->mState->mHolder = nullptr;
        channel->SetParent(nullptr);
        channel->Destroy();
    }
}

// Takes over the unmatched channels of another layer, or copies of them.
void GlissaNode::ReplaceUnmatched(GlissaNode* pSource, bool pTransfer)
{
    CORVEKIT_ASSERT(pSource != this);
    DestroyUnmatched();
    if (pTransfer) {
        mState->mUnmatched.swap(pSource->mState->mUnmatched);
    } else {
        mState->mUnmatched.reserve(pSource->mState->mUnmatched.size());
        for (GlissaNode* const channel : pSource->mState->mUnmatched) {
            mState->mUnmatched.push_back(channel->Copy());
        }
    }
    for (GlissaNode* const channel : mState->mUnmatched) {
        channel->mState->mParent = this;
        channel->mState->mHolder = this;
    }
}

void GlissaNode::RegisterEvalutationOverwrite()
{
    GlissaNode* object_layer = mState->mObjectLayer;
    const Glissa* base = object_layer && object_layer != this ? FirstCurve(object_layer) : nullptr;
    if (!base || !base->IsEvaluationOverwritten()) {
        return;
    }
    if (mState->mCurve) {
        mState->mCurve->CallbackEvaluationRegister(nullptr, nullptr);
    }
    for (GlissaNode* child : mState->mChildren) {
        if (Glissa* curve = child->FCurveGet()) {
            curve->CallbackEvaluationRegister(nullptr, nullptr);
        }
    }
}
