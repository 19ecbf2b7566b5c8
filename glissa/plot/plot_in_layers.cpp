// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Everything that can refuse a plot is tested before anything changes. Then the channel is sampled,
// the target is created, and only when there is a place for the result the baked layers are
// cleaned.

#include "glissa/plot/plot_in_layers.h"

#include "glissa/curve/curve_holder.h"
#include "glissa/plot/layer_solver.h"
#include "glissa/plot/merge.h"
#include "glissa/plot/merge_span.h"
#include "glissa/plot/plot_sampler.h"
#include "glissa/utils/sample_grid.h"

#include <algorithm>
#include <initializer_list>
#include <memory>

namespace
{
using PlottedCurves = std::vector<CurveHolder>;

// A leaf with a curve, or a branch of such leaves.
bool HasCurves(GlissaNode& pNode)
{
    if (pNode.FCurveGet()) {
        return true;
    }
    for (int i = 0; i < pNode.GetCount(); ++i) {
        if (!pNode.Get(i)->FCurveGet()) {
            return false;
        }
    }
    return pNode.GetCount() > 0;
}

bool IsCombined(int pLayerType)
{
    return pLayerType == eLayerTypeValue || pLayerType == eLayerTypeVector ||
           pLayerType == eLayerTypeRotation || pLayerType == eLayerTypeScaling ||
           pLayerType == eLayerTypeRotationByChannel;
}

bool IsInfinite(KTime pTime)
{
    return pTime <= KTime::MinusInfinite() || pTime == KTime::Infinite();
}

// The leaf that has the curve of a channel; null where a node lacks the channel.
GlissaNode* LeafOf(GlissaNode& pNode, std::size_t pChannel)
{
    const bool isLeaf = pNode.GetCount() == 0 && pChannel == 0;
    return isLeaf ? &pNode : pNode.Get(static_cast<int>(pChannel));
}

// Gives the curves to a node, which destroys its own ones.
void GiveCurves(PlottedCurves pCurves, GlissaNode& pNode)
{
    for (std::size_t i = 0; i < pCurves.size(); ++i) {
        if (GlissaNode* leaf = LeafOf(pNode, i)) {
            leaf->FCurveReplace(pCurves[i].release());
        }
    }
}

PlottedCurves TakeCurves(GlissaNode& pNode)
{
    PlottedCurves curves;
    for (std::size_t i = 0; i < ChannelCount(pNode); ++i) {
        curves.emplace_back(LeafOf(pNode, i)->FCurveSet(nullptr, false));
    }
    return curves;
}

PlottedCurves CopyCurves(const PlottedCurves& pCurves)
{
    PlottedCurves copies;
    for (const CurveHolder& curve : pCurves) {
        copies.emplace_back(curve->Copy());
    }
    return copies;
}

// The arguments of a plot.
struct PlotRequest
{
    const KArrayTemplate<int, 16>* layers;
    // Copied: the layer that the caller's belongs to may be removed.
    GlissaLayerInfo target;
    unsigned flags;
    PlotSpan span;
    GlissaNode* result;
    GlissaNode* reference;
    bool usesWarp;
    KSmartPlotOptions options;
};

// One call of Glissa_PlotInLayers.
class LayerPlot
{
public:
    LayerPlot(GlissaNode& pNode, const PlotRequest& pRequest) : mNode(pNode), mRequest(pRequest) {}

    // Tests everything that can refuse the plot, and finds the ends of its span.
    bool Prepare();
    PlottedCurves Bake();
    // Puts the curves in their places and cleans the layers.
    void Write(PlottedCurves pCurves);

private:
    bool HasFlag(unsigned pFlag) const { return (mRequest.flags & pFlag) != 0; }
    bool Replaces() const { return HasFlag(ePlotReplaceSpan | ePlotReplaceCurves); }
    bool IsListed(const GlissaNode& pLayer) const
    {
        return !mRequest.layers || mRequest.layers->Find(pLayer.GetLayerID()) >= 0;
    }
    bool IsTarget(const GlissaNode& pLayer) const
    {
        return pLayer.GetLayerID() == mRequest.target.GetLayerID();
    }
    // A start behind the stop leaves nothing to write in a span.
    bool HasTime() const { return mRequest.span.start <= mRequest.span.stop; }
    bool FindSpan();
    bool CanWriteTarget();
    bool CanSolve();
    bool MayBeZeroed(const GlissaNode& pLayer) const;
    bool MayBeRemoved(const GlissaNode& pLayer) const;
    std::vector<GlissaNode*> LayersToClean() const;
    LayerFold ListedLayers() const;
    std::unique_ptr<LayerSolver> MakeSolver();
    void Clean();
    void ZeroSpan(GlissaNode& pLayer);
    void RemoveLayer(GlissaNode& pLayer);
    void ReplaceSpan(GlissaNode& pTarget, PlottedCurves pCurves);
    void ReplaceCurves(GlissaNode& pTarget, PlottedCurves pCurves);

