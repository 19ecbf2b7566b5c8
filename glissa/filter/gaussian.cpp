// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// All new values and slopes are computed before the first key is written, since every sample is
// one of the curve as it was.

#include "glissa/filter/gaussian.h"

#include "glissa/filter/gaussian_kernel.h"

template class KClassFrame<GlissaFilterGaussian, GlissaCurveFilter>;

namespace
{
const char* const kErrors[] = {"No key", "Left unchanged", "Parameter is out of range"};
constexpr double kGreatestDeviation = 10000.0;  // in samples, all of which each key weighs

/// The slopes of a key.
struct KeySlopes
{
    int index;
    float left;
    float right;
};

/// What becomes of the keys of a span.
struct Smoothed
{
    std::vector<float> values;
    std::vector<KeySlopes> slopes;  // of the keys that store them
};

Smoothed SmoothKeys(Glissa& pCurve, int pFirst, int pLast, KTime pPeriod,
                    const std::vector<double>& pWeights, const Fade& pFade)
{
    CORVEKIT_ASSERT(pFirst >= 0 && pLast < pCurve.KeyGetCount() && pPeriod > KTime());
    const KTime firstTime = pCurve.KeyGetTime(0);
    const KTime lastTime = pCurve.KeyGetTime(pCurve.KeyGetCount() - 1);
    const int reach = static_cast<int>(pWeights.size() / 2);
    int hint = pFirst;
    const auto valueAt = [&](KTime pTime) -> double {
        return pCurve.Evaluate(MirrorInto(pTime, firstTime, lastTime).time, &hint);
    };
    SampleWindow<double, decltype(valueAt)> values(pPeriod, reach, valueAt);
    // In a corner the mean of both sides; at a mirror they cancel.
    const auto slopeAt = [&](KTime pTime) -> double {
        const Mirrored place = MirrorInto(pTime, firstTime, lastTime);
        if (place.time == firstTime || place.time == lastTime) {
            return 0.0;
        }
        const double left = pCurve.EvaluateLeftDerivative(place.time, &hint);
        const double right = pCurve.EvaluateRightDerivative(place.time, &hint);
        return (place.isReversed ? -0.5 : 0.5) * (left + right);
    };
    SampleWindow<double, decltype(slopeAt)> slopes(pPeriod, reach, slopeAt);

    Smoothed smoothed;
    smoothed.values.reserve(static_cast<std::size_t>(pLast - pFirst + 1));
    for (int i = pFirst; i <= pLast; ++i) {
        const KTime time = pCurve.KeyGetTime(i);
        const double old = pCurve.KeyGetValue(i);
        const double mean = WeightedMean(values.MoveTo(time), pWeights, old);
        const Share fade = pFade.At(time);
        smoothed.values.push_back(static_cast<float>(Blend(old, mean, fade.share)));
        if (HasUserSlope(pCurve, i)) {
            // Each side has its own slope in the middle: a narrow Gaussian keeps a corner.
            const std::vector<double>& samples = slopes.MoveTo(time);
            const auto slope = [&](double pOld) {
                const double own = Blend(pOld, WeightedMean(samples, pWeights, pOld), fade.share);
                return static_cast<float>(own + fade.slope * (mean - old));
            };
            smoothed.slopes.push_back({i, slope(pCurve.EvaluateLeftDerivative(time, &hint)),
                                       slope(pCurve.EvaluateRightDerivative(time, &hint))});
        }
    }
    return smoothed;
}
}  // namespace

GlissaFilterGaussian::GlissaFilterGaussian() : KClassFrame("Gaussian Filter", kErrors, 3)
{
    GlissaFilterGaussian::Reset();
}

void GlissaFilterGaussian::Reset()
{
    const double frame = KTime::GetOneFrameValue(eTimeModeDefault).GetSecondDouble();
    mStandardDeviation = frame;
    mSamplingRate = 4.0 / frame;
    GlissaFilter::Reset();
}

KTime GlissaFilterGaussian::SamplePeriod() const
{
    return KTime::FromSeconds(1.0 / mSamplingRate);
}

double GlissaFilterGaussian::DeviationInSamples() const
{
    return mStandardDeviation / SamplePeriod().GetSecondDouble();
}

std::vector<double> GlissaFilterGaussian::Weights() const
{
    const double deviation = DeviationInSamples();
    return GaussianWeights(deviation, static_cast<int>(std::ceil(kReachInDeviations * deviation)));
}

const char* GlissaFilterGaussian::FindFault() const
{
    if (!(mStandardDeviation > 0.0) || !std::isfinite(mStandardDeviation)) {
        return "Gaussian Filter, The standard deviation is not above 0.";
    }
    if (!(mSamplingRate > 0.0) || SamplePeriod() < KTime(1)) {
        return "Gaussian Filter, The sampling rate is out of range.";
    }
    if (DeviationInSamples() > kGreatestDeviation) {
        return "Gaussian Filter, Too many samples in a deviation.";
    }
    return nullptr;
}

EGlissaFilterAnswer GlissaFilterGaussian::Examine(Glissa& pCurve)
{
    if (const char* const fault = FindFault()) {
        return RefuseCurve(kParameter, fault);
    }
    const KeyRange keys = KeysWithin(pCurve, GetStartTime(), GetStopTime());
    if (pCurve.KeyGetCount() == 0 || keys.first > keys.last) {
        return RefuseCurve(eFilterNoKey, "Gaussian Filter, No key to be filtered.");
    }
    return pCurve.KeyGetCount() == 1 ? eFilterNothingToDo : eFilterChanges;
}

bool GlissaFilterGaussian::Change(Glissa& pCurve)
{
    const KeyRange keys = KeysWithin(pCurve, GetStartTime(), GetStopTime());
    const Fade fade(pCurve.KeyGetTime(0), pCurve.KeyGetTime(pCurve.KeyGetCount() - 1),
                    GetStartTime(), GetStopTime(), kFadeInDeviations * mStandardDeviation);
    const Smoothed smoothed =
        SmoothKeys(pCurve, keys.first, keys.last, SamplePeriod(), Weights(), fade);

    for (int i = keys.first; i <= keys.last; ++i) {
        pCurve.KeySetValue(i, smoothed.values[static_cast<std::size_t>(i - keys.first)]);
    }
    for (const KeySlopes& each : smoothed.slopes) {
        pCurve.KeySetLeftDerivative(each.index, each.left);
        pCurve.KeySetRightDerivative(each.index, each.right);
    }
    return true;
}
