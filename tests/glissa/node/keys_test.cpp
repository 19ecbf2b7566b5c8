// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/math/rotation_order.h"
#include "tests/support/curve_test.h"
#include "tests/support/node_stubs.h"
#include "tests/support/ref_rotation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace
{
constexpr double kAnyMin = -1e30;
constexpr double kAnyMax = 1e30;

// Times in seconds and values of all keys, each followed by a blank.
std::string KeysOf(GlissaNode* pLeaf)
{
    return KeysOf(*pLeaf->FCurveGet());
}

class ChannelKeys : public testing::Test
{
protected:
    StubLayer mLayer;
    StubETI mETI;
    NodePtr mNode = MakeChannel(KDataTypeLclTranslation, "T");
    GlissaNode* mX = mNode->Get(0);
    GlissaNode* mY = mNode->Get(1);
    GlissaNode* mZ = mNode->Get(2);
};

// Angles of a rotation order, in the order of turning.
class RotationKeys : public testing::TestWithParam<int>
{
protected:
    using Angles = std::array<double, 3>;

    static Angles InOrder(double pFirst, double pMiddle, double pThird)
    {
        const int(&axes)[3] = KmEulerAxis[GetParam()];
        Angles angles;
        angles[static_cast<std::size_t>(axes[0])] = pFirst;
        angles[static_cast<std::size_t>(axes[1])] = pMiddle;
        angles[static_cast<std::size_t>(axes[2])] = pThird;
        return angles;
    }
    static NodePtr MakeRotation(std::initializer_list<std::pair<double, Angles>> pKeys = {})
    {
        NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
        node->SetRotationOrder(GetParam());
        for (auto [seconds, angles] : pKeys) {
            node->KeyAdd(Seconds(seconds), angles.data(), 0u, eInterpolationLinear, 0);
        }
        return node;
    }
    static RefRotation RotationAt(GlissaNode& pNode, double pSeconds)
    {
        Angles angles = {};
        pNode.Evaluate(angles.data(), Seconds(pSeconds));
        return RefRotation::OfAngles(angles.data(), GetParam());
    }
};

INSTANTIATE_TEST_SUITE_P(Orders, RotationKeys, testing::Range(0, kRotationOrderCount));
}  // namespace

TEST_F(ChannelKeys, PassOverMaskedAndLockedChannelsAndConsumeTheirValues)
{
    double values[] = {1.0, 2.0, 3.0};
    EXPECT_EQ(mNode->KeyAdd(Seconds(1.0), values, 2u, eInterpolationCubic, eTangentUser),
              values + 3);
    EXPECT_EQ(KeysOf(mX), "1:1 ");
    EXPECT_EQ(KeysOf(mY), "");
    EXPECT_EQ(KeysOf(mZ), "1:3 ");
    EXPECT_EQ(mX->KeyAdd(Seconds(3.0), values, 1u, eInterpolationLinear, 0), values + 1);
    // Of the flags the tangent mode alone reaches the key.
    mX->KeyAdd(Seconds(1.0), values, 0u, eInterpolationCubic,
               eTangentUserBreak | eSelectPoint | eWeightAll | eTangentShowBoth);
    const GlissaKey key = mX->FCurveGet()->KeyGet(0);
    EXPECT_EQ(key.GetAttributes().mFlags, eInterpolationCubic | eTangentUserBreak);

    mLayer.mLocked = true;
    mY->SetLayerInfo({0, &mLayer});
    EXPECT_EQ(mNode->KeyAdd(Seconds(1.0), values, 0u, eInterpolationLinear, 0), values + 3);
    EXPECT_EQ(mNode->KeyAppend(Seconds(2.0), values), values + 3);
    EXPECT_EQ(mNode->KeyRecord(Seconds(3.0), values), values + 3);
    EXPECT_EQ(KeysOf(mX), "1:1 2:1 3:1 ");
    EXPECT_EQ(KeysOf(mY), "");
    EXPECT_EQ(KeysOf(mZ), "1:3 2:3 3:3 ");
    EXPECT_FALSE(mY->SetPreExtrapolation(eExtrapolationMirror));

    mNode->SetLayerInfo({0, &mLayer});
    EXPECT_EQ(mNode->KeyAdd(Seconds(9.0), values, 0u, eInterpolationLinear, 0), values + 3);
    EXPECT_EQ(mNode->KeyAppend(Seconds(9.0), values), values + 3);
    EXPECT_EQ(mNode->KeyRecord(Seconds(9.0), values), values + 3);
    mNode->KeyAppendWithCheckForContinuousRotation(Seconds(9.0), values);
    KTime time = Seconds(1.0);
    EXPECT_FALSE(mNode->DeleteKey(time, nullptr, 0.0, 0u));
    // Delete asks the leaves, not the branch.
    AddKeys(mY, {{2.0, 5.0f}});
    mNode->Delete(Seconds(1.5), Seconds(2.5), false);
    EXPECT_EQ(KeysOf(mX), "1:1 3:1 ");
    EXPECT_EQ(KeysOf(mY), "2:5 ");
}

