// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/array.h"
#include "corvekit/time.h"
#include "glissa/export.h"
#include "glissa/node/layer.h"

#include <cstdint>

class GlissaNode;

/// How a smart plot finds a few keys instead of one for each sample.
struct KSmartPlotOptions
{
    bool mSmartPlot = false;
    bool mBreakTangents = true;    ///< applies GLISSA_BreakTangents to the sparse result
    double mBreakTolerance = 1.0;  ///< of slopes, value per second
    /// Distance of the further samples before and behind each source key, and the period over which
    /// slopes are measured.
    KTime mLookAroundPeriod = KTime(KTime::kTicksPerSecond / 120);
    bool mIncreaseFidelity = true;  ///< inserts keys until the sparse result is near the dense one
    double mFidelityTolerance = 0.25;    ///< greatest difference of a value that this leaves
    bool mFidelityBreakTangents = true;  ///< breaks the tangents of inserted keys
    int mFidelitySubdivisions = 2;       ///< parts of a span; below 2, no key is inserted
    bool mReserved = true;               ///< not used
    bool mKeepDenseResult = false;       ///< the result is the dense one all the same
};

/// Options of a host for merging layers. The library does not read them.
struct KMergeLayerOptions
{
    KMergeLayerOptions() {}

    KTime mStart = KTime::MinusInfinite();
    KTime mStop = KTime::Infinite();
    KTime mPeriod = KTime(KTime::kTicksPerSecond / 30);
    std::int64_t mHostData;  ///< without a value until the host sets it
    bool mHostFlag = true;
    KSmartPlotOptions mSmartPlotOptions;
};

/// What a plot does with its result and with the layers that it was made of.
enum EGlissaPlotFlags : unsigned
{
    /// Removes the listed layers. The base loses its keys and takes the zero values. Without a
    /// list, and with ePlotZeroLayers, nothing is removed.
    ePlotRemoveLayers = 2,
    /// Sets the span of the layers to the zero values, those of all layers without a list. **A leaf
    /// stays as it is.**
    ePlotZeroLayers = 4,
    /// Writes the result into the span of the target layer, which is created where it is missing.
    ePlotReplaceSpan = 8,
    /// Makes the result the curves of the target layer. Not with ePlotReplaceSpan.
    ePlotReplaceCurves = 16,
};

/// Bakes layers of a channel into curves, one key for each sample. The layers are combined as
/// evaluation blends them. The result goes to a node, into the span of a layer, or becomes the
/// curves of a layer; the baked layers can be emptied or removed.
///
/// With a reference it solves: the result is what the target layer must hold, so that the layers
/// below and above it give the values of the reference. The weight and the mode of the target are
/// taken out.
///
/// A smart plot keys a channel where a layer has a key for it, at the start, and at the stop where
/// the channel still moves. It breaks tangents and inserts keys until the result is within the
/// tolerance of the dense one. Where new keys would be nearer to others than 1/120 s, such as at
/// the jumps of constant keys, the difference remains. With constant keys in all layers, no list,
/// no reference and no time warp, it merges the keys instead, see GLISSA_ConstantCurveMerge.
///
/// Returns with nothing changed
/// - for a null node, and one that is neither a leaf with a curve nor a branch of such leaves;
/// - for a layer type of the chain for which no blending exists (eLayerTypeScalingAlt);
/// - for a period below a tick, and more samples than an int counts;
/// - where a layer that the flags would write, empty or remove is locked;
/// - where a flag asks for a target that does not exist and cannot be created: the node may not
///   have layers, or the id is not above its own;
/// - for a reference with fewer channels, and where a layer above the target has another mode than
///   additive and is not muted: no values of the target reach the reference through it.
///
/// Without a reference the target takes the values as they are: **with a weight below 1, muted, or
/// with layers that remain, the total differs from before**. Dense keys are cubic and automatic, so
/// steps and corners between samples are rounded. The last sample is the first one behind the stop.
/// A start behind the stop samples nothing: no span is written, but the result node and
/// ePlotReplaceCurves take empty curves, and layers are removed. Scalings keep their
/// sign, which a blend loses. A smart plot of a rotation on a path of quaternions holds the
/// tolerance for its curves, not for the path.
///
/// pNode        the base node of a chain.
/// pLayers      ids to bake, in any order; null for all. Missing ones are skipped.
/// pTarget      the layer that takes the result.
/// pFlags       EGlissaPlotFlags.
/// pStart, pStop  the span. An infinite end is that of the keys of the chain; without keys the
///              function returns.
/// pPeriod      between two samples, a tick at least.
/// pResultNode  may be null: of the same structure, takes the result as its curves, locked or not.
///              With a replace flag too, both take it. Not removed where it is a listed layer.
/// pReference   may be null: the node whose own layer has the wanted total. Likewise.
/// pUseTimeWarp samples at the warped times of the node. The result is for a node without the warp.
/// pOptions     may be null, for a dense plot.
/// Cost: an evaluation of each layer a sample. Sampling allocates for the curves alone.
GLISSA_API void Glissa_PlotInLayers(GlissaNode* pNode, KArrayTemplate<int, 16>* pLayers,
                                    const GlissaLayerInfo& pTarget, unsigned int pFlags,
                                    KTime pStart, KTime pStop, KTime pPeriod,
                                    GlissaNode* pResultNode, GlissaNode* pReference,
                                    bool pUseTimeWarp, KSmartPlotOptions* pOptions);
