// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the values of some layers of a chain, combined apart from the others.
#pragma once

#include "corvekit/time.h"
#include "glissa/node/node.h"

#include <cstddef>
#include <vector>

/// Values of a channel: 1 for a leaf with a curve, else the number of children.
std::size_t ChannelCount(GlissaNode& pNode);
/// The neutral values of a channel. Channels beyond those of GetZeroValues take its last value.
std::vector<double> ZeroValuesOf(GlissaNode& pNode);
/// The layer type by which the values of a node are combined in a chain of so many channels. Fewer
/// than three angles are no rotation and are combined as numbers, as in a blend.
int CombinedTypeOf(GlissaNode& pNode, std::size_t pChannels);

/// Layers of one chain, evaluated together.
///
/// Where all of them are additive, their weighted values are added, multiplied or composed. With
/// another mode among them they are blended by mode and weight from the zero values up. The two
/// agree but for the sign of scalings, which a blend loses.
class LayerFold
{
public:
    /// pBase  has the number of channels.
    explicit LayerFold(GlissaNode& pBase);

    /// Adds a layer above those added before. The layer must outlive the fold.
    ///
    /// pHasOthers  the chain has another layer, or will have one: the weight of a base counts.
    void Add(GlissaNode& pLayer, bool pHasOthers = false);
    bool IsEmpty() const { return mSources.empty(); }
    /// Evaluates at a time and allocates nothing. Rotations are in the order of the base.
    ///
    /// pResult  out: one value for each channel of the base, at least one.
    void Evaluate(double* pResult, KTime pTime);

private:
    struct Source
    {
        GlissaNode* layer;
        std::vector<double> zero;  // with room for all values of the layer
        int hint;
        // A base without layers is shown without its weight.
        bool isAlone;
    };

    std::size_t mCount;
    int mOrder;
    std::vector<double> mZero;
    std::vector<Source> mSources;
    std::vector<double> mValues;
    bool mIsBlended = false;  // a layer has another mode than additive
};