TEST_F(ChannelKeys, RecordAConstantStretchAsThree)
{
    double value = 5.0;
    for (int i = 0; i < 9; ++i) {
        mX->KeyRecord(Seconds(i), &value);
    }
    double same = 5.0 + 1e-9;  // compared as floats
    mX->KeyRecord(Seconds(9), &same);
    EXPECT_EQ(KeysOf(mX), "0:5 8:5 9:5 ");
    // Another value appends, and then there are no longer three.
    double other = 6.0;
    mX->KeyRecord(Seconds(10.0), &other);
    mX->KeyRecord(Seconds(11.0), &other);
    EXPECT_EQ(KeysOf(mX), "0:5 8:5 9:5 10:6 11:6 ");
    // Recording that is wound back keeps the order.
    other = 7.0;
    mX->KeyRecord(Seconds(10.0), &other);
    mX->KeyAppend(Seconds(4.0), &other);
    EXPECT_EQ(KeysOf(mX), "0:5 4:7 8:5 9:5 10:7 11:6 ");
    // Its keys have the shape of those that are recorded in order.
    for (int i = 0; i < 6; ++i) {
        other = static_cast<double>(mX->FCurveGet()->KeyGetValue(i));
        mY->KeyAppend(mX->FCurveGet()->KeyGetTime(i), &other);
    }
    for (double seconds = 0.0; seconds < 11.0; seconds += 0.25) {
        EXPECT_EQ(mX->FCurveGet()->Evaluate(Seconds(seconds), nullptr),
                  mY->FCurveGet()->Evaluate(Seconds(seconds), nullptr));
    }
}

TEST_F(ChannelKeys, AreFoundWithinAToleranceAndARangeOfValues)
{
    AddKeys(mX, {{0.0, 1.0f}, {1.0, 2.0f}, {2.0, 3.0f}});
    AddKeys(mY, {{1.0, 20.0f}});
    bool noZ[] = {true, true, false};
    const struct
    {
        GlissaNode* node;
        bool* mask;
        double seconds;
        double tolerance;
        double least;
        double greatest;
        int answer;
    } cases[] = {
        {mX, nullptr, 1.125, 0.0, kAnyMin, kAnyMax, 0},
        {mX, nullptr, 0.875, 0.25, kAnyMin, kAnyMax, 2},
        {mX, nullptr, 1.25, 0.25, kAnyMin, kAnyMax, 0},
        {mX, nullptr, -1.0, 0.9, kAnyMin, kAnyMax, 0},  // before the keys
        {mX, nullptr, 3.0, 0.9, kAnyMin, kAnyMax, 2},   // after them the index is the count - 0.5
        // The value is that of the key before, where the one after is near.
        {mX, nullptr, 0.875, 0.25, 1.0, 1.0, 2},
        {mX, nullptr, 0.875, 0.25, 2.0, 2.0, 0},
        {mNode.get(), nullptr, 1.0, 0.0, kAnyMin, kAnyMax, 1},  // Z has none
        {mNode.get(), noZ, 1.0, 0.0, 2.0, 20.0, 2},             // ends included
        {mNode.get(), noZ, 1.0, 0.0, 2.5, 30.0, 1},
    };
    for (const auto& each : cases) {
        KTime time = Seconds(each.seconds);
        EXPECT_EQ(each.answer, each.node->IsKey(time, nullptr, each.mask, each.tolerance,
                                                each.least, each.greatest))
            << each.seconds << " within " << each.tolerance << ", from " << each.least;
    }
}

