// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Layers by themselves: the weighted values of each are combined in the order of the chain, as
// evaluation does with all of them. A rotation remains a matrix until the last layer.

#include "glissa/plot/layer_fold.h"

#include "glissa/node/blending.h"
#include "glissa/node/values.h"

#include <algorithm>
#include <utility>

namespace
{
// Combines the weighted values of a layer with those of the layers below it.
void Combine(GlissaNode& pLayer, double* pResult, double* pValues, std::size_t pCount,
             RunningRotation& pRunning)
{
    const int type = CombinedTypeOf(pLayer, pCount);
    if (type == eLayerTypeRotation) {
        pRunning.Blend(pResult, pValues, 1.0, eLayerModeAdditive);
        return;
    }
    pRunning.WriteAngles(pResult);
    for (std::size_t i = 0; i < pCount; ++i) {
        if (type == eLayerTypeScaling) {
            pResult[i] *= pValues[i];
        } else {
            pResult[i] += pValues[i];
        }
    }
}
}  // namespace

std::size_t ChannelCount(GlissaNode& pNode)
{
    return static_cast<std::size_t>(std::max(pNode.GetValueCount(), 0));
}

std::vector<double> ZeroValuesOf(GlissaNode& pNode)
{
    double zero[kNodeZeroValues] = {};
    const auto written = pNode.GetZeroValues(zero) - zero;
    const double last = written > 0 ? zero[written - 1] : 0.0;
    return std::vector<double>(std::max<std::size_t>(ChannelCount(pNode), 1), last);
}

int CombinedTypeOf(GlissaNode& pNode, std::size_t pChannels)
{
    const int type = pNode.GetLayerType();
    return type == eLayerTypeRotation && std::min(ChannelCount(pNode), pChannels) < 3
               ? eLayerTypeRotationByChannel
               : type;
}

LayerFold::LayerFold(GlissaNode& pBase)
    : mCount(ChannelCount(pBase)), mOrder(pBase.GetRotationOrder()), mZero(ZeroValuesOf(pBase))
{}

void LayerFold::Add(GlissaNode& pLayer, bool pHasOthers)
{
    std::vector<double> zero = ZeroValuesOf(pLayer);
    const auto width = static_cast<std::size_t>(WidthOf(StateOf(pLayer)));
    zero.resize(std::max({zero.size(), width, mZero.size()}), zero.back());
    mValues.resize(std::max(mValues.size(), zero.size()));
    mSources.push_back({&pLayer, std::move(zero), 0, !pHasOthers && !StateOf(pLayer).IsBlended()});
    mIsBlended = mIsBlended || pLayer.GetLayerInfo().GetLayerMode() != eLayerModeAdditive;
}

void LayerFold::Evaluate(double* pResult, KTime pTime)
{
    CORVEKIT_ASSERT(pResult);
    std::copy_n(mZero.begin(), mCount, pResult);
    RunningRotation running(mOrder);
    for (Source& source : mSources) {
        GlissaNode& layer = *source.layer;
        if (layer.IsNodeMuted()) {
            continue;
        }
        const bool isRaw = mIsBlended || source.isAlone;
        std::copy(source.zero.begin(), source.zero.end(), mValues.begin());
        layer.EvaluateSpecificLayer(mValues.data(), pTime, layer.GetLayerID(), &source.hint, isRaw);
        if (mIsBlended && !source.isAlone) {
            BlendLayer(layer, pResult, mValues.data(), pTime, -1, running);
        } else {
            Combine(layer, pResult, mValues.data(), mCount, running);
        }
    }
    running.WriteAngles(pResult);
}
