// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// How far a curve may move when a key is inserted. Roundings are counted in u, half of FLT_EPSILON,
// of M, the largest operand of the old segment; evaluation itself is bounded in accuracy_test.cpp.
//
// A cubic piece. Its control points come from an exact cut, but for these roundings: the new key's
// value is one evaluation, 12 u; its slope has 32 u of 3 M / seconds, which a third of a piece
// turns into 32 u of M and the curve weighs with 4/9 at most; both the old and the new value that
// are compared are evaluations, the new one with operands of at most 2 M. Together
//   12 + 32 * 4/9 + 12 + 2 * 12 < 63 u M.
// A linear piece has 3 u for each of the three values: 9 u M.
//
// Where a slope is not stored but follows from parameters, it is met to its tolerance: 2^-20 of the
// steepest slope or secant at its key and, on an automatic side, 4e-5. A Hermite segment turns an
// error of a slope into at most 4/27 of it times the seconds, for each end.
//
// A weighted piece. Stored weights lie d = 1/19998 (and a rounding of float) from the exact ones,
// so a handle is moved along its tangent by d in time and by d times its slope in value. Of two
// handles the curve takes 3/4 at most, in value and, times its own slope, in time: with S the
// steepest slope of the segment, that is 3/4 d seconds (S + S). The time of an evaluation is met
// to kTimeError (accuracy_test.cpp) when the old curve is asked, when it is cut and when the piece
// is asked: 3 kTimeError seconds S.

#include "tests/support/curve_test.h"
#include "tests/support/random_curve.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <optional>
#include <tuple>

