// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Random curves through the library and through the long double reference. Each bound is derived
// here, from the roundings that evaluation is made of; docs/accuracy.md shows bounds and findings
// and is compared with what this test finds.
//
// Bounds are counted in u, half of FLT_EPSILON, the error of one rounding to float, and in M, the
// largest operand: a point or a summand of a point. Terms of u * u, the roundings of doubles and
// the fraction of a key index (2^-50 in these short curves) share 0.01 epsilon of slack.
//
// Slopes at keys, by rule, in u of their largest summand (kRules):
//   user        0  read as stored
//   linear      3  value difference, seconds, quotient
//   auto        8  two summands with 3 each from their secants, and the sum of at most 2 M rounded
//   auto, far   9  the same with a third, exact summand beyond 500: a sum of at most 3 M
//   independent 3  one secant
//   progressive 3  two in the secant, one in the result; the least of three moves none of them
//   TCB        12  two summands with 3 from the secant and 1 of their own, their sum of 2 M
//                  rounded, the product with the tension rounded
//
// Values, with s for the u of the slope rule:
//   constant    0  the value of a key
//   linear      3  the difference of at most 2 M, then the result
//   cubic       9 + 3/4 (3 + s)  three stages with 2 for the difference and 1 for the result; a
//               handle has seconds, product and sum rounded, and the two handles weigh 3/4 at most
//   weighted    9 + 3/4 (4 + s)  one product more, and the error of the time beside it
//   keep slope  3 + s            product, and the sum of at most 2 M
//   repetition  as the segment; relative: 4 more for delta, product and a sum of at most 2 M
//
// Slopes inside a cubic segment, in u of 3 M / seconds: the middle difference has twice the error
// of a handle and its own rounding of 2 M, together 2 (3 + s) + 2; two stages with 4 for the
// difference and 2 for the result, 12; the parameter as float, times twice a difference of at most
// 4 M, 8; the seconds and the result, 4: in all 32 + 2 s.
//
// The time of a weighted segment. F is evaluated in float with an error of at most N = 8 u: three
// stages of at most 2 (all its points lie in 0 to 1), one for 1 - wl, one for the difference from
// the target. A stop by |dx| < d = 1e-6 says that |F| was at most d times the chord of the two
// points before, and they stood at least d apart: the chord is at most X + 2 N / d, with X the
// steepest slope of the time axis. The last step adds at most d X. So the time is met to
//   d X + 2 N + N + d X,   with X = 3 max(wr, 1 - wr - wl, wl) <= 2.7 for weights of 0.1 to 0.9,
// which is kTimeError. How much a value or a slope changes within that time is taken from the
// segment itself. With weights nearer to 0 and 1 the 15 steps may not do, and no bound holds.

#include "tests/support/museum.h"
#include "tests/support/random_curve.h"
#include "tests/support/segment_spread.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

namespace
{
constexpr long double kEpsilon = FLT_EPSILON;
constexpr long double kSlack = 0.01L;
constexpr int kSamples = 5000;

constexpr long double kStep = 1e-6L;
constexpr long double kNoise = 4.0L * kEpsilon;
constexpr long double kSteepest = 2.7L;
constexpr long double kTimeError = 2.0L * kStep * kSteepest + 3.0L * kNoise;

struct RuleInfo
{
    Rule rule;
    const char* name;
    long double roundings;  // of a slope, in u
};

constexpr RuleInfo kRules[] = {
    {kLine, "linear", 3.0L},
    {kUser, "user", 0.0L},
    {kAutomatic, "auto, clamp", 8.0L},
    {kFarAutomatic, "auto beyond 500", 9.0L},
    {kIndependent, "time independent", 3.0L},
    {kProgressiveClamp, "progressive", 3.0L},
    {kTensionContinuityBias, "TCB", 12.0L},
};

// A line of the document. Bound and finding are in epsilons of the largest operand.
struct Row
{
    std::string kind;
    std::string rule;
    long double bound = 0.0L;
    int samples = 0;
    long double worst = 0.0L;

