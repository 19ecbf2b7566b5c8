// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Search, slopes at keys and extrapolation, against numbers worked out by hand, and what evaluation
// promises apart from its numbers. How exact values are is measured in accuracy_test.cpp, and
// hash_test.cpp compares the bits of all pairs of kinds.

#include "glissa/settings/settings.h"
#include "tests/support/allocation_count.h"
#include "tests/support/museum.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace
{
constexpr std::int64_t kSecond = KTime::kTicksPerSecond;
constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

constexpr std::uint32_t kAuto = kRefCubic | kRefAuto, kAutoBreak = kAuto | kRefBreak;
constexpr std::uint32_t kUser = kRefCubic | kRefUser, kUserBreak = kUser | kRefBreak;
constexpr std::uint32_t kTcb = kRefCubic | kRefTcb;
constexpr std::uint32_t kClamped = kAuto | kRefClamp, kClampedBreak = kAutoBreak | kRefClamp;

TEST(CurveSearch, AnyHintFindsTheSamePlaceAndCanBeHandedInAgain)
{
    for (const MuseumPiece& piece : Museum()) {
        SCOPED_TRACE(piece.name);
        const RefCurve curve = piece.curve;
        const CurveHandle glissa = ToGlissa(curve);
        const int count = curve.Count();
        for (const std::int64_t time : MuseumTimes(curve)) {
            const double place = RefKeyFind(*glissa, time).index;
            for (const int start : {INT_MIN, -5, -1, 0, 1, count / 2, count - 2, count - 1, count,
                                    1000000, INT_MAX}) {
                int hint = start;
                ASSERT_EQ(place, glissa->KeyFind(KTime(time), &hint)) << time << " " << start;
                ASSERT_TRUE(count == 0 || (hint >= 0 && hint <= count)) << time << " " << start;
                ASSERT_EQ(place, glissa->KeyFind(KTime(time), &hint)) << time << " " << start;
            }
            ASSERT_EQ(place, glissa->KeyFind(KTime(time), nullptr)) << time;
        }
    }
}

// A key of value 2 at 2 s, after a key of value 0 at 0 s and before one of value 5 at 3 s: the
// secants are 1 and 3, and from neighbour to neighbour 5/3. Slots 0 and 1 of a TCB key are its
// tension and continuity.
TEST(CurveEvaluation, SlopesAtAKeyFollowFromItsKindAndThatOfTheKeyBefore)
{
    constexpr float kThrough = 5.0f / 3.0f;
    const struct
    {
        std::uint32_t before;
        float before1;  // slot 1 of the key before
        std::uint32_t key;
        float key0, key1;
        float left, right;
        bool isLast = false;  // without the third key
        bool isOlder = false;
    } rows[] = {
        {kAuto, 0, kAutoBreak, 0, 0, 2, 2},
        {kAuto, 100, kAutoBreak, 100, 0, 1, 3},
        {kAuto, -100, kAutoBreak, -100, 0, 3, 1},
        {kAuto, 500, kAutoBreak, 500, 0, -3, 7},
        // Twice the range: the blend is -8 and 12, and the parabola adds 1000 away from the
        // secants.
        {kAuto, 1000, kAutoBreak, 1000, 0, -1008, 1012},
        {kAuto, -1000, kAutoBreak, -1000, 0, 1012, -1008},
        {kAuto, 0, kAuto | kRefTimeIndependent, 0, 0, kThrough, kThrough},
        {kAuto, 0.02f, kAuto | kRefTimeIndependent, 0.02f, 0, 1.9998f, 2.0002f},
        {kAuto, 0, kAuto | kRefProgressive, 0, 0, kThrough, kThrough},
        {kAuto, 100, kAutoBreak | kRefProgressive, -100, 0, 1, 1},
        {kAuto, -100, kAutoBreak | kRefProgressive, 100, 0, 3, 3},
        {kAuto, 7, kUser, 9, 0, 7, 9},
        {kAuto, 7, kUserBreak, 9, 0, 7, 9},
        {kAuto, 7, kTcb, 0.5f, 0, 1, 1},
        {kAuto, 7, kTcb, 0, 0.5f, 2.5f, 1.5f},
        {kAuto, 7, kTcb, 0, 0.5f, 1.5f, 1.5f, false, true},
        {kAuto, 7, kTcb, 0.5f, 0.5f, 0.25f, 0.25f, true, true},
        {kAuto, 7, kRefCubic | kRefBreak, 9, 0, 0, 0},
        {kAuto, 100, kRefLinear, 9, 0, 1, 3},
        {kAuto, -100, kRefConstant, 9, 0, 3, 0},
        {kAuto, 7, kRefCustom, 9, 0, 7, 9},
        {kUser, 7, kRefLinear, 9, 0, 7, 3},
        {kUser, 7, kRefConstant, 9, 0, 7, 0},
        {kUser, 7, 0, 9, 0, 0, 0},
        {kTcb, 0.5f, kAuto, 40, 0, 2.4f, 2.4f},
        {kTcb, 0.5f, kAuto, 40, 0, 1, 1, true},
        {kTcb, 0.5f, kAutoBreak, 40, 0, 1, 2.4f},
        {kTcb, 0.5f, kUser, 9, 0, 9, 9},
        {kTcb, 0.5f, kUser, 9, 0, 0, 0, true},
        {kTcb, 0.5f, kUserBreak, 9, 0, 2.5f, 9},
        {kTcb, 0.5f, kRefLinear, 9, 0, 3, 3},
        {kTcb, 0.5f, kRefLinear, 9, 0, 0, 0, true},
        {kTcb, 0.5f, kRefConstant, 9, 0, 0, 0},
        {kRefLinear, 7, kUser, 9, 0, 1, 9},
        {kRefConstant, 7, kUser, 9, 0, 0, 9},
        {kRefCustom, 7, kAuto, 0, 0, 7, 2},
        {kAuto, 7, kUser, 9, 0, 7, 7, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        RefCurve curve;
        curve.keys = {{0, 0.0f, row.before, {0.0f, row.before1}},
                      {2 * kSecond, 2.0f, row.key, {row.key0, row.key1}},
                      {3 * kSecond, 5.0f}};
        curve.keys.resize(row.isLast ? 2 : 3);
        for (RefKey& key : curve.keys) {
            if ((key.flags & kRefTcb) != 0) {
                key.SetBias(0.0f);
            }
        }
        const CurveHandle glissa = ToGlissa(curve);
        GLISSA_SetTCB4051EvalMode(row.isOlder);
        EXPECT_FLOAT_EQ(row.left, glissa->KeyGetLeftDerivative(1));
        EXPECT_FLOAT_EQ(row.right, glissa->KeyGetRightDerivative(1));
        GLISSA_SetTCB4051EvalMode(false);
    }
}

TEST(CurveEvaluation, AClampedSideIsFlatWhereANeighbourHasItsValue)
{
    const struct
    {
        std::uint32_t before;
        std::uint32_t key;
        float rise, fall;  // from the key before, to the key after
        bool left, right;
    } rows[] = {
        {kAuto, kClamped, 0.00008f, 1, true, true},
        {kAuto, kClamped, 1, 0.00008f, true, true},
        {kAuto, kClamped, 0.00012f, -0.00012f, false, false},
        {kAuto, kClampedBreak, 0.00008f, 1, true, false},
        {kAuto, kClampedBreak, 1, 0.00008f, false, true},
        {kRefLinear, kClamped, 1, 0, false, true},
        {kRefLinear, kClamped, 0, 1, true, true},
        {kAuto, kAuto, 0, 0, false, false},
        {kAuto, kUser | kRefClamp, 0, 0, false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        RefCurve curve;
        curve.keys = {
            {0, -row.rise, row.before}, {kSecond, 0.0f, row.key}, {3 * kSecond, -row.fall}};
        const CurveHandle glissa = ToGlissa(curve);
        bool left = false;
        bool right = false;
        glissa->IsClamped(1, left, right);
        EXPECT_EQ(row.left, left);
        EXPECT_EQ(row.right, right);
        if (left && row.before == kAuto) {
            EXPECT_EQ(0.0f, glissa->KeyGetLeftDerivative(1));
        }
        if (right) {
            EXPECT_EQ(0.0f, glissa->KeyGetRightDerivative(1));
        }
    }
}

// From 0 to 10, extrapolated in the same way on both sides.
CurveHandle Line(std::int64_t pFrom, std::int64_t pTo, std::uint32_t pMode, std::uint32_t pCount)
{
    return ToGlissa({{{pFrom, 0.0f, kRefLinear}, {pTo, 10.0f, kRefLinear}},
                     0.0f,
                     pMode,
                     pCount,
                     pMode,
                     pCount});
}

TEST(CurveExtrapolation, ARiseFrom0To10InASecondContinues)
{
    const struct
    {
        std::uint32_t mode;
        std::uint32_t count;
        double seconds;
        float expected;
    } rows[] = {
        {kRefHold, 7, 1.25, 10},           {kRefHoldNone, 3, 1.5, 10},
        {kRefRepeat, 2, 1.25, 2.5f},       {kRefRepeat, 2, -0.25, 7.5f},
        {kRefRepeat, 2, 3.0, 10},          {kRefRepeat, 2, 9.5, 10},
        {kRefRepeat, 2, -2.0, 0},          {kRefMirror, 2, 1.25, 7.5f},
        {kRefMirror, 2, 2.25, 2.5f},       {kRefMirror, 2, -0.25, 2.5f},
        {kRefMirror, 2, -1.25, 7.5f},      {kRefKeepSlope, 0, 1.5, 10},
        {kRefKeepSlope, 1, 1.5, 15},       {kRefKeepSlope, 1, 8.0, 20},
        {kRefKeepSlope, 1, -8.0, -10},     {kRefKeepSlope, 0xFFFFFFFF, 1000.0, 10000},
        {kRefRelativeRepeat, 2, 1.5, 15},  {kRefRelativeRepeat, 2, 2.5, 25},
        {kRefRelativeRepeat, 2, 3.0, 30},  {kRefRelativeRepeat, 2, 7.0, 30},
        {kRefRelativeRepeat, 2, -0.5, -5}, {kRefRelativeRepeat, 2, -9.0, -20},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        const CurveHandle curve = Line(0, kSecond, row.mode, row.count);
        EXPECT_FLOAT_EQ(row.expected, curve->Evaluate(KTime::FromSeconds(row.seconds), nullptr));
    }
}

// Whatever the counts and however short the span, the two ends of time are mapped into the keys.
TEST(CurveExtrapolation, TheEndsOfTimeAreMappedIntoTheKeys)
{
    for (const std::int64_t span :
         {std::int64_t{1}, std::int64_t{3}, kSecond, std::int64_t{1} << 60, kGreatest}) {
        for (const std::uint32_t mode : {kRefRepeat, kRefMirror, kRefRelativeRepeat}) {
            for (const std::uint32_t count :
                 {0u, 1u, 1000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
                const std::int64_t first = -(span / 2);
                const CurveHandle curve = Line(first, first + span, mode, count);
                // A repetition that the range of times cuts off is not begun.
                const auto width = static_cast<std::uint64_t>(span);
                const std::uint64_t room = static_cast<std::uint64_t>(first) + (1ull << 63);
                const std::int64_t edge =
                    room / width < 2 ? first - 1
                                     : kLeast + static_cast<std::int64_t>(room % width) + span;
                for (const std::int64_t time :
                     {kLeast, kLeast + 1, edge, edge + 1, kGreatest - 1, kGreatest}) {
                    SCOPED_TRACE(testing::Message() << span << " " << mode << " " << time);
                    const double index = curve->KeyFindAll(KTime(time), nullptr);
                    EXPECT_TRUE(time <= edge ? index == 0.0 : index >= 0.0 && index <= 1.0);
                    EXPECT_TRUE(std::isfinite(curve->Evaluate(KTime(time), nullptr)));
                }
            }
        }
    }
}

// Part and key of each index, from the one before the sequence to the one behind it.
TEST(CurveExtrapolation, MapIndexAllFollowsTheSequenceOfRepetitions)
{
    const struct
    {
        int keys;
        std::uint32_t mode, pre, post;
        const char* sequence;
    } rows[] = {
        {1, kRefRepeat, 3, 3, "00 20 40"},
        {3, kRefHold, 1, 1, "00 10 10 20 21 22 32 32 42"},
        {3, kRefRepeat, 1, 2, "00 10 11 20 21 22 31 30 31 30 42"},
        {3, kRefRelativeRepeat, 2, 1, "00 10 11 10 11 20 21 22 31 30 42"},
        {3, kRefMirror, 1, 0, "00 12 11 20 21 22 42"},
    };
    for (const auto& row : rows) {
        RefCurve curve = MuseumRecording(row.keys);
        curve.pre = curve.post = row.mode;
        curve.preCount = row.pre;
        curve.postCount = row.post;
        const CurveHandle glissa = ToGlissa(curve);
        std::string sequence;
        for (int i = -1; i <= glissa->KeyGetCountAll(); ++i) {
            int part = -1;
            const int key = glissa->MapIndexAll(i, part);
            sequence += (i < 0 ? "" : " ") + std::to_string(part) + std::to_string(key);
        }
        EXPECT_EQ(row.sequence, sequence);
    }
}

TEST(CurveEvaluation, SearchValuesAndSlopesAllocateNothing)
{
    std::vector<RefCurve> all = {MuseumRecording(100000)};
    for (const MuseumPiece& piece : Museum()) {
        all.push_back(piece.curve);
    }
    for (const RefCurve& each : all) {
        const CurveHandle curve = ToGlissa(each);
        const std::vector<std::int64_t> times = MuseumTimes(each);
        const std::size_t before = AllocationCount();
        const auto pages = GetRecordingMemory();
        for (const std::int64_t ticks : times) {
            const KTime time(ticks);
            int hint = 0;  // for far seeks too
            curve->KeyFindAll(time, &hint);
            curve->Evaluate(time, nullptr);
            curve->EvaluateLeftDerivative(time, &hint);
            curve->EvaluateRightDerivative(time, nullptr);
        }
        for (int key = 0; key < curve->KeyGetCount(); ++key) {
            curve->KeyGetLeftDerivative(key, true, false);
            curve->KeyGetRightDerivative(key, true);
        }
        EXPECT_EQ(before, AllocationCount());
        EXPECT_EQ(pages, GetRecordingMemory());
        const CurveHandle one(GlissaCreate());
        EXPECT_LT(before, AllocationCount());  // the count counts
    }
}
}  // namespace
