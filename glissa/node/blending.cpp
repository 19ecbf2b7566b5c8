// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Blends the values of a layer onto those of the layers below: sums for numbers, powers and
// products for scaling, matrices and quaternions for rotations.

#include "glissa/node/blending.h"

#include "corvekit/math/elementary.h"
#include "glissa/node/euler_blend.h"
#include "glissa/node/values.h"

#include <algorithm>
#include <cmath>

namespace
{
// Weights above and below these count as 1 and as 0.
constexpr double kFullWeight = 0.99999;
constexpr double kNoWeight = 1e-5;
constexpr double kExcludedWeight =
    0.001;  // an excluded layer of a lower weight counts as of weight 1

// Whether a blend of rotations scales the layer's angles by its weight first.
bool ScalesAngles(eLayerMode pMode)
{
    return pMode == eLayerModeAdditive || pMode == eLayerModeOverride;
}

// The same blend with the older conversions.
void BlendOlder(double* pResult, double* pValues, double pWeight, eLayerMode pMode,
                const KVdRotationOrder& pOrder)
{
    if (pMode < eLayerModeAdditive || pMode > eLayerModeOverridePassthrough) {
        return;
    }
    if (pMode != eLayerModeOverridePassthrough) {
        ScaleRotation(pValues, pWeight, pOrder);
    }
    if (pMode == eLayerModeOverride) {
        std::copy_n(pValues, 3, pResult);
        return;
    }
    const KgeQuaternion below(OlderEulerMatrix(KgeRVector(pResult), pOrder));
    const KgeQuaternion layer(OlderEulerMatrix(KgeRVector(pValues), pOrder));
    const bool mixes = pMode == eLayerModeOverridePassthrough;
    const KgeQuaternion blended = mixes ? KgeSlerp(below, layer, pWeight) : below * layer;
    const KgeRVector angles = OlderEulerAngles(KgeRMatrix(blended), pOrder);
    std::copy_n(angles.Data(), 3, pResult);
}

// BlendLayer into an array that has room for all values of the layer.
void BlendOnto(GlissaNode& pLayer, double* pResult, double* pValues, KTime pTime, int pExcludedId,
               RunningRotation& pRunning)
{
    const GlissaNodeState& state = StateOf(pLayer);
    const GlissaLayerInfo& info = state.mLayer;
    double weight = info.GetWeight(pTime);
    const eLayerMode mode = info.GetLayerMode();
    if (info.GetLayerID() == pExcludedId && mode == eLayerModeOverridePassthrough &&
        std::fabs(weight) <= kExcludedWeight) {
        weight = 1.0;
    }
    // The weight of a channel applies to the whole of it: a leaf with a parent has none.
    const bool isUnweighted = state.mCurve && state.mParent;
    const EGlissaLayerType type = state.LayerType();
    if (type == eLayerTypeRotation && !state.mCurve && state.mChildren.GetCount() >= 3 &&
        !GLISSA_IsBrokenRotationBlendEnabled()) {
        pRunning.Blend(pResult, pValues, weight, mode);
        return;
    }
    pRunning.WriteAngles(pResult);
    switch (type) {
    case eLayerTypeValue:
    case eLayerTypeVector:
        if (isUnweighted) {
            pResult[0] += pValues[0];
        } else {
            pLayer.BlendSimple(pResult, pValues, weight, mode);
        }
        break;
    case eLayerTypeScaling:
        if (isUnweighted) {
            pResult[0] *= pValues[0];
        } else {
            pLayer.BlendScaling(pResult, pValues, weight, mode);
        }
        break;
    case eLayerTypeRotation:
    case eLayerTypeRotationByChannel:
        if (!state.mCurve) {
            pLayer.BlendRotation(pResult, pValues, weight, mode);
        }
        break;
    default:
        break;
    }
}
}  // namespace

void BlendLayer(GlissaNode& pLayer, double* pResult, double* pValues, KTime pTime, int pExcludedId,
                RunningRotation& pRunning)
{
    CORVEKIT_ASSERT(pResult && pValues && pResult != pValues);
    const GlissaNodeState& state = StateOf(pLayer);
    const GlissaNode* const base = state.mObjectLayer;
    const int room = base ? std::max(BlendedCount(StateOf(*base)), 1) : kNodeZeroValues;
    if (BlendedCount(state) <= room) {
        BlendOnto(pLayer, pResult, pValues, pTime, pExcludedId, pRunning);
        return;
    }
    // The array has room for the values of the base. Those of further children of the layer have
    // nothing to be blended with and are left out.
    double result[kNodeZeroValues] = {};
    pRunning.WriteAngles(pResult);
    std::copy_n(pResult, room, result);
    BlendOnto(pLayer, result, pValues, pTime, pExcludedId, pRunning);
    pRunning.WriteAngles(result);
    std::copy_n(result, room, pResult);
}

