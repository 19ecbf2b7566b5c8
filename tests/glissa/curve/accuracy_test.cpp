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
// Slopes at keys, by rule, in u of their largest summand (kRules), against SlopeAtKey:
//   user        0  read as stored
//   linear      3  value difference, seconds, quotient
//   auto        8  two summands with 3 each from their secants, and the sum of at most 2 M rounded
//   auto, far   9  the same with a third, exact summand beyond 500: a sum of at most 3 M
//   independent 3  one secant
//   progressive 3  two in the secant, one in the result; the least of three moves none of them
//   TCB        12  two summands with 3 from the secant and 1 of their own, their sum of 2 M
//                  rounded, the product with the tension rounded
//
// The rest starts from the slopes that the library returns for the keys. Values:
//   constant    0  the value of a key
//   linear      3  the difference of at most 2 M, then the result
//   cubic   11.25  three stages with 2 for the difference and 1 for the result; a handle has
//                  seconds, product and sum rounded, and the two handles weigh 3/4 at most
//   weighted   12  one product more in each handle
//   keep slope  3  product, and the sum of at most 2 M
//   repetition  as the segment; relative: 4 more for delta, product and a sum of at most 2 M
//
// Slopes inside a cubic segment, in u of 3 M / seconds: the middle difference has twice the error
// of a handle and its own rounding of 2 M, together 8; two stages with 4 for the difference and 2
// for the result, 12; the parameter as float, times twice a difference of at most 4 M, 8; the
// seconds and the result, 4: in all 32. With weights a slope is the quotient of two such
// derivatives, Y' / X'. Both ends of the last leg of Y have points of 4 and two stages of 3, those
// of X points of 1 and two stages of 3, and the legs and the results are rounded: with N the least
// X' and S the greatest quotient, 22 u of 3 (M + S) / (N seconds).
//
// The time of a weighted segment. F is evaluated in float with an error of at most N = 8 u: three
// stages of at most 2 (all its points lie in 0 to 1), one for 1 - wl, one for the difference from
// the target. A stop by |dx| < d = 1e-6 means that |F| was at most d times the chord of the two
// points before, and they were at least d apart: the chord is at most X + 2 N / d, with X the
// steepest slope of the time axis. The last step adds at most d X. So the time is met to
//   d X + 2 N + N + d X,   with X = 3 max(wr, 1 - wr - wl, wl) <= 2.7 for weights of 0.1 to 0.9,
// which is kTimeError. A result is correct if it is that of any time within kTimeError, but for its
// roundings. With weights nearer to 0 and 1 the 15 steps may not do, and no bound holds.

#include "tests/support/accuracy_page.h"
#include "tests/support/museum.h"
#include "tests/support/random_curve.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <functional>
#include <iterator>
#include <limits>
#include <sstream>
#include <string>

namespace
{
constexpr long double kEpsilon = FLT_EPSILON;
constexpr long double kSlack = 0.01L;
constexpr int kSamples = 5000;
constexpr long double kTimeError = 2.0L * 1e-6L * 2.7L + 12.0L * kEpsilon;

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

RefNumber Sum(std::initializer_list<long double> pSummands)
{
    RefNumber sum;
    for (const long double each : pSummands) {
        sum = {sum.value + each, std::max(sum.largest, std::fabs(each))};
    }
    return sum;
}

// The neighbours of a key on a curve of one rule, and which side of it is asked for.
class SlopeAtKey
{
public:
    SlopeAtKey(const RefCurve& pCurve, int pIndex, bool pIsLeft)
        : mCurve(pCurve), mIndex(pIndex), mLast(pCurve.Count() - 1), mIsLeft(pIsLeft)
    {}

