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

// Alone, past others, and too near to each other to keep the gap, where some find a free time only
// behind others.
TEST(CurveMoving, SelectedKeysMoveOnce)
{
    const std::vector<std::int64_t> even = {0, 10000, 20000, 30000, 40000};
    const std::vector<std::int64_t> near = {0, 5, 10, 15, kGap, kGap + 5, kGap + 10};
    const struct
    {
        std::vector<std::int64_t> times;
        std::vector<int> selected;
        std::int64_t delta;
        std::vector<int> names;
    } cases[] = {
        {even, {}, 25000, {0, 1, 2, 3, 4}},      {even, {1, 2}, 25000, {0, 3, 1, 4, 2}},
        {even, {2, 3}, -25000, {2, 0, 3, 1, 4}}, {even, {0, 1, 2, 3, 4}, 500, {0, 1, 2, 3, 4}},
        {near, {1, 2, 3, 5, 6}, 0, {}},          {near, {1, 2, 3, 5, 6}, 5, {}},
        {near, {1, 2, 3, 5, 6}, -5, {}},         {near, {1, 2, 3, 5, 6}, kGap, {}},
        {near, {1, 2, 3, 5, 6}, -kGap, {}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.delta);
        const CurveHandle curve = Broken(each.times);
        for (const int i : each.selected) {
            curve->KeySetSelected(i, true);
        }
        EditCheck edit(*curve);
        EXPECT_TRUE(curve->KeyMoveOf(true, KTime(each.delta), 100.0f));
        EXPECT_EQ("", edit.Verify(7));
        EXPECT_EQ(each.selected.empty() ? 0u : 1u, edit.Heard().size());
        std::vector<int> moved;
        for (int i = 0; i < curve->KeyGetCount(); ++i) {
            const float value = curve->KeyGetValue(i);
            const float name = value < 100.0f ? value : value - 100.0f;
            EXPECT_EQ(curve->KeyGetSelected(i), value >= 100.0f);
            EXPECT_LT(name, 100.0f);
            EXPECT_TRUE(i == 0 || curve->KeyGetTime(i - 1) < curve->KeyGetTime(i));
            EXPECT_TRUE(i == 0 || name == 0.0f || curve->KeyGetLeftDerivative(i) == 20.0f + name);
            moved.push_back(static_cast<int>(name));
        }
        EXPECT_TRUE(each.names.empty() || each.names == moved);
    }
    const CurveHandle curve = Broken({});
    curve->KeyMoveOf(true, KTime(5), 2.0f);
    curve->KeyMoveOf(false, KTime(5), 2.0f);
    EXPECT_EQ(2.0f, curve->GetValue());
}

TEST(CurveMoving, KeysBehindAKeyMoveTogether)
{
    const struct
    {
        int key;
        std::int64_t delta;
        float value;
        const char* keys;
        HeardEvent heard;
    } cases[] = {
        {1, 7, 0.5f, "0:0 17:1.5 27:2.5 ", {0x6010, 1, 2, 4}},
        {1, -10, 0.5f, "0:0 10:1 20:2 ", {}},
        {0, -99, 0.0f, "-99:0 -89:1 -79:2 ", {0x4010, 0, 2, 3}},
    };
    for (const auto& each : cases) {
        const CurveHandle curve = MakeCurve({{0.0, 0.0f}, {10.0, 1.0f}, {20.0, 2.0f}});
        EditCheck edit(*curve);
        curve->KeyMoveOf(each.key, Seconds(static_cast<double>(each.delta)), each.value);
        EXPECT_EQ(each.heard, edit.Folded());
        EXPECT_EQ(each.keys, KeysOf(*curve));
    }
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
        {3, 4, -350, {3, 4, 1, 2, 5, 6}, {-50, 50, 100, 200, 500, 600}},
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
        float alone;  // the default value of 3 of a curve without keys
        const char* keys;
        float slope;  // 11 at the selected key
        HeardEvent heard;
    } cases[] = {
        {&Glissa::KeyScaleValue, false, 6, "0:0 1:2 2:4 ", 11, {0x2011, 0, 2, 4}},
        {&Glissa::KeyScaleValue, true, 3, "0:0 1:2 2:2 ", 11, {0x2010, 1, 1, 1}},
        {&Glissa::KeyScaleTangeant, false, 3, "0:0 1:1 2:2 ", 22, {0x28011, 0, 2, 4}},
        {&Glissa::KeyScaleValueAndTangeant, true, 3, "0:0 1:2 2:2 ", 22, {0x2A010, 1, 1, 2}},
        {&Glissa::KeyMoveValueTo, false, 2, "0:2 1:2 2:2 ", 11, {0x2010, 0, 2, 3}},
    };
    for (const auto& each : cases) {
        const CurveHandle curve = Broken({0, KTime::kTicksPerSecond, 2 * KTime::kTicksPerSecond});
        const CurveHandle empty(GlissaCreate());
        curve->SetValue(3.0f);
        empty->SetValue(3.0f);
        curve->KeySetSelected(1, true);
        EditCheck edit(*curve);
        EXPECT_TRUE((curve.get()->*each.scale)(each.selectedOnly, 2.0f));
        EXPECT_EQ(each.keys, KeysOf(*curve));
        EXPECT_EQ(each.slope, curve->KeyGetRightDerivative(1));
        EXPECT_EQ(each.heard, edit.Folded());
        EXPECT_EQ("", edit.Verify());
        (empty.get()->*each.scale)(each.selectedOnly, 2.0f);
        EXPECT_EQ(each.alone, empty->GetValue());
    }
}
}  // namespace
