// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/curve_test.h"

namespace
{
constexpr std::int64_t kGap = 1411;  // 1e-5 s

// Keys with slopes of their own, all different, so that a mixed up side shows. Each key's value is
// its index, and its left slope 20 more.
CurveHandle Broken(const std::vector<std::int64_t>& pTimes)
{
    RefCurve curve;
    for (const std::int64_t time : pTimes) {
        const float number = static_cast<float>(curve.keys.size());
        RefKey key;
        key.time = time;
        key.value = number;
        key.flags = kRefCubic | kRefUser | kRefBreak;
        key.slots[0] = 10.0f + number;
        key.slots[1] = 21.0f + number;
        curve.keys.push_back(key);
    }
    return ToGlissa(curve);
}

// The values of the keys in their order, and that every key ends its segment as it did before; the
// key that was the first one has nothing to keep.
std::vector<int> NamesOf(Glissa& pCurve)
{
    std::vector<int> names;
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        names.push_back(static_cast<int>(pCurve.KeyGetValue(i)));
        if (i > 0 && names.back() != 0) {
            EXPECT_EQ(20.0f + pCurve.KeyGetValue(i), pCurve.KeyGetLeftDerivative(i)) << i;
        }
    }
    EXPECT_EQ("", CheckBooks({&pCurve}));
    return names;
}

TEST(CurveMoving, AKeyMovesToItsTimeAndPassesOthers)
{
    const std::vector<std::int64_t> even = {0, 100000, 200000, 300000, 400000, 500000};
    const struct
    {
        const char* what;
        std::vector<std::int64_t> times;
        int key;
        std::int64_t time;
        std::vector<int> names;
        std::int64_t arrived;
    } cases[] = {
        {"in its place", even, 2, 250000, {0, 1, 2, 3, 4, 5}, 250000},
        {"over three keys", even, 1, 450000, {0, 2, 3, 4, 1, 5}, 450000},
        {"back over three keys", even, 4, 50000, {0, 4, 1, 2, 3, 5}, 50000},
        {"behind all", even, 1, 900000, {0, 2, 3, 4, 5, 1}, 900000},
        {"before all", even, 4, -9, {4, 0, 1, 2, 3, 5}, -9},
        {"onto a key", even, 1, 300000, {0, 2, 3, 1, 4, 5}, 300000 + kGap},
        {"back onto the first key", even, 4, 0, {0, 4, 1, 2, 3, 5}, kGap},
        {"near the next key", even, 2, 299995, {0, 1, 2, 3, 4, 5}, 299995},
        {"the first key", even, 0, 150000, {1, 0, 2, 3, 4, 5}, 150000},
        {"the last key", even, 5, 150000, {0, 1, 5, 2, 3, 4}, 150000},
        {"a step past all keys", {0, 1000}, 1, 0, {0, 1}, kGap},
        {"a step past the next key", {0, 1000, 1200, 9000}, 1, 0, {0, 2, 1, 3}, kGap},
        {"two steps", {0, kGap, 9000}, 2, 0, {0, 1, 2}, 2 * kGap},
        {"where it is", {0, 10, 20}, 1, 10, {0, 1, 2}, 10},
        {"steps to where it is", {0, 1000, kGap}, 2, 0, {0, 1, 2}, kGap},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        const CurveHandle curve = Broken(each.times);
        EditCheck edit(*curve);
        const int index = curve->KeyMove(each.key, KTime(each.time));
        EXPECT_EQ(each.names, NamesOf(*curve));
        EXPECT_EQ(each.names.at(static_cast<std::size_t>(index)), each.key);
        EXPECT_EQ(each.arrived, curve->KeyGetTime(index).Get());
        EXPECT_EQ(1u, edit.Heard().size());
        EXPECT_EQ("", edit.Verify());
    }
}

