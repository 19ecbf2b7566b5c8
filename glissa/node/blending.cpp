// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// How a layer's values come onto those below: sums for numbers, powers and products for scaling,
// matrices and quaternions for rotations.

#include "glissa/curve/curve.h"
#include "glissa/node/euler_blend.h"
#include "glissa/node/node_state.h"
#include "glissa/node/running_rotation.h"

#include <algorithm>
#include <cmath>

namespace
{
// Beyond these a weight counts as full, or as none.
constexpr double kFullWeight = 0.99999;
constexpr double kNoWeight = 1e-5;
constexpr double kExcludedWeight = 0.001;  // an excluded layer of no weight counts as full

KgeRMatrix MatrixOf(const double* pAngles, const KVdRotationOrder& pOrder)
{
    CORVEKIT_ASSERT(pAngles);
    KgeRMatrix matrix;
    pOrder.V2M(matrix, KgeRVector(pAngles));
    return matrix;
}

// The part pWeight of a rotation. All of it needs no power.
KgeRMatrix PartOf(const double* pAngles, double pWeight, const KVdRotationOrder& pOrder)
{
    const KgeRMatrix whole = MatrixOf(pAngles, pOrder);
    return pWeight == 1.0 ? whole : whole.Power(pWeight);
}

void ScaleRotation(double* pAngles, double pWeight, const KVdRotationOrder& pOrder)
{
    if (pWeight != 1.0) {
        KgeRVector scaled;
        pOrder.M2V(scaled, PartOf(pAngles, pWeight, pOrder));
        std::copy_n(scaled.Data(), 3, pAngles);
    }
}

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
}  // namespace

// How many values a blend works on.
int GlissaNode::ValuesAtHand() const
{
    return mState->mCurve ? 1 : std::min(mState->mChildren.GetCount(), kNodeZeroValues);
}

// A rotation stays a matrix on its way along the chain, and becomes angles where it ends.
void GlissaNode::RunningRotation::Take(const double* pAngles)
{
    if (!mHolds) {
        mHolds = true;
        // At rest, as a chain begins.
        const bool rests = pAngles[0] == 0.0 && pAngles[1] == 0.0 && pAngles[2] == 0.0;
        mMatrix = rests ? KgeRMatrix() : MatrixOf(pAngles, mOrder);
    }
}

void GlissaNode::RunningRotation::Put(double* pAngles)
{
    if (mHolds) {
        mHolds = false;
        KgeRVector angles;
        mOrder.M2V(angles, mMatrix);
        std::copy_n(angles.Data(), 3, pAngles);
    }
}

void GlissaNode::RunningRotation::Blend(double* pResult, const double* pValues, double pWeight,
                                        eLayerMode pMode)
{
    switch (pMode) {
    case eLayerModeAdditive:
        Take(pResult);
        mMatrix = mMatrix * PartOf(pValues, pWeight, mOrder);
        break;
    case eLayerModeOverride:
        // Angles of full weight are kept as they are, whole turns included.
        mHolds = pWeight != 1.0;
        if (mHolds) {
            mMatrix = PartOf(pValues, pWeight, mOrder);
        } else {
            std::copy_n(pValues, 3, pResult);
        }
        break;
    case eLayerModeOverridePassthrough:
        Take(pResult);
        mMatrix = KgeRMatrix(
            KgeSlerp(KgeQuaternion(mMatrix), KgeQuaternion(MatrixOf(pValues, mOrder)), pWeight));
        break;
    }
}

void GlissaNode::AccumulateValue(double* pResult, double* pValues, KTime pTime, int pExcludedId,
                                 int, int)
{
    CORVEKIT_ASSERT(pResult && pValues && pResult != pValues);
    RunningRotation running(mState->mRotationOrder);
    Accumulate(pResult, pValues, pTime, pExcludedId, running);
    running.Put(pResult);
}

void GlissaNode::Accumulate(double* pResult, double* pValues, KTime pTime, int pExcludedId,
                            RunningRotation& pRunning)
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
    const EGlissaLayerType type = mState->LayerType();
    if (type == eLayerTypeRotation && !mState->mCurve && mState->mChildren.GetCount() >= 3 &&
        !GLISSA_IsBrokenRotationBlendEnabled()) {
        pRunning.Blend(pResult, pValues, weight, mode);
        return;
    }
    pRunning.Put(pResult);
    switch (type) {
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
    CORVEKIT_ASSERT(pResult && pValues);
    const int count = ValuesAtHand();
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
    const int count = ValuesAtHand();
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
    CORVEKIT_ASSERT(pResult && pValues);
    // Fewer than three angles are no rotation that could be composed.
    const bool by_channel = GetValueCount() < 3;
    const int type = GetLayerType();
    if (type == eLayerTypeRotationByChannel || (type == eLayerTypeRotation && by_channel)) {
        BlendSimple(pResult, pValues, pWeight, pMode);
        return;
    }
    if (type != eLayerTypeRotation) {
        return;
    }
    if (GLISSA_IsBrokenRotationBlendEnabled()) {
        BlendOlder(pResult, pValues, pWeight, pMode, KVdRotationOrder(mState->mRotationOrder));
    } else {
        RunningRotation running(mState->mRotationOrder);
        running.Blend(pResult, pValues, pWeight, pMode);
        running.Put(pResult);
        if (ScalesAngles(pMode)) {
            ScaleRotation(pValues, pWeight, KVdRotationOrder(mState->mRotationOrder));
        }
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
            // A negative scaling has no power in between: the sign is lost, as in a blend.
            pValues[i] = std::pow(std::fabs(pValues[i]), pWeight);
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
