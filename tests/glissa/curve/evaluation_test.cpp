// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The library against the long double reference on the museum: search and slopes at keys on every
// awkward curve, and what evaluation promises beside its numbers. How exact values are is measured
// in accuracy_test.cpp.

#include "glissa/settings/settings.h"
#include "tests/support/allocation_count.h"
#include "tests/support/museum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <limits>

namespace
{
constexpr std::int64_t kSecond = 141120000;
constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

// Rules with the longest chains of roundings stay below this, counted in accuracy_test.cpp.
constexpr long double kSlopeEpsilons = 6.0L;

testing::AssertionResult Near(float pGot, const RefNumber& pExpected, long double pEpsilons)
{
    const long double error = std::fabs(static_cast<long double>(pGot) - pExpected.value);
    const long double bound = pEpsilons * static_cast<long double>(FLT_EPSILON) * pExpected.largest;
    if (error <= bound) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << pGot << " for " << pExpected.value << ", " << error
                                       << " off, " << bound << " allowed";
}

struct Tcb4051
{
    explicit Tcb4051(bool pEnable) { GLISSA_SetTCB4051EvalMode(pEnable); }
    ~Tcb4051() { GLISSA_SetTCB4051EvalMode(false); }
};

TEST(CurveSearch, AnyHintFindsTheSamePlaceAndWalksOn)
{
    for (const MuseumPiece& piece : Museum()) {
        SCOPED_TRACE(piece.name);
        const RefCurve curve = piece.make();
        const CurveHandle glissa = ToGlissa(curve);
        const int count = curve.Count();
        for (const std::int64_t time : MuseumTimes(curve)) {
            const RefPlace place = RefKeyFind(curve, time);
            for (const int hint : {INT_MIN, -5, -1, 0, 1, count / 2, count - 2, count - 1, count,
                                   1000000, INT_MAX}) {
                int moved = hint;
                ASSERT_EQ(place.index, glissa->KeyFind(KTime(time), &moved)) << time << " " << hint;
                ASSERT_EQ(RefHintAfter(curve, time, hint), moved) << time << " " << hint;
            }
            ASSERT_EQ(place.index, glissa->KeyFind(KTime(time), nullptr)) << time;
            ASSERT_EQ(RefKeyFindAll(curve, time).index, glissa->KeyFindAll(KTime(time), nullptr))
                << time;
        }
    }
}

TEST(CurveEvaluation, ClampedSidesAreThoseOfTheFormulas)
{
    int flat = 0;
    for (const MuseumPiece& piece : Museum()) {
        SCOPED_TRACE(piece.name);
        const RefCurve curve = piece.make();
        const CurveHandle glissa = ToGlissa(curve);
        for (int i = 0; i < curve.Count(); ++i) {
            bool left = false;
            bool right = false;
            bool sides[2] = {};
            RefIsClamped(curve, i, left, right);
            glissa->IsClamped(i, sides[0], sides[1]);
            EXPECT_EQ(left, sides[0]) << i;
            EXPECT_EQ(right, sides[1]) << i;
            flat += left != right ? 1 : 0;
        }
    }
    EXPECT_GT(flat, 0);  // one side alone is the case worth a test
}

TEST(CurveEvaluation, EveryPairOfKindsHasTheSlopesOfTheFormulas)
{
    for (const bool older : {false, true}) {
        const Tcb4051 mode(older);
        for (const std::uint32_t previous : MuseumKinds()) {
            for (const std::uint32_t key : MuseumKinds()) {
                SCOPED_TRACE(testing::Message()
                             << std::hex << previous << " " << key << " " << older);
                RefCurve curve = MuseumTangentPair(previous, key);
                curve.tcb4051 = older;
                // The same pair at the end of a curve, where the right side is missing.
                RefCurve ending = curve;
                ending.keys.pop_back();
                for (const RefCurve* each : {&curve, &ending}) {
                    const CurveHandle glissa = ToGlissa(*each);
                    for (int i = 0; i < each->Count(); ++i) {
                        for (const int way : {0, 1, 2, 3}) {
                            const bool extremes = (way & 1) != 0;
                            const bool ignoreClamp = (way & 2) != 0;
                            EXPECT_TRUE(Near(glissa->KeyGetLeftDerivative(i, extremes, ignoreClamp),
                                             RefKeyLeftDerivative(*each, i, extremes, ignoreClamp),
                                             kSlopeEpsilons))
                                << i;
                            EXPECT_TRUE(Near(glissa->KeyGetRightDerivative(i, extremes),
                                             RefKeyRightDerivative(*each, i, extremes),
                                             kSlopeEpsilons))
                                << i;
                        }
                    }
                }
            }
        }
    }
}

// Whatever the counts and however short the span, the two ends of time are mapped into the keys.
TEST(CurveExtrapolation, TheEndsOfTimeAreMappedIntoTheKeys)
{
    for (const std::int64_t span :
         {std::int64_t{1}, std::int64_t{3}, kSecond, std::int64_t{1} << 60, kGreatest}) {
        for (const std::uint32_t mode : {0u, 1u, 2u, 3u, 4u, 5u, 17u}) {
            for (const std::uint32_t count :
                 {0u, 1u, 1000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
                SCOPED_TRACE(testing::Message()
                             << "span " << span << " mode " << mode << " count " << count);
                RefCurve curve;
                curve.keys.resize(2);
                curve.keys[0].time = -(span / 2);
                curve.keys[1].time = curve.keys[0].time + span;
                curve.keys[0].value = 1.0f;
                curve.keys[1].value = 2.0f;
                curve.keys[0].flags = curve.keys[1].flags = kRefLinear;
                curve.pre = curve.post = mode;
                curve.preCount = curve.postCount = count;
                const CurveHandle glissa = ToGlissa(curve);
                // The last repetition inside the range of times begins one span before its end.
                const RefWide least = kLeast;
                const RefWide room = curve.keys[0].time - least;
                const RefWide edge = curve.keys[0].time - (room / span - 1) * span;
                const auto inRange = [](RefWide pTime) {
                    return static_cast<std::int64_t>(std::clamp<RefWide>(pTime, kLeast, kGreatest));
                };
                for (const std::int64_t time :
                     {kLeast, kLeast + 1, kLeast + 1000, inRange(edge - 1), inRange(edge + 1),
                      -kGreatest / 2, kGreatest / 2, kGreatest - 1000, kGreatest - 1, kGreatest}) {
                    const float value = glissa->Evaluate(KTime(time), nullptr);
                    EXPECT_TRUE(std::isfinite(value)) << time;
                    if (mode < kRefKeepSlope || mode > kRefRelativeRepeat) {
                        EXPECT_TRUE(value >= 1.0f && value <= 2.0f) << time << " " << value;
                    }
                    if (mode == kRefRepeat || mode == kRefMirror || mode == kRefRelativeRepeat) {
                        const double index = glissa->KeyFindAll(KTime(time), nullptr);
                        EXPECT_TRUE(index >= 0.0 && index <= 1.0) << time << " " << index;
                        EXPECT_EQ(RefKeyFindAll(curve, time).index, index) << time;
                    }
                }
            }
        }
    }
}

// The sequence written out: every repetition, entry by entry.
TEST(CurveExtrapolation, MapIndexAllFollowsTheSequenceOfRepetitions)
{
    for (const int keys : {1, 2, 3, 5}) {
        for (const std::uint32_t pre : {0u, 1u, 3u}) {
            for (const std::uint32_t post : {0u, 1u, 2u}) {
                for (const std::uint32_t mode :
                     {kRefHold, kRefRepeat, kRefMirror, kRefRelativeRepeat}) {
                    SCOPED_TRACE(testing::Message() << keys << " keys, mode " << mode << ", " << pre
                                                    << " before, " << post << " after");
                    RefCurve curve = MuseumRecording(keys);
                    curve.pre = curve.post = static_cast<std::uint32_t>(mode);
                    curve.preCount = pre;
                    curve.postCount = post;
                    const CurveHandle glissa = ToGlissa(curve);
                    const int last = keys - 1;
                    std::vector<std::pair<int, int>> sequence;  // part, key
                    for (std::uint32_t r = 0; r < pre; ++r) {
                        for (int i = 0; i < last; ++i) {
                            sequence.emplace_back(1, mode == kRefHold ? 0 : i);
                        }
                    }
                    for (int i = 0; i < keys; ++i) {
                        sequence.emplace_back(2, i);
                    }
                    for (std::uint32_t r = 0; r < post; ++r) {
                        for (int i = 1; i <= last; ++i) {
                            // The end of one repetition is the start of the next.
                            sequence.emplace_back(3, mode == kRefHold ? last : i % last);
                        }
                    }
                    EXPECT_EQ(static_cast<int>(sequence.size()), glissa->KeyGetCountAll());
                    int part = -1;
                    EXPECT_EQ(0, glissa->MapIndexAll(-1, part));
                    EXPECT_EQ(0, part);
                    for (int i = 0; i < static_cast<int>(sequence.size()); ++i) {
                        const int mapped = glissa->MapIndexAll(i, part);
                        const auto& expected = sequence[static_cast<std::size_t>(i)];
                        EXPECT_EQ(expected.first, part) << i;
                        if (mode != kRefMirror || part == 2) {
                            EXPECT_EQ(expected.second, mapped) << i;
                        } else {
                            EXPECT_LE(mapped, last) << i;
                        }
                    }
                    EXPECT_EQ(last, glissa->MapIndexAll(static_cast<int>(sequence.size()), part));
                    EXPECT_EQ(4, part);
                    EXPECT_EQ(last, glissa->MapIndexAll(INT_MAX, part));
                }
            }
        }
    }
}

TEST(CurveEvaluation, SearchValuesAndSlopesAllocateNothing)
{
    std::vector<CurveHandle> curves;
    std::vector<std::vector<std::int64_t>> times;
    for (const MuseumPiece& piece : Museum()) {
        curves.push_back(ToGlissa(piece.make()));
        times.push_back(MuseumTimes(piece.make()));
    }
    // Far seeks too: each curve jumps back to its start for every time.
    curves.push_back(ToGlissa(MuseumRecording(100000)));
    times.push_back(MuseumTimes(MuseumRecording(100000)));
    double sum = 0.0;
    const std::size_t before = AllocationCount();
    const auto pages = GetRecordingMemory();
    for (std::size_t i = 0; i < curves.size(); ++i) {
        Glissa& curve = *curves[i];
        for (const std::int64_t ticks : times[i]) {
            const KTime time(ticks);
            int hint = 0;
            sum += curve.KeyFind(time, &hint) + curve.KeyFindAll(time, nullptr);
            sum += static_cast<double>(curve.Evaluate(time, &hint));
            sum += static_cast<double>(curve.EvaluateLeftDerivative(time, &hint));
            sum += static_cast<double>(curve.EvaluateRightDerivative(time, nullptr));
        }
        for (int key = 0; key < curve.KeyGetCount(); ++key) {
            sum += static_cast<double>(curve.KeyGetLeftDerivative(key, true, false));
            sum += static_cast<double>(curve.KeyGetRightDerivative(key, true));
        }
    }
    EXPECT_EQ(before, AllocationCount()) << sum;
    EXPECT_EQ(pages, GetRecordingMemory());
    const CurveHandle one = ToGlissa(RefCurve());
    EXPECT_LT(before, AllocationCount());  // the count counts
}
}  // namespace