TEST_F(ChannelKeys, AreDeletedOneByOneAndInASpan)
{
    for (GlissaNode* leaf : {mX, mY, mZ}) {
        AddKeys(leaf, {{0.0, 1.0f}, {1.0, 2.0f}, {2.0, 3.0f}});
    }
    KTime near = Seconds(0.875);
    EXPECT_FALSE(mNode->DeleteKey(near, nullptr, 0.0, 0u));
    bool mask[] = {true, true, false};
    EXPECT_TRUE(mNode->DeleteKey(near, mask, 0.25, 2u));
    EXPECT_EQ(KeysOf(mX), "0:1 2:3 ");  // the nearest, not the one before
    EXPECT_EQ(KeysOf(mY), "0:1 1:2 2:3 ");
    EXPECT_EQ(KeysOf(mZ), "0:1 1:2 2:3 ");
    // Keys at the ends of a span are kept. With the chain the layers are included.
    GlissaNode* layer = mNode->CreateLayerAt({1, &mLayer});
    AddKeys(layer->Get(1), {{1.0, 7.0f}, {1.5, 8.0f}});
    mNode->Delete(Seconds(0.0), Seconds(2.0), true);
    EXPECT_EQ(KeysOf(mY), "0:1 2:3 ");
    EXPECT_EQ(KeysOf(layer->Get(1)), "");
}

TEST_F(ChannelKeys, AreCountedAndFoundInTimeOrderOverTreeAndChain)
{
    AddKeys(mX, {{0.0, 1.0f}, {4.0, 1.0f}});
    AddKeys(mY, {{1.0, 1.0f}});
    GlissaNode* layer = mNode->CreateLayerAt({1, &mLayer});
    AddKeys(layer->Get(0), {{-2.0, 1.0f}, {2.0, 1.0f}, {6.0, 1.0f}});
    EXPECT_EQ(mNode->KeyGetCount(false), 3);
    EXPECT_EQ(mNode->KeyGetCount(true), 6);
    EXPECT_EQ(mX->KeyGetCount(true), 2);  // a child is in no chain of its own
    EXPECT_EQ(mNode->KeyGetCountOnChild(0), 5);
    int statistics[4] = {};
    mNode->KeyGetCount(statistics[0], statistics[1], statistics[2], statistics[3]);
    EXPECT_TRUE(std::ranges::equal(statistics, std::array{3, 3, 0, 2}));

    const auto walk = [this](double pFrom, bool* pMask, bool pChain) {
        std::string times;
        KTime time = Seconds(pFrom);
        for (KTime next = mNode->GetNextKeyTime(time, pMask, pChain); next != time;
             next = mNode->GetNextKeyTime(time, pMask, pChain)) {
            time = next;
            times += std::to_string(static_cast<int>(time.GetSecondDouble())) + " ";
        }
        return times;
    };
    bool onlyY[] = {false, true, false};
    EXPECT_EQ(walk(-9.0, nullptr, false), "0 1 4 ");
    EXPECT_EQ(walk(-9.0, nullptr, true), "-2 0 1 2 4 6 ");
    EXPECT_EQ(walk(-9.0, onlyY, true), "1 ");
    EXPECT_EQ(mNode->GetPrevKeyTime(Seconds(4.0), nullptr), Seconds(1.0));
    EXPECT_EQ(mNode->GetPrevKeyTime(Seconds(0.5), onlyY), Seconds(0.5));
    // A time that is next to a key counts as that key's.
    const KTime almost = Seconds(4.0) - KTime(100);  // 2e-7 of a step before it
    EXPECT_EQ(mX->GetNextKeyTime(almost, nullptr, false), almost);
    EXPECT_EQ(mX->GetNextKeyTime(Seconds(4.0) - KTime(1000), nullptr, false), Seconds(4.0));

    EXPECT_EQ(mNode->GetFirstKeyTime(onlyY, true), Seconds(1.0));
    EXPECT_EQ(mNode->GetLastKeyTime(nullptr, true), Seconds(6.0));
    KTime start = Seconds(-1.0);
    KTime stop = Seconds(1.0);
    EXPECT_TRUE(mNode->GetAnimationInterval(start, stop));
    EXPECT_EQ(start, Seconds(-2.0));
    EXPECT_EQ(stop, Seconds(6.0));
}