void GlissaNode::AccumulateValue(double* pResult, double* pValues, KTime pTime, int pExcludedId,
                                 int, int)
{
    CORVEKIT_ASSERT(pResult && pValues && pResult != pValues);
    RunningRotation running(mState->mRotationOrder);
    BlendLayer(*this, pResult, pValues, pTime, pExcludedId, running);
    running.WriteAngles(pResult);
}

void GlissaNode::BlendSimple(double* pResult, double* pValues, double pWeight, eLayerMode pMode)
{
    CORVEKIT_ASSERT(pResult && pValues);
    const int count = BlendedCount(*mState);
    switch (pMode) {
    case eLayerModeAdditive:
        for (int i = 0; i < count; ++i) {
            pResult[i] += pWeight * pValues[i];
        }
        break;
    case eLayerModeOverride:
        for (int i = 0; i < count; ++i) {
            pResult[i] = pWeight * pValues[i];
        }
        break;
    case eLayerModeOverridePassthrough:
        for (int i = 0; i < count; ++i) {
            pResult[i] = pWeight * pValues[i] + (1.0 - pWeight) * pResult[i];
        }
        break;
    }
}

void GlissaNode::BlendScaling(double* pResult, double* pValues, double pWeight, eLayerMode pMode)
{
    CORVEKIT_ASSERT(pResult && pValues);
    const int count = BlendedCount(*mState);
    for (int i = 0; i < count; ++i) {
        const double below = std::fabs(pResult[i]);
        const double layer = std::fabs(pValues[i]);
        switch (pMode) {
        case eLayerModeAdditive:
            pResult[i] = KgePower(layer, pWeight) * below;
            break;
        case eLayerModeOverride:
            pResult[i] = KgePower(layer, pWeight);
            break;
        case eLayerModeOverridePassthrough:
            pResult[i] = KgePower(layer, pWeight) * KgePower(below, 1.0 - pWeight);
            break;
        }
    }
}

void GlissaNode::BlendRotation(double* pResult, double* pValues, double pWeight, eLayerMode pMode)
{
    CORVEKIT_ASSERT(pResult && pValues);
    // Fewer than three angles cannot be composed.
    const bool isByChannel = mState->ValueCount() < 3;
    const int type = GetLayerType();
    if (type == eLayerTypeRotationByChannel || (type == eLayerTypeRotation && isByChannel)) {
        BlendSimple(pResult, pValues, pWeight, pMode);
        return;
    }
    if (type != eLayerTypeRotation) {
        return;
    }
    if (GLISSA_IsBrokenRotationBlendEnabled()) {
        BlendOlder(pResult, pValues, pWeight, pMode, KVdRotationOrder(mState->mRotationOrder));
    } else {
        double weight = pWeight;
        if (ScalesAngles(pMode)) {
            ScaleRotation(pValues, pWeight, KVdRotationOrder(mState->mRotationOrder));
            weight = 1.0;
        }
        RunningRotation running(mState->mRotationOrder);
        running.Blend(pResult, pValues, weight, pMode);
        running.WriteAngles(pResult);
    }
}

void GlissaNode::ApplyWeightedValue(double* pValues, double pWeight)
{
    CORVEKIT_ASSERT(pValues);
    const int type = GetLayerType();
    const int count = mState->mChildren.GetCount();
    if (mState->mCurve || count == 0) {
        if (type != eLayerTypeValue) {
            pValues[0] *= pWeight;
        }
    } else if (type == eLayerTypeRotation && count >= 3) {
        ScaleRotation(pValues, pWeight, KVdRotationOrder(mState->mRotationOrder));
    } else if (GetDataType() == KDataTypeLclScaling) {
        for (int i = 0; i < count; ++i) {
            // The power of a negative scaling is not real: the sign is lost, as in a blend.
            pValues[i] = KgePower(std::fabs(pValues[i]), pWeight);
        }
    } else {
        for (int i = 0; i < count; ++i) {
            pValues[i] *= pWeight;
        }
    }
}

void GlissaNode::AddWeightedValue(double* pValues, double pWeight)
{
    CORVEKIT_ASSERT(pValues);
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
    CORVEKIT_ASSERT(pValues);
    if (pWeight <= kFullWeight && pWeight >= kNoWeight) {
        ApplyWeightedValue(pValues, 1.0 / pWeight);
    }
}
