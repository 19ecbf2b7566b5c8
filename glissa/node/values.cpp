// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Values without keys, and the settings of a rotation.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node_state.h"

#include <algorithm>

double* GlissaNode::GetZeroValues(double* pValues)
{
    CORVEKIT_ASSERT(pValues);
    const EGlissaLayerType type = mState->LayerType();
    if (type == eLayerTypeScalingAlt) {
        return pValues;
    }
    return std::fill_n(pValues, ValuesAtHand(), type == eLayerTypeScaling ? 1.0 : 0.0);
}

double* GlissaNode::GetValue(double* pValues)
{
    CORVEKIT_ASSERT(pValues);
    if (mState->mCurve) {
        *pValues = mState->mCurve->GetValue();
        return pValues + 1;
    }
    for (GlissaNode* child : mState->mChildren) {
        pValues = child->GetValue(pValues);
    }
    return pValues;
}

double* GlissaNode::SetValue(double* pValues, bool pForce)
{
    CORVEKIT_ASSERT(pValues);
    const KOperation operation;
    if (mState->mCurve) {
        if (pForce || !IsNodeLocked()) {
            mState->mCurve->SetValue(static_cast<float>(*pValues));
        }
        return pValues + 1;
    }
    for (GlissaNode* child : mState->mChildren) {
        pValues = child->SetValue(pValues, pForce);
    }
    return pValues;
}

void GlissaNode::ResetValue(bool pChain)
{
    const KOperation operation;
    for (GlissaNode* node = this; node; node = pChain ? node->LayerGet() : nullptr) {
        node->SetZeroValues(false);
    }
}

// The kind of a node says what its channels are worth; a branch below has a kind of its own.
void GlissaNode::SetZeroValues(bool pForce)
{
    double zero = GetLayerType() == eLayerTypeScaling ? 1.0 : 0.0;
    if (mState->mCurve) {
        SetValue(&zero, pForce);
        return;
    }
    for (GlissaNode* child : mState->mChildren) {
        if (child->mState->mCurve) {
            child->SetValue(&zero, pForce);
        } else {
            child->SetZeroValues(pForce);
        }
    }
}

bool GlissaNode::GetUseQuaternion() const
{
    return (mState->mEvaluationFlags & kNodeUseQuaternion) != 0;
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
    TellOfLayers();
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
