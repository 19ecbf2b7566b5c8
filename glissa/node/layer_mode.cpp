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
}

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

void GlissaNode::EvaluateCurvesExceptLayerRecursiveAdd(double* pValues, KTime pTime, int pId,
                                                       int* pHint)
{
    for (GlissaNode* node = this; node && node->CheckLayerMode(pValues, pTime, pId);
         node = node->LayerGet()) {
        if (node->GetLayerID() != pId) {
            double own[kNodeZeroValues] = {};
            node->EvaluateLayer(own, pTime, node->GetLayerID(), pHint, false);
            const int count = std::min(node->GetValueCount(), kNodeZeroValues);
            std::transform(own, own + count, pValues, pValues, std::plus<>());
        }
    }
}

void GlissaNode::EvaluateCurvesExceptLayerRecursiveMult(double* pValues, KTime pTime, int pId,
                                                        int* pHint)
{
    for (GlissaNode* node = this; node && node->CheckLayerMode(pValues, pTime, pId);
         node = node->LayerGet()) {
        if (node->GetLayerID() != pId) {
            double own[kNodeZeroValues] = {};
            node->EvaluateLayer(own, pTime, node->GetLayerID(), pHint, false);
            const int count = std::min(node->GetValueCount(), kNodeZeroValues);
            std::transform(own, own + count, pValues, pValues, std::multiplies<>());
        }
    }
}

bool GlissaNode::EvaluateCurvesLayerEulerXYZ(KgeRMatrix& pMatrix, KTime pTime, int pId, int* pHint)
{
    if (!CheckLayerMode(pMatrix, pTime, pId)) {
        return false;
    }
    if (GetLayerID() != pId) {
        double own[kNodeZeroValues] = {};
        EvaluateLayer(own, pTime, GetLayerID(), pHint, false);
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
