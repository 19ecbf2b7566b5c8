// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/curve.h"
#include "tests/support/museum.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace
{
KPriFCurveKeyAttr Linear(float pSlope = 0.0f)
{
    return {{eInterpolationLinear, {pSlope, 0.0f, 0.0f, 0.0f}}, 77};
}

using Posted = std::vector<std::array<int, 3>>;  // type, first key, count of each event

// Two curves, whose blocks are counted by hand after every test.
class Attributes : public testing::Test
{
protected:
    void TearDown() override
    {
        std::map<const KPriFCurveKeyAttr*, std::uint32_t> uses = {{GlissaDefaultKeyAttr, 1}};
        for (Glissa* curve : {mA.get(), mB.get()}) {
            for (int i = 0; i < curve->KeyGetCount(); ++i) {
                ++uses[curve->InternalPriKeyAttrGetPtr(i)];
            }
        }
        EXPECT_EQ(uses.size(), GlissaKeyAttrPool.GetUsedCount());
        for (const auto& [block, count] : uses) {
            EXPECT_EQ(count, block->mReferenceCount);
        }
        mA.reset();
        mB.reset();
        EXPECT_EQ(1u, GlissaKeyAttrPool.GetUsedCount());
        EXPECT_EQ(1u, GlissaDefaultKeyAttr->mReferenceCount);
    }
    static void Append(Glissa& pCurve, int pKeys)
    {
        for (int i = 0; i < pKeys; ++i) {
            pCurve.KeyAppendFast(KTime(pCurve.KeyGetCount()), 0.0f);
        }
    }
    Posted mPosted;  // outlives the curves, which post at their end
    CurveHandle mA = CurveHandle(GlissaCreate());
    CurveHandle mB = CurveHandle(GlissaCreate());
};

TEST_F(Attributes, WhatOneCurveChangesStaysOutOfAnother)
{
    Append(*mA, 2);
    Append(*mB, 2);
    mA->KeyAttrSet(0, Linear(1.0f));
    // A key of the second curve takes the block of the first one.
    KPriFCurveKeyAttr* const shared = mA->InternalPriKeyAttrGetPtr(0);
    --GlissaDefaultKeyAttr->mReferenceCount;
    mB->InternalPriKeyGetPtr(1)->mAttribute = shared;
    ++shared->mReferenceCount;
    mA->KeyAttrSet(0, Linear(2.0f));
    EXPECT_EQ(shared, mB->InternalPriKeyAttrGetPtr(1));
    EXPECT_EQ(1.0f, mB->KeyGetDataFloat(1, eDataRightSlope));
    EXPECT_EQ(2.0f, mA->KeyGetDataFloat(0, eDataRightSlope));
    mB->KeyAttrSet(1, Linear(3.0f));  // alone now: in place
    EXPECT_EQ(shared, mB->InternalPriKeyAttrGetPtr(1));

    const int id = mA->GetUpdateId();
    mA->KeyAttrSeparate(1);
    KPriFCurveKeyAttr* const own = mA->InternalPriKeyAttrGetPtr(1);
    EXPECT_NE(GlissaDefaultKeyAttr, own);
    EXPECT_TRUE(*own == *GlissaDefaultKeyAttr);
    mA->KeyAttrSeparateCheck(1);
    EXPECT_EQ(own, mA->InternalPriKeyAttrGetPtr(1));
    EXPECT_EQ(id, mA->GetUpdateId());
}

TEST_F(Attributes, SettingThemPostsWhatHappened)
{
    Append(*mA, 3);
    mA->KeyAttrSet(2, Linear());
    mA->CallbackRegister(
        [](Glissa*, GlissaEvent* pEvent, void* pPosted) {
            static_cast<Posted*>(pPosted)->push_back(
                {pEvent->GetType(), pEvent->GetFirstKey(), pEvent->GetEventCount()});
        },
        &mPosted);
    const KPriFCurveKeyAttr broken = Linear(std::numeric_limits<float>::quiet_NaN());
    const KPriFCurveKeyAttr* const own = mA->InternalPriKeyAttrGetPtr(2);
    // The same block, an equal one, one that equals nothing; then at and past the end.
    using Row = std::tuple<int, const KPriFCurveKeyAttr*, int, Posted>;
    for (const auto& [key, attribute, count, expected] :
         {Row{0, GlissaDefaultKeyAttr, 3, {}}, Row{2, own, 3, {}}, Row{1, own, 3, {{0xE010, 1, 1}}},
          Row{1, own, 3, {}}, Row{1, &broken, 3, {{0xE010, 1, 1}}},
          Row{1, &broken, 3, {{0xE010, 1, 1}}}, Row{3, own, 4, {{0x810, 3, 1}}},
          Row{7, own, 8, {{0x810, 4, 1}, {0x810, 7, 1}}},
          Row{1344, GlissaDefaultKeyAttr, 1345, {{0x810, 8, 1}, {0x810, 1344, 1}}}}) {
        SCOPED_TRACE(key);
        mPosted.clear();
        const int id = mA->GetUpdateId();
        mA->KeyAttrSet(key, *attribute);
        EXPECT_EQ(count, mA->KeyGetCount());
        EXPECT_EQ(expected, mPosted);
        EXPECT_EQ(id + static_cast<int>(expected.size()), mA->GetUpdateId());
        EXPECT_EQ(attribute->mFlags, mA->InternalPriKeyAttrGetPtr(key)->mFlags);
    }
    EXPECT_EQ(GlissaDefaultKeyAttr, mA->InternalPriKeyAttrGetPtr(5));
    EXPECT_EQ(GlissaDefaultKeyAttr, mA->InternalPriKeyAttrGetPtr(1343));
}

TEST_F(Attributes, EqualNeighboursMerge)
{
    // Kinds of block: d the default one; e equal to it, a and b linear, n with a NaN, each a block
    // of the key's own. Afterwards the same digit is the same block, - the default one.
    using Row = std::tuple<std::string, int, int, std::string>;
    for (const auto& [kinds, first, last, expected] :
         {Row{"aaaa", 0, 2, "0000"}, Row{"aaaa", -9, 99, "0000"}, Row{"aaaa", 1, 1, "0113"},
          Row{"aaaa", 2, 1, "0123"}, Row{"aabaa", 0, 9, "00233"}, Row{"eeee", 0, 9, "0000"},
          Row{"aeae", 0, 9, "0-2-"}, Row{"deed", 0, 9, "----"}, Row{"edee", 0, 9, "0---"},
          Row{"nnnn", 0, 9, "0123"}, Row{"a", 0, 9, "0"}, Row{"ab", 0, 9, "01"}}) {
        SCOPED_TRACE(kinds);
        mA = CurveHandle(GlissaCreate());
        Append(*mA, static_cast<int>(kinds.size()));
        std::map<const KPriFCurveKeyAttr*, char> names = {{GlissaDefaultKeyAttr, '-'}};
        for (int i = 0; i < mA->KeyGetCount(); ++i) {
            const char kind = kinds[static_cast<std::size_t>(i)];
            if (kind == 'e') {
                mA->KeyAttrSeparate(i);
            } else if (kind != 'd') {
                mA->KeyAttrSet(i, Linear(kind == 'n' ? std::numeric_limits<float>::quiet_NaN()
                                                     : static_cast<float>(kind)));
            }
            names.emplace(mA->InternalPriKeyAttrGetPtr(i), static_cast<char>('0' + i));
        }
        const int id = mA->GetUpdateId();
        mA->KeyAttrShrink(first, last);
        std::string merged;
        for (int i = 0; i < mA->KeyGetCount(); ++i) {
            merged += names[mA->InternalPriKeyAttrGetPtr(i)];
        }
        EXPECT_EQ(expected, merged);
        EXPECT_EQ(id, mA->GetUpdateId());
    }
}
}  // namespace
