// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// All new values and slopes are computed before the first key is written, since every sample is
// one of the curve as it was.

#include "glissa/filter/gaussian.h"

#include "corvekit/math/elementary.h"
#include "glissa/curve/curve.h"
#include "glissa/utils/span_edits.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

template class KClassFrame<GlissaFilterGaussian, GlissaCurveFilter>;

namespace
{
const char* const kErrors[] = {"No key", "Left unchanged", "Parameter is out of range"};
constexpr int kParameter = 2;

// Where the weights end: beyond, they sum up to 6e-7 of the whole.
constexpr double kReachInDeviations = 5.0;
/// Over how many the change fades at an end of the span.
constexpr double kFadeInDeviations = 3.0;
constexpr double kGreatestDeviation = 10000.0;  // in samples, all of which each key weighs

/// A time mirrored into the keys, and whether an odd number of mirrors was passed.
struct Mirrored
{
    KTime time;
    bool isReversed;
};

// The mirrors are the first and the last key.
Mirrored MirrorInto(KTime pTime, KTime pFirst, KTime pLast)
{
    const std::int64_t length = (pLast - pFirst).Get();
    const bool isBefore = pTime < pFirst;
    std::int64_t offset = (isBefore ? pFirst - pTime : pTime - pFirst).Get();
    if (length <= std::numeric_limits<std::int64_t>::max() / 2) {
        offset %= 2 * length;
    }
    const bool isBack = offset > length;
    return {pFirst + KTime(isBack ? length - (offset - length) : offset), isBefore != isBack};
}

/// Samples around a centre that moves forward. A sample that lies on the grid of the last centre is
/// not taken again.
///
/// Sample  from a time to a double.
template <typename Sample>
class SampleWindow
{
public:
    SampleWindow(KTime pPeriod, int pReach, Sample pSample)
        : mPeriod(pPeriod),
          mSample(pSample),
          mReach(pReach),
          mValues(2 * static_cast<std::size_t>(pReach) + 1)
    {}

    /// The samples from the reach before to the reach behind the centre.
    const std::vector<double>& MoveTo(KTime pCentre)
    {
        const auto count = static_cast<std::int64_t>(mValues.size());
        const std::int64_t distance = (pCentre - mCentre).Get();
        const std::int64_t steps = distance / mPeriod.Get();
        const bool isShared = mIsFilled && distance % mPeriod.Get() == 0 && steps < count;
        if (isShared) {
            std::move(mValues.begin() + static_cast<std::ptrdiff_t>(steps), mValues.end(),
                      mValues.begin());
        }
        for (std::int64_t i = isShared ? count - steps : 0; i < count; ++i) {
            mValues[static_cast<std::size_t>(i)] =
                mSample(pCentre + mPeriod * static_cast<int>(i - mReach));
        }
        mCentre = pCentre;
        mIsFilled = true;
        return mValues;
    }

private:
    KTime mPeriod;
    Sample mSample;
    int mReach;
    std::vector<double> mValues;
    KTime mCentre;
    bool mIsFilled = false;
};

// The weights of the samples around a key, which sum up to 1.
std::vector<double> GaussianWeights(double pDeviationInSamples, int pReach)
{
    CORVEKIT_ASSERT(pDeviationInSamples > 0.0 && pReach >= 0);
    const auto reach = static_cast<std::size_t>(pReach);
    std::vector<double> weights(2 * reach + 1, 1.0);
    double total = 1.0;
    for (std::size_t i = 1; i <= reach; ++i) {
        const double x = static_cast<double>(i) / pDeviationInSamples;
        const double weight = KgeExponential(-0.5 * x * x);
        weights[reach - i] = weights[reach + i] = weight;
        total += 2.0 * weight;
    }
    for (double& weight : weights) {
        weight /= total;
    }
    return weights;
}

// Added up in pairs from the rims to the middle: the mirror image of a curve gives the same sum.
double WeightedMean(const std::vector<double>& pSamples, const std::vector<double>& pWeights,
                    double pMiddleSample)
{
    const std::size_t reach = pSamples.size() / 2;
    double sum = 0.0;
    for (std::size_t i = 0; i < reach; ++i) {
        sum += pWeights[i] * (pSamples[i] + pSamples[2 * reach - i]);
    }
    return sum + pWeights[reach] * pMiddleSample;
}

bool IsCubicUser(const Glissa& pCurve, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    return pCurve.KeyGetInterpolation(pIndex) == eInterpolationCubic &&
           (pCurve.KeyGetTangeantMode(pIndex, false) & eTangentUser) != 0;
}

// Whether a key has a slope of its own, stored on its right or in the key before.
bool HasUserSlope(const Glissa& pCurve, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    return IsCubicUser(pCurve, pIndex) ||
           (pIndex > 0 && pCurve.KeyGetInterpolation(pIndex) != eInterpolationCubic &&
            IsCubicUser(pCurve, pIndex - 1));
}

/// The slopes of a key.
struct KeySlopes
{
    int index;
    float left;
    float right;
};

/// What becomes of the keys of a span.
/// A share of the change, and its own change a second.
struct Share
{
    double share;
    double slope;
};

// The change begins and ends gently where an end of the span is inside the curve, with the cubic
// 3 u^2 - 2 u^3 along the way.
class Fade
{
public:
    Fade(Glissa& pCurve, KTime pStart, KTime pStop, double pSeconds)
        : mStart(pStart),
          mStop(pStop),
          mSeconds(pSeconds),
          mFadesIn(pStart > pCurve.KeyGetTime(0)),
          mFadesOut(pStop < pCurve.KeyGetTime(pCurve.KeyGetCount() - 1))
    {}

