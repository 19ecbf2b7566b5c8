// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/math/rotation_order.h"
#include "tests/support/allocation_count.h"
#include "tests/support/node_stubs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace
{
const KTime kLeast = KTime::MinusInfinite();
const KTime kGreatest = KTime::Infinite();
constexpr double kAnyMin = -1e30;
constexpr double kAnyMax = 1e30;

KTime Seconds(double pSeconds)
{
    return KTime::FromSeconds(pSeconds);
}

// Times in seconds and values of all keys.
std::string KeysOf(GlissaNode* pLeaf)
{
    std::string text;
    const Glissa* curve = pLeaf->FCurveGet();
    for (int i = 0; i < curve->KeyGetCount(); ++i) {
        char key[64];
        std::snprintf(key, sizeof key, "%s%g:%g", i > 0 ? " " : "",
                      curve->KeyGetTime(i).GetSecondDouble(),
                      static_cast<double>(curve->KeyGetValue(i)));
        text += key;
    }
    return text;
}

struct Heard
{
    int calls = 0;
    int type = 0;

    static void Hear(Glissa*, GlissaEvent* pEvent, void* pObject)
    {
        ++static_cast<Heard*>(pObject)->calls;
        static_cast<Heard*>(pObject)->type |= pEvent->GetType();
    }
};

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

class RotationKeys : public testing::TestWithParam<int>
{
protected:
    // The rotations of two channels at a time are the same: entries of the matrices.
    static void ExpectSameRotation(GlissaNode* pLeft, KTime pLeftTime, GlissaNode* pRight,
                                   KTime pRightTime)
    {
        const KVdRotationOrder order(pLeft->GetRotationOrder());
        KgeRMatrix matrices[2];
        double angles[3];
        pLeft->Evaluate(angles, pLeftTime);
        order.V2M(matrices[0], KgeRVector(angles[0], angles[1], angles[2]));
        pRight->Evaluate(angles, pRightTime);
        order.V2M(matrices[1], KgeRVector(angles[0], angles[1], angles[2]));
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                // Angles are floats of up to 1024 degrees: half a unit of 2^-14 degrees, as radians
                // 6e-7 each, three of them, twice over for the interpolation.
                ASSERT_NEAR(matrices[0](i, j), matrices[1](i, j), 4e-6)
                    << "at " << pLeftTime.GetSecondDouble() << " s";
            }
        }
    }
    static void AddRotation(GlissaNode* pNode, double pSeconds, const double (&pAngles)[3])
    {
        for (int i = 0; i < 3; ++i) {
            AddKeys(pNode->Get(i), {{pSeconds, static_cast<float>(pAngles[i])}});
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Orders, RotationKeys, testing::Range(0, kRotationOrderCount));
}  // namespace

TEST_F(ChannelKeys, GoToTheChannelsThatTakePart)
{
    double values[] = {1.0, 2.0, 3.0};
    EXPECT_EQ(mNode->KeyAdd(Seconds(1.0), values, 2u, eInterpolationCubic, eTangentUser),
              values + 3);
    EXPECT_EQ(KeysOf(mX), "1:1");
    EXPECT_EQ(KeysOf(mY), "");
    EXPECT_EQ(KeysOf(mZ), "1:3");

    // Bits beside the tangent mode do not reach the key.
    mX->KeyAdd(Seconds(2.0), values, 0u, eInterpolationCubic,
               eTangentUserBreak | eSelectPoint | eWeightAll | eTangentShowBoth);
    const GlissaKey key = mX->FCurveGet()->KeyGet(1);
    EXPECT_EQ(key.GetAttributes().mFlags, eInterpolationCubic | eTangentUserBreak);
    EXPECT_EQ(key.GetDataDouble(eDataRightSlope), 0.0f);
    EXPECT_NEAR(key.GetDataDouble(eDataNextLeftWeight), 1.0f / 3.0f, 1e-4f);

    // A leaf consumes its value though it is skipped; a branch without children has none.
    EXPECT_EQ(mX->KeyAdd(Seconds(3.0), values, 1u, eInterpolationLinear, 0), values + 1);
    EXPECT_EQ(KeysOf(mX), "1:1 2:1");
    const NodePtr empty(GlissaNodeCreate("E", KDataTypeVector, eLayerTypeVector, {}));
    EXPECT_EQ(empty->KeyAdd(Seconds(0.0), values, 0u, eInterpolationLinear, 0), values);
}

