// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Creates layers, and removes them from their chain. A layer has the structure of its base.

#include "glissa/node/layers.h"

#include "glissa/curve/curve.h"
#include "glissa/node/chain.h"
#include "glissa/node/structure.h"
#include "glissa/node/values.h"

#include <limits>

namespace
{
constexpr int kAllNodes = std::numeric_limits<int>::max();

// Sets the default value and the colour of a curve of a new layer.
void PrepareCurve(Glissa* pCurve, double pValue, const float* pColor)
{
    CORVEKIT_ASSERT(pCurve && pColor);
    pCurve->SetValue(static_cast<float>(pValue));
    pCurve->SetColor(pColor);
}

// The curve of a node, else that of its first child.
Glissa* FirstCurve(GlissaNode* pNode)
{
    if (Glissa* own = pNode->FCurveGet()) {
        return own;
    }
    GlissaNode* first = pNode->Get(0);
    return first ? first->FCurveGet() : nullptr;
}

// A layer right after pNode, with empty curves that hold the zero values.
GlissaNode* MakeLayer(GlissaNode& pNode, const GlissaLayerInfo& pInfo, bool pDeleteOld)
{
    NodeHolder made(pNode.CloneTemplate(false, false, true, pInfo));
    GlissaNode* const layer = made.get();
    try {
        pNode.LayerSet(layer, pDeleteOld);
    } catch (...) {
        if (pNode.LayerGet() == layer) {
            made.release();
        }
        throw;
    }
    made.release();

    double zero[kNodeZeroValues] = {};
    pNode.GetZeroValues(zero);
    if (pNode.FCurveGet()) {
        PrepareCurve(layer->FCurveGet(), zero[0], pNode.GetColor());
    }
    for (int i = 0; i < layer->GetCount(); ++i) {
        const GlissaNode* const channel = pNode.Get(i);
        if (channel->FCurveGet()) {
            // Channels that have no zero value of their own take the last one.
            const double value = i < kNodeZeroValues ? zero[i] : zero[kNodeZeroValues - 1];
            PrepareCurve(layer->Get(i)->FCurveGet(), value, channel->GetColor());
        }
    }
    layer->RegisterEvalutationOverwrite();
    return layer;
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
}  // namespace

void EmptyLayer(GlissaNode& pLayer)
{
    CORVEKIT_ASSERT(pLayer.GetLayerID() != 0);
    DeleteAllKeys(&pLayer);
    DestroyUnmatched(pLayer);
    ResetToZeroValues(pLayer, true);
    pLayer.CandidateClear(pLayer.GetLayerID(), false);
}

GlissaNode* GlissaNode::GetCorrectLayerAndCreateIfMissing(const GlissaLayerInfo& pInfo)
{
    const GlissaLayerInfo info = GetCorrectLayerInfo(pInfo);
    GlissaNode* layer = LayerGet(info.GetLayerID());
    return layer ? layer : CreateLayerAt(info);
}

void GlissaNode::LayerSet(GlissaNode* pNode, bool pDeleteOld)
{
    const KOperation operation;
    if (pNode == mState->mNextLayer || (pNode && (IsOwned(pNode) || !MayHold(this, pNode)))) {
        return;
    }
    GlissaNode* const old = ExchangeNextLayer(*this, pNode);
    if (old && pDeleteOld) {
        old->Destroy();
    }
    if (pNode) {
        pNode->SetUseQuaternion(GetUseQuaternion());
    }
    PostLayersEvent(*this);
}

GlissaNode* GlissaNode::LayerCreate(const GlissaLayerInfo& pInfo, bool pDeleteOld)
{
    // CloneTemplate would give the clone this node's own id.
    if (!IsMultiLayer() || pInfo.GetLayerID() == GlissaLayerInfo::Invalid.GetLayerID() ||
        LevelOf(this) + LevelsBelow(this) > kMaxLevels) {
        return nullptr;
    }
    return IfAlive([this, &pInfo, pDeleteOld] { return MakeLayer(*this, pInfo, pDeleteOld); });
}

GlissaNode* GlissaNode::CreateLayerAt(const GlissaLayerInfo& pInfo)
{
    const int id = pInfo.GetLayerID();
    // Ids ascend along the chain.
    if (!IsMultiLayer() || id <= GetLayerID() || id == 0) {
        return nullptr;
    }
    GlissaNode* before = GetPreviousLayer(id);
    GlissaNode* after = before->LayerGet();
    if (after && after->GetLayerID() == id) {
        return after;
    }
    if (after && LevelOf(after) + ReachOf(after, nullptr, kAllNodes).levels > kMaxLevels) {
        return nullptr;
    }
    return IfAlive([this, &pInfo, before, after] {
        const auto putBack = [before, after] {
            GlissaNode* const next = before->LayerGet();
            if (after && next && next != after) {
                ExchangeNextLayer(*next, after);
            }
        };
        GlissaNode* layer = nullptr;
        try {
            layer = before->LayerCreate(pInfo, !after);
        } catch (...) {
            putBack();
            throw;
        }
        if (layer) {
            putBack();
            PostLayersEvent(*this);
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
    TakeOutNextLayer(*before);
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
        EmptyLayer(*layer);
    } else {
        TakeOutNextLayer(*before);
        layer->Destroy();
    }
    return true;
}

bool GlissaNode::GetUseQuaternion() const
{
    return mState->UsesQuaternion();
}

void GlissaNode::SetUseQuaternion(bool pUse)
{
    const KOperation operation;
    if (mState->mNextLayer) {
        mState->mNextLayer->SetUseQuaternion(pUse);
    }
    if (pUse == GetUseQuaternion()) {
        return;
    }
    mState->mEvaluationFlags ^= kNodeUseQuaternion;
    if (GlissaNode* base = mState->mObjectLayer) {
        base->CandidateClear(0, true);
    }
    PostLayersEvent(*this);
}

int GlissaNode::GetRotationOrder() const
{
    return mState->mRotationOrder;
}

void GlissaNode::SetRotationOrder(int pOrder)
{
    for (GlissaNode* node = this; node; node = node->LayerGet()) {
        node->mState->mRotationOrder = pOrder;
    }
}

eWeightRotationAccumulationMode GlissaNode::GetWeightRotationAccumulationMode() const
{
    return (mState->mEvaluationFlags & kNodeRotationByLayer) != 0 ? eRotationByLayer
                                                                  : eRotationByChannel;
}

void GlissaNode::SetWeightRotationAccumulationMode(eWeightRotationAccumulationMode pMode)
{
    if (pMode == eRotationByChannel) {
        mState->mEvaluationFlags &= ~kNodeRotationByLayer;
    } else if (pMode == eRotationByLayer) {
        mState->mEvaluationFlags |= kNodeRotationByLayer;
    }
}

void GlissaNode::RegisterEvalutationOverwrite()
{
    GlissaNode* base = mState->mObjectLayer;
    const Glissa* curve = base && base != this ? FirstCurve(base) : nullptr;
    if (!curve || !curve->IsEvaluationOverwritten()) {
        return;
    }
    if (mState->mCurve) {
        mState->mCurve->CallbackEvaluationRegister(nullptr, nullptr);
    }
    for (GlissaNode* child : mState->mChildren) {
        if (Glissa* own = child->FCurveGet()) {
            own->CallbackEvaluationRegister(nullptr, nullptr);
        }
    }
}