    void Add(float pGot, const RefNumber& pExpected)
    {
        const long double error = std::fabs(static_cast<long double>(pGot) - pExpected.value);
        Count(error == 0.0L ? 0.0L : error / (kEpsilon * pExpected.largest));
    }
    void Count(long double pError)
    {
        ++samples;
        // Not std::max: a NaN has to stay.
        worst = pError <= worst ? worst : pError;
    }
    bool Holds() const { return samples > 0 && worst <= bound + kSlack; }
};

long double InEpsilons(long double pRoundings)
{
    return pRoundings / 2.0L;
}

Row SlopesAtKeys(const RuleInfo& pRule, std::uint64_t pSeed)
{
    Row row{"slope at a key", pRule.name, InEpsilons(pRule.roundings)};
    Random random(pSeed);
    while (row.samples < kSamples) {
        const RefCurve curve = RandomCurve(pRule.rule, random);
        const CurveHandle glissa = ToGlissa(curve);
        for (int i = 0; i < curve.Count(); ++i) {
            const bool extremes = random.Below(2) == 0;
            const bool ignoreClamp = random.Below(2) == 0;
            row.Add(glissa->KeyGetLeftDerivative(i, extremes, ignoreClamp),
                    RefKeyLeftDerivative(curve, i, extremes, ignoreClamp));
            row.Add(glissa->KeyGetRightDerivative(i, extremes),
                    RefKeyRightDerivative(curve, i, extremes));
        }
    }
    return row;
}

Row ValuesInside(const RuleInfo& pRule, std::uint64_t pSeed)
{
    const bool cubic = pRule.rule != kLine;
    Row row{cubic ? "value, cubic" : "value, linear", cubic ? pRule.name : "",
            InEpsilons(cubic ? 9.0L + 0.75L * (3.0L + pRule.roundings) : 3.0L)};
    Random random(pSeed);
    while (row.samples < kSamples) {
        const RefCurve curve = RandomCurve(pRule.rule, random);
        const CurveHandle glissa = ToGlissa(curve);
        for (int i = 0; i + 1 < curve.Count(); ++i) {
            const std::int64_t time = RandomTime(curve, i, random);
            row.Add(glissa->Evaluate(KTime(time), nullptr), RefEvaluate(curve, time));
        }
    }
    return row;
}

Row SlopesInside(const RuleInfo& pRule, std::uint64_t pSeed)
{
    const bool cubic = pRule.rule != kLine;
    Row row{cubic ? "slope, cubic" : "slope, linear", cubic ? pRule.name : "",
            InEpsilons(cubic ? 32.0L + 2.0L * pRule.roundings : 3.0L)};
    Random random(pSeed);
    while (row.samples < kSamples) {
        const RefCurve curve = RandomCurve(pRule.rule, random);
        const CurveHandle glissa = ToGlissa(curve);
        for (int i = 0; i + 1 < curve.Count(); ++i) {
            const std::int64_t time = RandomTime(curve, i, random);
            if (RefKeyFind(curve, time).fraction == 0.0L) {
                continue;  // slopes at keys have their own rows
            }
            row.Add(glissa->EvaluateLeftDerivative(KTime(time), nullptr),
                    RefLeftDerivative(curve, time));
            row.Add(glissa->EvaluateRightDerivative(KTime(time), nullptr),
                    RefRightDerivative(curve, time));
        }
    }
    return row;
}

Row ConstantValues(std::uint64_t pSeed)
{
    Row row{"value, constant", "", 0.0L};
    Random random(pSeed);
    while (row.samples < kSamples) {
        RefCurve curve = RandomCurve(kLine, random);
        for (RefKey& key : curve.keys) {
            key.flags = kRefConstant | (random.Below(2) == 0 ? kRefConstantNext : 0);
        }
        const CurveHandle glissa = ToGlissa(curve);
        for (int i = 0; i + 1 < curve.Count(); ++i) {
            const std::int64_t time = RandomTime(curve, i, random);
            const RefNumber expected = RefEvaluate(curve, time);
            row.Add(glissa->Evaluate(KTime(time), nullptr), {expected.value, FLT_MIN});
        }
    }
    return row;
}

struct ExtrapolationInfo
{
    std::uint32_t mode;
    Rule rule;
    const char* kind;
    const char* rule_name;
    long double roundings;
};

constexpr ExtrapolationInfo kExtrapolations[] = {
    {kRefHold, kLine, "extrapolated, constant", "", 0.0L},
    {kRefRepeat, kLine, "extrapolated, repetition", "of linear", 3.0L},
    {kRefMirror, kLine, "extrapolated, mirror", "of linear", 3.0L},
    {kRefKeepSlope, kLine, "extrapolated, keep slope", "linear", 6.0L},
    {kRefKeepSlope, kUser, "extrapolated, keep slope", "user", 3.0L},
    {kRefKeepSlope, kTensionContinuityBias, "extrapolated, keep slope", "TCB", 15.0L},
    {kRefRelativeRepeat, kLine, "extrapolated, relative repetition", "of linear", 7.0L},
};

Row Extrapolated(const ExtrapolationInfo& pInfo, std::uint64_t pSeed)
{
    Row row{pInfo.kind, pInfo.rule_name, InEpsilons(pInfo.roundings)};
    Random random(pSeed);
    const std::uint32_t counts[] = {0, 1, 2, 7, 1000, 0xFFFFFFFFu};
    while (row.samples < kSamples) {
        RefCurve curve = RandomCurve(pInfo.rule, random);
        curve.pre = curve.post = pInfo.mode;
        curve.preCount = counts[random.Below(6)];
        curve.postCount = counts[random.Below(6)];
        const CurveHandle glissa = ToGlissa(curve);
        const std::int64_t first = curve.keys.front().time;
        const std::int64_t last = curve.keys.back().time;
        const double span = static_cast<double>(last - first);
        for (int i = 0; i < 8; ++i) {
            // Near the keys, on whole spans and just beside them, and some thousand spans out.
            const double spans = random.Scale(-3, 12);
            const double part = i < 4 ? spans : std::floor(spans);
            const std::int64_t away =
                std::max(static_cast<std::int64_t>(part * span) + random.Below(3) - 1, 1L);
            const std::int64_t time = random.Below(2) == 0 ? first - away : last + away;
            row.Add(glissa->Evaluate(KTime(time), nullptr), RefEvaluate(curve, time));
        }
    }
    return row;
}

// Weighted segments have a bound a sample. The row shows the finding as the share of it.
struct WeightedRows
{
    Row value;
    Row slope;
};

WeightedRows Weighted(const RuleInfo& pRule, std::uint64_t pSeed)
{
    WeightedRows rows{{"value", pRule.name, 1.0L}, {"slope", pRule.name, 1.0L}};
    const long double rounding = InEpsilons(9.0L + 0.75L * (4.0L + pRule.roundings)) + kSlack;
    Random random(pSeed);
    while (rows.value.samples < kSamples) {
        const RefCurve curve = RandomWeightedCurve(pRule.rule, 1000, 8999, random);
        const CurveHandle glissa = ToGlissa(curve);
        for (int i = 0; i + 1 < curve.Count(); ++i) {
            const std::int64_t time = RandomTime(curve, i, random);
            const RefPlace place = RefKeyFind(curve, time);
            if (place.fraction == 0.0L) {
                continue;
            }
            const RefSegment segment = RefSegmentAt(curve, place.key);
            const long double parameter = RefSolve(segment, place.fraction);
            const long double value = RefValueOf(segment, parameter);
            const long double valueBound = ValueSpread(segment, place.fraction, kTimeError) +
                                           rounding * kEpsilon * segment.largest;
            rows.value.Count(
                std::fabs(static_cast<long double>(glissa->Evaluate(KTime(time), nullptr)) -
                          value) /
                valueBound);
            const long double slope = RefSlopeOf(segment, parameter);
            const long double slopeBound =
                SlopeSpread(segment, place.fraction, kTimeError, pRule.roundings) * (1.0L + kSlack);
            rows.slope.Count(std::fabs(static_cast<long double>(
                                           glissa->EvaluateLeftDerivative(KTime(time), nullptr)) -
                                       slope) /
                             slopeBound);
        }
    }
    return rows;
}

// How far the time is missed, as a share of the segment: with flat handles from 0 to 1 the value
// rises with the parameter alone and tells it.
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
    RefCurve curve;
    curve.keys.resize(2);
    curve.keys[1].time = 1LL << 40;
    curve.keys[1].value = 1.0f;
    curve.keys[0].flags = kRefCubic | kRefUser | kRefBreak | kRefWeightRight | kRefWeightNextLeft;
    curve.keys[1].flags = curve.keys[0].flags;
    // The ends of the range as often as its inside.
    const auto weight = [&]() {
        const int each = pRow.least + random.Below(pRow.greatest - pRow.least + 1);
        const int picks[] = {pRow.least, pRow.greatest, each, each};
        return picks[random.Below(4)];
    };
    for (; pRow.samples < kSamples; ++pRow.samples) {
        const int right = weight();
        const int nextLeft = weight();
        curve.keys[0].SetWeights(right, nextLeft);
        const CurveHandle glissa = ToGlissa(curve);
        const std::int64_t time = RandomTime(curve, 0, random);
        const RefSegment segment = RefSegmentAt(curve, 0);
        const float got = glissa->Evaluate(KTime(time), nullptr);
        // The value as a time axis of its own: solving it gives the parameter.
        RefSegment inverse = segment;
        std::copy(std::begin(segment.value), std::end(segment.value), std::begin(inverse.time));
        const auto timeOf = [&](long double pValue) {
            return RefBezier(segment.time, RefSolve(inverse, std::clamp(pValue, 0.0L, 1.0L)));
        };
        // Nine roundings of the value are not the solver's.
        const long double blur = 4.5L * kEpsilon;
        const long double exact = std::ldexp(static_cast<long double>(time), -40);
        const long double low = timeOf(static_cast<long double>(got) - blur);
        const long double high = timeOf(static_cast<long double>(got) + blur);
        const long double missed = std::max({0.0L, low - exact, exact - high});
        pRow.worst = missed <= pRow.worst ? pRow.worst : missed;
        pRow.beyond += missed > kTimeError ? 1 : 0;
    }
}

