// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/edit_check.h"
#include "tests/support/museum.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{
using Heard = std::vector<HeardEvent>;

constexpr unsigned kAuto = eInterpolationCubic | eTangentAuto;
constexpr unsigned kUser = eInterpolationCubic | eTangentUser;
constexpr unsigned kBroken = eInterpolationCubic | eTangentUserBreak;

GlissaKey MakeKey(double pSeconds, float pValue, unsigned pFlags = kAuto, float pRight = 0.0f,
                  float pNextLeft = 0.0f)
{
    GlissaKey key;
    key.Set(KTime::FromSeconds(pSeconds), pValue, pFlags & 0xF, pFlags & 0x7F00, pRight, pNextLeft,
            eWeightNone, kGlissaDefaultWeight, kGlissaDefaultWeight, 0.0f, 0.0f);
    return key;
}

// Two curves whose counts and pages are right after every test, and gone at its end.
class CurveEditing : public testing::Test
{
protected:
    void TearDown() override
    {
        EXPECT_EQ("", CheckBooks({mA.get(), mB.get()}));
        mA.reset();
        mB.reset();
        EXPECT_EQ("", CheckBooks({}));
    }
    // Keys at whole seconds from 0, values 0, 3, 6 ... , 17 and again.
    void Fill(int pKeys, unsigned pFlags = kAuto)
    {
        mA->KeyModifyBegin();
        for (int i = 0; i < pKeys; ++i) {
            mA->KeyAdd(KTime::FromSeconds(i), MakeKey(i, ValueOf(i), pFlags, 2.0f, -1.0f));
        }
        mA->KeyModifyEnd();
    }
    static float ValueOf(int pKey) { return static_cast<float>(3 * pKey % 17); }

    CurveHandle mA = CurveHandle(GlissaCreate());
    CurveHandle mB = CurveHandle(GlissaCreate());
};

TEST_F(CurveEditing, KeyAddAddsOrReplacesAndPostsWhatItDid)
{
    const struct
    {
        double seconds;
        GlissaKey key;
        int index, count;
        Heard heard;
    } cases[] = {
        {-1.0, MakeKey(9, 5.0f), 0, 4, {{0xE010, 0, 0, 1}, {0x810, 0, 0, 1}}},
        {0.5, MakeKey(9, 5.0f, kUser), 1, 4, {{0xE010, 1, 1, 1}, {0x810, 1, 1, 1}}},
        {7.0, MakeKey(9, 5.0f), 3, 4, {{0xE010, 3, 3, 1}, {0x810, 3, 3, 1}}},
        {1.0, MakeKey(9, 5.0f, kBroken), 1, 3, {{0xE010, 1, 1, 1}}},
        {1.0, MakeKey(9, 5.0f, kAuto, 2.0f, -1.0f), 1, 3, {{0x2010, 1, 1, 1}}},
        {1.0, MakeKey(9, 3.0f, kAuto, 2.0f, -1.0f), 1, 3, {}},
    };
    for (const auto& each : cases) {
        for (const int start : {std::numeric_limits<int>::min(), 2, 1000}) {
            mA->KeyClear();
            Fill(3);
            EditCheck edit(*mA);
            int hint = start;
            const int index = mA->KeyAdd(KTime::FromSeconds(each.seconds), each.key, &hint);
            EXPECT_EQ(each.index, index);
            EXPECT_EQ(each.index, hint);
            EXPECT_EQ(each.count, mA->KeyGetCount());
            EXPECT_EQ(each.heard, edit.Heard());
            EXPECT_EQ("", edit.Verify());
        }
    }
}

