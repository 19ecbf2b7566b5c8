// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the values that a layer must hold for a chain to have a wanted total.
#pragma once

#include "corvekit/math/rotation_order.h"
#include "glissa/plot/layer_fold.h"

/// The total is that of a reference: the layers below and above the solved one are taken out of it,
/// and then the weight of the solved layer by its mode.
///
/// Layers above are additive. The total is not reached
/// - with a weight below 1e-5, which is not taken out;
/// - where a rotation becomes more than half a turn when the weight is taken out;
/// - with scalings, where the other layers scale to 0 or the total is negative.
class LayerSolver
{
public:
    /// pBase       the base node of the chain.
    /// pReference  its own layer is the total.
    /// pSolved     the layer, or a node with its info, type and structure.
    LayerSolver(GlissaNode& pBase, GlissaNode& pReference, GlissaNode& pSolved);

    void AddBelow(GlissaNode& pLayer) { mBelow.Add(pLayer, true); }
    void AddAbove(GlissaNode& pLayer) { mAbove.Add(pLayer, true); }
    /// Allocates nothing. Angles are in any of their forms.
    ///
    /// pResult  out: one value for each channel of the base.
    void Evaluate(double* pResult, KTime pTime);

private:
    void TakeOut(double* pResult, const double* pOthers, bool pIsBelow) const;
    void UnmixFromBelow(double* pResult, double pWeight);

    GlissaNode& mSolved;
    bool mIsAlone;  // the base of a chain without layers is shown without its weight
    KVdRotationOrder mOrder;
    std::size_t mCount;
    int mType;
    LayerFold mReference;
    LayerFold mBelow;
    LayerFold mAbove;
    std::vector<double> mOthers;
    std::vector<double> mValues;
};
