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

#include "glissa/curve/modify_bracket.h"
#include "glissa/ext/custom_tangent_manager.h"
#include "tests/support/museum.h"
#include "tests/support/random_curve.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <optional>
#include <tuple>
#include <utility>

namespace
{
constexpr double kU = FLT_EPSILON / 2.0;
constexpr double kTimeError = 2.0 * 2.7e-6 + 12.0 * FLT_EPSILON;
constexpr double kWeightError = 0.5 / 9999.0 + 1e-7;

KTime Seconds(double pSeconds)
{
    return KTime::FromSeconds(pSeconds);
}

// A user key; a broken one when the slopes differ. The left slope is that of the next key.
RefKey UserKey(double pSeconds, float pValue, float pRight, float pNextLeft)
{
    RefKey key;
    key.time = Seconds(pSeconds).Get();
    key.value = pValue;
    key.flags = kRefCubic | kRefUser | (pRight == pNextLeft ? 0 : kRefBreak);
    key.slots[0] = pRight;
    key.slots[1] = pNextLeft;
    return key;
}

CurveHandle ThreeKeys(std::uint32_t pFlags)
{
    RefCurve curve;
    for (const float each : {0.0f, 4.0f, 1.0f}) {
        RefKey key = UserKey(static_cast<double>(curve.Count()), each, 0.25f, 0.5f);
        key.flags = pFlags;
        curve.keys.push_back(key);
    }
    return ToGlissa(curve);
}

bool HasSameKey(const Glissa& pLeft, int pLeftIndex, const Glissa& pRight, int pRightIndex)
{
    const GlissaKey left = pLeft.KeyGet(pLeftIndex);
    const GlissaKey right = pRight.KeyGet(pRightIndex);
    return left.GetTime() == right.GetTime() &&
           std::memcmp(&left.GetAttributes(), &right.GetAttributes(),
                       sizeof(GlissaKeyAttributes)) == 0 &&
           left.GetValue() == right.GetValue();
}

// The slope tolerance of a key times 4/27 of the seconds of a segment beside it.
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
double Bound(const RefCurve& pData, int pSegment, Glissa& pCurve, int pPiece, bool pIsExact)
{
    const auto& from = pData.keys[static_cast<std::size_t>(pSegment)];
    const auto& to = pData.keys[static_cast<std::size_t>(pSegment) + 1];
    if ((from.flags & kRefCubic) == 0) {
        return 9.0 * kU * std::max(std::fabs(from.value), std::fabs(to.value));
    }
    const RefSegment segment = RefSegmentAt(pData, pSegment);
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

TEST(KeyInsert, KeepsTheShapeOfEveryKind)
{
    constexpr std::pair<Rule, const char*> kRules[] = {{kUser, "user"},
                                                       {kLine, "line"},
                                                       {kAutomatic, "auto"},
                                                       {kFarAutomatic, "far"},
                                                       {kIndependent, "independent"},
                                                       {kProgressiveClamp, "progressive"},
                                                       {kTensionContinuityBias, "TCB"}};
    for (const auto& [rule, name] : kRules) {
        Random random(71);
        int changedKinds = 0;
        int changedFarAway = 0;
        int inserted = 0;
        while (inserted < 1500) {
            const RefCurve data = RandomCurve(rule, random);
            const int segment = random.Below(data.Count() - 1);
            const auto time = RandomPlace(data, segment, 2, random);
            if (!time) {
                continue;
            }
            ++inserted;
            SCOPED_TRACE(testing::Message() << name << ' ' << inserted);
            const CurveHandle old = ToGlissa(data);
            const CurveHandle curve = ToGlissa(data);
            int hint = random.Below(20) - 5;
            ASSERT_EQ(segment + 1, curve->KeyInsert(KTime(*time), &hint));
            ASSERT_EQ(segment + 1, hint);
            ASSERT_EQ(data.Count() + 1, curve->KeyGetCount());
            for (int i = 0; i < data.Count(); ++i) {
                const int moved = i <= segment ? i : i + 1;
                if ((i < segment - 1 || i > segment + 1) && !HasSameKey(*old, i, *curve, moved)) {
                    // Behind TCB keys a left slope has a place when they take user tangents.
                    ++changedFarAway;
                    ASSERT_TRUE(rule == kTensionContinuityBias && i < segment);
                }
                changedKinds +=
                    old->KeyGetTangeantMode(i, false) != curve->KeyGetTangeantMode(moved, false)
                        ? 1
                        : 0;
            }
            for (int i = 0; i < data.Count(); ++i) {
                const int was = i <= segment ? i : i - 1;
                const bool isExact = rule == kLine || rule == kUser;
                ASSERT_LE(Difference(*old, *curve, i), Bound(data, was, *curve, i, isExact))
                    << "segment " << i;
            }
        }
        // Where the secants beside a TCB key are equal no parameters give its slopes.
        const int most = rule == kTensionContinuityBias ? inserted / 10 : 0;
        EXPECT_LE(changedKinds, most) << name;
        EXPECT_LE(changedFarAway, inserted / 50) << name;
    }
}

// Keys of all rules beside each other, constant ones among them.
TEST(KeyInsert, KeepsTheShapeOfMixedKinds)
{
    Random random(1);
    for (int inserted = 0; inserted < 12000;) {
        RefCurve data = RandomCurve(kUser, random);
        for (RefKey& key : data.keys) {
            const RefKey other =
                RandomCurve(static_cast<Rule>(random.Below(7)), random).keys.front();
            key = {key.time, key.value, other.flags, {other.slots[0], other.slots[1]}, other.slot2};
            if (random.Below(8) == 0) {
                key.flags = kRefConstant | (random.Below(2) == 0 ? kRefConstantNext : 0);
            }
        }
        const int segment = random.Below(data.Count() - 1);
        const auto time = RandomPlace(data, segment, 2, random);
        if (!time) {
            continue;
        }
        SCOPED_TRACE(++inserted);
        const CurveHandle old = ToGlissa(data);
        const CurveHandle curve = ToGlissa(data);
        ASSERT_EQ(segment + 1, curve->KeyInsert(KTime(*time)));
        for (int i = 0; i < data.Count(); ++i) {
            const int was = i <= segment ? i : i - 1;
            ASSERT_LE(Difference(*old, *curve, i), Bound(data, was, *curve, i, false)) << i;
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
        const double bound = Bound(data, segment, *curve, e, true);
        ASSERT_LE(Difference(*old, *curve, e - 1), bound);
        ASSERT_LE(Difference(*old, *curve, e), bound);
    }
    EXPECT_LT(limited, inserted / 100);
}

TEST(KeyInsert, TakesTheNearestShapeWhereAWeightIsBeyondItsLimit)
{
    using Row = std::tuple<int, int, double>;  // weights of 9999, time
    for (const auto& [right, left, at] : {Row{9883, 9276, 0.748}, Row{9629, 9160, 0.4268}}) {
        SCOPED_TRACE(at);
        RefCurve data;
        data.keys = {UserKey(0.0, 0.0f, 5.0f, -3.0f), UserKey(1.0, 1.0f, 0.0f, 0.0f)};
        data.keys[0].SetWeights(right, left);
        data.keys[0].flags |= kRefWeightRight | kRefWeightNextLeft;
        const CurveHandle old = ToGlissa(data);
        const CurveHandle curve = ToGlissa(data);
        const int e = curve->KeyInsert(Seconds(at));
        const bool isFirst = curve->KeyGetRightTangeantWeight(e - 1) > 0.9899f;
        ASSERT_TRUE(isFirst || curve->KeyGetLeftTangeantWeight(e + 1) > 0.9899f);
        const int piece = isFirst ? e - 1 : e;
        const double misfit = Difference(*old, *curve, piece);
        EXPECT_GT(misfit, 0.01);
        for (int i = 1; i < 100; ++i) {
            const float weight = static_cast<float>(i) / 100.0f;
            if (isFirst) {
                curve->KeySetLeftTangeantWeight(e, weight);
            } else {
                curve->KeySetRightTangeantWeight(e, weight);
            }
            EXPECT_GT(Difference(*old, *curve, piece), 0.9 * misfit) << weight;
        }
    }
}

TEST(KeyInsert, KeepsTheShapeBetweenAnyTwoKinds)
{
    for (const std::uint32_t before : MuseumKinds()) {
        for (const std::uint32_t behind : MuseumKinds()) {
            const RefCurve data = MuseumTangentPair(before, behind);
            for (int segment = 0; segment + 1 < data.Count(); ++segment) {
                SCOPED_TRACE(testing::Message()
                             << std::hex << before << ' ' << behind << " in " << segment);
                const auto& from = data.keys[static_cast<std::size_t>(segment)];
                const auto& to = data.keys[static_cast<std::size_t>(segment) + 1];
                const CurveHandle old = ToGlissa(data);
                const CurveHandle curve = ToGlissa(data);
                ASSERT_EQ(segment + 1,
                          curve->KeyInsert(KTime(from.time + (to.time - from.time) / 3)));
                for (int i = 0; i < data.Count(); ++i) {
                    const int was = i <= segment ? i : i - 1;
                    EXPECT_LE(Difference(*old, *curve, i), Bound(data, was, *curve, i, false)) << i;
                }
            }
        }
    }
}

TEST(KeyInsert, GivesIndexAndHintOfTheKeyAtTheTime)
{
    using Row = std::tuple<double, int, int, int>;  // seconds, result, hint after, count after
    for (const auto& [seconds, result, hintAfter, count] :
         {Row{-1.0, 0, 0, 4}, Row{0.0, 0, 0, 3}, Row{0.5, 1, 1, 4}, Row{1.0, 1, 1, 3},
          Row{2.0, 2, 2, 3}, Row{3.0, 2, 3, 4}}) {
        for (const int start : {-5, 0, 2, 99}) {
            SCOPED_TRACE(testing::Message() << seconds << ' ' << start);
            const CurveHandle curve = ThreeKeys(kRefCubic | kRefUser);
            int hint = start;
            EXPECT_EQ(result, curve->KeyInsert(Seconds(seconds), &hint));
            EXPECT_EQ(hintAfter, hint);
            EXPECT_EQ(count, curve->KeyGetCount());
            EXPECT_EQ(Seconds(seconds), curve->KeyGetTime(hint));
            EXPECT_FALSE(curve->IsCandidate());
        }
    }
    const CurveHandle empty(GlissaCreate());
    empty->SetValue(2.5f);
    EXPECT_EQ(0, empty->KeyInsert(Seconds(1.0)));
    EXPECT_EQ(2.5f, empty->KeyGetValue(0));
}

TEST(KeyInsert, OneEventNamesAllThatDiffers)
{
    struct Heard
    {
        int calls = 0;
        int type = 0;
        int first = -1;
        int last = -1;
    };
    const auto listen = [](Glissa*, GlissaEvent* pEvent, void* pHeard) {
        auto* heard = static_cast<Heard*>(pHeard);
        *heard = {heard->calls + 1, pEvent->GetType(), pEvent->GetFirstKey(), pEvent->GetLastKey()};
    };
    using Row = std::tuple<std::uint32_t, int, int, int>;  // flags, type, first and last key
    const int added = kGlissaEventAdded | kGlissaEventAllAttributes;
    const int sides = eEventEditWeight | eEventEditVelocity | eEventEditSlope;
    for (const auto& [flags, type, first, last] :
         {Row{kRefCubic | kRefUser, added | sides, 1, 2}, Row{kRefLinear, added, 1, 2},
          Row{kRefConstant, added, 1, 2}, Row{kRefCubic | kRefAuto, added | sides, 0, 2},
          Row{kRefCubic | kRefTcb, added | eEventEditTCBBias | eEventEditTCBContinuity, 1, 3}}) {
        SCOPED_TRACE(flags);
        const CurveHandle curve = ThreeKeys(flags);
        Heard heard;
        curve->CallbackRegister(listen, &heard);
        curve->KeyInsert(Seconds(1.25));
        EXPECT_EQ(1, heard.calls);
        EXPECT_EQ(type, heard.type) << std::hex << heard.type;
        EXPECT_EQ(first, heard.first);
        EXPECT_EQ(last, heard.last);
        heard = {};
        curve->KeyInsert(Seconds(1.25));
        EXPECT_EQ(0, heard.calls);
        curve->CallbackUnregister(listen, &heard);
    }
}

TEST(Candidate, HoldsOneValueUntilAKeyChanges)
{
    const CurveHandle curve = ThreeKeys(kRefLinear);
    EXPECT_FALSE(curve->IsCandidate());
    EXPECT_TRUE(curve->CandidateSet(Seconds(0.5), 0.1));
    EXPECT_TRUE(curve->IsCandidate());
    EXPECT_EQ(static_cast<double>(0.1f), curve->CandidateGet());
    EXPECT_EQ(Seconds(0.5), curve->CandidateGetTime());
    // At its own time nothing is evaluated, and so the hint stays.
    int hint = 2;
    EXPECT_EQ(static_cast<double>(0.1f), curve->CandidateEvaluate(Seconds(0.5), &hint));
    EXPECT_EQ(2, hint);
    EXPECT_EQ(1.0, curve->CandidateEvaluate(Seconds(0.25), &hint));
    EXPECT_EQ(Seconds(0.25), curve->CandidateGetTime());
    EXPECT_TRUE(curve->CandidateClear());
    EXPECT_FALSE(curve->IsCandidate());
    EXPECT_EQ(0.0, curve->CandidateGet());
    EXPECT_EQ(1.0, curve->CandidateEvaluate(KTime::Infinite(), &hint));
    EXPECT_FALSE(curve->IsCandidate());
    EXPECT_FALSE(curve->CandidateKey(&hint, eInterpolationLinear, 0, eContinuityDefault, true));

    const std::pair<const char*, void (*)(Glissa&)> changes[] = {
        {"bracket", [](Glissa& c) { const KeyModifyBracket bracket(c); }},
        {"value", [](Glissa& c) { c.KeySetValue(0, 0.0f); }},
        {"time", [](Glissa& c) { c.KeySetTime(0, Seconds(-0.5)); }},
        {"data", [](Glissa& c) { c.KeySetDataDouble(0, eDataRightSlope, 7.0f); }},
        {"selection", [](Glissa& c) { c.KeySetSelected(0, true); }},
        {"mark", [](Glissa& c) { c.KeySetMarkedForManipulation(0, true); }},
        {"append", [](Glissa& c) { c.KeyAppendFast(Seconds(9.0), 0.0f); }},
        {"refused", [](Glissa& c) { c.KeySet(0, Seconds(5.0), 0.0f, 4, 0); }},
        {"clear", [](Glissa& c) { c.KeyClear(); }},
    };
    for (const auto& [name, change] : changes) {
        const CurveHandle changed = ThreeKeys(kRefLinear);
        changed->CandidateSet(Seconds(0.5), 3.0);
        change(*changed);
        EXPECT_FALSE(changed->IsCandidate()) << name;
    }
}

TEST(CandidateKey, FindsTheKeyWithinTheTolerance)
{
    // Seconds, tolerance, index, whether that key was there.
    using Row = std::tuple<double, double, int, bool>;
    for (const auto& [seconds, tolerance, index, existed] :
         {Row{1.0, 0.0, 1, true}, Row{1.25, 0.0, 2, false}, Row{1.4, 0.5, 1, true},
          Row{1.4, 0.3, 2, false}, Row{1.5, 0.5, 2, true}, Row{1.6, 5.0, 2, true},
          Row{-1.0, 0.5, 0, false}, Row{3.0, 5.0, 3, false}, Row{1.2, -1.0, 2, false}}) {
        for (const bool override : {false, true}) {
            SCOPED_TRACE(testing::Message() << seconds << ' ' << tolerance << ' ' << override);
            const CurveHandle curve = ThreeKeys(kRefCubic | kRefUser | kRefBreak);
            curve->CandidateSet(KTime(), 9.0);
            int last = 77;
            ASSERT_TRUE(curve->CandidateKey(&last, eInterpolationLinear, 0, eContinuityDefault,
                                            override, Seconds(seconds), tolerance));
            EXPECT_EQ(index, last);
            EXPECT_EQ(existed ? 3 : 4, curve->KeyGetCount());
            EXPECT_EQ(Seconds(seconds), curve->KeyGetTime(last));
            EXPECT_EQ(9.0f, curve->KeyGetValue(last));
            EXPECT_EQ(unsigned{existed && !override ? eInterpolationCubic : eInterpolationLinear},
                      curve->KeyGetInterpolation(last));
            EXPECT_FALSE(curve->IsCandidate());
            EXPECT_EQ(!existed,
                      ThreeKeys(kRefLinear)
                          ->CandidateKey(nullptr, eInterpolationLinear, 0, eContinuityInsert,
                                         override, Seconds(seconds), tolerance));
        }
    }
    const CurveHandle empty(GlissaCreate());
    empty->CandidateSet(Seconds(1.0), -2.0);
    int last = 5;
    ASSERT_TRUE(
        empty->CandidateKey(&last, eInterpolationCubic, eTangentTCB, eContinuityBreak, false));
    EXPECT_EQ(0, last);
    EXPECT_EQ(-2.0f, empty->KeyGetValue(0));
    EXPECT_EQ(-1.0f, empty->KeyGetDataDouble(0, eDataTCBContinuity));
}

TEST(CandidateKey, ReplacedKeysKeepTheSlopesBesideThem)
{
    for (const unsigned kind : {unsigned{eTangentUserBreak}, unsigned{eTangentAutoBreak}}) {
        const CurveHandle curve = ThreeKeys(kRefCubic | kRefUser | kRefBreak);
        curve->KeySetLeftTangeantWeight(2, 0.5f);
        const float left = curve->KeyGetLeftDerivative(1);
        const float right = curve->KeyGetRightDerivative(1);
        curve->CandidateSet(Seconds(1.0), 4.0);
        curve->CandidateKey(nullptr, eInterpolationCubic, static_cast<int>(kind),
                            eContinuityDefault, true);
        EXPECT_EQ(kind, curve->KeyGetTangeantMode(1, true));
        EXPECT_NEAR(left, curve->KeyGetLeftDerivative(1), 1e-5);
        EXPECT_NEAR(right, curve->KeyGetRightDerivative(1), 1e-5);
        // What follows is stored in the key that was replaced.
        EXPECT_EQ(0.5f, curve->KeyGetLeftDerivative(2));
        EXPECT_TRUE(curve->KeyIsLeftTangeantWeighted(2));
    }
}

TEST(CandidateKey, CornersAreFlatAsTheGettersMeasure)
{
    for (const std::uint32_t flags : MuseumKinds()) {
        for (const int continuity : {eContinuityFlat, eContinuityBreak}) {
            for (const unsigned mode :
                 {0u | eTangentAuto, 0u | eTangentAuto | eTangentProgressiveClamp,
                  0u | eTangentUser, 0u | eTangentTCB}) {
                for (const double seconds : {0.25, 1.0, 1.25, 2.0, 2.5, -0.5}) {
                    SCOPED_TRACE(testing::Message() << std::hex << flags << ' ' << continuity << ' '
                                                    << mode << ' ' << seconds);
                    const CurveHandle curve = ThreeKeys(flags & ~kRefCustom);
                    curve->CandidateSet(Seconds(seconds), 3.0);
                    int e = 0;
                    ASSERT_TRUE(curve->CandidateKey(&e, eInterpolationCubic, static_cast<int>(mode),
                                                    continuity, true));
                    const bool isTcb = (mode & eTangentTCB) != 0;
                    if (isTcb) {
                        EXPECT_EQ(continuity == eContinuityFlat ? 1.0f : 0.0f,
                                  curve->KeyGetDataDouble(e, eDataTCBTension));
                        EXPECT_EQ(continuity == eContinuityFlat ? 0.0f : -1.0f,
                                  curve->KeyGetDataDouble(e, eDataTCBContinuity));
                    }
                    if (isTcb && continuity == eContinuityBreak) {
                        continue;
                    }
                    if (e > 0 && curve->KeyGetInterpolation(e - 1) == eInterpolationCubic) {
                        EXPECT_NEAR(0.0f, curve->KeyGetLeftDerivative(e), 4e-5);
                    }
                    if (e + 1 < curve->KeyGetCount()) {
                        EXPECT_NEAR(0.0f, curve->KeyGetRightDerivative(e), 4e-5);
                    }
                    if ((mode & eTangentAuto) != 0 && (flags & kRefTcb) == 0 &&
                        flags != kRefCubic) {
                        EXPECT_EQ(unsigned{eTangentAutoBreak}, curve->KeyGetTangeantMode(e, false));
                    }
                }
            }
        }
    }
}

TEST(CandidateKey, EndTangentsRunOnIntoANewEndSegment)
{
    // Of the old end key: flags, whether it lies before, and whether its slope then stays.
    using Row = std::tuple<std::uint32_t, float, bool>;
    for (const auto& [flags, slot, stays] :
         {Row{kRefCubic | kRefUser, 0.75f, true}, Row{kRefCubic | kRefAuto, 0.0f, false},
          Row{kRefCubic | kRefAuto, 40.0f, true}}) {
        for (const double seconds : {3.0, -1.0}) {
            SCOPED_TRACE(testing::Message() << std::hex << flags << ' ' << slot << ' ' << seconds);
            const CurveHandle curve = ThreeKeys(flags);
            const bool isBehind = seconds > 0.0;
            if (flags == (kRefCubic | kRefAuto)) {
                curve->KeySetLeftAuto(2, slot);
                curve->KeySetRightAuto(0, slot);
            }
            const float slope =
                isBehind ? curve->KeyGetLeftDerivative(2) : curve->KeyGetRightDerivative(0);
            curve->CandidateSet(Seconds(seconds), 8.0);
            curve->CandidateKey(nullptr, eInterpolationCubic, eTangentUser, eContinuityDefault,
                                true);
            const int end = isBehind ? 2 : 1;
            const float left = curve->KeyGetLeftDerivative(end);
            const float right = curve->KeyGetRightDerivative(end);
            EXPECT_NEAR(left, right, 1e-5);
            EXPECT_EQ(stays, std::fabs(left - slope) < 1e-5) << left << " of " << slope;
            // An insertion keeps the curve between the old ends in any case.
            const CurveHandle old = ThreeKeys(flags);
            const CurveHandle inserted = ThreeKeys(flags);
            inserted->KeyInsert(Seconds(seconds));
            EXPECT_LE(Difference(*inserted, *old, 0) + Difference(*inserted, *old, 1), 1e-5);
        }
    }
}

// A linear or custom end key has a slope that a new segment beside it starts with, too.
TEST(CandidateKey, EndSlopesThatAreNotCubicRunOnToo)
{
    const CurveHandle linear = ThreeKeys(kRefLinear);
    linear->CandidateSet(Seconds(-1.0), 8.0);
    linear->CandidateKey(nullptr, eInterpolationCubic, eTangentUser, eContinuityDefault, true);
    EXPECT_EQ(4.0f, linear->KeyGetRightDerivative(1));
    EXPECT_EQ(4.0f, linear->KeyGetLeftDerivative(1));
    const CurveHandle custom = ThreeKeys(kRefCustom | 0x100);
    custom->KeySetDataDouble(2, eDataRightSlope, 7.0f);  // which nothing follows at the end
    custom->CandidateSet(Seconds(3.0), 8.0);
    custom->CandidateKey(nullptr, eInterpolationCubic, eTangentUser, eContinuityDefault, true);
    EXPECT_EQ(0.5f, custom->KeyGetLeftDerivative(2));
    EXPECT_EQ(0.5f, custom->KeyGetRightDerivative(2));
}

TEST(CandidateKey, WithoutOverrideAKeyTakesTimeAndValueAndNoMore)
{
    for (const std::uint32_t flags : MuseumKinds()) {
        SCOPED_TRACE(flags);
        const CurveHandle curve = ThreeKeys(flags);
        const CurveHandle old = ThreeKeys(flags);
        const KPriFCurveKeyAttr* const block = curve->InternalPriKeyAttrGetPtr(1);
        int type = 0;
        const auto listen = [](Glissa*, GlissaEvent* pEvent, void* pType) {
            *static_cast<int*>(pType) |= pEvent->GetType();
        };
        curve->CallbackRegister(listen, &type);
        curve->CandidateSet(Seconds(1.25), 9.0);
        EXPECT_TRUE(curve->CandidateKey(nullptr, eInterpolationLinear, 0, eContinuityDefault, false,
                                        KTime::Infinite(), 0.5));
        curve->CallbackUnregister(listen, &type);
        EXPECT_EQ(kGlissaEventValue | kGlissaEventTime, type) << std::hex << type;
        EXPECT_EQ(Seconds(1.25), curve->KeyGetTime(1));
        for (int i = 0; i < 3; ++i) {
            EXPECT_TRUE(curve->KeyGet(i).GetAttributes() == old->KeyGet(i).GetAttributes());
            EXPECT_EQ(block, curve->InternalPriKeyAttrGetPtr(i));
        }
    }
}

TEST(CandidateKey, CustomKeysTakeTheSlopesAroundThem)
{
    const auto request = [](Glissa& pCurve, double pSeconds) {
        pCurve.CandidateSet(Seconds(pSeconds), 3.0);
        return pCurve.CandidateKey(nullptr, eInterpolationCustom, 0x100, eContinuityDefault, true);
    };
    const CurveHandle refused = ThreeKeys(kRefCubic | kRefUser | kRefBreak);
    const int id = refused->GetUpdateId();
    EXPECT_FALSE(request(*refused, 1.0));
    EXPECT_EQ(id, refused->GetUpdateId());
    GlissaCustomTangentManager::TheOne().AddNewCustomTangent("host", "host");
    for (const double seconds : {0.5, 1.0}) {
        const CurveHandle curve = ThreeKeys(kRefCubic | kRefUser | kRefBreak);
        EXPECT_TRUE(request(*curve, seconds));
        EXPECT_EQ(unsigned{eInterpolationCustom}, curve->KeyGetInterpolation(1));
        EXPECT_EQ(0x100u, curve->KeyGetCustomIndex(1));
        // A new key: right and left slope of the one behind it. A replaced one has what it is
        // given.
        EXPECT_EQ(seconds < 1.0 ? 0.25f : 0.0f, curve->KeyGetDataDouble(1, eDataRightSlope));
        EXPECT_EQ(seconds < 1.0 ? 0.5f : 0.0f, curve->KeyGetDataDouble(1, eDataNextLeftSlope));
    }
    GlissaCustomTangentManager::TheOne().RemoveCustomTangent("host");
}
}  // namespace
