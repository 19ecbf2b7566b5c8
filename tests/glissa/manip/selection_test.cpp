// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/manip/manipulator.h"
#include "tests/support/curve_test.h"
#include "tests/support/node_stubs.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace
{
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// A leaf with a curve, in a manipulator.
class Selection : public testing::Test
{
protected:
    NodePtr mLeaf = NodePtr(GlissaNodeCreate("leaf", nullptr, eLayerTypeVector, {}));
    GlissaManipulator mManipulator;

    void SetCurve(const std::vector<UserKey>& pKeys)
    {
        mLeaf->CreateFCurve();
        mLeaf->FCurveGet()->CopyFrom(*MakeCurve(pKeys), true);
        mManipulator.Add(mLeaf.get());
        mManipulator.MarkAllCurveNodeForManip(true);
    }
    /// A line of keys a frame apart, of value 0.
    void SetFrames(int pCount)
    {
        std::vector<UserKey> keys;
        for (int i = 0; i < pCount; ++i) {
            keys.push_back({i / 30.0, 0.0f});
        }
        SetCurve(keys);
    }
    Glissa& Curve() { return *mLeaf->FCurveGet(); }
    void Mark(std::initializer_list<int> pKeys)
    {
        for (int key : pKeys) {
            mManipulator.MarkKeysForManip(true, mLeaf.get(), key, key);
        }
    }
    /// A character a key: s selected, - not.
    std::string Selected()
    {
        std::string text;
        for (int i = 0; i < Curve().KeyGetCount(); ++i) {
            text += Curve().KeyGetSelected(i) ? 's' : '-';
        }
        return text;
    }
    /// A character a key: which handles it shows.
    std::string Handles()
    {
        std::string text;
        for (int i = 0; i < Curve().KeyGetCount(); ++i) {
            text += "-<>#"[Curve().KeyGetTangeantVisibility(i) >> 20];
        }
        return text;
    }
    std::vector<float> Values()
    {
        std::vector<float> values;
        for (int i = 0; i < Curve().KeyGetCount(); ++i) {
            values.push_back(Curve().KeyGetValue(i));
        }
        return values;
    }
};
}  // namespace

TEST_F(Selection, TakesABoxByItsMode)
{
    struct Row
    {
        eSelectionMode mode;
        bool showsMany;
        const char* selected;
        const char* handles;
        int last;
    };
    // Keys 0 and 1 are selected before; the box has key 1 on a corner and key 2 on the other.
    const Row rows[] = {
        {eSelectionReplace, true, "-ss-", "-##-", 2},
        {eSelectionAdd, true, "sss-", ">##-", 2},
        {eSelectionRemove, true, "s---", ">---", -1},
        {eSelectionToggle, true, "s-s-", ">-#-", 2},
        {eSelectionReplace, false, "-ss-", "--#-", 2},
        {eSelectionRemove, false, "s---", "----", -1},
    };
    SetCurve({{0.0, 0.0f}, {1.0, 1.0f}, {2.0, 2.0f}, {3.0, 1.5f}});
    for (const Row& row : rows) {
        mManipulator.SetShowManyTangents(true);
        mManipulator.SelectKeys(eSelectionReplace, kFromStart, Seconds(1.0), -9.0, 9.0);
        mManipulator.SetShowManyTangents(row.showsMany);
        mManipulator.SelectKeys(row.mode, Seconds(1.0), Seconds(2.0), 1.0, 2.0);
        EXPECT_EQ(Selected(), row.selected);
        EXPECT_EQ(Handles(), row.handles) << row.selected;
        GlissaNode* node;
        Glissa* curve;
        int last;
        mManipulator.GetLastSelectedKey(node, curve, last);
        EXPECT_EQ(last, row.last);
        EXPECT_EQ(curve, last < 0 ? nullptr : &Curve());
    }
}

TEST_F(Selection, FramesWhatChanged)
{
    SetCurve({{0.0, 4.0f}, {1.0, -1.0f}, {2.0, 2.0f}});
    KTime start, stop;
    double least, greatest;
    mManipulator.SelectKeys(eSelectionAdd, Seconds(0.5), kToEnd, -9.0, 9.0);
    Mark({2});
    Curve().KeySetValue(1, -2.0f);
    mManipulator.SelectKeys(eSelectionAdd, Seconds(1.5), kToEnd, -9.0, 9.0);  // changes nothing
    mManipulator.GetSelectionRange(start, stop, least, greatest);
    EXPECT_EQ(start, Seconds(1.0));
    EXPECT_EQ(stop, Seconds(2.0));
    EXPECT_EQ(least, -1.0);
    EXPECT_EQ(greatest, 2.0);
    mManipulator.FrameManipulation();
    KTime leastTime, greatestTime;
    mManipulator.GetSelectionRange(start, stop, leastTime, greatestTime);
    EXPECT_EQ(start, Seconds(2.0));
    EXPECT_EQ(leastTime, Seconds(2.0));
    mManipulator.SelectKeys(eSelectionRemove, kFromStart, kToEnd, -9.0, 9.0);
    mManipulator.GetSelectionRange(start, stop, leastTime, greatestTime);
    EXPECT_EQ(start, KTime::Infinite());
    EXPECT_EQ(greatestTime, KTime::MinusInfinite());
}

