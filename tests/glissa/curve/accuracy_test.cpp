// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Random curves through the library and in long double. Each bound is derived here, from the
// roundings of an evaluation. docs/accuracy.md lists bounds and findings, and its tables are
// compared with what this test finds.
//
// Bounds are counted in u, half of FLT_EPSILON, the error of one rounding to float, and in M, the
// largest operand: a point or a summand of a point. Terms of u * u, the roundings of doubles and
// the fraction of a key index (2^-50 in these short curves) share 0.01 epsilon of slack.
//
// The evaluation in long double starts from the slopes that the library returns for the keys, whose
// rules evaluation_test.cpp tests. Values:
//   constant    0  the value of a key
//   linear      3  the difference of at most 2 M, then the result
//   cubic   11.25  three stages with 2 for the difference and 1 for the result; a handle has
//                  seconds, product and sum rounded, and the two handles weigh 3/4 at most
//   weighted   12  one product more in each handle
//
// Slopes inside a cubic segment, in u of 3 M / seconds: the middle difference has twice the error
// of a handle and its own rounding of 2 M, together 8; two stages with 4 for the difference and 2
// for the result, 12; the parameter as float, times twice a difference of at most 4 M, 8; the
// seconds and the result, 4: in all 32. With weights a slope is the quotient of two such
// derivatives, Y' / X'. Both ends of the last leg of Y have points of 4 and two stages of 3, those
// of X points of 1 and two stages of 3, and the legs and the results are rounded: with S the
// quotient in value per segment, 22 u of 3 (M + S) / (X' seconds).
//
// The time of a weighted segment. F is evaluated in float with an error of at most N = 8 u: three
// stages of at most 2 (all its points lie in 0 to 1), one for 1 - wl, one for the difference from
// the target. A stop by |dx| < d = 1e-6 means that |F| was at most d times the chord of the two
// points before, and they were at least d apart: the chord is at most X + 2 N / d, with X the
// steepest slope of the time axis. The last step adds at most d X. So the time is met to
//   d X + 2 N + N + d X,   with X = 3 max(wr, 1 - wr - wl, wl) <= 2.7 for weights of 0.1 to 0.9,
// which is kTimeError. The change of a result over this time, to either side, is not counted as an
// error. With weights nearer to 0 and 1 the 15 steps may not do, and no bound holds.

#include "glissa/curve/bezier.h"
#include "tests/support/accuracy_page.h"
#include "tests/support/museum.h"
#include "tests/support/random_curve.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <sstream>
#include <string>

namespace
{
constexpr long double kEpsilon = FLT_EPSILON;
constexpr long double kSlack = 0.01L;
constexpr int kSamples = 5000;
constexpr long double kTimeError = 2.0L * 1e-6L * 2.7L + 12.0L * kEpsilon;

// A line of the document. Bound and finding are in epsilons of the largest operand.
struct Row
{
    std::string kind;
    long double bound = 0.0L;
    int samples = 0;
    long double worst = 0.0L;

