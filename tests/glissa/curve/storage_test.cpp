// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/curve_test.h"

#include <tuple>

namespace
{
// No free block is kept, so that every page counts.
class Storage : public testing::Test
{
protected:
    void SetUp() override
    {
        GLISSA_SetFCurveRecordMemoryBlockCount(0);
        mStart = GetRecordingMemory();
    }
    void TearDown() override
    {
        EXPECT_EQ(mStart, GetRecordingMemory());
        EXPECT_EQ(1u, GlissaDefaultKeyAttr->mReferenceCount);
        EXPECT_EQ(1u, GlissaKeyAttrPool.GetUsedCount());
    }
    void ExpectRoom(const Glissa& pCurve, int pPages, int pEntries) const
    {
        EXPECT_EQ(pPages - 1, pCurve.Keys().LastPage());
        EXPECT_EQ(pEntries * 42, pCurve.Keys().Capacity());
        EXPECT_EQ(pEntries > 0, pCurve.GetPriFCurveKeysList() != nullptr);
        EXPECT_EQ(pPages * 1024 + pEntries * 8, static_cast<int>(GetRecordingMemory() - mStart));
    }

    unsigned mStart = 0;
};

TEST_F(Storage, APageHoldsFortyTwoKeysAndTheTableGrowsByThirtyTwoPages)
{
    // A table of 128 entries is itself a block of the queue.
    using Row = std::tuple<int, int, int>;
    for (const auto& [keys, pages, entries] :
         {Row{-3, 0, 0}, Row{0, 0, 0}, Row{1, 1, 32}, Row{42, 1, 32}, Row{43, 2, 32},
          Row{1343, 32, 32}, Row{1344, 32, 32}, Row{1345, 33, 64}, Row{2689, 65, 96},
          Row{4032, 96, 96}, Row{4033, 97, 128}}) {
        SCOPED_TRACE(keys);
        const CurveHandle appended = PlainCurve(keys);
        ExpectRoom(*appended, pages, entries);
        for (int i = 0; i < keys; ++i) {
            ASSERT_EQ(Seconds(i), appended->KeyGetTime(i));
            ASSERT_EQ(static_cast<float>(i), appended->KeyGetValue(i));
            ASSERT_EQ(appended->GetPriFCurveKeysList()[i / 42] + i % 42,
                      appended->InternalPriKeyGetPtr(i));
        }
        appended->KeyClear();
        ExpectRoom(*appended, 0, 0);

        const CurveHandle reserved(GlissaCreate());
        reserved->ResizeKeyBuffer(keys, false);
        ExpectRoom(*reserved, pages, entries);
        EXPECT_EQ(0, reserved->KeyGetCount());
        reserved->KeyShrink();
        ExpectRoom(*reserved, 0, 0);
        EXPECT_EQ(0, reserved->KeyAppendFast(KTime(), 1.0f));
    }
}

TEST_F(Storage, ShrinkingFreesPagesAndTableSpace)
{
    // In the last row a 33rd entry would not fit the new table.
    using Row = std::tuple<int, int, int, int>;
    for (const auto& [room, keys, pages, entries] :
         {Row{1344, 43, 2, 32}, Row{2688, 1344, 32, 64}, Row{8000, 4033, 97, 128},
          Row{4033, 1344, 32, 32}}) {
        SCOPED_TRACE(testing::Message() << room << ' ' << keys);
        const CurveHandle curve = PlainCurve(keys);
        curve->InitBuffers(room, false);
        curve->KeyShrink();
        ExpectRoom(*curve, pages, entries);
    }
}

TEST_F(Storage, OnlyTheOutermostEndOfALargeEnoughChangeMerges)
{
    const auto blocks = [] { return static_cast<int>(GlissaKeyAttrPool.GetUsedCount()); };
    using Row = std::tuple<int, int, bool, int, int, bool>;
    for (const auto& [keys, type, enabled, threshold, brackets, merges] :
         {Row{17, 0x8010, true, 16, 1, true}, Row{17, 0x810, true, 16, 2, true},
          Row{17, 0x7010, true, 16, 1, false}, Row{16, 0x8010, true, 16, 1, false},
          Row{17, 0x8010, false, 16, 1, false}, Row{3, 0x8010, true, 0, 1, true},
          Row{2, 0x8010, true, 0, 1, false}}) {
        SCOPED_TRACE(testing::Message() << keys << ' ' << std::hex << type);
        CurveHandle curve = PlainCurve(keys);
        for (int i = 0; i < keys; ++i) {
            curve->KeyAttrSeparate(i);
        }
        curve->KeySetOptimizeEnable(enabled);
        if (threshold != 16) {  // the default
            curve->KeySetOptimizeThreshold(threshold);
        }
        for (int i = 0; i < brackets; ++i) {
            curve->KeyModifyBegin();
        }
        curve->CallbackAddEvent(type, 1);
        for (int i = 0; i < brackets; ++i) {
            EXPECT_EQ(keys + 1, blocks());
            EXPECT_FALSE(curve->IsCallbackEnabled());
            curve->KeyModifyEnd();
        }
        EXPECT_TRUE(curve->IsCallbackEnabled());
        // From the key before the change to the one behind it: they take the block of key 0.
        EXPECT_EQ(keys + 1 - (merges ? 2 : 0), blocks());
    }
}

TEST_F(Storage, ABlockThatEqualsTheDefaultOneIsGivenBack)
{
    const CurveHandle curve = PlainCurve(3);
    curve->KeyAttrSet(0, {{eInterpolationLinear, {}}, 0});
    curve->KeyAttrSeparate(1);
    curve->KeyAttrShrink(0, 9);
    EXPECT_EQ(GlissaDefaultKeyAttr, curve->InternalPriKeyAttrGetPtr(1));
    EXPECT_EQ(2u, GlissaKeyAttrPool.GetUsedCount());
}
}  // namespace
