// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: what GlissaFilterGaussian does alike with values and with orientations.
#pragma once

#include "corvekit/math/elementary.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/key_kind.h"
#include "glissa/utils/span_edits.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

/// Where the weights end: beyond, they sum up to 6e-7 of the whole.
inline constexpr double kReachInDeviations = 5.0;
/// Over how many the change fades at an end of the span.
inline constexpr double kFadeInDeviations = 3.0;

/// A time mirrored into the keys, and whether an odd number of mirrors was passed.
struct Mirrored
{
    KTime time;
    bool isReversed;
};

/// The mirrors are the first and the last key.
inline Mirrored MirrorInto(KTime pTime, KTime pFirst, KTime pLast)
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
/// Sample  from a time to a Value.
template <typename Value, typename Sample>
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
    const std::vector<Value>& MoveTo(KTime pCentre)
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
    std::vector<Value> mValues;
    KTime mCentre;
    bool mIsFilled = false;
};

/// The weights of the samples around a key, which sum up to 1.
inline std::vector<double> GaussianWeights(double pDeviationInSamples, int pReach)
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

/// Added up in pairs from the rims to the middle: the mirror image of a curve gives the same sum.
template <typename Value>
Value WeightedMean(const std::vector<Value>& pSamples, const std::vector<double>& pWeights,
                   const Value& pMiddleSample)
{
    const std::size_t reach = pSamples.size() / 2;
    Value sum = Value() - Value();  // zero, also where the default is another value
    for (std::size_t i = 0; i < reach; ++i) {
        sum = sum + pWeights[i] * (pSamples[i] + pSamples[2 * reach - i]);
    }
    return sum + pWeights[reach] * pMiddleSample;
}

/// Whether a key has a slope of its own, stored on its right or in the key before.
inline bool HasUserSlope(const Glissa& pCurve, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    return IsCubicUser(pCurve, pIndex) ||
           (pIndex > 0 && pCurve.KeyGetInterpolation(pIndex) != eInterpolationCubic &&
            IsCubicUser(pCurve, pIndex - 1));
}

/// A share of the change, and its own change a second.
struct Share
{
    double share;
    double slope;
};

/// The change begins and ends gently where an end of the span is inside the curve, with the cubic
/// 3 u^2 - 2 u^3 along the way.
class Fade
{
public:
    /// pFirst, pLast  the times of the first and the last key
    /// pSeconds       how long the way is
    Fade(KTime pFirst, KTime pLast, KTime pStart, KTime pStop, double pSeconds)
        : mStart(pStart),
          mStop(pStop),
          mSeconds(pSeconds),
          mFadesIn(pStart > pFirst),
          mFadesOut(pStop < pLast)
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

/// Exact at both ends.
template <typename Value>
Value Blend(const Value& pOld, const Value& pNew, double pShare)
{
    return pShare == 1.0 ? pNew : pOld + pShare * (pNew - pOld);
}

/// The keys of a span, by index; none where the last one lies before the first one.
inline KeyRange KeysWithin(Glissa& pCurve, KTime pStart, KTime pStop)
{
    return {static_cast<int>(std::ceil(pCurve.KeyFind(pStart, nullptr))),
            static_cast<int>(std::floor(pCurve.KeyFind(pStop, nullptr)))};
}