    void Count(long double pError, long double pLargest)
    {
        ++samples;
        const long double error = pError <= 0.0L ? 0.0L : pError / (kEpsilon * pLargest);
        // Not std::max: a NaN has to stay.
        worst = error <= worst ? worst : error;
    }
};

using MakeCurve = RefCurve (*)(Random&);
using Measure = void (*)(Row&, Glissa&, std::int64_t);
using Formula = long double (*)(const RefSegment&, long double);

RefCurve AnyCubic(Random& pRandom)
{
    constexpr Rule kRules[] = {kUser,        kAutomatic,        kFarAutomatic,
                               kIndependent, kProgressiveClamp, kTensionContinuityBias};
    return RandomCurve(kRules[pRandom.Below(6)], pRandom);
}

RefCurve Weighted(Random& pRandom)
{
    return RandomWeightedCurve(kUser, 1000, 8999, pRandom);
}

RefCurve ConstantKeys(Random& pRandom)
{
    RefCurve curve = RandomCurve(kLine, pRandom);
    for (RefKey& key : curve.keys) {
        key.flags = kRefConstant | (pRandom.Below(2) == 0 ? kRefConstantNext : 0);
    }
    return curve;
}

void Value(Row& pRow, Glissa& pCurve, std::int64_t pTime)
{
    const RefNumber exact = RefEvaluate(pCurve, pTime);
    const long double got = pCurve.Evaluate(KTime(pTime), nullptr);
    pRow.Count(std::fabs(got - exact.value), exact.largest);
}

// The difference from a formula at a parameter, beyond its change over kTimeError.
long double ErrorOf(float pGot, Formula pOf, const RefSegment& pSegment, long double pPart)
{
    const long double exact = pOf(pSegment, RefSolve(pSegment, pPart));
    const auto change = [&](long double pAway) {
        const long double time = std::clamp(pPart + pAway, 0.0L, 1.0L);
        return pSegment.weighted ? std::fabs(pOf(pSegment, RefSolve(pSegment, time)) - exact)
                                 : 0.0L;
    };
    return std::fabs(pGot - exact) - std::max(change(kTimeError), change(-kTimeError));
}

void ValueInSegment(Row& pRow, Glissa& pCurve, std::int64_t pTime)
{
    const RefPlace place = RefKeyFind(pCurve, pTime);
    const RefSegment segment = RefSegmentAt(pCurve, place.key);
    const float got = pCurve.Evaluate(KTime(pTime), nullptr);
    pRow.Count(ErrorOf(got, RefValueOf, segment, place.fraction), segment.largest);
}

void SlopeInSegment(Row& pRow, Glissa& pCurve, std::int64_t pTime)
{
    const RefPlace place = RefKeyFind(pCurve, pTime);
    if (place.fraction == 0.0L) {
        return;  // at a key
    }
    const RefSegment segment = RefSegmentAt(pCurve, place.key);
    const long double at = RefSolve(segment, place.fraction);
    const long double axis = segment.weighted ? RefBezierDerivative(segment.time, at) : 1.0L;
    const long double steepest =
        segment.weighted ? std::fabs(RefSlopeOf(segment, at)) * segment.seconds : 0.0L;
    const float got = pCurve.EvaluateLeftDerivative(KTime(pTime), nullptr);
    pRow.Count(ErrorOf(got, RefSlopeOf, segment, place.fraction),
               3.0L * (segment.largest + steepest) / (axis * segment.seconds));
}

struct Kind
{
    const char* name;
    long double roundings;
    MakeCurve make;
    Measure measure;
};

const Kind kKinds[] = {
    {"value, constant", 0.0L, ConstantKeys, Value},
    {"value, linear", 3.0L, [](Random& pRandom) { return RandomCurve(kLine, pRandom); }, Value},
    {"value, cubic", 11.25L, AnyCubic, Value},
    {"slope, cubic", 32.0L, AnyCubic, SlopeInSegment},
    {"value, weighted", 12.0L, Weighted, ValueInSegment},
    {"slope, weighted", 22.0L, Weighted, SlopeInSegment},
};

Row MeasureKind(const Kind& pKind, std::uint64_t pSeed)
{
    Row row{pKind.name, pKind.roundings / 2.0L};
    Random random(pSeed);
    while (row.samples < kSamples) {
        const RefCurve curve = pKind.make(random);
        const CurveHandle glissa = ToGlissa(curve);
        for (int i = 0; i + 1 < curve.Count(); ++i) {
            pKind.measure(row, *glissa, RandomTime(curve, i, random));
        }
    }
    return row;
}

// How far the time is missed, as a share of the segment.
struct TimeRow
{
    const char* weights;
    int least;
    int greatest;
    int samples = 0;
    int beyond = 0;  // of the bound
    long double worst = 0.0L;
};

void MeasureTimes(TimeRow& pRow, std::uint64_t pSeed)
{
    Random random(pSeed);
    // The ends of the range as often as its inside.
    const auto weight = [&]() {
        const int each = pRow.least + random.Below(pRow.greatest - pRow.least + 1);
        const int picks[] = {pRow.least, pRow.greatest, each, each};
        return static_cast<float>(picks[random.Below(4)]) / 9999.0f;
    };
    for (; pRow.samples < kSamples; ++pRow.samples) {
        const float right = weight();
        const float left = weight();
        const double time = 0.5 + 0.5 * random.Signed();
        const long double parameter = 1.0L - SolveWeightedTime(right, left, time);
        const long double missed =
            std::fabs(RefBezier({0.0L, right, 1.0L - left, 1.0L}, parameter) - time);
        pRow.worst = missed <= pRow.worst ? pRow.worst : missed;
        pRow.beyond += missed <= kTimeError ? 0 : 1;
    }
}

std::string PercentText(long double pShare)
{
    return std::to_string(static_cast<int>(std::ceil(pShare * 100.0L))) + " % at most";
}

// Findings are rounded up to the next half, so that they stay the same as long as the arithmetic
// does.
TEST(CurveAccuracy, EveryErrorStaysWithinItsBoundAndTheDocumentSaysWhatIsFound)
{
    std::ostringstream found;
    std::uint64_t seed = 1000;
    for (const Kind& kind : kKinds) {
        const Row row = MeasureKind(kind, ++seed);
        EXPECT_LE(row.worst, row.bound + kSlack) << row.kind;
        found << "| " << row.kind << " | " << row.samples << " | " << static_cast<double>(row.bound)
              << " | " << static_cast<double>(std::ceil(row.worst * 2.0L) / 2.0L) << " |\n";
    }
    for (TimeRow row : {TimeRow{"0.1 to 0.9", 1000, 8999}, TimeRow{"0.01 to 0.95", 100, 9499},
                        TimeRow{"0.0001 to 0.99", 1, 9899}}) {
        MeasureTimes(row, ++seed);
        const bool isBound = row.beyond == 0;
        EXPECT_TRUE(isBound || row.least < 1000) << row.worst;
        found << "| " << row.weights << " | " << row.samples << " | "
              << (isBound ? "none" : PercentText(row.beyond / (row.samples * 1.0L))) << " | "
              << (isBound ? "within the bound" : PercentText(row.worst)) << " |\n";
    }
    EXPECT_EQ(AccuracyRows(false), found.str());
}
}  // namespace