    RefNumber Of(Rule pRule, bool pExtremes, bool pIgnoreClamp) const
    {
        // At an end of the curve the missing side is the other one.
        if (mIsLeft ? mIndex == 0 : mIndex == mLast) {
            return SlopeAtKey(mCurve, mIndex, !mIsLeft).Of(pRule, false, false);
        }
        const RefKey& key = At(mIndex);
        const float stored = mIsLeft ? At(mIndex - 1).slots[1] : key.slots[0];
        const long double toLeft = Secant(std::max(mIndex - 1, 0), std::max(mIndex, 1));
        const long double toRight =
            Secant(std::min(mIndex, mLast - 1), std::min(mIndex + 1, mLast));
        const long double near = mIsLeft ? toLeft : toRight;
        switch (pRule) {
        case kUser:
            return Sum({stored});
        case kLine:
            return Sum({near});
        case kTensionContinuityBias: {
            const long double c = mIsLeft ? -key.slots[1] : key.slots[1];
            const long double b = key.Bias();
            const long double scale = (1.0L - key.slots[0]) * (IsEnd() ? 1.0L : 0.5L);
            const bool hasLeft = mIndex > 0;
            const bool hasRight = mIndex < mLast;
            return Sum({hasLeft ? scale * (1.0L + c) * (1.0L + b) * toLeft : 0.0L,
                        hasRight ? scale * (1.0L - c) * (1.0L - b) * toRight : 0.0L});
        }
        case kProgressiveClamp:
            return Sum({Progressive(toLeft, toRight, pExtremes)});
        default:
            break;
        }
        if (IsClamped() && !(mIsLeft && pIgnoreClamp)) {
            return {};
        }
        if (pRule == kIndependent) {
            return Sum({Secant(std::max(mIndex - 1, 0), std::min(mIndex + 1, mLast))});
        }
        // The slope is a blend of the secants, and beyond 500 it leaves them along a parabola.
        const long double a = stored;
        const long double far = mIsLeft ? toRight : toLeft;
        const long double excess = std::max(std::fabs(a) - 500.0L, 0.0L) / 500.0L;
        const bool isRising = IsNearSecantGreater() == (a > 0.0L);
        return Sum({(100.0L - a) / 200.0L * far, (100.0L + a) / 200.0L * near,
                    excess * excess * (isRising ? 1000.0L : -1000.0L)});
    }

private:
    const RefKey& At(int pIndex) const { return mCurve.keys[static_cast<std::size_t>(pIndex)]; }
    bool IsEnd() const { return mIndex == 0 || mIndex == mLast; }

    long double Secant(int pFrom, int pTo) const
    {
        const RefWide ticks = RefWide{At(pTo).time} - At(pFrom).time;
        return (static_cast<long double>(At(pTo).value) - At(pFrom).value) /
               (static_cast<long double>(ticks) / KTime::kTicksPerSecond);
    }

    // The sign of the parabola depends on the secants as floats.
    bool IsNearSecantGreater() const
    {
        const auto secant = [this](int pFrom, int pTo) {
            const auto ticks = static_cast<double>(At(pTo).time - At(pFrom).time);
            return (At(pTo).value - At(pFrom).value) /
                   static_cast<float>(ticks / KTime::kTicksPerSecond);
        };
        const float left = secant(std::max(mIndex - 1, 0), std::max(mIndex, 1));
        const float right = secant(std::min(mIndex, mLast - 1), std::min(mIndex + 1, mLast));
        return mIsLeft ? left > right : right >= left;
    }

    bool IsClamped() const
    {
        const RefKey& key = At(mIndex);
        const auto isLevel = [&](int pOther) {
            return pOther >= 0 && pOther <= mLast &&
                   std::fabs(static_cast<double>(key.value - At(pOther).value)) <= 0.0001;
        };
        const int near = mIsLeft ? mIndex - 1 : mIndex + 1;
        const bool isBroken = (key.flags & kRefBreak) != 0;
        return (key.flags & kRefClamp) != 0 &&
               (isLevel(near) || (!isBroken && isLevel(2 * mIndex - near)));
    }

    long double Progressive(long double pToLeft, long double pToRight, bool pExtremes) const
    {
        if (IsEnd()) {
            return pExtremes ? pToLeft : 0.0L;
        }
        const double left = At(mIndex - 1).slots[1];
        const double right = At(mIndex).slots[0];
        if (std::fabs(left + right) < 1e-5 && std::fabs(std::fabs(left) - 100.0) < 1e-5) {
            return left > 0.0 ? pToLeft : pToRight;
        }
        const long double through = Secant(mIndex - 1, mIndex + 1);
        const long double least = std::min({through, 3.0L * pToLeft, 3.0L * pToRight});
        const long double greatest = std::max({through, 3.0L * pToLeft, 3.0L * pToRight});
        return least >= 0.0L ? least : greatest < 0.0L ? greatest : 0.0L;
    }

    const RefCurve& mCurve;
    int mIndex;
    int mLast;
    bool mIsLeft;
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
        Count(std::fabs(static_cast<long double>(pGot) - pExpected.value), pExpected.largest);
    }
    void Count(long double pError, long double pLargest)
    {
        ++samples;
        const long double error = pError == 0.0L ? 0.0L : pError / (kEpsilon * pLargest);
        // Not std::max: a NaN has to stay.
        worst = error <= worst ? worst : error;
    }
    bool Holds() const { return samples > 0 && worst <= bound + kSlack; }
};

