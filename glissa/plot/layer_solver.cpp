// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The inverse of blending for one layer of a chain: total = below * layer * above, where the
// product is a sum, a product or a composition of rotations by the type of the layer.

#include "glissa/plot/layer_solver.h"

#include "glissa/node/node_state.h"
#include "glissa/node/running_rotation.h"

#include <algorithm>

namespace
{
// Weights above and below these count as 1 and as 0, as in GlissaNode::ResolveWeightedValue.
constexpr double kFullWeight = 0.99999;
constexpr double kNoWeight = 1e-5;
}  // namespace

LayerSolver::LayerSolver(GlissaNode& pBase, GlissaNode& pReference, GlissaNode& pSolved)
    : mSolved(pSolved),
      mIsAlone(&pSolved == &pBase && !StateOf(pBase).IsBlended()),
      mOrder(pBase.GetRotationOrder()),
      mCount(ChannelCount(pBase)),
      mType(CombinedTypeOf(pSolved, mCount)),
      mReference(pBase),
      mBelow(pBase),
      mAbove(pBase),
      mOthers(std::max(mCount, ChannelCount(pSolved))),
      mValues(mOthers.size())
{
    mReference.Add(pReference);
}

void LayerSolver::Evaluate(double* pResult, KTime pTime)
{
    CORVEKIT_ASSERT(pResult);
    // A layer may have more channels than its base.
    double* const values = mValues.data();
    mReference.Evaluate(values, pTime);
    if (!mAbove.IsEmpty()) {
        mAbove.Evaluate(mOthers.data(), pTime);
        TakeOut(values, mOthers.data(), false);
    }
    const GlissaLayerInfo& info = mSolved.GetLayerInfo();
    const double weight = mIsAlone ? 1.0 : info.GetWeight(pTime);
    const eLayerMode mode = weight < kNoWeight ? eLayerModeAdditive : info.GetLayerMode();
    if (mode == eLayerModeAdditive && !mBelow.IsEmpty()) {
        mBelow.Evaluate(mOthers.data(), pTime);
        TakeOut(values, mOthers.data(), true);
    }
    if (mode != eLayerModeOverridePassthrough) {
        mSolved.ResolveWeightedValue(values, weight);
    } else if (weight <= kFullWeight) {
        mBelow.Evaluate(mOthers.data(), pTime);
        UnmixFromBelow(values, weight);
    }
    std::copy_n(values, mCount, pResult);
}

// Takes the values of the layers below, or above, out of a total.
void LayerSolver::TakeOut(double* pResult, const double* pOthers, bool pIsBelow) const
{
    if (mType == eLayerTypeRotation) {
        const KgeRMatrix total = RotationMatrix(pResult, mOrder);
        const KgeRMatrix inverse = RotationMatrix(pOthers, mOrder).Transpose();
        KgeRVector angles;
        mOrder.M2V(angles, pIsBelow ? inverse * total : total * inverse);
        std::copy_n(angles.Data(), 3, pResult);
        return;
    }
    for (std::size_t i = 0; i < mCount; ++i) {
        if (mType != eLayerTypeScaling) {
            pResult[i] -= pOthers[i];
        } else if (pOthers[i] != 0.0) {
            pResult[i] /= pOthers[i];
        }
    }
}

// A passthrough layer mixes the part w of its values with 1 - w of those below it. The same mix
// with 1 / w leads from a total back to its values.
void LayerSolver::UnmixFromBelow(double* pResult, double pWeight)
{
    const double inverse = 1.0 / pWeight;
    double* const below = mOthers.data();
    if (mType == eLayerTypeRotation) {
        RunningRotation mix(mOrder.GetOrder());
        mix.Blend(below, pResult, inverse, eLayerModeOverridePassthrough);
        mix.WriteAngles(below);
        std::copy_n(below, 3, pResult);
        return;
    }
    for (std::size_t i = 0; i < mCount; ++i) {
        // Nothing leads back from a scaling to 0.
        below[i] = mType == eLayerTypeScaling && below[i] == 0.0 ? pResult[i] : below[i];
    }
    if (mType == eLayerTypeScaling) {
        mSolved.BlendScaling(below, pResult, inverse, eLayerModeOverridePassthrough);
    } else {
        mSolved.BlendSimple(below, pResult, inverse, eLayerModeOverridePassthrough);
    }
    std::copy_n(below, mCount, pResult);
}