    Share At(KTime pTime) const
    {
        const Share in = mFadesIn ? Along(pTime - mStart) : Share{1.0, 0.0};
        const Share out = mFadesOut ? Along(mStop - pTime) : Share{1.0, 0.0};
        return {in.share * out.share, in.slope * out.share - in.share * out.slope};
    }

private:
    Share Along(KTime pFromEnd) const
    {
        CORVEKIT_ASSERT(pFromEnd >= KTime() && mSeconds > 0.0);
        const double u = std::min(pFromEnd.GetSecondDouble() / mSeconds, 1.0);
        return {u * u * (3.0 - 2.0 * u), 6.0 * u * (1.0 - u) / mSeconds};
    }

    KTime mStart;
    KTime mStop;
    double mSeconds;
    bool mFadesIn;
    bool mFadesOut;
};

// Exact at both ends.
double Blend(double pOld, double pNew, double pShare)
{
    return pShare == 1.0 ? pNew : pOld + pShare * (pNew - pOld);
}

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
    SampleWindow values(pPeriod, reach, [&](KTime pTime) -> double {
        return pCurve.Evaluate(MirrorInto(pTime, firstTime, lastTime).time, &hint);
    });
    // In a corner the mean of both sides; at a mirror they cancel.
    SampleWindow slopes(pPeriod, reach, [&](KTime pTime) -> double {
        const Mirrored place = MirrorInto(pTime, firstTime, lastTime);
        if (place.time == firstTime || place.time == lastTime) {
            return 0.0;
        }
        const double left = pCurve.EvaluateLeftDerivative(place.time, &hint);
        const double right = pCurve.EvaluateRightDerivative(place.time, &hint);
        return (place.isReversed ? -0.5 : 0.5) * (left + right);
    });

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

// By index; none where the last one lies before the first one.
KeyRange KeysWithin(Glissa& pCurve, KTime pStart, KTime pStop)
{
    return {static_cast<int>(std::ceil(pCurve.KeyFind(pStart, nullptr))),
            static_cast<int>(std::floor(pCurve.KeyFind(pStop, nullptr)))};
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

EGlissaFilterAnswer GlissaFilterGaussian::Examine(Glissa& pCurve)
{
    if (!(mStandardDeviation > 0.0) || !std::isfinite(mStandardDeviation)) {
        return RefuseCurve(kParameter, "Gaussian Filter, The standard deviation is not above 0.");
    }
    if (!(mSamplingRate > 0.0) || SamplePeriod() < KTime(1)) {
        return RefuseCurve(kParameter, "Gaussian Filter, The sampling rate is out of range.");
    }
    if (DeviationInSamples() > kGreatestDeviation) {
        return RefuseCurve(kParameter, "Gaussian Filter, Too many samples in a deviation.");
    }
    const KeyRange keys = KeysWithin(pCurve, GetStartTime(), GetStopTime());
    if (pCurve.KeyGetCount() == 0 || keys.first > keys.last) {
        return RefuseCurve(eFilterNoKey, "Gaussian Filter, No key to be filtered.");
    }
    return pCurve.KeyGetCount() == 1 ? eFilterNothingToDo : eFilterChanges;
}

bool GlissaFilterGaussian::Change(Glissa& pCurve)
{
    const double deviation = DeviationInSamples();
    const int reach = static_cast<int>(std::ceil(kReachInDeviations * deviation));
    const KeyRange keys = KeysWithin(pCurve, GetStartTime(), GetStopTime());
    const Fade fade(pCurve, GetStartTime(), GetStopTime(), kFadeInDeviations * mStandardDeviation);
    const Smoothed smoothed = SmoothKeys(pCurve, keys.first, keys.last, SamplePeriod(),
                                         GaussianWeights(deviation, reach), fade);

    for (int i = keys.first; i <= keys.last; ++i) {
        pCurve.KeySetValue(i, smoothed.values[static_cast<std::size_t>(i - keys.first)]);
    }
    for (const KeySlopes& each : smoothed.slopes) {
        pCurve.KeySetLeftDerivative(each.index, each.left);
        pCurve.KeySetRightDerivative(each.index, each.right);
    }
    return true;
}
