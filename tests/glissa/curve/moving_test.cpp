// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/edit_check.h"
#include "tests/support/museum.h"

#include <gtest/gtest.h>

namespace
{
constexpr std::int64_t kSecond = KTime::kTicksPerSecond;
constexpr std::int64_t kGap = 1411;  // 1e-5 s
constexpr std::uint32_t kBroken = kRefCubic | kRefUser | kRefBreak;

// Keys with slopes of their own, all different, so that a mixed up side shows.
CurveHandle MakeCurve(const std::vector<std::int64_t>& pTimes, std::uint32_t pFlags = kBroken)
{
    RefCurve curve;
    for (const std::int64_t time : pTimes) {
        const float number = static_cast<float>(curve.keys.size());
        RefKey key;
        key.time = time;
        key.value = number;
        key.flags = pFlags;
        key.slots[0] = 10.0f + number;
        key.slots[1] = 21.0f + number;
        curve.keys.push_back(key);
    }
    return ToGlissa(curve);
}

std::vector<std::int64_t> TimesOf(const Glissa& pCurve)
{
    std::vector<std::int64_t> times;
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        times.push_back(pCurve.KeyGetTime(i).Get());
    }
    return times;
}

// Each key is named by the value that MakeCurve gave it; its left slope by that.
std::vector<int> NamesOf(const Glissa& pCurve)
{
    std::vector<int> names;
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        names.push_back(static_cast<int>(pCurve.KeyGetValue(i)));
    }
    return names;
}

void ExpectBooks(Glissa* pCurve)
{
    EXPECT_EQ("", CheckBooks({&pCurve, 1}));
}

// Keys at 0, 100, 200, 300, 400 and 500 s unless a row says otherwise.
TEST(CurveMoving, AKeyMovesToItsTimeAndPassesOthers)
{
    const std::vector<std::int64_t> even = {0, 100, 200, 300, 400, 500};
    const auto ticks = [](std::int64_t pTime) { return pTime * kSecond; };
    const struct
    {
        const char* what;
        int key;
        std::int64_t time;
        std::vector<int> names;
        std::int64_t arrived;
    } cases[] = {
        {"in its place", 2, ticks(250), {0, 1, 2, 3, 4, 5}, ticks(250)},
        {"over three keys", 1, ticks(450), {0, 2, 3, 4, 1, 5}, ticks(450)},
        {"back over three keys", 4, ticks(50), {0, 4, 1, 2, 3, 5}, ticks(50)},
        {"behind all", 1, ticks(900), {0, 2, 3, 4, 5, 1}, ticks(900)},
        {"before all", 4, ticks(-9), {4, 0, 1, 2, 3, 5}, ticks(-9)},
        {"onto a key", 1, ticks(300), {0, 2, 3, 1, 4, 5}, ticks(300) + kGap},
        {"back onto a key", 4, ticks(300), {0, 1, 2, 3, 4, 5}, ticks(300) + kGap},
        {"back onto the first key", 4, 0, {0, 4, 1, 2, 3, 5}, kGap},
        {"near the next key", 2, ticks(300) - 5, {0, 1, 2, 3, 4, 5}, ticks(300) - 5},
        {"near the key before", 2, ticks(100) + 5, {0, 1, 2, 3, 4, 5}, ticks(100) + 5},
        {"the first key", 0, ticks(150), {1, 0, 2, 3, 4, 5}, ticks(150)},
        {"the last key", 5, ticks(150), {0, 1, 5, 2, 3, 4}, ticks(150)},
        {"the last key on", 5, ticks(900), {0, 1, 2, 3, 4, 5}, ticks(900)},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        std::vector<std::int64_t> times;
        for (const std::int64_t time : even) {
            times.push_back(ticks(time));
        }
        const CurveHandle curve = MakeCurve(times);
        EditCheck edit(*curve);
        const int index = curve->KeyMove(each.key, KTime(each.time));
        EXPECT_EQ(each.names, NamesOf(*curve));
        EXPECT_EQ(each.names.at(static_cast<std::size_t>(index)), each.key);
        EXPECT_EQ(each.arrived, curve->KeyGetTime(index).Get());
        EXPECT_EQ(1u, edit.Heard().size());
        EXPECT_EQ("", edit.Verify());
        ExpectBooks(curve.get());
        // Every key ends its segment as before; a key that was first has nothing to keep.
        for (int i = 1; i < curve->KeyGetCount(); ++i) {
            const int name = each.names[static_cast<std::size_t>(i)];
            if (name != 0) {
                EXPECT_EQ(20.0f + static_cast<float>(name), curve->KeyGetLeftDerivative(i)) << i;
            }
        }
    }
}

