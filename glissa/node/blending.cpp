// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// How a layer's values come onto those below: sums for numbers, powers and products for scaling,
// matrices and quaternions for rotations.

#include "corvekit/math/rotation_order.h"
#include "glissa/curve/curve.h"
#include "glissa/node/euler_blend.h"
#include "glissa/node/node_state.h"

#include <algorithm>
#include <cmath>

namespace
{
// Beyond these a weight counts as full, or as none.
constexpr double kFullWeight = 0.99999;
constexpr double kNoWeight = 1e-5;
constexpr double kExcludedWeight = 0.001;  // an excluded layer of no weight counts as full

// The part pWeight of a rotation. All of it needs no conversion.
void ScaleRotation(KgeRVector& pAngles, double pWeight, const KVdRotationOrder& pOrder)
{
    if (pWeight != 1.0) {
        KgeRMatrix matrix;
        pOrder.V2M(matrix, pAngles);
        pOrder.M2V(pAngles, matrix.Power(pWeight));
    }
}

KgeRVector Composed(const KgeRVector& pBelow, const KgeRVector& pLayer,
                    const KVdRotationOrder& pOrder, bool pOlder)
{
    if (pOlder) {
        const KgeQuaternion below(OlderEulerMatrix(pBelow, pOrder));
        const KgeQuaternion layer(OlderEulerMatrix(pLayer, pOrder));
        return OlderEulerAngles(KgeRMatrix(below * layer), pOrder);
    }
    KgeRMatrix below;
    KgeRMatrix layer;
    pOrder.V2M(below, pBelow);
    pOrder.V2M(layer, pLayer);
    KgeRVector result;
    pOrder.M2V(result, below * layer);
    return result;
}

KgeRVector Mixed(const KgeRVector& pBelow, const KgeRVector& pLayer, double pWeight,
                 const KVdRotationOrder& pOrder, bool pOlder)
{
    if (pOlder) {
        const KgeQuaternion below(OlderEulerMatrix(pBelow, pOrder));
        const KgeQuaternion layer(OlderEulerMatrix(pLayer, pOrder));
        return OlderEulerAngles(KgeRMatrix(KgeSlerp(below, layer, pWeight)), pOrder);
    }
    KgeQuaternion below;
    KgeQuaternion layer;
    pOrder.V2Q(below, pBelow);
    pOrder.V2Q(layer, pLayer);
    KgeRVector result;
    pOrder.Q2V(result, KgeSlerp(below, layer, pWeight));
    return result;
}
}  // namespace

void GlissaNode::AccumulateValue(double* pResult, double* pValues, KTime pTime, int pExcludedId,
                                 int, int)
{
    const GlissaLayerInfo& info = mState->mLayer;
    double weight = info.GetWeight(pTime);
    const eLayerMode mode = info.GetLayerMode();
    if (info.GetLayerID() == pExcludedId && mode == eLayerModeOverridePassthrough &&
        std::fabs(weight) <= kExcludedWeight) {
        weight = 1.0;
    }
    // The weight of a channel is that of its whole: a leaf with a parent just hands its value on.
    const bool hands_on = mState->mCurve && mState->mParent;
    switch (GetLayerType()) {
    case eLayerTypeValue:
    case eLayerTypeVector:
        if (hands_on) {
            pResult[0] += pValues[0];
        } else {
            BlendSimple(pResult, pValues, weight, mode);
        }
        break;
    case eLayerTypeScaling:
        if (hands_on) {
            pResult[0] *= pValues[0];
        } else {
            BlendScaling(pResult, pValues, weight, mode);
        }
        break;
    case eLayerTypeRotation:
    case eLayerTypeRotationByChannel:
        if (!mState->mCurve) {
            BlendRotation(pResult, pValues, weight, mode);
        }
        break;
    default:
        break;
    }
}

void GlissaNode::BlendSimple(double* pResult, double* pValues, double pWeight, eLayerMode pMode)
{
    const int count = std::min(GetValueCount(), kNodeZeroValues);
    for (int i = 0; i < count; ++i) {
        switch (pMode) {
        case eLayerModeAdditive:
            pResult[i] += pWeight * pValues[i];
            break;
        case eLayerModeOverride:
            pResult[i] = pWeight * pValues[i];
            break;
        case eLayerModeOverridePassthrough:
            pResult[i] = pWeight * pValues[i] + (1.0 - pWeight) * pResult[i];
            break;
        }
    }
}

void GlissaNode::BlendScaling(double* pResult, double* pValues, double pWeight, eLayerMode pMode)
{
    const int count = std::min(GetValueCount(), kNodeZeroValues);
    for (int i = 0; i < count; ++i) {
        const double below = std::fabs(pResult[i]);
        const double layer = std::fabs(pValues[i]);
        switch (pMode) {
        case eLayerModeAdditive:
            pResult[i] = std::pow(layer, pWeight) * below;
            break;
        case eLayerModeOverride:
            pResult[i] = std::pow(layer, pWeight);
            break;
        case eLayerModeOverridePassthrough:
            pResult[i] = std::pow(layer, pWeight) * std::pow(below, 1.0 - pWeight);
            break;
        }
    }
}

void GlissaNode::BlendRotation(double* pResult, double* pValues, double pWeight, eLayerMode pMode)
{
    const int type = GetLayerType();
    if (type == eLayerTypeRotationByChannel) {
        BlendSimple(pResult, pValues, pWeight, pMode);
    }
    if (type != eLayerTypeRotation || GetValueCount() < 3) {
        return;
    }
    const KVdRotationOrder order(mState->mRotationOrder);
    const bool older = GLISSA_IsBrokenRotationBlendEnabled();
    KgeRVector layer(pValues);
    KgeRVector result(pResult);
    switch (pMode) {
    case eLayerModeAdditive:
        ScaleRotation(layer, pWeight, order);
        result = Composed(result, layer, order, older);
        break;
    case eLayerModeOverride:
        ScaleRotation(layer, pWeight, order);
        result = layer;
        break;
    case eLayerModeOverridePassthrough:
        result = Mixed(result, layer, pWeight, order, older);
        break;
    }
    std::copy_n(layer.Data(), 3, pValues);
    std::copy_n(result.Data(), 3, pResult);
}

void GlissaNode::ApplyWeightedValue(double* pValues, double pWeight)
{
    const int type = GetLayerType();
    const int count = std::min(mState->mChildren.GetCount(), kNodeZeroValues);
    if (count == 0) {
        if (type != eLayerTypeValue) {
            pValues[0] *= pWeight;
        }
    } else if (type == eLayerTypeRotation && count >= 3) {
        KgeRVector angles(pValues);
        ScaleRotation(angles, pWeight, KVdRotationOrder(mState->mRotationOrder));
        std::copy_n(angles.Data(), 3, pValues);
    } else if (GetDataType() == KDataTypeLclScaling) {
        for (int i = 0; i < count; ++i) {
            pValues[i] = std::pow(pValues[i], pWeight);
        }
    } else {
        for (int i = 0; i < count; ++i) {
            pValues[i] *= pWeight;
        }
    }
}

void GlissaNode::AddWeightedValue(double* pValues, double pWeight)
{
    if (pWeight > kFullWeight) {
        return;
    }
    if (pWeight < kNoWeight) {
        GetZeroValues(pValues);
    } else {
        ApplyWeightedValue(pValues, pWeight);
    }
}

void GlissaNode::ResolveWeightedValue(double* pValues, double pWeight)
{
    if (pWeight <= kFullWeight && pWeight >= kNoWeight) {
        ApplyWeightedValue(pValues, 1.0 / pWeight);
    }
}