TEST_F(ChannelKeys, PassOverLockedNodesAndConsumeTheirValues)
{
    double values[] = {1.0, 2.0, 3.0};
    mLayer.mLocked = true;
    mY->SetLayerInfo({0, &mLayer});
    KTime time = Seconds(1.0);
    EXPECT_EQ(mNode->KeyAdd(time, values, 0u, eInterpolationLinear, 0), values + 3);
    EXPECT_EQ(mNode->KeyAppend(Seconds(2.0), values), values + 3);
    EXPECT_EQ(mNode->KeyRecord(Seconds(3.0), values), values + 3);
    EXPECT_EQ(KeysOf(mX), "1:1 2:1 3:1");
    EXPECT_EQ(KeysOf(mY), "");
    EXPECT_EQ(KeysOf(mZ), "1:3 2:3 3:3");
    EXPECT_FALSE(mY->SetPreExtrapolation(eExtrapolationMirror));
    EXPECT_EQ(mY->FCurveGet()->GetPreExtrapolation(), eExtrapolationConstant);

    mNode->SetLayerInfo({0, &mLayer});
    EXPECT_EQ(mNode->KeyAdd(Seconds(9.0), values, 0u, eInterpolationLinear, 0), values + 3);
    EXPECT_EQ(mNode->KeyAppend(Seconds(9.0), values), values + 3);
    EXPECT_EQ(mNode->KeyRecord(Seconds(9.0), values), values + 3);
    mNode->KeyAppendWithCheckForContinuousRotation(Seconds(9.0), values);
    EXPECT_FALSE(mNode->DeleteKey(time, nullptr, 0.0, 0u));
    EXPECT_EQ(mNode->KeyGetCount(false), 6);
    // Delete asks the leaves, not the branch.
    mNode->Delete(Seconds(1.5), Seconds(2.5), false);
    EXPECT_EQ(KeysOf(mX), "1:1 3:1");
}

TEST_F(ChannelKeys, RecordAConstantStretchAsThree)
{
    Heard heard;
    for (int i = 0; i < 10; ++i) {
        double value = 5.0;
        if (i == 9) {
            mX->FCurveGet()->CallbackRegister(Heard::Hear, &heard);
        }
        mX->KeyRecord(Seconds(i), &value);
    }
    EXPECT_EQ(KeysOf(mX), "0:5 8:5 9:5");
    EXPECT_EQ(heard.calls, 1);  // of both keys
    mX->FCurveGet()->CallbackUnregister(Heard::Hear, &heard);

    // Compared as floats; another value appends, and then there are no longer three.
    double same = 5.0 + 1e-9;
    double other = 6.0;
    mX->KeyRecord(Seconds(10.0), &same);
    EXPECT_EQ(KeysOf(mX), "0:5 9:5 10:5");
    mX->KeyRecord(Seconds(11.0), &other);
    mX->KeyRecord(Seconds(12.0), &other);
    EXPECT_EQ(KeysOf(mX), "0:5 9:5 10:5 11:6 12:6");
}

TEST_F(ChannelKeys, AreFoundWithinATolerance)
{
    AddKeys(mX, {{0.0, 1.0f}, {1.0, 2.0f}, {2.0, 3.0f}});
    AddKeys(mY, {{1.0, 20.0f}});
    struct Case
    {
        double seconds;
        double tolerance;
        int onX;
    };
    const Case cases[] = {
        {1.0, 0.0, 2},    {1.125, 0.0, 0}, {1.125, 0.25, 2},
        {0.875, 0.25, 2}, {1.25, 0.25, 0}, {-1.0, 0.9, 0},  // before the keys
        {3.0, 0.9, 2},  // behind them the index is the count less a half
        {3.0, 0.5, 0},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.seconds);
        KTime time = Seconds(each.seconds);
        EXPECT_EQ(mX->IsKey(time, nullptr, nullptr, each.tolerance, kAnyMin, kAnyMax), each.onX);
    }

    KTime time = Seconds(1.0);
    EXPECT_EQ(mNode->IsKey(time, nullptr, nullptr, 0.0, kAnyMin, kAnyMax), 1);  // Z has none
    bool mask[] = {true, true, false};
    EXPECT_EQ(mNode->IsKey(time, nullptr, mask, 0.0, kAnyMin, kAnyMax), 2);
    EXPECT_EQ(mNode->IsKey(time, nullptr, mask, 0.0, 2.0, 20.0), 2);  // ends included
    EXPECT_EQ(mNode->IsKey(time, nullptr, mask, 0.0, 2.5, 30.0), 1);
    EXPECT_EQ(mNode->IsKey(time, nullptr, mask, 0.0, 30.0, 40.0), 0);
    // Near the key behind, the value of the one before decides.
    KTime before = Seconds(0.875);
    EXPECT_EQ(mX->IsKey(before, nullptr, nullptr, 0.25, 1.0, 1.0), 2);
    EXPECT_EQ(mX->IsKey(before, nullptr, nullptr, 0.25, 2.0, 2.0), 0);
    const NodePtr empty(GlissaNodeCreate("E", KDataTypeVector, eLayerTypeVector, {}));
    EXPECT_EQ(empty->IsKey(time, nullptr, nullptr, 0.0, kAnyMin, kAnyMax), 2);
}