TEST(CurveMoving, AKeyThatStaysFarEnoughIsNotTakenOut)
{
    const CurveHandle curve = MakeCurve({0, kSecond, 2 * kSecond});
    for (const std::int64_t time : {2 * kSecond - kGap, kGap, kGap}) {
        EditCheck edit(*curve);
        EXPECT_EQ(1, curve->KeyMove(1, KTime(time)));
        EXPECT_EQ((HeardEvent{0x4010, 1, 1, 1}), edit.Folded());
        EXPECT_EQ("", edit.Verify());
    }
}

// Keys nearer than the step that keeps a moved key off another one.
TEST(CurveMoving, CrowdedKeysStayInOrderAndKeepTheirTangents)
{
    const struct
    {
        std::vector<std::int64_t> times;
        int key;
        std::int64_t time;
        std::vector<int> names;
    } cases[] = {
        {{0, 1000}, 1, 0, {0, 1}},                       // the step leads behind all keys
        {{0, 1000}, 1, 1000, {0, 1}},                    // and so from its own time
        {{0, 1000, 1200, 9000}, 1, 0, {0, 2, 1, 3}},     // and past the next key
        {{0, 1411, 9000}, 2, 0, {0, 1, 2}},              // two steps
        {{0, 1000, 2000, 3000}, 0, 2000, {1, 2, 3, 0}},  // forward, past one more
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::PrintToString(each.times));
        const CurveHandle curve = MakeCurve(each.times);
        EditCheck edit(*curve);
        curve->KeyMove(each.key, KTime(each.time));
        EXPECT_EQ("", edit.Verify());
        ExpectBooks(curve.get());
        EXPECT_EQ(each.names, NamesOf(*curve));
        for (int i = 1; i < curve->KeyGetCount(); ++i) {
            const int name = each.names[static_cast<std::size_t>(i)];
            if (name != 0) {
                EXPECT_EQ(20.0f + static_cast<float>(name), curve->KeyGetLeftDerivative(i)) << i;
            }
        }
    }
}

TEST(CurveMoving, AtTheEndOfTimeAKeyStepsBack)
{
    const KTime end = KTime::Infinite();
    const CurveHandle curve = MakeCurve({0, (end - KTime(kSecond)).Get(), end.Get()});
    EditCheck edit(*curve);
    EXPECT_EQ(1, curve->KeyMove(1, end));
    EXPECT_EQ(end - KTime(kGap), curve->KeyGetTime(1));
    EXPECT_EQ(0, curve->KeyMove(1, KTime::MinusInfinite()));
    EXPECT_EQ("", edit.Verify());
    ExpectBooks(curve.get());
}

TEST(CurveMoving, KeysBehindAKeyMoveTogether)
{
    const struct
    {
        int key;
        std::int64_t delta;
        float value;
        bool expected;
        HeardEvent heard;
    } cases[] = {
        {1, 7, 0.5f, true, {0x6010, 1, 2, 4}},  {1, 7, 0.0f, true, {0x4010, 1, 2, 2}},
        {1, 0, 0.5f, true, {0x2010, 1, 2, 2}},  {1, -10, 0.5f, false, {}},
        {1, -9, 0.0f, true, {0x4010, 1, 2, 2}}, {0, -99, 0.0f, true, {0x4010, 0, 2, 3}},
    };
    for (const auto& each : cases) {
        const CurveHandle curve = MakeCurve({0, 10, 20});
        EditCheck edit(*curve);
        EXPECT_EQ(each.expected, curve->KeyMoveOf(each.key, KTime(each.delta), each.value));
        EXPECT_EQ(each.heard, edit.Folded());
        EXPECT_EQ("", edit.Verify());
        for (int i = 0; i < 3; ++i) {
            const bool moves = each.expected && i >= each.key;
            EXPECT_EQ(10 * i + (moves ? each.delta : 0), curve->KeyGetTime(i).Get());
        }
        ExpectBooks(curve.get());
    }
}

