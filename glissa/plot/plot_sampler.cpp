// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A dense curve has every sample. A sparse one has keys where the layers have some, and is brought
// to the dense one at the end.

#include "glissa/plot/plot_sampler.h"

#include "corvekit/math/rotation_order.h"
#include "glissa/curve/curve.h"
#include "glissa/node/evaluation.h"
#include "glissa/plot/fidelity.h"
#include "glissa/plot/hold_fidelity.h"
#include "glissa/plot/layer_fold.h"
#include "glissa/plot/source_keys.h"
#include "glissa/utils/sample_grid.h"

#include <algorithm>

namespace
{
constexpr KTime kNone = KTime::Infinite();

// A time before or behind a key, if there is one.
KTime Beside(KTime pKey, KTime pDistance)
{
    return pKey == kNone ? kNone : pKey + pDistance;
}

NodeHolder MakeWorkNode(GlissaNode& pNode)
{
    NodeHolder node(pNode.CloneTemplate(false, false, false, GlissaLayerInfo::Invalid));
    node->CreateFCurve();
    return node;
}
}  // namespace

// The times from which the next sample is chosen.
struct PlotSampler::Cursor
{
    Cursor(GlissaNode& pNode, const PlotSpan& pSpan, KTime pLookAround)
        : keys(pNode),
          regular(pSpan.start),
          nextKey(pSpan.start),
          keyBefore(pSpan.start - pLookAround),
          keyAfter(pSpan.start + pLookAround),
          previous(keyBefore),
          lookAround(pLookAround)
    {}

    KTime Choose(bool pIsSmart, KTime pExtra) const
    {
        KTime time = regular;
        for (const KTime each : {keyBefore, nextKey, keyAfter, pExtra}) {
            time = pIsSmart && each > previous && each < time ? each : time;
        }
        return time;
    }

    void Advance(KTime pTime, const PlotSpan& pSpan)
    {
        if (pTime >= nextKey) {
            nextKey = keys.FindAfter(pTime);
            // Motion towards a key behind the stop ends at the stop.
            keysAll = nextKey != kNone && nextKey > pSpan.stop && pTime < pSpan.stop;
            nextKey = keysAll ? pSpan.stop : nextKey;
            keyBefore = Beside(nextKey, -lookAround);
        }
        if (pTime >= keyAfter) {
            keyAfter = Beside(nextKey, lookAround);
        }
        if (pTime >= regular) {
            regular += pSpan.period;
        }
        previous = pTime;
    }

    SourceKeys keys;
    KTime regular;
    KTime nextKey;
    KTime keyBefore;
    KTime keyAfter;
    KTime previous;
    KTime lookAround;
    bool keysAll = true;  // nextKey is an end of the span: all channels get a key
};

PlotSampler::PlotSampler(GlissaNode& pNode, const PlotSpan& pSpan,
                         const KSmartPlotOptions& pOptions, bool pUsesWarp)
    : mNode(pNode),
      mSpan(pSpan),
      mOptions(pOptions),
      mUsesWarp(pUsesWarp),
      mDense(MakeWorkNode(pNode)),
      mDenseCurves(CurvesOf(*mDense))
{
    // The look-around period of a host may be anything.
    mOptions.mLookAroundPeriod = std::max(mOptions.mLookAroundPeriod, KTime());
    if (mOptions.mSmartPlot) {
        mSparse = MakeWorkNode(pNode);
        mSparseCurves = CurvesOf(*mSparse);
        mHasMoved.resize(mSparseCurves.size());
    }
    const int samples = SampleGrid(pSpan.start, pSpan.stop, pSpan.period).count;
    for (Glissa* curve : mDenseCurves) {
        curve->InitBuffers(samples + 1, true);
    }
}

std::vector<Glissa*> PlotSampler::CurvesOf(GlissaNode& pNode) const
{
    if (Glissa* curve = pNode.FCurveGet()) {
        return {curve};
    }
    std::vector<Glissa*> curves;
    for (int i = 0; i < pNode.GetCount(); ++i) {
        curves.push_back(pNode.Get(i)->FCurveGet());
    }
    return curves;
}