TEST_F(ChannelKeys, AreDeletedWhereTheyStand)
{
    for (GlissaNode* leaf : {mX, mY, mZ}) {
        AddKeys(leaf, {{0.0, 1.0f}, {1.0, 2.0f}, {2.0, 3.0f}});
    }
    KTime near = Seconds(0.875);
    EXPECT_FALSE(mNode->DeleteKey(near, nullptr, 0.0, 0u));
    bool mask[] = {true, true, false};
    EXPECT_TRUE(mNode->DeleteKey(near, mask, 0.25, 2u));
    EXPECT_EQ(KeysOf(mX), "0:1 2:3");  // the nearest, not the one before
    EXPECT_EQ(KeysOf(mY), "0:1 1:2 2:3");
    EXPECT_EQ(KeysOf(mZ), "0:1 1:2 2:3");
    KTime behind = Seconds(5.0);
    EXPECT_FALSE(mNode->DeleteKey(behind, nullptr, 0.9, 0u));

    // Keys on the ends of a span stay, and with the chain the layers lose theirs too.
    GlissaNode* layer = mNode->CreateLayerAt({1, &mLayer});
    AddKeys(layer->Get(1), {{1.0, 7.0f}, {1.5, 8.0f}});
    mNode->Delete(Seconds(1.0), Seconds(2.0), false);
    EXPECT_EQ(KeysOf(layer->Get(1)), "1:7 1.5:8");
    mNode->Delete(Seconds(0.0), Seconds(2.0), true);
    EXPECT_EQ(KeysOf(mY), "0:1 2:3");
    EXPECT_EQ(KeysOf(layer->Get(1)), "");
}

TEST_F(ChannelKeys, AreCountedOverTreeAndChain)
{
    AddKeys(mX, {{0.0, 1.0f}, {1.0, 2.0f}});
    AddKeys(mY, {{0.0, 1.0f}});
    GlissaNode* layer = mNode->CreateLayerAt({1, &mLayer});
    AddKeys(layer->Get(0), {{3.0, 1.0f}, {4.0, 2.0f}, {5.0, 3.0f}});
    EXPECT_EQ(mNode->KeyGetCount(false), 3);
    EXPECT_EQ(mNode->KeyGetCount(true), 6);
    EXPECT_EQ(mX->KeyGetCount(true), 2);  // a child is in no chain of its own
    EXPECT_EQ(mNode->KeyGetCountOnChild(0), 5);
    EXPECT_EQ(mNode->KeyGetCountOnChild(1), 1);

    int curves = -1;
    int total = -1;
    int least = -1;
    int most = -1;
    mNode->KeyGetCount(curves, total, least, most);
    EXPECT_EQ((std::vector<int>{curves, total, least, most}), (std::vector<int>{3, 3, 0, 2}));
    const NodePtr empty(GlissaNodeCreate("E", KDataTypeVector, eLayerTypeVector, {}));
    empty->KeyGetCount(curves, total, least, most);
    EXPECT_EQ((std::vector<int>{curves, total, least, most}),
              (std::vector<int>{0, 0, 0x7FFFFFFF, -0x7FFFFFFF - 1}));
}