TEST_F(Selection, EndsWithTheSpanOfAnETI)
{
    SetCurve({{0.0, 0.0f}, {1.0, 0.0f}, {2.0, 0.0f}});
    Curve().KeySelectAll();
    StubETI eti;
    eti.mOffset = Seconds(10.0);
    eti.mDuration = Seconds(1.0);
    mLeaf->SetETI(&eti);
    mManipulator.SelectKeys(eSelectionAdd, kFromStart, KTime(0), -9.0, 9.0);
    EXPECT_EQ(Selected(), "ss-");
    eti.mDuration = KTime();  // no limit, but only keys at the very start count
    mManipulator.SelectKeys(eSelectionRemove, kFromStart, kToEnd, -9.0, 9.0);
    EXPECT_EQ(Selected(), "-s-");
    mLeaf->SetETI(nullptr);
}

TEST_F(Selection, ShowsTheHandlesOfTheSegmentsThatTheyShape)
{
    constexpr std::uint32_t kTCB = eInterpolationCubic | eTangentTCB;
    constexpr std::uint32_t kUserKey = eInterpolationCubic | eTangentUser;
    SetCurve({{0.0, 0.0f, 0, 0, kTCB},
              {1.0, 0.0f, 0, 0, kUserKey},
              {2.0, 0.0f, 0, 0, kTCB},
              {3.0, 0.0f, 0, 0, kUserKey},
              {4.0, 0.0f, 0, 0, eInterpolationLinear},
              {5.0, 0.0f, 0, 0, kUserKey}});
    mManipulator.SelectKeys(eSelectionReplace, kFromStart, kToEnd, -9.0, 9.0);
    EXPECT_EQ(Handles(), "->->"
                         "<>");
}

TEST_F(Selection, FadesAChangeOverTheKeysNextToTheMarkedOnes)
{
    struct Row
    {
        double change;
        double radius;
        std::vector<float> values;
    };
    // The marked keys are 2 and 6; the one between them takes the greater of two equal changes.
    const Row rows[] = {{4.0, 4.0, {2, 3, 4, 3, 2, 3, 4, 3}},
                        {4.0, 2.0, {0, 2, 4, 2, 0, 2, 4, 2}},
                        {-4.0, kInfinity, {-4, -4, -4, -4, -4, -4, -4, -4}},
                        {4.0, 0.0, {0, 0, 4, 0, 0, 0, 4, 0}},
                        {0.0, 4.0, {0, 0, 0, 0, 0, 0, 0, 0}}};
    SetFrames(8);
    Mark({2, 6});
    mManipulator.BeginManipulation(eManipLeftEdge, false, 0.0);
    for (const Row& row : rows) {
        mManipulator.OffsetY(row.change, row.radius);
        EXPECT_EQ(Values(), row.values) << row.change << " over " << row.radius;
    }
    // A stretch passes on what each edge has moved: the keys 2 and 6 by -1 and 1.
    Curve().KeySetValue(2, -1.0f);
    Curve().KeySetValue(6, 1.0f);
    mManipulator.BeginManipulation(eManipLeftEdge, false, 0.0);
    mManipulator.StretchY(0.0, 1.0, 1.0, false, 3.0);
    const float third = 1.0f / 3.0f;
    const std::vector<float> expected = {-third, -2 * third, -2.0f, -2 * third,
                                         -third, 2 * third,  2.0f,  2 * third};
    for (int i = 0; i < 8; ++i) {
        EXPECT_NEAR(Values()[static_cast<std::size_t>(i)], expected[static_cast<std::size_t>(i)],
                    1e-6);
    }
}

TEST_F(Selection, PutsMarkedKeysOnFrames)
{
    SetCurve(
        {{0.0, 0.0f}, {0.99 / 30, 1.0f}, {1.1 / 30, 2.0f}, {2.6 / 30, 3.0f}, {5.0 / 30, 4.0f}});
    Mark({1, 2, 3});
    mManipulator.BeginManipulation(eManipLeftEdge, false, 0.0);
    const CurveHandle before = MakeCurve({});
    before->CopyFrom(Curve(), true);
    mManipulator.SnapKeysToFrame();
    ASSERT_EQ(Curve().KeyGetCount(), 4);  // two of them on frame 1: the later one is left
    EXPECT_EQ(Curve().KeyGetTime(1), Seconds(1.0 / 30));
    EXPECT_EQ(Curve().KeyGetValue(1), 2.0f);
    EXPECT_EQ(Curve().KeyGetTime(2), Seconds(3.0 / 30));
    mManipulator.EaseInOrOut(KTime(0), Seconds(1.0), true);
    EXPECT_EQ(KeysOf(Curve()), KeysOf(*before));
}