void PlotSampler::Sample(const Values& pValues)
{
    if (mSpan.start > mSpan.stop) {
        return;
    }
    const bool isSmart = mOptions.mSmartPlot;
    const bool isRotation = CombinedTypeOf(mNode, mDenseCurves.size()) == eLayerTypeRotation;
    const KVdRotationOrder order(mNode.GetRotationOrder());
    KgeRVector angles;
    std::vector<double> values(mDenseCurves.size());
    Cursor cursor(mNode, mSpan, mOptions.mLookAroundPeriod);
    KTime time;
    do {
        // Extrapolation and weights can move a channel behind its last key.
        const bool endsMoved =
            isSmart && cursor.nextKey == kNone &&
            std::find(mHasMoved.begin(), mHasMoved.end(), true) != mHasMoved.end();
        time = cursor.Choose(isSmart, endsMoved ? mSpan.stop : kNone);
        if (time == KTime::Infinite()) {
            break;  // a period beyond the range of times
        }
        pValues(values.data(), mUsesWarp ? WarpedTime(mNode, time, false) : time);
        if (isRotation) {
            order.V2VRef(angles, KgeRVector(values.data()), angles);
            std::copy_n(angles.Data(), 3, values.begin());
        }
        Emit(time, values);
        if (isSmart) {
            EmitSparse(time, values, cursor);
        }
        cursor.Advance(time, mSpan);
    } while (time <= mSpan.stop);
}

void PlotSampler::Emit(KTime pTime, const std::vector<double>& pValues)
{
    for (std::size_t i = 0; i < mDenseCurves.size(); ++i) {
        mDenseCurves[i]->KeyAppendFast(pTime, static_cast<float>(pValues[i]));
    }
}

void PlotSampler::EmitSparse(KTime pTime, const std::vector<double>& pValues, const Cursor& pCursor)
{
    bool hasAnyMoved = false;
    for (std::size_t i = 0; i < mSparseCurves.size(); ++i) {
        const Glissa& curve = *mSparseCurves[i];
        const int last = curve.KeyGetCount() - 1;
        const auto value = static_cast<float>(pValues[i]);
        mHasMoved[i] = mHasMoved[i] || (last >= 0 && curve.KeyGetValue(last) != value);
        hasAnyMoved = hasAnyMoved || mHasMoved[i];
    }
    const bool isKey = pTime == pCursor.nextKey;
    const bool isLast = pCursor.nextKey == kNone && pTime == mSpan.stop;
    // A rotation has its keys on all channels.
    const bool keysAll = (isKey && (pCursor.keysAll || mNode.IsRotationLayerType())) ||
                         (isLast && hasAnyMoved && mNode.IsRotationLayerType());
    for (std::size_t i = 0; i < mSparseCurves.size(); ++i) {
        if (keysAll || (isKey && pCursor.keys.HasKey(i)) || (isLast && mHasMoved[i])) {
            mSparseCurves[i]->KeyAppendFast(pTime, static_cast<float>(pValues[i]));
            mHasMoved[i] = false;
        }
    }
}

GlissaNode& PlotSampler::Finish()
{
    const KSmartPlotOptions& o = mOptions;
    // Under a warp the keys of the layers are not where the motion has its corners.
    if (!o.mSmartPlot || o.mKeepDenseResult || (mUsesWarp && !o.mIncreaseFidelity)) {
        return *mDense;
    }
    if (o.mBreakTangents) {
        GLISSA_BreakTangents(mSparse.get(), mDense.get(), o.mLookAroundPeriod, o.mBreakTolerance);
    }
    if (o.mIncreaseFidelity) {
        GLISSA_IncreaseFidelity(mSparse.get(), mDense.get(), o.mFidelityTolerance,
                                o.mFidelitySubdivisions, o.mFidelityBreakTangents,
                                o.mLookAroundPeriod, o.mBreakTolerance, false, nullptr, nullptr);
    }
    if (o.mIncreaseFidelity && o.mFidelitySubdivisions >= 2) {
        for (std::size_t i = 0; i < mSparseCurves.size(); ++i) {
            HoldFidelity(*mSparseCurves[i], *mDenseCurves[i], o);
        }
    }
    return *mSparse;
}