TEST_F(ChannelKeys, AreReachedInTimeOrderOverAllCurves)
{
    AddKeys(mX, {{0.0, 1.0f}, {4.0, 1.0f}});
    AddKeys(mY, {{1.0, 1.0f}, {4.0, 1.0f}});
    GlissaNode* layer = mNode->CreateLayerAt({1, &mLayer});
    AddKeys(layer->Get(2), {{-2.0, 1.0f}, {2.0, 1.0f}, {6.0, 1.0f}});

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
    bool only_y[] = {false, true, false};
    EXPECT_EQ(walk(-9.0, nullptr, false), "0 1 4 ");
    EXPECT_EQ(walk(-9.0, nullptr, true), "-2 0 1 2 4 6 ");
    EXPECT_EQ(walk(-9.0, only_y, true), "1 4 ");
    EXPECT_EQ(walk(0.5, nullptr, false), "1 4 ");
    EXPECT_EQ(mNode->GetPrevKeyTime(Seconds(9.0), nullptr), Seconds(4.0));
    EXPECT_EQ(mNode->GetPrevKeyTime(Seconds(4.0), nullptr), Seconds(1.0));
    EXPECT_EQ(mNode->GetPrevKeyTime(Seconds(4.0), only_y), Seconds(1.0));
    EXPECT_EQ(mNode->GetPrevKeyTime(Seconds(0.5), only_y), Seconds(0.5));

    EXPECT_EQ(mNode->GetFirstKeyTime(nullptr, true), Seconds(-2.0));
    EXPECT_EQ(mNode->GetFirstKeyTime(nullptr, false), Seconds(0.0));
    EXPECT_EQ(mNode->GetFirstKeyTime(only_y, true), Seconds(1.0));
    EXPECT_EQ(mNode->GetLastKeyTime(nullptr, true), Seconds(6.0));
    EXPECT_EQ(mNode->GetLastKeyTime(only_y, true), Seconds(4.0));
    KTime start = Seconds(-1.0);
    KTime stop = Seconds(1.0);
    EXPECT_TRUE(mNode->GetAnimationInterval(start, stop));
    EXPECT_EQ(start, Seconds(-2.0));
    EXPECT_EQ(stop, Seconds(6.0));
}

TEST_F(ChannelKeys, LeaveOutATimeThatIsAsGoodAsOnAKey)
{
    AddKeys(mX, {{0.0, 1.0f}, {1.0, 1.0f}, {2.0, 1.0f}});
    const KTime almost = Seconds(1.0) - KTime(100);  // 7e-7 of a step before the key
    EXPECT_EQ(mX->GetNextKeyTime(almost, nullptr, false), Seconds(2.0));
    EXPECT_EQ(mX->GetPrevKeyTime(Seconds(1.0) + KTime(100), nullptr), Seconds(0.0));
    const KTime clearly = Seconds(1.0) - KTime(200);
    EXPECT_EQ(mX->GetNextKeyTime(clearly, nullptr, false), Seconds(1.0));
}

TEST_F(ChannelKeys, AreExtractedFromASpanOfGlobalTime)
{
    AddKeys(mX, {{0.0, 1.0f}, {1.0, 2.0f}, {2.0, 3.0f}, {3.0, 4.0f}});
    mETI.mOffset = Seconds(10.0);
    mETI.mScale = 2.0;
    mNode->SetETI(&mETI);
    KArrayTemplate<int, 16> found;
    mX->ExtractKeysIndex(found, KTimeSpan(Seconds(12.0), Seconds(16.0)), 2.5, 9.0);
    EXPECT_EQ(std::vector<int>(found.begin(), found.end()), (std::vector<int>{2, 3}));
    mNode->ExtractKeysIndex(found, KTimeSpan(kLeast, kGreatest), kAnyMin, kAnyMax);
    EXPECT_EQ(found.GetCount(), 2);  // a branch has no indexes
}

TEST_P(RotationKeys, AppendInTheFormNextToTheKeyBefore)
{
    const NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    node->SetRotationOrder(GetParam());
    double first[] = {170.0, 20.0, -175.0};
    double second[] = {-180.0, 25.0, 175.0};
    node->KeyAppend(Seconds(0.0), first);
    node->KeyAppendWithCheckForContinuousRotation(Seconds(1.0), second);
    // By whole turns, each next to the one before.
    EXPECT_EQ(KeysOf(node->Get(0)), "0:170 1:180");
    EXPECT_EQ(KeysOf(node->Get(1)), "0:20 1:25");
    EXPECT_EQ(KeysOf(node->Get(2)), "0:-175 1:-185");
}