// The document: bounds to an eighth of an epsilon, findings rounded up to the next half, so that
// it stands still as long as the arithmetic does.
std::string Number(long double pValue, int pDecimals)
{
    std::ostringstream text;
    text.setf(std::ios::fixed);
    text.precision(pDecimals);
    text << static_cast<double>(pValue);
    std::string result = text.str();
    if (result.find('.') != std::string::npos) {
        result.erase(result.find_last_not_of('0') + 1);
        if (result.back() == '.') {
            result.pop_back();
        }
    }
    return result;
}

void AppendRows(std::ostringstream& pText, const std::vector<Row>& pRows)
{
    for (const Row& row : pRows) {
        pText << "| " << row.kind << " | " << row.rule << " | " << row.samples << " | "
              << Number(row.bound, 3) << " | " << Number(std::ceil(row.worst * 2.0L) / 2.0L, 1)
              << " |\n";
    }
}

struct Findings
{
    std::vector<Row> rows;
    std::vector<Row> weighted;
    std::vector<TimeRow> times;
};

Findings Measure()
{
    Findings found;
    std::uint64_t seed = 1000;
    for (const RuleInfo& rule : kRules) {
        found.rows.push_back(SlopesAtKeys(rule, ++seed));
    }
    found.rows.push_back(ConstantValues(++seed));
    for (const RuleInfo& rule : kRules) {
        found.rows.push_back(ValuesInside(rule, ++seed));
    }
    for (const RuleInfo& rule : kRules) {
        found.rows.push_back(SlopesInside(rule, ++seed));
    }
    for (const ExtrapolationInfo& info : kExtrapolations) {
        found.rows.push_back(Extrapolated(info, ++seed));
    }
    for (const RuleInfo& rule : kRules) {
        // Lines have no weights, and in a TCB key the bias stands in their place.
        if (rule.rule != kLine && rule.rule != kTensionContinuityBias) {
            const WeightedRows rows = Weighted(rule, ++seed);
            found.weighted.push_back(rows.value);
            found.weighted.push_back(rows.slope);
        }
    }
    found.times = {
        {"0.1 to 0.9", 1000, 8999}, {"0.01 to 0.95", 100, 9499}, {"0.0001 to 0.99", 1, 9899}};
    for (TimeRow& row : found.times) {
        MeasureTimes(row, ++seed);
    }
    return found;
}