    GlissaNode& mNode;
    PlotRequest mRequest;
    // The target, or a node like it while there is none.
    GlissaNode* mModel = nullptr;
    NodeHolder mNewModel;
};

bool LayerPlot::Prepare()
{
    if (!HasCurves(mNode) || !FindSpan()) {
        return false;
    }
    for (GlissaNode* layer = &mNode; layer; layer = layer->LayerGet()) {
        if (!IsCombined(layer->GetLayerType())) {
            return false;
        }
    }
    if (Replaces() || mRequest.reference) {
        mModel = mNode.LayerGet(mRequest.target.GetLayerID());
        if (!mModel) {
            mNewModel.reset(mNode.CloneTemplate(false, false, true, mRequest.target));
            mModel = mNewModel.get();
        }
    }
    if ((Replaces() && !CanWriteTarget()) || (mRequest.reference && !CanSolve())) {
        return false;
    }
    const std::vector<GlissaNode*> cleaned = LayersToClean();
    return std::none_of(cleaned.begin(), cleaned.end(),
                        [](GlissaNode* pLayer) { return pLayer->IsNodeLockedInHierarchy(false); });
}

bool LayerPlot::FindSpan()
{
    if (mRequest.span.period < KTime(1)) {
        return false;
    }
    if (IsInfinite(mRequest.span.start) || IsInfinite(mRequest.span.stop)) {
        KTime start = KTime::Infinite();
        KTime stop = KTime::MinusInfinite();
        if (!mNode.GetAnimationInterval(start, stop)) {
            return false;
        }
        mRequest.span.start = IsInfinite(mRequest.span.start) ? start : mRequest.span.start;
        mRequest.span.stop = IsInfinite(mRequest.span.stop) ? stop : mRequest.span.stop;
    }
    return !HasTime() ||
           SampleGrid(mRequest.span.start, mRequest.span.stop, mRequest.span.period).count > 0;
}

bool LayerPlot::CanWriteTarget()
{
    const int id = mRequest.target.GetLayerID();
    const bool canBeHad =
        !mNewModel || (mNode.IsMultiLayer() && id > mNode.GetLayerID() && id != 0);
    return canBeHad && !mModel->IsNodeLockedInHierarchy(false);
}

bool LayerPlot::CanSolve()
{
    for (GlissaNode* layer = &mNode; layer; layer = layer->LayerGet()) {
        if (layer->GetLayerID() > mRequest.target.GetLayerID() && !layer->IsNodeMuted() &&
            layer->GetLayerInfo().GetLayerMode() != eLayerModeAdditive) {
            return false;
        }
    }
    return HasCurves(*mRequest.reference) &&
           ChannelCount(*mRequest.reference) >= ChannelCount(mNode);
}

bool LayerPlot::MayBeZeroed(const GlissaNode& pLayer) const
{
    // A list is taken as it is, with the target in it.
    return mRequest.layers ? IsListed(pLayer) : !Replaces() || !IsTarget(pLayer);
}

bool LayerPlot::MayBeRemoved(const GlissaNode& pLayer) const
{
    const bool isInUse = &pLayer == mRequest.result || &pLayer == mRequest.reference;
    return mRequest.layers && IsListed(pLayer) &&
           !(IsTarget(pLayer) && HasFlag(ePlotReplaceSpan)) &&
           !(isInUse && pLayer.GetLayerID() != 0);
}

std::vector<GlissaNode*> LayerPlot::LayersToClean() const
{
    std::vector<GlissaNode*> layers;
    for (GlissaNode* layer = &mNode; layer; layer = layer->LayerGet()) {
        const bool isCleaned = HasFlag(ePlotZeroLayers)
                                   ? MayBeZeroed(*layer) && layer->GetCount() > 0
                                   : HasFlag(ePlotRemoveLayers) && MayBeRemoved(*layer);
        if (isCleaned) {
            layers.push_back(layer);
        }
    }
    return layers;
}

LayerFold LayerPlot::ListedLayers() const
{
    LayerFold layers(mNode);
    for (GlissaNode* layer = &mNode; layer; layer = layer->LayerGet()) {
        if (IsListed(*layer)) {
            layers.Add(*layer);
        }
    }
    return layers;
}

std::unique_ptr<LayerSolver> LayerPlot::MakeSolver()
{
    auto solver = std::make_unique<LayerSolver>(mNode, *mRequest.reference, *mModel);
    bool hasBase = false;
    for (GlissaNode* layer = &mNode; layer; layer = layer->LayerGet()) {
        if (!IsListed(*layer) || IsTarget(*layer)) {
            continue;
        }
        if (layer->GetLayerID() < mRequest.target.GetLayerID()) {
            solver->AddBelow(*layer);
        } else {
            // With a target of a negative id, the base and the layers after it are left out.
            hasBase = hasBase || layer->GetLayerID() == 0;
            if (!hasBase) {
                solver->AddAbove(*layer);
            }
        }
    }
    return solver;
}

PlottedCurves LayerPlot::Bake()
{
    const bool hasWarp = mRequest.usesWarp && mNode.TimeWarpGet();
    if (mRequest.options.mSmartPlot && !mRequest.layers && !mRequest.reference && !hasWarp &&
        GLISSA_IsAllSameInterpolation(&mNode, eInterpolationConstant, true)) {
        const NodeHolder merged(mNode.CloneTemplate(false, false, false, GlissaLayerInfo::Invalid));
        merged->CreateFCurve();
        MergeConstantSpan(*merged, mNode, mRequest.span.start, mRequest.span.stop);
        return TakeCurves(*merged);
    }
    PlotSampler sampler(mNode, mRequest.span, mRequest.options, hasWarp);
    if (mRequest.reference) {
        const std::unique_ptr<LayerSolver> solver = MakeSolver();
        sampler.Sample(
            [&solver](double* pValues, KTime pTime) { solver->Evaluate(pValues, pTime); });
    } else {
        LayerFold layers = ListedLayers();
        sampler.Sample(
            [&layers](double* pValues, KTime pTime) { layers.Evaluate(pValues, pTime); });
    }
    return TakeCurves(sampler.Finish());
}

void LayerPlot::Write(PlottedCurves pCurves)
{
    const auto findTarget = [this] {
        GlissaNode* const target = mNode.LayerGet(mRequest.target.GetLayerID());
        return target ? target : mNode.CreateLayerAt(mRequest.target);
    };
    if (Replaces() && !findTarget()) {
        return;
    }
    Clean();
    if (mRequest.result) {
        GiveCurves(Replaces() ? CopyCurves(pCurves) : std::move(pCurves), *mRequest.result);
    }
    if (Replaces()) {
        // The target itself may have been removed.
        if (GlissaNode* const target = findTarget()) {
            if (HasFlag(ePlotReplaceSpan)) {
                ReplaceSpan(*target, std::move(pCurves));
            } else {
                ReplaceCurves(*target, std::move(pCurves));
            }
        }
    }
}

void LayerPlot::Clean()
{
    for (GlissaNode* layer : LayersToClean()) {
        if (HasFlag(ePlotZeroLayers)) {
            ZeroSpan(*layer);
        } else {
            RemoveLayer(*layer);
        }
    }
}

void LayerPlot::ZeroSpan(GlissaNode& pLayer)
{
    if (!HasTime()) {
        return;
    }
    const std::vector<double> zero = ZeroValuesOf(mNode);
    const CurveHolder held(GlissaCreate());
    for (int i = 0; i < pLayer.GetCount(); ++i) {
        const double value = zero[std::min(static_cast<std::size_t>(i), zero.size() - 1)];
        held->SetValue(static_cast<float>(value));
        held->CandidateSet(KTime(), value);
        if (Glissa* curve = pLayer.Get(i)->FCurveGet()) {
            // Without a key to begin with, nothing would be replaced.
            if (curve->KeyGetCount() == 0 && curve->GetValue() != held->GetValue()) {
                curve->KeyAdd(mRequest.span.start);
            }
            curve->Replace(held.get(), mRequest.span.start, mRequest.span.stop, false, true,
                           KTime());
        }
    }
}

void LayerPlot::RemoveLayer(GlissaNode& pLayer)
{
    if (pLayer.GetLayerID() != 0) {
        mNode.RemoveLayer(pLayer.GetLayerID(), true);
        return;
    }
    for (std::size_t i = 0; i < ChannelCount(pLayer); ++i) {
        LeafOf(pLayer, i)->FCurveGet()->KeyClear();
    }
    pLayer.ResetValue(false);
}

void LayerPlot::ReplaceSpan(GlissaNode& pTarget, PlottedCurves pCurves)
{
    if (!HasTime()) {
        return;
    }
    const NodeHolder source(pTarget.CloneTemplate(false, false, false, GlissaLayerInfo::Invalid));
    GiveCurves(std::move(pCurves), *source);
    pTarget.Replace(source.get(), mRequest.span.start, mRequest.span.stop, false, true, KTime());
}

void LayerPlot::ReplaceCurves(GlissaNode& pTarget, PlottedCurves pCurves)
{
    for (std::size_t i = 0; i < pCurves.size(); ++i) {
        const GlissaNode* const leaf = LeafOf(pTarget, i);
        if (Glissa* before = leaf ? leaf->FCurveGet() : nullptr) {
            pCurves[i]->SetColor(before->GetColor());
            pCurves[i]->SetWasData(before->GetWasData());
        }
    }
    GiveCurves(std::move(pCurves), pTarget);
}
}  // namespace

void Glissa_PlotInLayers(GlissaNode* pNode, KArrayTemplate<int, 16>* pLayers,
                         const GlissaLayerInfo& pTarget, unsigned int pFlags, KTime pStart,
                         KTime pStop, KTime pPeriod, GlissaNode* pResultNode,
                         GlissaNode* pReference, bool pUseTimeWarp, KSmartPlotOptions* pOptions)
{
    if (!pNode) {
        return;
    }
    const KOperation operation;
    LayerPlot plot(*pNode, {pLayers,
                            pTarget,
                            pFlags,
                            {pStart, pStop, pPeriod},
                            pResultNode,
                            pReference,
                            pUseTimeWarp,
                            pOptions ? *pOptions : KSmartPlotOptions()});
    if (plot.Prepare()) {
        plot.Write(plot.Bake());
    }
}
