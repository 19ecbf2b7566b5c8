// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: samples the values of a channel into curves.
#pragma once

#include "glissa/node/node_state.h"
#include "glissa/plot/plot_in_layers.h"

#include <functional>
#include <vector>

/// The span and the rate of a plot.
struct PlotSpan
{
    KTime start;
    KTime stop;
    KTime period;  // a tick at least
};

/// Samples a channel at even times, and in a smart plot around the keys of its layers.
class PlotSampler
{
public:
    /// Writes the values at a time into an array.
    using Values = std::function<void(double*, KTime)>;

    /// pUsesWarp  samples take their values at the warped time of the channel.
    PlotSampler(GlissaNode& pNode, const PlotSpan& pSpan, const KSmartPlotOptions& pOptions,
                bool pUsesWarp);

    void Sample(const Values& pValues);
    /// The node that has the plotted curves: the dense one, or the sparse one after its tangents
    /// are broken and keys inserted.
    GlissaNode& Finish();

private:
    struct Cursor;

    std::vector<Glissa*> CurvesOf(GlissaNode& pNode) const;
    void Emit(KTime pTime, const std::vector<double>& pValues);
    void EmitSparse(KTime pTime, const std::vector<double>& pValues, const Cursor& pCursor);

    GlissaNode& mNode;
    PlotSpan mSpan;
    KSmartPlotOptions mOptions;
    bool mUsesWarp;
    NodeHolder mDense;
    NodeHolder mSparse;
    std::vector<Glissa*> mDenseCurves;
    std::vector<Glissa*> mSparseCurves;
    std::vector<bool> mHasMoved;  // since the last sparse key of a channel
};