std::string Document(const Findings& pFindings)
{
    std::ostringstream text;
    text << R"(# How exact an evaluation is

Values and slopes are 32-bit floats, and each step of an evaluation rounds to float. This page says
how far a result can be from the curve that the keys describe, and how far it was found to be.

It is written by the test `tests/glissa/curve/accuracy_test.cpp`, which holds the library against a
second evaluation in long double (`tests/support/reference.cpp`) on random curves with fixed seeds.
The bounds are derived at the head of that test from the roundings, not fitted to what it finds. To
write the page anew after a change of the arithmetic, from the build directory:

    GLISSA_WRITE_ACCURACY=1 tests/glissa/curve/glissa_curve_accuracy_test

The unit is the epsilon of float (2^-23, about 1.2e-7) times the largest operand: the greatest in
magnitude among the control points and what they are sums of; for a slope inside a cubic segment
three times that by the seconds of the segment. A curve that stays between -100 and 100 with its
handles has an epsilon of 0.000012 at most. Findings are rounded up to the next half.

| What | Slope rule | Samples | Bound | Largest error found |
|---|---|---|---|---|
)";
    AppendRows(text, pFindings.rows);
    text << R"(
## Weighted segments

A segment with weights has a time axis that is solved by the secant method, until a step is below
1e-6 or 15 steps are made. A solution that stops by its step meets the time to )"
         << Number(kTimeError * 1e6L, 2) << R"(e-6 of