namespace
{
constexpr double kU = FLT_EPSILON / 2.0;
constexpr double kTimeError = 2.0 * 2.7e-6 + 12.0 * FLT_EPSILON;
constexpr double kWeightError = 0.5 / 9999.0 + 1e-7;

// The slope tolerance of a key times 4/27 of the seconds of a segment next to it.
double SlopeShare(Glissa& pCurve, int pIndex, double pSeconds)
{
    double toLeft = 0.0;
    double toRight = 0.0;
    GLISSA_ComputeToLeftAndToRight(toLeft, toRight, &pCurve, pIndex);
    const double left = pCurve.KeyGetLeftDerivative(pIndex);
    const double right = pCurve.KeyGetRightDerivative(pIndex);
    const double steepest =
        std::max({std::fabs(toLeft), std::fabs(toRight), std::fabs(left), std::fabs(right)});
    return 4.0 / 27.0 * pSeconds * (0x1p-20 * steepest + 4e-5);
}

double SecondsAt(const Glissa& pCurve, int pSegment)
{
    return (pCurve.KeyGetTime(pSegment + 1) - pCurve.KeyGetTime(pSegment)).GetSecondDouble();
}

// The bound of the header comment for a segment of the old curve. pIsExact: its slopes are stored.
double Bound(Glissa& pOld, int pSegment, Glissa& pCurve, int pPiece, bool pIsExact)
{
    if (pOld.KeyGetInterpolation(pSegment) != eInterpolationCubic) {
        return 9.0 * kU *
               std::max(std::fabs(pOld.KeyGetValue(pSegment)),
                        std::fabs(pOld.KeyGetValue(pSegment + 1)));
    }
    const RefSegment segment = RefSegmentAt(pOld, pSegment);
    double bound = 63.0 * kU * static_cast<double>(segment.largest);
    if (!pIsExact) {
        const double seconds = SecondsAt(pCurve, pPiece);
        bound += SlopeShare(pCurve, pPiece, seconds) + SlopeShare(pCurve, pPiece + 1, seconds);
    }
    if (segment.weighted) {
        long double steepest = 0.0L;
        for (int i = 0; i <= 200; ++i) {
            steepest = std::max(steepest, std::fabs(RefSlopeOf(segment, i / 200.0L)));
        }
        bound += static_cast<double>(segment.seconds * steepest) *
                 (1.5 * kWeightError + 3.0 * kTimeError);
    }
    return bound;
}

// The greatest difference of two curves in a segment of the second one.
double Difference(Glissa& pOld, Glissa& pNew, int pSegment)
{
    constexpr int kSamples = 12;
    const std::int64_t from = pNew.KeyGetTime(pSegment).Get();
    const std::int64_t gap = pNew.KeyGetTime(pSegment + 1).Get() - from;
    double worst = 0.0;
    for (int i = 0; i <= kSamples; ++i) {
        const double part = static_cast<double>(gap) * i / kSamples;
        const KTime time(i == kSamples ? from + gap : from + static_cast<std::int64_t>(part));
        const double error = std::fabs(static_cast<double>(pOld.Evaluate(time, nullptr)) -
                                       pNew.Evaluate(time, nullptr));
        worst = error <= worst ? worst : error;  // a NaN has to stay
    }
    return worst;
}

// A random time strictly inside a segment, or none.
std::optional<std::int64_t> RandomPlace(const RefCurve& pCurve, int pSegment,
                                        std::int64_t pLeastGap, Random& pRandom)
{
    const auto& from = pCurve.keys[static_cast<std::size_t>(pSegment)];
    const auto& to = pCurve.keys[static_cast<std::size_t>(pSegment) + 1];
    const std::int64_t time = RandomTime(pCurve, pSegment, pRandom);
    return to.time - from.time >= pLeastGap && time > from.time && time < to.time
               ? std::optional(time)
               : std::nullopt;
}

// Curves of each rule by itself, where no other key and no kind may change, and mixed ones.
TEST(KeyInsert, KeepsTheShapeOfEveryKind)
{
    constexpr int kMixed = kTensionContinuityBias + 1;
    for (int rule = 0; rule <= kMixed; ++rule) {
        Random random(1);
        int changedKinds = 0;
        int changedFarAway = 0;
        const int wanted = rule == kMixed ? 12000 : 1500;
        for (int inserted = 0; inserted < wanted;) {
            const RefCurve data = rule == kMixed ? RandomMixedCurve(random)
                                                 : RandomCurve(static_cast<Rule>(rule), random);
            const int segment = random.Below(data.Count() - 1);
            const auto time = RandomPlace(data, segment, 2, random);
            if (!time) {
                continue;
            }
            SCOPED_TRACE(testing::Message() << "rule " << rule << ", " << ++inserted);
            const CurveHandle old = ToGlissa(data);
            const CurveHandle curve = ToGlissa(data);
            int hint = inserted % 20 - 5;
            ASSERT_EQ(segment + 1, curve->KeyInsert(KTime(*time), &hint));
            ASSERT_EQ(segment + 1, hint);
            ASSERT_EQ(data.Count() + 1, curve->KeyGetCount());
            for (int i = 0; i < data.Count(); ++i) {
                const int moved = i <= segment ? i : i + 1;
                const bool isNear = i >= segment - 1 && i <= segment + 1;
                changedFarAway += !isNear && !HasSameKey(*old, i, *curve, moved) ? 1 : 0;
                changedKinds +=
                    old->KeyGetTangeantMode(i, false) != curve->KeyGetTangeantMode(moved, false)
                        ? 1
                        : 0;
                const int was = i <= segment ? i : i - 1;
                const bool isExact = rule == kLine || rule == kUser;
                ASSERT_LE(Difference(*old, *curve, i), Bound(*old, was, *curve, i, isExact))
                    << "segment " << i;
            }
        }
        // Where the secants next to a TCB key are equal no parameters have its slopes. Keys before
        // it then take user tangents too, where a left slope has a place.
        if (rule != kMixed) {
            const bool isTcb = rule == kTensionContinuityBias;
            EXPECT_LE(changedKinds, isTcb ? wanted / 10 : 0) << rule;
            EXPECT_LE(changedFarAway, isTcb ? wanted / 100 : 0) << rule;
        }
    }
}

TEST(KeyInsert, SplitsWeightsSoThatTheTimeAxisStays)
{
    Random random(72);
    int inserted = 0;
    int limited = 0;
    while (inserted < 1500) {
        const RefCurve data = RandomWeightedCurve(kUser, 1000, 9000, random);
        const int segment = random.Below(data.Count() - 1);
        const auto time = RandomPlace(data, segment, 1000, random);
        if (!time) {
            continue;
        }
        ++inserted;
        SCOPED_TRACE(inserted);
        const CurveHandle old = ToGlissa(data);
        const CurveHandle curve = ToGlissa(data);
        const int e = curve->KeyInsert(KTime(*time));
        ASSERT_EQ(unsigned{eWeightAll}, curve->KeyGetTangeantWeightMode(e));
        ASSERT_EQ(unsigned{eWeightAll}, curve->KeyGetTangeantWeightMode(e - 1));
        const float weights[] = {
            curve->KeyGetRightTangeantWeight(e - 1), curve->KeyGetLeftTangeantWeight(e),
            curve->KeyGetRightTangeantWeight(e), curve->KeyGetLeftTangeantWeight(e + 1)};
        if (*std::max_element(weights, weights + 4) >= 9899 / 9999.0f) {
            ++limited;
            continue;
        }
        const double bound = Bound(*old, segment, *curve, e, true);
        ASSERT_LE(Difference(*old, *curve, e - 1), bound);
        ASSERT_LE(Difference(*old, *curve, e), bound);
    }
    EXPECT_LT(limited, inserted / 100);
}

TEST(KeyInsert, TakesTheNearestShapeWhereAWeightIsBeyondItsLimit)
{
    RefCurve data;
    data.keys = {{0, 0.0f, 0, {5.0f, -3.0f}}, {Seconds(1.0).Get(), 1.0f, kRefCubic | kRefUser}};
    data.keys[0].SetWeights(9883, 9276);
    data.keys[0].flags = kRefCubic | kRefUser | kRefBreak | kRefWeightRight | kRefWeightNextLeft;
    const CurveHandle old = ToGlissa(data);
    const CurveHandle curve = ToGlissa(data);
    const int e = curve->KeyInsert(Seconds(0.748));
    ASSERT_GT(curve->KeyGetRightTangeantWeight(e - 1), 0.9899f);
    const double misfit = Difference(*old, *curve, e - 1);
    EXPECT_GT(misfit, 0.01);
    for (int i = 1; i < 100; ++i) {
        curve->KeySetLeftTangeantWeight(e, static_cast<float>(i) / 100.0f);
        EXPECT_GT(Difference(*old, *curve, e - 1), 0.9 * misfit) << i;
    }
}

TEST(KeyInsert, OneEventNamesAllThatDiffers)
{
    using Row = std::tuple<std::uint32_t, int, int, int>;  // flags, type, first and last key
    const int added = kGlissaEventAdded | kGlissaEventAllAttributes;
    const int sides = eEventEditWeight | eEventEditVelocity | eEventEditSlope;
    for (const auto& [flags, type, first, last] :
         {Row{kRefCubic | kRefUser, added | sides, 1, 2}, Row{kRefLinear, added, 1, 2},
          Row{kRefConstant, added, 1, 2}, Row{kRefCubic | kRefAuto, added | sides, 0, 2},
          Row{kRefCubic | kRefTcb, added | eEventEditTCBBias | eEventEditTCBContinuity, 1, 3}}) {
        SCOPED_TRACE(flags);
        const CurveHandle curve = ThreeKeys(flags);
        const EventRecorder events(*curve);
        curve->KeyInsert(Seconds(1.25));
        ASSERT_EQ(1u, events.Heard().size());
        EXPECT_EQ(type, events.Folded().type) << std::hex << events.Folded().type;
        EXPECT_EQ(first, events.Folded().first);
        EXPECT_EQ(last, events.Folded().last);
        curve->KeyInsert(Seconds(1.25));
        EXPECT_EQ(1u, events.Heard().size());
    }
}
}  // namespace