TEST(CurveMoving, AKeyThatStaysFarEnoughIsNotTakenOut)
{
    const CurveHandle curve = Broken({0, 100000, 200000});
    for (const std::int64_t time : {200000 - kGap, kGap, kGap}) {
        EditCheck edit(*curve);
        EXPECT_EQ(1, curve->KeyMove(1, KTime(time)));
        EXPECT_EQ((HeardEvent{0x4010, 1, 1, 1}), edit.Folded());
    }
    // At the end of time a key steps back.
    const KTime end = KTime::Infinite();
    const CurveHandle last = Broken({0, end.Get() - 100000, end.Get()});
    EXPECT_EQ(1, last->KeyMove(1, end));
    EXPECT_EQ(end - KTime(kGap), last->KeyGetTime(1));
    EXPECT_EQ(0, last->KeyMove(1, KTime::MinusInfinite()));
}

// Keys too near to each other to keep the gap, some of which find a free time only behind others.
TEST(CurveMoving, EverySelectedKeyMovesOnce)
{
    for (const std::int64_t delta :
         {std::int64_t{0}, std::int64_t{-5}, std::int64_t{5}, -kGap, kGap}) {
        const CurveHandle curve = Broken({0, 5, 10, 15, kGap, kGap + 5, kGap + 10});
        float sum = 0.0f;
        for (int i = 0; i < curve->KeyGetCount(); ++i) {
            curve->KeySetSelected(i, i != 0 && i != 4);
            sum += curve->KeyGetValue(i);
        }
        EXPECT_TRUE(curve->KeyMoveOf(true, KTime(delta), 100.0f));
        for (int i = 0; i < curve->KeyGetCount(); ++i) {
            sum -= curve->KeyGetValue(i);
            EXPECT_LT(curve->KeyGetValue(i), 200.0f) << delta;
            EXPECT_TRUE(i == 0 || curve->KeyGetTime(i - 1) < curve->KeyGetTime(i)) << delta;
        }
        EXPECT_EQ(-500.0f, sum) << delta;
        EXPECT_TRUE(delta != 0 || curve->KeyGetTime(2) == KTime(10));
    }
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
        {1, 7, 0.5f, true, {0x6010, 1, 2, 4}},
        {1, 7, 0.0f, true, {0x4010, 1, 2, 2}},
        {1, -10, 0.5f, false, {}},
        {1, -9, 0.0f, true, {0x4010, 1, 2, 2}},
        {0, -99, 0.0f, true, {0x4010, 0, 2, 3}},
    };
    for (const auto& each : cases) {
        const CurveHandle curve = Broken({0, 10, 20});
        EditCheck edit(*curve);
        EXPECT_EQ(each.expected, curve->KeyMoveOf(each.key, KTime(each.delta), each.value));
        EXPECT_EQ(each.heard, edit.Folded());
        EXPECT_EQ("", edit.Verify());
        for (int i = 0; i < 3; ++i) {
            const bool moves = each.expected && i >= each.key;
            EXPECT_EQ(10 * i + (moves ? each.delta : 0), curve->KeyGetTime(i).Get());
        }
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
        {{}, 25000, {0, 1, 2, 3, 4}},
        {{1, 2}, 25000, {0, 3, 1, 4, 2}},
        {{2, 3}, -25000, {2, 0, 3, 1, 4}},
        {{0, 1, 2, 3, 4}, 500, {0, 1, 2, 3, 4}},
    };
    for (const auto& each : cases) {
        const CurveHandle curve = Broken({0, 10000, 20000, 30000, 40000});
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
    }
    const CurveHandle curve = Broken({});
    EditCheck edit(*curve);
    curve->KeyMoveOf(true, KTime(5), 2.0f);
    curve->KeyMoveOf(false, KTime(5), 2.0f);
    EXPECT_EQ(2.0f, curve->GetValue());
    EXPECT_EQ((std::vector<HeardEvent>{{0x1, -1, -1, 1}}), edit.Heard());
}