the segment. With weights from 0.1 to 0.9 all do. What such a shift in time makes of the value
depends on how steep the segment is there, so each sample has a bound of its own, to which the
roundings are added; the last column is the largest share of the bound that was used up.

| What | Slope rule | Samples | Largest share of the bound |
|---|---|---|---|
)";
    for (const Row& row : pFindings.weighted) {
        text << "| " << row.kind << " | " << row.rule << " | " << row.samples << " | "
             << Number(std::ceil(row.worst * 20.0L) * 5.0L, 0) << " % |\n";
    }
    text << R"(
Weights close to 0 on one side and close to 1 on the other bend the time axis so sharply that 15
steps may end short of the solution: the value is then that of a time nearby. How far off, as a
share of the segment:

| Weights | Samples | Beyond the bound | Largest error of the time |
|---|---|---|---|
)";
    for (const TimeRow& row : pFindings.times) {
        const long double share = static_cast<long double>(row.beyond) / row.samples;
        text << "| " << row.weights << " | " << row.samples << " | "
             << (row.beyond == 0 ? "none" : Number(std::ceil(share * 100.0L), 0) + " % at most")
             << " | "
             << (row.worst > kTimeError ? Number(std::ceil(row.worst * 100.0L), 0) + " % at most"
                                        : "within the bound")
             << " |\n";
    }
    return text.str();
}

std::string ReadFile(const std::string& pPath)
{
    std::ifstream file(pPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class CurveAccuracy : public testing::Test
{
protected:
    // Measured once for all tests of a run.
    static const Findings& Found()
    {
        static const Findings found = Measure();
        return found;
    }
};

TEST_F(CurveAccuracy, EveryErrorStaysWithinTheBoundOfItsRoundings)
{
    ASSERT_FALSE(Found().rows.empty());
    for (const Row& row : Found().rows) {
        EXPECT_TRUE(row.Holds()) << row.kind << ", " << row.rule << ": " << row.worst
                                 << " epsilons, bound " << row.bound << ", " << row.samples
                                 << " samples";
    }
}

TEST_F(CurveAccuracy, WeightedSegmentsStayWithinRoundingsAndTheErrorOfTheirTime)
{
    ASSERT_FALSE(Found().weighted.empty());
    for (const Row& row : Found().weighted) {
        EXPECT_TRUE(row.samples > 0 && row.worst <= 1.0L)
            << row.kind << ", " << row.rule << ": " << row.worst << " of the bound, " << row.samples
            << " samples";
    }
    EXPECT_EQ(0, Found().times[0].beyond) << "largest error " << Found().times[0].worst;
}

TEST_F(CurveAccuracy, TheDocumentSaysWhatIsFound)
{
    const std::string path = GLISSA_SOURCE_DIR "/docs/accuracy.md";
    const std::string document = Document(Found());
    if (std::getenv("GLISSA_WRITE_ACCURACY") != nullptr) {
        std::ofstream(path, std::ios::binary) << document;
    }
    EXPECT_EQ(ReadFile(path), document)
        << "write it anew with GLISSA_WRITE_ACCURACY=1 and look at what changed";
}
}  // namespace
