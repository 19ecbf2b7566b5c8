// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/smooth.h"

#include "corvekit/math/elementary.h"
#include "glissa/curve/curve.h"
#include "glissa/filter/magnitude.h"
#include "glissa/filter/rotation_curves.h"
#include "glissa/node/node.h"
#include "glissa/settings/settings.h"

#include <algorithm>
#include <cmath>
#include <vector>

template class KClassFrame<GlissaFilterSmooth, GlissaCurveFilter>;

namespace
{
const char* const kErrors[] = {"Error"};

/// The keys of a span and how far its smoothing is blended into what lies outside.
struct Span
{
    int first;
    int last;
    KTime start;
    KTime stop;
    bool fadesIn;
    bool fadesOut;
};

// The curve has keys.
Span SpanOf(GlissaFilterSmooth& pFilter, Glissa& pCurve)
{
    const int end = pCurve.KeyGetCount() - 1;
    const KTime start = pFilter.GetStartTime();
    const KTime stop = pFilter.GetStopTime();
    const double from = start == KTime::MinusInfinite() ? 0.0 : pCurve.KeyFind(start, nullptr);
    const double to = stop == KTime::Infinite() ? end : pCurve.KeyFind(stop, nullptr);
    Span span{};
    span.first = std::clamp(static_cast<int>(std::floor(from)), 0, end);
    span.last = std::clamp(static_cast<int>(std::ceil(to)), 0, end);
    span.start = pCurve.KeyGetTime(span.first);
    span.stop = pCurve.KeyGetTime(std::max(span.last - 1, 0));
    span.fadesIn = span.start > pCurve.KeyGetTime(0);
    span.fadesOut = span.stop < pCurve.KeyGetTime(end);
    return span;
}

// The weights of the samples 0 to pCount, the same whatever the width.
std::vector<double> WindowWeights(int pCount)
{
    std::vector<double> weights(static_cast<std::size_t>(pCount) + 1);
    for (std::size_t k = 0; k < weights.size(); ++k) {
        const double fromMiddle = std::fabs(static_cast<double>(k) - pCount * 0.5);
        const double x = 1.0 - fromMiddle / (pCount + 1.0);
        weights[k] = 1.078 * KgeExponential(-(x * x) / 0.274);
    }
    return weights;
}

bool IsInfinite(KTime pTime)
{
    return pTime == KTime::MinusInfinite() || pTime == KTime::Infinite();
}

// 1 and more from half a window on, 0 at the end of the span.
double FadeAt(KTime pDistance, KTime pHalf)
{
    return pDistance.GetSecondDouble() / pHalf.GetSecondDouble();
}
}  // namespace

GlissaFilterSmooth::GlissaFilterSmooth() : KClassFrame("FCurve Smooth", kErrors, 1)
{
    GlissaFilterSmooth::Reset();
}

void GlissaFilterSmooth::Reset()
{
    mWidth = GLISSA_GetPlotPeriod() * 4;
    mSampleCount = 8;
    mFramePeriod = KTime::GetOneFrameValue(eTimeModeDefault);
    mApplyGimbleKiller = false;
    mApplyUnroller = false;
    mApplyKeyReducer = false;
    mUseQuaternion = true;
    GlissaFilter::Reset();
}

void GlissaFilterSmooth::SetWidth(KTime pWidth)
{
    mWidth = Magnitude(pWidth);
}

void GlissaFilterSmooth::SetSampleCount(int pCount)
{
    mSampleCount = Magnitude(pCount);
}

void GlissaFilterSmooth::EulerToQuat(Glissa* const*, Glissa* const*) {}

void GlissaFilterSmooth::QuatToEuler(Glissa* const*, Glissa* const*) {}

EGlissaFilterAnswer GlissaFilterSmooth::Examine(Glissa& pCurve)
{
    if (mSampleCount > kMostSamples) {
        return RefuseCurve(0, "FCurve Smooth, The window has more than 100000 samples.");
    }
    if (pCurve.KeyGetCount() == 0 || mWidth / 2 == KTime()) {
        return eFilterNothingToDo;
    }
    const Span span = SpanOf(*this, pCurve);
    return span.last - span.first < 2 ? eFilterNothingToDo : eFilterChanges;
}

bool GlissaFilterSmooth::Change(Glissa& pCurve)
{
    const Span span = SpanOf(*this, pCurve);
    const KTime half = mWidth / 2;
    const std::vector<double> weights = WindowWeights(mSampleCount);
    const KTime stepCount(static_cast<std::int64_t>(weights.size()));

    // Every sample is one of the curve as it was.
    std::vector<float> values;
    int hint = span.first;
    for (int i = span.first + 1; i < span.last; ++i) {
        const KTime time = pCurve.KeyGetTime(i);
        // The start of the span limits the window, its stop does not.
        const KTime reach = std::min(half, time - span.start);
        KTime place = time - reach;
        const KTime step((time + reach - place) / stepCount);
        double sum = 0.0;
        double total = 0.0;
        for (const double weight : weights) {
            sum += weight * pCurve.Evaluate(place, &hint);
            total += weight;
            place += step;
        }
        const double old = pCurve.KeyGetValue(i);
        double mean = total > 0.0 ? sum / total : old;
        if (span.fadesIn && half > time - span.start) {
            const double fade = FadeAt(time - span.start, half);
            mean = (1.0 - fade) * old + fade * mean;
        }
        if (span.fadesOut && half > span.stop - time) {
            const double fade = FadeAt(span.stop - time, half);
            mean = (1.0 - fade) * old + fade * mean;
        }
        values.push_back(static_cast<float>(mean));
    }
    for (int i = span.first + 1; i < span.last; ++i) {
        pCurve.KeySetValue(i, values[static_cast<std::size_t>(i - span.first - 1)]);
    }
    return true;
}

bool GlissaFilterSmooth::Apply(GlissaNode& pNode, bool pRecursive)
{
    if (IsNodeOrChildLocked(pNode)) {
        return false;
    }
    const bool isRotation = pNode.GetCount() == kRotationAxes && IsNamedRotation(pNode);
    if (!isRotation || !mUseQuaternion) {
        return GlissaFilter::Apply(pNode, pRecursive);
    }
    KTime first = KTime::Infinite();
    KTime last = KTime::MinusInfinite();
    if (!pNode.GetAnimationInterval(first, last)) {
        return false;
    }
    const KTime start = GetStartTime();
    const KTime stop = GetStopTime();
    if (start == KTime::MinusInfinite()) {
        SetStartTime(first);
    }
    if (stop == KTime::Infinite()) {
        SetStopTime(last);
    }
    if (IsInfinite(GetStartTime()) || IsInfinite(GetStopTime())) {
        return false;
    }
    if (GetStartTime() >= GetStopTime() || SmoothAsQuaternions(pNode)) {
        return true;
    }
    // A refusal changes nothing: the span of this rotation is not that of the next node.
    SetStartTime(start);
    SetStopTime(stop);
    return false;
}