Row SlopesAtKeys(const RuleInfo& pRule, std::uint64_t pSeed)
{
    Row row{"slope at a key", pRule.name, pRule.roundings / 2.0L};
    Random random(pSeed);
    while (row.samples < kSamples) {
        const RefCurve curve = RandomCurve(pRule.rule, random);
        const CurveHandle glissa = ToGlissa(curve);
        for (int i = 0; i < curve.Count(); ++i) {
            const bool extremes = random.Below(2) == 0;
            const bool ignoreClamp = random.Below(2) == 0;
            row.Add(glissa->KeyGetLeftDerivative(i, extremes, ignoreClamp),
                    SlopeAtKey(curve, i, true).Of(pRule.rule, extremes, ignoreClamp));
            row.Add(glissa->KeyGetRightDerivative(i, extremes),
                    SlopeAtKey(curve, i, false).Of(pRule.rule, extremes, ignoreClamp));
        }
    }
    return row;
}

using MakeCurve = std::function<RefCurve(Random&)>;
using Measure = void (*)(Row&, Glissa&, std::int64_t);

MakeCurve OfRules(std::vector<Rule> pRules)
{
    return [pRules](Random& pRandom) {
        return RandomCurve(
            pRules[static_cast<std::size_t>(pRandom.Below(static_cast<int>(pRules.size())))],
            pRandom);
    };
}

RefCurve ConstantKeys(Random& pRandom)
{
    RefCurve curve = RandomCurve(kLine, pRandom);
    for (RefKey& key : curve.keys) {
        key.flags = kRefConstant | (pRandom.Below(2) == 0 ? kRefConstantNext : 0);
    }
    return curve;
}

MakeCurve Extrapolated(std::uint32_t pMode, Rule pRule)
{
    return [pMode, pRule](Random& pRandom) {
        constexpr std::uint32_t kCounts[] = {0, 1, 2, 7, 1000, 0xFFFFFFFFu};
        RefCurve curve = RandomCurve(pRule, pRandom);
        curve.pre = curve.post = pMode;
        curve.preCount = kCounts[pRandom.Below(6)];
        curve.postCount = kCounts[pRandom.Below(6)];
        return curve;
    };
}

// Near the keys, on whole spans and a tick off them, and some thousand spans away.
std::int64_t TimeOutside(const RefCurve& pCurve, Random& pRandom)
{
    const std::int64_t first = pCurve.keys.front().time;
    const std::int64_t last = pCurve.keys.back().time;
    const double spans = pRandom.Scale(-3, 12);
    const double part = pRandom.Below(2) == 0 ? spans : std::floor(spans);
    const auto ticks = static_cast<std::int64_t>(part * static_cast<double>(last - first));
    const std::int64_t away = std::max<std::int64_t>(ticks + pRandom.Below(3) - 1, 1);
    return pRandom.Below(2) == 0 ? first - away : last + away;
}

void Value(Row& pRow, Glissa& pCurve, std::int64_t pTime)
{
    pRow.Add(pCurve.Evaluate(KTime(pTime), nullptr), RefEvaluate(pCurve, pTime));
}

// Calls with the segment, its index and the fraction of a time inside it; slopes at keys have rows
// of their own.
template <typename Call>
void InSegment(Glissa& pCurve, std::int64_t pTime, Call&& pCall)
{
    const RefPlace place = RefKeyFind(pCurve, pTime);
    if (place.fraction != 0.0L) {
        pCall(RefSegmentAt(pCurve, place.key), place.fraction);
    }
}

void Slope(Row& pRow, Glissa& pCurve, std::int64_t pTime)
{
    InSegment(pCurve, pTime, [&](const RefSegment& pSegment, long double pPart) {
        const RefNumber slope = {RefSlopeOf(pSegment, pPart),
                                 3.0L * pSegment.largest / pSegment.seconds};
        pRow.Add(pCurve.EvaluateLeftDerivative(KTime(pTime), nullptr), slope);
        pRow.Add(pCurve.EvaluateRightDerivative(KTime(pTime), nullptr), slope);
    });
}

struct Interval
{
    long double from;
    long double to;
};

// The parameters at the times that count as met. Beyond the ends of the segment the time axis runs
// on at nearly its end slope, of which nine tenths are taken.
Interval ParametersAround(const RefSegment& pSegment, long double pTime)
{
    const long double from = pTime - kTimeError;
    const long double to = pTime + kTimeError;
    return {from < 0.0L ? from / (0.9L * RefBezierDerivative(pSegment.time, 0.0L))
                        : RefSolve(pSegment, from),
            to > 1.0L ? 1.0L + (to - 1.0L) / (0.9L * RefBezierDerivative(pSegment.time, 1.0L))
                      : RefSolve(pSegment, to)};
}

