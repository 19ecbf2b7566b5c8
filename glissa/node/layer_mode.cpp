// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What the other layers do to one of them: sums, products and rotations over parts of the chain.

#include "corvekit/math/rotation_order.h"
#include "glissa/node/node_state.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace
{
constexpr double kFullWeightTolerance = 1e-5;
// Nodes of more values take no part. No data type has as many.
constexpr int kWidestLayer = 32;
}  // namespace

GlissaNode::LayerModeCase GlissaNode::CheckLayerMode(KTime pTime, int pId) const
{
    const GlissaLayerInfo& info = mState->mLayer;
    const bool above = info.GetLayerID() > pId;
    if (IsNodeMuted()) {
        return eModeCaseSkip;
    }
    switch (info.GetLayerMode()) {
    case eLayerModeOverride:
        return above ? eModeCaseStop : eModeCaseReset;
    case eLayerModeOverridePassthrough:
        if (std::fabs(info.GetWeight(pTime) - 1.0) > kFullWeightTolerance) {
            return eModeCaseScale;
        }
        return above ? eModeCaseStop : eModeCaseReset;
    default:
        return eModeCaseSkip;
    }
}

bool GlissaNode::CheckLayerMode(double* pValues, KTime pTime, int pId)
{
    const LayerModeCase mode = CheckLayerMode(pTime, pId);
    if (mode == eModeCaseScale) {
        ApplyWeightedValue(pValues, 1.0 - mState->mLayer.GetWeight(pTime));
    } else if (mode == eModeCaseReset) {
        GetZeroValues(pValues);
    }
    return mode != eModeCaseStop;
}

bool GlissaNode::CheckLayerMode(KgeRMatrix& pMatrix, KTime pTime, int pId)
{
    const LayerModeCase mode = CheckLayerMode(pTime, pId);
    if (mode == eModeCaseScale) {
        pMatrix = pMatrix.Power(1.0 - mState->mLayer.GetWeight(pTime));
    } else if (mode == eModeCaseReset) {
        pMatrix.Init();
    }
    return mode != eModeCaseStop;
}

template <typename Operation>
void GlissaNode::EvaluateExceptLayer(double* pValues, KTime pTime, int pId, int* pHint,
                                     Operation pOperation)
{
    for (GlissaNode* node = this; node && node->CheckLayerMode(pValues, pTime, pId);
         node = node->LayerGet()) {
        const int width = node->Width();
        if (node->GetLayerID() != pId && width <= kWidestLayer) {
            double own[kWidestLayer] = {};
            node->EvaluateLayer(own, pTime, pHint, false);
            std::transform(own, own + width, pValues, pValues, pOperation);
        }
    }
}

void GlissaNode::EvaluateCurvesExceptLayerRecursiveAdd(double* pValues, KTime pTime, int pId,
                                                       int* pHint)
{
    EvaluateExceptLayer(pValues, pTime, pId, pHint, std::plus<>());
}

void GlissaNode::EvaluateCurvesExceptLayerRecursiveMult(double* pValues, KTime pTime, int pId,
                                                        int* pHint)
{
    EvaluateExceptLayer(pValues, pTime, pId, pHint, std::multiplies<>());
}

bool GlissaNode::EvaluateCurvesLayerEulerXYZ(KgeRMatrix& pMatrix, KTime pTime, int pId, int* pHint)
{
    if (!CheckLayerMode(pMatrix, pTime, pId)) {
        return false;
    }
    if (GetLayerID() != pId && Width() <= kWidestLayer) {
        double own[kWidestLayer] = {};
        EvaluateLayer(own, pTime, pHint, false);
        KgeRMatrix matrix;
        KVdRotationOrder(mState->mRotationOrder).V2M(matrix, KgeRVector(own));
        pMatrix = pMatrix * matrix;
    }
    return true;
}

void GlissaNode::EvaluateCurvesBeforeLayerRecursiveEulerXYZ(KgeRMatrix& pMatrix, KTime pTime,
                                                            int pId, int* pHint)
{
    for (GlissaNode* node = this; node && node->GetLayerID() < pId; node = node->LayerGet()) {
        if (!node->EvaluateCurvesLayerEulerXYZ(pMatrix, pTime, pId, pHint)) {
            return;
        }
    }
}

void GlissaNode::EvaluateCurvesAfterLayerRecursiveEulerXYZ(KgeRMatrix& pMatrix, KTime pTime,
                                                           int pId, int* pHint)
{
    for (GlissaNode* node = this; node; node = node->LayerGet()) {
        if (node->GetLayerID() > pId &&
            !node->EvaluateCurvesLayerEulerXYZ(pMatrix, pTime, pId, pHint)) {
            return;
        }
    }
}