TEST_P(RotationKeys, OffsetsAreWholeTurnsOrTheFlippedForm)
{
    const NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    node->SetRotationOrder(GetParam());
    double offset[3];
    double source[] = {10.0, 20.0, 30.0};
    double target[] = {735.0, 745.0, 755.0};
    EXPECT_FALSE(node->GetContinuousOffset(offset, source, target));
    EXPECT_EQ((std::vector<double>(offset, offset + 3)),
              (std::vector<double>{720.0, 720.0, 720.0}));
    double half[] = {190.0, 20.0, 30.0};
    EXPECT_FALSE(node->GetContinuousOffset(offset, source, half));
    EXPECT_EQ((std::vector<double>(offset, offset + 3)), (std::vector<double>{0.0, 0.0, 0.0}));

    // The flipped form of 10, 20, 30, two turns up on the first axis.
    const int(&axes)[3] = KmEulerAxis[GetParam()];
    double flipped[3];
    flipped[axes[0]] = source[axes[0]] + 180.0 + 720.0;
    flipped[axes[1]] = 180.0 - source[axes[1]] + 5.0;
    flipped[axes[2]] = source[axes[2]] + 180.0;
    EXPECT_TRUE(node->GetContinuousOffset(offset, source, flipped));
    EXPECT_EQ(offset[axes[0]], 900.0);
    EXPECT_EQ(offset[axes[1]], 180.0);
    EXPECT_EQ(offset[axes[2]], 180.0);
}

TEST_P(RotationKeys, ReplaceASpanWithoutATurn)
{
    const NodePtr before = MakeChannel(KDataTypeLclRotation, "R");
    const NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    const NodePtr source = MakeChannel(KDataTypeLclRotation, "R");
    const int(&axes)[3] = KmEulerAxis[GetParam()];
    const auto place = [&axes](double pFirst, double pMiddle, double pThird) {
        std::vector<double> angles(3);
        angles[static_cast<std::size_t>(axes[0])] = pFirst;
        angles[static_cast<std::size_t>(axes[1])] = pMiddle;
        angles[static_cast<std::size_t>(axes[2])] = pThird;
        return angles;
    };
    const auto add = [](GlissaNode* pNode, double pSeconds, const std::vector<double>& pAngles) {
        AddRotation(pNode, pSeconds, {pAngles[0], pAngles[1], pAngles[2]});
    };
    for (GlissaNode* each : {before.get(), node.get(), source.get()}) {
        each->SetRotationOrder(GetParam());
    }
    for (GlissaNode* each : {before.get(), node.get()}) {
        add(each, 0.0, place(10.0, 20.0, 30.0));
        add(each, 4.0, place(20.0, 30.0, 40.0));
        add(each, 8.0, place(30.0, 25.0, 20.0));
        add(each, 12.0, place(50.0, 15.0, 0.0));
    }
    // About the same rotations two turns away in the flipped form, and going on through a turn.
    add(source.get(), 0.0, place(20.0 + 180.0 + 720.0, 180.0 - 30.0, 40.0 - 180.0));
    add(source.get(), 1.0, place(30.0 + 180.0 + 720.0, 180.0 + 10.0, 45.0 - 180.0));
    add(source.get(), 2.0, place(400.0 + 180.0 + 720.0, 180.0 - 20.0, 25.0 - 180.0));

    node->Replace(source.get(), Seconds(0.0), Seconds(2.0), true, false, Seconds(5.0));
    ASSERT_EQ(node->Get(0)->FCurveGet()->KeyGetCount(), 7);

    for (double time = 0.0; time <= 2.0; time += 0.125) {
        ExpectSameRotation(node.get(), Seconds(5.0 + time), source.get(), Seconds(time));
    }
    for (double time : {0.0, 2.0, 4.0, 8.0, 9.5, 12.0, 20.0}) {
        ExpectSameRotation(node.get(), Seconds(time), before.get(), Seconds(time));
    }
    // Both seams: no angle goes further than the rotations lie apart.
    for (const auto& [from, to] : {std::pair(4.0, 5.0), std::pair(7.0, 8.0)}) {
        double angles[2][3];
        node->Evaluate(angles[0], Seconds(from));
        node->Evaluate(angles[1], Seconds(to));
        for (int i = 0; i < 3; ++i) {
            EXPECT_LT(std::fabs(angles[0][i] - angles[1][i]), 46.0) << "axis " << i;
        }
    }
}
