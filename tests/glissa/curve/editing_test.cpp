// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/edit_check.h"
#include "tests/support/museum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{
using Heard = std::vector<HeardEvent>;

constexpr unsigned kAuto = eInterpolationCubic | eTangentAuto;
constexpr unsigned kUser = eInterpolationCubic | eTangentUser;
constexpr unsigned kBroken = eInterpolationCubic | eTangentUserBreak;
constexpr unsigned kTcb = eInterpolationCubic | eTangentTCB;

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

// The fraction of the long segment rounds to a whole number, and no key is replaced.
TEST_F(CurveEditing, AKeyIsAddedATickFromAnotherOne)
{
    const KTime tick(1);
    const KTime end = KTime::Infinite();
    for (const KTime time : {end - tick, KTime::MinusInfinite() + tick + tick}) {
        for (const bool inserts : {false, true}) {
            const CurveHandle curve(GlissaCreate());
            for (const KTime key : {KTime::MinusInfinite() + tick, KTime(), end}) {
                curve->KeyAppendFast(key, 1.0f);
            }
            const double place = curve->KeyFind(time, nullptr);
            EXPECT_NE(std::floor(place), place);
            inserts ? curve->KeyInsert(time) : curve->KeyAdd(time);
            EXPECT_EQ(4, curve->KeyGetCount());
            EXPECT_EQ(time, curve->KeyGetTime(time < KTime() ? 1 : 2));
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

TEST_F(CurveEditing, KeysSetWithoutATestMakeWhatTheyAreTold)
{
    EditCheck edit(*mA);
    mA->KeySet(0, KTime(7), 2.0f, eInterpolationCustom, 0x8F00u | eTangentUser, 1.0f, -1.0f,
               0x7000000, 0.0f, 1.0f, -1.0f, 2.0f);
    EXPECT_EQ(0x3000F00u, mA->KeyGet(0).GetAttributes().mFlags);  // no custom type is there
    EXPECT_EQ(1.0f / 9999.0f, mA->KeyGetDataDouble(0, eDataRightWeight));
    EXPECT_EQ(9899.0f / 9999.0f, mA->KeyGetDataDouble(0, eDataNextLeftWeight));
    EXPECT_EQ(-1.0f, mA->KeyGetDataDouble(0, eDataRightVelocity));
    mA->KeySetTCB(0, KTime(8), 3.0f, 0.1f, 0.2f, 0.3f);
    EXPECT_EQ(kTcb, mA->KeyGet(0).GetAttributes().mFlags);
    EXPECT_EQ(0.3f, mA->KeyGetDataFloat(0, eDataTCBBias));
    EXPECT_EQ(0.0f, mA->KeyGetDataFloat(0, eDataNextLeftWeight));
    EXPECT_EQ((Heard{{0x810, 0, 0, 1},
                     {0x2010, 0, 0, 1},
                     {0x4010, 0, 0, 1},
                     {0xE010, 0, 0, 1},
                     {0x2010, 0, 0, 1},
                     {0x4010, 0, 0, 1}}),
              edit.Heard());
    EXPECT_EQ("", edit.Verify());
}

TEST_F(CurveEditing, ARemovedKeyLeavesTheLeftTangentBehindIt)
{
    for (const unsigned kind : {kAuto, kUser, kBroken, kAuto | eTangentBreak}) {
        for (int i = 0; i < 5; ++i) {
            mA->KeyClear();
            Fill(5, kind);
            mA->KeySetLeftTangeantWeight(4, 0.7f);
            const float slope = i < 4 ? mA->KeyGetLeftDerivative(i + 1) : 0.0f;
            const float parameter = i < 4 ? mA->KeyGetLeftAuto(i + 1, false) : 0.0f;
            EditCheck edit(*mA);
            EXPECT_TRUE(mA->KeyRemove(i));
            EXPECT_EQ("", edit.Verify());
            EXPECT_EQ(1u, edit.Heard().size());
            if (i > 0 && i < 4) {
                EXPECT_NEAR(i == 3 ? 0.7f : kGlissaDefaultWeight, mA->KeyGetLeftTangeantWeight(i),
                            1e-4f);
                EXPECT_EQ((kind & eTangentAuto) != 0 ? parameter : slope,
                          (kind & eTangentAuto) != 0 ? mA->KeyGetLeftAuto(i, false)
                                                     : mA->KeyGetLeftDerivative(i));
            }
        }
    }
    mA->KeyClear();
    Fill(3, kTcb);
    const GlissaKey before = mA->KeyGet(0);
    mA->KeyRemove(1);
    EXPECT_TRUE(before.GetAttributes() == mA->KeyGet(0).GetAttributes());
    EXPECT_FALSE(mA->KeyRemove(2) || mA->KeyRemove(-1));
    mA->KeyRemove(0);
    mA->KeyRemove(0);
    EXPECT_EQ(ValueOf(2), mA->GetValue());
    EXPECT_FALSE(mA->KeyRemove(0));
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

TEST_F(CurveEditing, DeleteGivesTheWholePagesBetweenBack)
{
    const struct
    {
        int keys, first, last, pages;
    } cases[] = {{126, 13, 112, 2},  // from the first page into the third
                 {126, 41, 84, 2},   {126, 42, 83, 3},   {126, 1, 125, 1}, {84, 10, 83, 1},
                 {84, 42, 83, 2},    {420, 20, 300, 4},  {420, 0, 1, 10},  {420, 1, 418, 2},
                 {3000, 0, 2990, 2}, {3000, 84, 2998, 4}};
    for (const auto& each : cases) {
        mA->KeyClear();
        mA->KeyShrink();
        Fill(each.keys, eInterpolationLinear);
        EXPECT_EQ("", CheckBooks({mA.get()}));  // the index of pages is complete from here on
        EditCheck edit(*mA);
        EXPECT_TRUE(mA->Delete(each.first, each.last));
        EXPECT_EQ("", edit.Verify());
        EXPECT_EQ("", CheckBooks({mA.get()}));
        EXPECT_EQ(each.pages, mA->Keys().LastPage() + 1) << each.keys << " " << each.last;
        for (int i = 0; i < mA->KeyGetCount(); ++i) {
            const int old = i < each.first ? i : i + each.last - each.first + 1;
            ASSERT_EQ(KTime::FromSeconds(old), mA->KeyGetTime(i));
        }
    }
}

}  // namespace