// The range of a Bezier polynomial over an interval: the range of its control points when it is cut
// to the interval.
Interval RangeOf(const std::vector<long double>& pPoints, const Interval& pInterval)
{
    const std::size_t degree = pPoints.size() - 1;
    Interval range = {std::numeric_limits<long double>::max(),
                      std::numeric_limits<long double>::lowest()};
    for (std::size_t cut = 0; cut <= degree; ++cut) {
        std::vector<long double> points = pPoints;
        for (std::size_t stage = 0; stage < degree; ++stage) {
            const long double part = stage < cut ? pInterval.to : pInterval.from;
            for (std::size_t i = 0; i < degree - stage; ++i) {
                points[i] += part * (points[i + 1] - points[i]);
            }
        }
        range = {std::min(range.from, points[0]), std::max(range.to, points[0])};
    }
    return range;
}

Interval DerivativeRange(const long double (&p)[4], const Interval& pInterval)
{
    return RangeOf({3.0L * (p[1] - p[0]), 3.0L * (p[2] - p[1]), 3.0L * (p[3] - p[2])}, pInterval);
}

long double DistanceTo(const Interval& pRange, float pGot)
{
    const long double got = pGot;
    return got >= pRange.from && got <= pRange.to
               ? 0.0L
               : std::fabs(got - std::clamp(got, pRange.from, pRange.to));
}

void WeightedValue(Row& pRow, Glissa& pCurve, std::int64_t pTime)
{
    InSegment(pCurve, pTime, [&](const RefSegment& pSegment, long double pPart) {
        const std::vector<long double> points(pSegment.value, pSegment.value + 4);
        const Interval range = RangeOf(points, ParametersAround(pSegment, pPart));
        pRow.Count(DistanceTo(range, pCurve.Evaluate(KTime(pTime), nullptr)), pSegment.largest);
    });
}

void WeightedSlope(Row& pRow, Glissa& pCurve, std::int64_t pTime)
{
    InSegment(pCurve, pTime, [&](const RefSegment& pSegment, long double pPart) {
        const Interval interval = ParametersAround(pSegment, pPart);
        const Interval x = DerivativeRange(pSegment.time, interval);
        const Interval y = DerivativeRange(pSegment.value, interval);
        const Interval range = {
            y.from / (y.from < 0.0L ? x.from : x.to) / pSegment.seconds,
            y.to / (y.to < 0.0L ? x.to : x.from) / pSegment.seconds,
        };
        const long double steepest = std::max(std::fabs(y.from), std::fabs(y.to)) / x.from;
        pRow.Count(DistanceTo(range, pCurve.EvaluateLeftDerivative(KTime(pTime), nullptr)),
                   3.0L * (pSegment.largest + steepest) / (x.from * pSegment.seconds));
    });
}

struct Kind
{
    const char* name;
    long double roundings;
    MakeCurve make;
    Measure measure;
    bool isOutside = false;
};

const Kind kKinds[] = {
    {"value, constant", 0.0L, ConstantKeys, Value},
    {"value, linear", 3.0L, OfRules({kLine}), Value},
    {"value, cubic", 11.25L,
     OfRules({kUser, kAutomatic, kFarAutomatic, kIndependent, kProgressiveClamp,
              kTensionContinuityBias}),
     Value},
    {"slope, cubic", 32.0L,
     OfRules({kUser, kAutomatic, kFarAutomatic, kIndependent, kProgressiveClamp,
              kTensionContinuityBias}),
     Slope},
    {"value, weighted", 12.0L,
     [](Random& pRandom) { return RandomWeightedCurve(kUser, 1000, 8999, pRandom); },
     WeightedValue},
    {"slope, weighted", 22.0L,
     [](Random& pRandom) { return RandomWeightedCurve(kUser, 1000, 8999, pRandom); },
     WeightedSlope},
    {"extrapolated, constant", 0.0L, Extrapolated(kRefHold, kLine), Value, true},
    {"extrapolated, repetition of linear", 3.0L, Extrapolated(kRefRepeat, kLine), Value, true},
    {"extrapolated, mirror of linear", 3.0L, Extrapolated(kRefMirror, kLine), Value, true},
    {"extrapolated, keep slope", 3.0L, Extrapolated(kRefKeepSlope, kTensionContinuityBias), Value,
     true},
    {"extrapolated, relative repetition of linear", 7.0L, Extrapolated(kRefRelativeRepeat, kLine),
     Value, true},
};