TEST(CurveMoving, ARangeTakesThePlaceOfWhatItLandsOn)
{
    const struct
    {
        int first, last;
        std::int64_t delta;
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
        {3, 3, -250, {0, 3, 1, 2, 4, 5, 6}, {0, 50, 100, 200, 400, 500, 600}},
        {3, 3, 200, {0, 1, 2, 4, 3, 6}, {0, 100, 200, 400, 500, 600}},
        {5, 6, 900, {0, 1, 2, 3, 4, 5, 6}, {0, 100, 200, 300, 400, 1400, 1500}},
        {3, 2, 9, {0, 1, 2, 3, 4, 5, 6}, {0, 100, 200, 300, 400, 500, 600}},
        {6, 7, 9, {0, 1, 2, 3, 4, 5, 6}, {0, 100, 200, 300, 400, 500, 600}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.first << " " << each.last << " " << each.delta);
        const std::int64_t second = KTime::kTicksPerSecond;
        std::vector<std::int64_t> times;
        for (int i = 0; i < 7; ++i) {
            times.push_back(i * 100 * second);
        }
        const CurveHandle curve = Broken(times);
        EditCheck edit(*curve);
        const bool isRange = each.first <= each.last && each.last < 7;
        EXPECT_EQ(isRange, curve->KeyMoveOf(KTime(each.delta * second), each.first, each.last));
        EXPECT_EQ(each.names, NamesOf(*curve));
        for (int i = 0; i < curve->KeyGetCount(); ++i) {
            EXPECT_EQ(each.times[static_cast<std::size_t>(i)], curve->KeyGetTime(i).Get() / second);
        }
        EXPECT_EQ(isRange ? 1u : 0u, edit.Heard().size());
        EXPECT_EQ("", edit.Verify(7));
    }
    const CurveHandle curve = Broken({0, 100, 200, 300});
    EXPECT_TRUE(curve->KeyMoveOf(KTime(), 9, 3));  // by nothing
    EXPECT_FALSE(curve->KeyMoveOf(KTime(100), KTime(200), KTime(5), false));
    EXPECT_TRUE(curve->KeyMoveOf(KTime(100), KTime(200), KTime(5000), true));
    EXPECT_EQ(KTime(5200), curve->KeyGetTime(3));
}

TEST(CurveMoving, ValuesAndSlopesOfAllOrTheSelectedScale)
{
    const struct
    {
        bool (Glissa::*scale)(bool, float);
        bool selectedOnly;
        float defaultValue;       // of 3
        float defaultAlone;       // of 3 in a curve without keys
        std::vector<float> both;  // values, then right slopes of three keys
        HeardEvent heard;
    } cases[] = {
        {&Glissa::KeyScaleValue, false, 6, 6, {0, 2, 4, 10, 11, 12}, {0x2011, 0, 2, 4}},
        {&Glissa::KeyScaleValue, true, 3, 3, {0, 2, 2, 10, 11, 12}, {0x2010, 1, 1, 1}},
        {&Glissa::KeyScaleTangeant, false, 6, 3, {0, 1, 2, 20, 22, 24}, {0x28011, 0, 2, 4}},
        {&Glissa::KeyScaleValueAndTangeant, true, 3, 3, {0, 2, 2, 10, 22, 12}, {0x2A010, 1, 1, 2}},
        {&Glissa::KeyMoveValueTo, false, 3, 2, {2, 2, 2, 10, 11, 12}, {0x2010, 0, 2, 3}},
    };
    for (const auto& each : cases) {
        const CurveHandle curve = Broken({0, 100, 200});
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

        const CurveHandle empty(GlissaCreate());
        empty->SetValue(3.0f);
        (empty.get()->*each.scale)(each.selectedOnly, 2.0f);
        EXPECT_EQ(each.defaultAlone, empty->GetValue());
    }
    const CurveHandle curve = Broken({0, 100});
    EditCheck edit(*curve);
    curve->KeyScaleTangeant(true, 1.0f);
    curve->KeyMultTangeant(0, 1.0f);
    EXPECT_TRUE(edit.Heard().empty());
}
}  // namespace
