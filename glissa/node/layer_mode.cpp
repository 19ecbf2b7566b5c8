// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The effect of the other layers on one of them: sums, products and rotations over parts of the
// chain.

#include "glissa/node/evaluation.h"
#include "glissa/node/running_rotation.h"
#include "glissa/node/values.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace
{
constexpr double kFullWeightTolerance = 1e-5;
// Nodes of more values are left out. No data type has as many.
constexpr int kWidestLayer = 32;

bool IsNarrow(const GlissaNodeState& pState)
{
    return WidthOf(pState) <= kWidestLayer;
}

// Applies pOperation to each value and the value of every layer but pId.
template <typename Operation>
void CombineOtherLayers(GlissaNode& pFirst, double* pValues, KTime pTime, int pId, int* pHint,
                        Operation pOperation)
{
    for (GlissaNode* node = &pFirst; node && node->CheckLayerMode(pValues, pTime, pId);
         node = node->LayerGet()) {
        const GlissaNodeState& state = StateOf(*node);
        if (node->GetLayerID() != pId && IsNarrow(state)) {
            double own[kWidestLayer] = {};
            EvaluateLayer(*node, own, pTime, pHint, false);
            std::transform(own, own + WidthOf(state), pValues, pValues, pOperation);
        }
    }
}
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
    CORVEKIT_ASSERT(pValues);
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
    CombineOtherLayers(*this, pValues, pTime, pId, pHint, std::plus<>());
}

void GlissaNode::EvaluateCurvesExceptLayerRecursiveMult(double* pValues, KTime pTime, int pId,
                                                        int* pHint)
{
    CombineOtherLayers(*this, pValues, pTime, pId, pHint, std::multiplies<>());
}

bool GlissaNode::EvaluateCurvesLayerEulerXYZ(KgeRMatrix& pMatrix, KTime pTime, int pId, int* pHint)
{
    if (!CheckLayerMode(pMatrix, pTime, pId)) {
        return false;
    }
    if (GetLayerID() != pId && IsNarrow(*mState)) {
        double own[kWidestLayer] = {};
        EvaluateLayer(*this, own, pTime, pHint, false);
        pMatrix = pMatrix * RotationMatrix(own, KVdRotationOrder(mState->mRotationOrder));
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