TEST(CurveMoving, SelectedKeysPassTheOthers)
{
    const struct
    {
        std::vector<int> selected;
        std::int64_t delta;
        std::vector<int> names;
    } cases[] = {
        {{}, 25000, {0, 1, 2, 3, 4}},      {{1, 2}, 25000, {0, 3, 1, 4, 2}},
        {{2, 3}, -25000, {2, 0, 3, 1, 4}}, {{0, 1, 2, 3, 4}, 500, {0, 1, 2, 3, 4}},
        {{4}, -45000, {4, 0, 1, 2, 3}},
    };
    for (const auto& each : cases) {
        const CurveHandle curve = MakeCurve({0, 10000, 20000, 30000, 40000});
        for (const int i : each.selected) {
            curve->KeySetSelected(i, true);
        }
        EditCheck edit(*curve);
        EXPECT_TRUE(curve->KeyMoveOf(true, KTime(each.delta), 0.0f));
        EXPECT_EQ(each.names, NamesOf(*curve));
        EXPECT_EQ(each.selected.empty() ? 0u : 1u, edit.Heard().size());
        EXPECT_EQ("", edit.Verify(5));
        for (int i = 0; i < 5; ++i) {
            const int name = each.names[static_cast<std::size_t>(i)];
            const bool moved = curve->KeyGetSelected(i);
            EXPECT_EQ(10000 * name + (moved ? each.delta : 0), curve->KeyGetTime(i).Get());
        }
        ExpectBooks(curve.get());
    }
    const CurveHandle curve = MakeCurve({});
    EditCheck edit(*curve);
    curve->KeyMoveOf(true, KTime(5), 2.0f);
    curve->KeyMoveOf(false, KTime(5), 2.0f);
    EXPECT_EQ(2.0f, curve->GetValue());
    EXPECT_EQ((std::vector<HeardEvent>{{0x1, -1, -1, 1}}), edit.Heard());
}

// Keys at 0, 100 ... 600 s.
TEST(CurveMoving, ARangeTakesThePlaceOfWhatItLandsOn)
{
    const struct
    {
        int first, last;
        std::int64_t delta;  // seconds
        std::vector<int> names;
        std::vector<std::int64_t> times;
    } cases[] = {
        {1, 2, 30, {0, 1, 2, 3, 4, 5, 6}, {0, 130, 230, 300, 400, 500, 600}},
        {1, 2, 250, {0, 3, 1, 2, 5, 6}, {0, 300, 350, 450, 500, 600}},
        {1, 2, 200, {0, 1, 2, 5, 6}, {0, 300, 400, 500, 600}},
        {4, 5, -250, {0, 1, 4, 5, 3, 6}, {0, 100, 150, 250, 300, 600}},
        {4, 5, -300, {0, 4, 5, 3, 6}, {0, 100, 200, 300, 600}},
        {3, 3, 150, {0, 1, 2, 4, 3, 5, 6}, {0, 100, 200, 400, 450, 500, 600}},
        {3, 3, -150, {0, 1, 3, 2, 4, 5, 6}, {0, 100, 150, 200, 400, 500, 600}},
        {3, 3, 200, {0, 1, 2, 4, 3, 6}, {0, 100, 200, 400, 500, 600}},
        {5, 6, 900, {0, 1, 2, 3, 4, 5, 6}, {0, 100, 200, 300, 400, 1400, 1500}},
        {0, 6, -5, {0, 1, 2, 3, 4, 5, 6}, {-5, 95, 195, 295, 395, 495, 595}},
        {3, 2, 9, {0, 1, 2, 3, 4, 5, 6}, {0, 100, 200, 300, 400, 500, 600}},
        {6, 7, 9, {0, 1, 2, 3, 4, 5, 6}, {0, 100, 200, 300, 400, 500, 600}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.first << " " << each.last << " " << each.delta);
        std::vector<std::int64_t> times;
        for (int i = 0; i < 7; ++i) {
            times.push_back(i * 100 * kSecond);
        }
        const CurveHandle curve = MakeCurve(times);
        EditCheck edit(*curve);
        const bool isRange = each.first <= each.last && each.last < 7;
        EXPECT_EQ(isRange, curve->KeyMoveOf(KTime(each.delta * kSecond), each.first, each.last));
        std::vector<std::int64_t> seconds = TimesOf(*curve);
        for (std::int64_t& time : seconds) {
            time /= kSecond;
        }
        EXPECT_EQ(each.times, seconds);
        EXPECT_EQ(each.names, NamesOf(*curve));
        EXPECT_EQ(isRange ? 1u : 0u, edit.Heard().size());
        EXPECT_EQ("", edit.Verify(7));
        ExpectBooks(curve.get());
        // Each key, those behind a key that was landed on too, keeps its left side.
        for (int i = 1; i < curve->KeyGetCount(); ++i) {
            const int name = each.names[static_cast<std::size_t>(i)];
            EXPECT_EQ(20.0f + static_cast<float>(name), curve->KeyGetLeftDerivative(i)) << i;
        }
    }
    const CurveHandle curve = MakeCurve({0, 100, 200, 300});
    EXPECT_TRUE(curve->KeyMoveOf(KTime(), 9, 3));  // by nothing
    EXPECT_FALSE(curve->KeyMoveOf(KTime(100), KTime(200), KTime(5), false));
    EXPECT_TRUE(curve->KeyMoveOf(KTime(100), KTime(200), KTime(5000), true));
    EXPECT_EQ((std::vector<std::int64_t>{0, 300, 5100, 5200}), TimesOf(*curve));
}

