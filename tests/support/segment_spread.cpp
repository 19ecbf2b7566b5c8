// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/segment_spread.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <iterator>

namespace
{
// The parameters that a time known to pTimeError may have. Beyond the ends of the segment the time
// axis runs on at nearly its end slope, of which nine tenths are taken.
struct Interval
{
    long double from;
    long double to;
};

Interval ParametersAround(const RefSegment& pSegment, long double pTime, long double pTimeError)
{
    const long double from = pTime - pTimeError;
    const long double to = pTime + pTimeError;
    return {from < 0.0L ? from / (0.9L * RefBezierDerivative(pSegment.time, 0.0L))
                        : RefSolve(pSegment, from),
            to > 1.0L ? 1.0L + (to - 1.0L) / (0.9L * RefBezierDerivative(pSegment.time, 1.0L))
                      : RefSolve(pSegment, to)};
}

// Least and greatest of the derivative of a cubic over an interval, by the points of the quadratic
// cut to the interval: it lies in their hull.
struct Hull
{
    long double least;
    long double greatest;
    long double Magnitude() const { return std::max(std::fabs(least), std::fabs(greatest)); }
};

Hull DerivativeHull(const long double (&pPoints)[4], const Interval& pInterval)
{
    const auto blossom = [&pPoints](long double pA, long double pB) {
        const long double d0 = pPoints[1] - pPoints[0];
        const long double d1 = pPoints[2] - pPoints[1];
        const long double d2 = pPoints[3] - pPoints[2];
        return 3.0L *
               ((1 - pA) * (1 - pB) * d0 + ((1 - pA) * pB + pA * (1 - pB)) * d1 + pA * pB * d2);
    };
    const long double points[] = {blossom(pInterval.from, pInterval.from),
                                  blossom(pInterval.from, pInterval.to),
                                  blossom(pInterval.to, pInterval.to)};
    const auto [least, greatest] = std::minmax_element(std::begin(points), std::end(points));
    return {*least, *greatest};
}

// The steepest change of a derivative of a cubic: its second derivative is a line.
long double BendOf(const long double (&pPoints)[4], const Interval& pInterval)
{
    const auto bend = [&pPoints](long double pS) {
        return 6.0L * ((1 - pS) * (pPoints[2] - 2 * pPoints[1] + pPoints[0]) +
                       pS * (pPoints[3] - 2 * pPoints[2] + pPoints[1]));
    };
    return std::max(std::fabs(bend(pInterval.from)), std::fabs(bend(pInterval.to)));
}

long double Reach(const Interval& pInterval, long double pParameter)
{
    return std::max(pParameter - pInterval.from, pInterval.to - pParameter);
}
}  // namespace

long double ValueSpread(const RefSegment& pSegment, long double pTime, long double pTimeError)
{
    const Interval interval = ParametersAround(pSegment, pTime, pTimeError);
    return DerivativeHull(pSegment.value, interval).Magnitude() *
           Reach(interval, RefSolve(pSegment, pTime));
}

// S = Y' / (X' dt), so dS/ds = (Y'' X' - Y' X'') / (X'^2 dt). The roundings: both ends of the last
// leg have points of 4 + s and two stages of 3 on the value axis, of 1 and 6 on the time axis, and
// the legs and the results are rounded.
long double SlopeSpread(const RefSegment& pSegment, long double pTime, long double pTimeError,
                        long double pRoundings)
{
    const Interval interval = ParametersAround(pSegment, pTime, pTimeError);
    const Hull x = DerivativeHull(pSegment.time, interval);
    const long double y = DerivativeHull(pSegment.value, interval).Magnitude();
    const long double change =
        (BendOf(pSegment.value, interval) * x.greatest + y * BendOf(pSegment.time, interval)) /
        (x.least * x.least);
    const long double u = static_cast<long double>(FLT_EPSILON) / 2.0L;
    const long double slope = y / x.least;
    const long double rounding = 3.0L * u *
                                     ((2.0L * (10.0L + pRoundings) + 2.0L) * pSegment.largest +
                                      slope * (2.0L * 7.0L + 1.0L)) /
                                     x.least +
                                 3.0L * u * slope;
    return (change * Reach(interval, RefSolve(pSegment, pTime)) + rounding) / pSegment.seconds;
}