TEST_F(ChannelKeys, AreExtractedFromASpanOfGlobalTime)
{
    AddKeys(mX, {{0.0, 1.0f}, {1.0, 2.0f}, {2.0, 3.0f}, {3.0, 4.0f}});
    mETI.mOffset = Seconds(10.0);
    mETI.mScale = 2.0;
    mNode->SetETI(&mETI);
    KArrayTemplate<int, 16> found;
    mX->ExtractKeysIndex(found, KTimeSpan(Seconds(11.0), Seconds(14.0)), 1.5, 9.0);
    EXPECT_EQ(std::vector<int>(found.begin(), found.end()), (std::vector<int>{1, 2}));
}

TEST_P(RotationKeys, AppendInTheFormNextToTheKeyBefore)
{
    const NodePtr node = MakeRotation({{0.0, {170.0, 20.0, -175.0}}});
    double angles[] = {-180.0, 25.0, 175.0};
    node->KeyAppendWithCheckForContinuousRotation(Seconds(1.0), angles);
    // By whole turns, each next to the one before.
    EXPECT_EQ(KeysOf(node->Get(0)), "0:170 1:180 ");
    EXPECT_EQ(KeysOf(node->Get(1)), "0:20 1:25 ");
    EXPECT_EQ(KeysOf(node->Get(2)), "0:-175 1:-185 ");
}

TEST_P(RotationKeys, OffsetsAreWholeTurnsOrTheFlippedForm)
{
    const struct
    {
        Angles target;
        Angles offset;
        bool isFlipped;
    } cases[] = {
        {InOrder(735.0, 745.0, 755.0), InOrder(720.0, 720.0, 720.0), false},
        {InOrder(190.0, 20.0, 30.0), InOrder(0.0, 0.0, 0.0), false},  // half a turn is none
        {InOrder(10.0 + 900.0, 180.0 - 15.0, 30.0 + 180.0), InOrder(900.0, 180.0, 180.0), true},
    };
    const NodePtr node = MakeRotation();
    for (const auto& each : cases) {
        Angles source = InOrder(10.0, 20.0, 30.0);
        Angles target = each.target;
        Angles offset = {};
        EXPECT_EQ(each.isFlipped,
                  node->GetContinuousOffset(offset.data(), source.data(), target.data()));
        EXPECT_EQ(each.offset, offset);
    }
}

TEST_P(RotationKeys, ReplaceASpanWithoutATurn)
{
    const auto make = [] {
        return MakeRotation({{0.0, InOrder(10.0, 20.0, 30.0)},
                             {4.0, InOrder(20.0, 30.0, 40.0)},
                             {8.0, InOrder(30.0, 25.0, 20.0)},
                             {12.0, InOrder(50.0, 15.0, 0.0)}});
    };
    const NodePtr before = make();
    const NodePtr node = make();
    // About the same rotations two turns away in the flipped form, and through a further turn.
    const NodePtr source =
        MakeRotation({{0.0, InOrder(20.0 + 900.0, 180.0 - 30.0, 40.0 - 180.0)},
                      {1.0, InOrder(30.0 + 900.0, 180.0 + 10.0, 45.0 - 180.0)},
                      {2.0, InOrder(400.0 + 900.0, 180.0 - 20.0, 25.0 - 180.0)}});
    node->Replace(source.get(), Seconds(0.0), Seconds(2.0), true, false, Seconds(5.0));
    ASSERT_EQ(node->Get(0)->FCurveGet()->KeyGetCount(), 7);

    // Angles are floats of up to 1300 degrees.
    constexpr double kDegrees = 5e-4;
    for (double time = 0.0; time <= 2.0; time += 0.125) {
        ASSERT_LT(RefDistance(RotationAt(*node, 5.0 + time), RotationAt(*source, time)), kDegrees);
    }
    for (const double time : {0.0, 2.0, 4.0, 8.0, 9.5, 12.0, 20.0}) {
        ASSERT_LT(RefDistance(RotationAt(*node, time), RotationAt(*before, time)), kDegrees);
    }
    // Both seams: no angle changes by more than the rotations differ.
    for (const auto& [from, to] : {std::pair(4.0, 5.0), std::pair(7.0, 8.0)}) {
        Angles angles[2];
        node->Evaluate(angles[0].data(), Seconds(from));
        node->Evaluate(angles[1].data(), Seconds(to));
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_LT(std::fabs(angles[0][i] - angles[1][i]), 46.0) << "axis " << i;
        }
    }
}