TEST(CurveMoving, ValuesAndSlopesOfAllOrTheSelectedScale)
{
    const struct
    {
        bool (Glissa::*scale)(bool, float);
        bool selectedOnly;
        float defaultValue;       // of 3
        std::vector<float> both;  // values, then right slopes of three keys
        HeardEvent heard;
    } cases[] = {
        {&Glissa::KeyScaleValue, false, 6, {0, 2, 4, 10, 11, 12}, {0x2011, 0, 2, 4}},
        {&Glissa::KeyScaleValue, true, 3, {0, 2, 2, 10, 11, 12}, {0x2010, 1, 1, 1}},
        {&Glissa::KeyScaleTangeant, false, 6, {0, 1, 2, 20, 22, 24}, {0x28011, 0, 2, 4}},
        {&Glissa::KeyScaleTangeant, true, 3, {0, 1, 2, 10, 22, 12}, {0x28010, 1, 1, 1}},
        {&Glissa::KeyScaleValueAndTangeant, true, 3, {0, 2, 2, 10, 22, 12}, {0x2A010, 1, 1, 2}},
        {&Glissa::KeyMoveValueTo, false, 3, {2, 2, 2, 10, 11, 12}, {0x2010, 0, 2, 3}},
        {&Glissa::KeyMoveValueTo, true, 3, {0, 2, 2, 10, 11, 12}, {0x2010, 1, 1, 1}},
    };
    for (const auto& each : cases) {
        const CurveHandle curve = MakeCurve({0, 100, 200});
        curve->SetValue(3.0f);
        curve->KeySetSelected(1, true);
        EditCheck edit(*curve);
        EXPECT_TRUE((curve.get()->*each.scale)(each.selectedOnly, 2.0f));
        EXPECT_EQ(each.defaultValue, curve->GetValue());
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(each.both[static_cast<std::size_t>(i)], curve->KeyGetValue(i));
            EXPECT_EQ(each.both[static_cast<std::size_t>(i) + 3],
                      curve->KeyGetDataDouble(i, eDataRightSlope));
        }
        EXPECT_EQ(each.heard, edit.Folded());
        EXPECT_EQ("", edit.Verify());
        ExpectBooks(curve.get());

        const CurveHandle empty = MakeCurve({});
        empty->SetValue(3.0f);
        (empty.get()->*each.scale)(each.selectedOnly, 2.0f);
        const bool hasEffect = !each.selectedOnly && each.scale != &Glissa::KeyScaleTangeant;
        EXPECT_EQ(!hasEffect                              ? 3.0f
                  : each.scale == &Glissa::KeyMoveValueTo ? 2.0f
                                                          : 6.0f,
                  empty->GetValue());
    }
    const CurveHandle curve = MakeCurve({0, 100});
    EditCheck edit(*curve);
    curve->KeyScaleTangeant(true, 1.0f);
    curve->KeyMultTangeant(0, 1.0f);
    EXPECT_TRUE(edit.Heard().empty());
}
}  // namespace