TEST_F(CurveEditing, KeySetRefusesATimeThatBreaksTheOrder)
{
    const struct
    {
        int index;
        double seconds;
        bool expected;
        Heard heard;
    } cases[] = {
        {1, 0.0, false, {}},
        {1, 2.0, false, {}},
        {0, 1.0, false, {}},
        {2, 1.0, false, {}},
        {3, 2.0, false, {}},
        {1, 1.5, true, {{0xE010, 1, 1, 1}}},
        {0, -9.0, true, {{0xE010, 0, 0, 1}}},
        {3, 2.5, true, {{0x810, 3, 3, 1}}},
    };
    mB->KeyAdd(KTime(), MakeKey(0, 1.0f, kBroken));
    for (const auto& each : cases) {
        for (const bool isSource : {false, true}) {
            mA->KeyClear();
            Fill(3);
            mB->KeySetTime(0, KTime::FromSeconds(each.seconds));
            EditCheck edit(*mA);
            EXPECT_EQ(each.expected, isSource ? mA->KeySet(each.index, mB.get(), 0)
                                              : mA->KeySet(each.index, mB->KeyGet(0)));
            EXPECT_EQ(each.heard, edit.Heard()) << each.index << " " << each.seconds;
            EXPECT_EQ("", edit.Verify());
        }
    }
    mA->KeyClear();
    Fill(1);
    EditCheck edit(*mA);
    EXPECT_TRUE(mA->KeySet(1, MakeKey(1, 3.0f, kAuto, 2.0f, -1.0f)));
    EXPECT_TRUE(mA->KeySet(1, MakeKey(2, -3.0f, kAuto, 2.0f, -1.0f)));  // equal attributes
    EXPECT_EQ((Heard{{0x810, 1, 1, 1}, {0x2010, 1, 1, 1}, {0x4010, 1, 1, 1}}), edit.Heard());
}

TEST_F(CurveEditing, ARemovedKeyLeavesTheLeftTangentBehindIt)
{
    for (const unsigned kind : {kAuto, kUser, kBroken, kAuto | eTangentBreak}) {
        for (int i = 0; i < 5; ++i) {
            mA->KeyClear();
            Fill(5, kind);
            mA->KeySetLeftTangeantWeight(4, 0.7f);
            const auto side = [&](int pKey) {
                return (kind & eTangentAuto) != 0 ? mA->KeyGetLeftAuto(pKey, false)
                                                  : mA->KeyGetLeftDerivative(pKey);
            };
            const float next = i < 4 ? side(i + 1) : 0.0f;
            EditCheck edit(*mA);
            EXPECT_TRUE(mA->KeyRemove(i));
            EXPECT_EQ("", edit.Verify());
            EXPECT_EQ(1u, edit.Heard().size());
            if (i > 0 && i < 4) {
                EXPECT_NEAR(i == 3 ? 0.7f : kGlissaDefaultWeight, mA->KeyGetLeftTangeantWeight(i),
                            1e-4f);
                EXPECT_EQ(next, side(i));
            }
        }
    }
    EXPECT_FALSE(mA->KeyRemove(4) || mA->KeyRemove(-1));
    mA->Delete(1, 3);
    mA->KeyRemove(0);
    EXPECT_EQ(ValueOf(0), mA->GetValue());
}

TEST_F(CurveEditing, DeleteTakesTheKeysOfARange)
{
    const struct
    {
        double from, to;
        bool inclusive;
        int left;  // of 5, or -1 where nothing lies between
    } cases[] = {
        {1.0, 3.0, true, 2},  {1.0, 3.0, false, 4},   {1.0, 2.0, false, -1}, {1.2, 1.8, true, -1},
        {3.0, 1.0, true, -1}, {-9.0, -1.0, true, -1}, {4.5, 9.0, true, -1},  {4.0, 4.0, true, 4},
        {0.0, 4.0, true, 0},  {-9.0, 2.5, false, 2},
    };
    for (const auto& each : cases) {
        mA->KeyClear();
        Fill(5, eInterpolationLinear);
        EditCheck edit(*mA);
        EXPECT_EQ(each.left >= 0, mA->Delete(KTime::FromSeconds(each.from),
                                             KTime::FromSeconds(each.to), each.inclusive));
        EXPECT_EQ(each.left >= 0 ? each.left : 5, mA->KeyGetCount());
        EXPECT_EQ(each.left >= 0 ? 1u : 0u, edit.Heard().size());
        EXPECT_EQ("", edit.Verify());
    }
    EXPECT_FALSE(mB->Delete(KTime(0), KTime(9), true));
    EXPECT_FALSE(mB->Delete(0, 0));
    EXPECT_FALSE(mA->Delete(0, 5) || mA->Delete(-1, 1) || mA->Delete(2, 1));
}

}  // namespace