Row MeasureKind(const Kind& pKind, std::uint64_t pSeed)
{
    Row row{pKind.name, "", pKind.roundings / 2.0L};
    Random random(pSeed);
    while (row.samples < kSamples) {
        const RefCurve curve = pKind.make(random);
        const CurveHandle glissa = ToGlissa(curve);
        for (int i = 0; i + 1 < curve.Count(); ++i) {
            pKind.measure(row, *glissa,
                          pKind.isOutside ? TimeOutside(curve, random)
                                          : RandomTime(curve, i, random));
        }
    }
    return row;
}

// How far the time is missed, as a share of the segment: with flat handles from 0 to 1 the value
// follows from the parameter alone.
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
        const RefSegment segment = RefSegmentAt(*glissa, 0);
        const long double got = glissa->Evaluate(KTime(time), nullptr);
        // The value is 3 s^2 - 2 s^3 at parameter s.
        const auto timeOf = [&](long double pValue) {
            const long double value = std::clamp(pValue, 0.0L, 1.0L);
            return RefBezier(segment.time, 0.5L - std::sin(std::asin(1.0L - 2.0L * value) / 3.0L));
        };
        // Nine roundings of the value are not the solver's.
        const long double blur = 4.5L * kEpsilon;
        const long double exact = std::ldexp(static_cast<long double>(time), -40);
        const long double missed =
            std::max({0.0L, timeOf(got - blur) - exact, exact - timeOf(got + blur)});
        pRow.worst = missed <= pRow.worst ? pRow.worst : missed;
        pRow.beyond += missed > kTimeError ? 1 : 0;
    }
}

struct Findings
{
    std::vector<Row> rows;
    std::vector<TimeRow> times;
};

Findings MeasureAll()
{
    Findings found;
    std::uint64_t seed = 1000;
    for (const RuleInfo& rule : kRules) {
        found.rows.push_back(SlopesAtKeys(rule, ++seed));
    }
    for (const Kind& kind : kKinds) {
        found.rows.push_back(MeasureKind(kind, ++seed));
    }
    found.times = {
        {"0.1 to 0.9", 1000, 8999}, {"0.01 to 0.95", 100, 9499}, {"0.0001 to 0.99", 1, 9899}};
    for (TimeRow& row : found.times) {
        MeasureTimes(row, ++seed);
    }
    return found;
}

// The rows of the two tables of the document. Findings are rounded up to the next half, so that
// they stay the same as long as the arithmetic does.
std::string TextOf(const std::vector<Row>& pRows)
{
    std::ostringstream text;
    for (const Row& row : pRows) {
        text << "| " << row.kind << " | " << row.rule << " | " << row.samples << " | "
             << static_cast<double>(row.bound) << " | "
             << static_cast<double>(std::ceil(row.worst * 2.0L) / 2.0L) << " |\n";
    }
    return text.str();
}

std::string TextOf(const std::vector<TimeRow>& pRows)
{
    const auto percent = [](long double pShare) {
        return std::to_string(static_cast<int>(std::ceil(pShare * 100.0L))) + " % at most";
    };
    std::ostringstream text;
    for (const TimeRow& row : pRows) {
        text << "| " << row.weights << " | " << row.samples << " | "
             << (row.beyond == 0 ? "none"
                                 : percent(static_cast<long double>(row.beyond) / row.samples))
             << " | " << (row.beyond == 0 ? "within the bound" : percent(row.worst)) << " |\n";
    }
    return text.str();
}

TEST(CurveAccuracy, EveryErrorStaysWithinItsBoundAndTheDocumentSaysWhatIsFound)
{
    const Findings found = MeasureAll();
    for (const Row& row : found.rows) {
        EXPECT_TRUE(row.Holds()) << row.kind << ", " << row.rule << ": " << row.worst
                                 << " epsilons, bound " << row.bound << ", " << row.samples
                                 << " samples";
    }
    EXPECT_EQ(0, found.times[0].beyond) << "largest error " << found.times[0].worst;

    std::ifstream file(GLISSA_SOURCE_DIR "/docs/accuracy.md", std::ios::binary);
    const std::string document(std::istreambuf_iterator<char>(file), {});
    for (const std::string& rows : {TextOf(found.rows), TextOf(found.times)}) {
        EXPECT_NE(std::string::npos, document.find("---|\n" + rows)) << "the rows found:\n" << rows;
    }
}
}  // namespace
