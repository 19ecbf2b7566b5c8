// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace
{
constexpr int kSize = 64;

bool IsClean(const void* pBlock)
{
    const auto* bytes = static_cast<const char*>(pBlock);
    return std::all_of(bytes, bytes + kSize, [](char each) { return each == 0; });
}

TEST(MemoryBlockQueue, EveryStepKeepsTheBooks)
{
    GLISSA_SetFCurveRecordMemoryBlockCount(0);  // the queue of the process keeps out of the sum
    const unsigned start = GetRecordingMemory();
    const auto blocks = [start] { return static_cast<int>(GetRecordingMemory() - start) / kSize; };
    {
        KMemoryBlockQueue queue(kSize, 1);
        EXPECT_EQ(0, blocks());  // nothing is made ready before a file is new
        void* a = queue.GetRecycleMemoryBlock();
        void* b = queue.GetRecycleMemoryBlock();
        EXPECT_TRUE(IsClean(a) && IsClean(b));
        EXPECT_EQ(2, blocks());
        std::memset(a, 0xAA, kSize);
        queue.RecycleMemoryBlock(a);  // the one that is kept
        EXPECT_EQ(2, blocks());
        queue.RecycleMemoryBlock(b);
        EXPECT_EQ(1, blocks());
        EXPECT_EQ(a, queue.GetRecycleMemoryBlock());
        EXPECT_TRUE(IsClean(a));

        KGlobalNamedEvent::Call("FileNew");
        EXPECT_EQ(2, blocks());
        for (const auto& [threshold, expected] : {std::pair{3, 4}, {3, 4}, {1, 2}, {-5, 1}}) {
            queue.SetListThreshold(threshold);
            EXPECT_EQ(expected, blocks());
        }
        queue.FreeAllMemoryList();  // a block that is out stays
        EXPECT_EQ(1, blocks());
        queue.SetListThreshold(2);
        queue.RecycleMemoryBlock(a);
        queue.ValidateListThreshold();  // and the end of the queue frees
        EXPECT_EQ(2, blocks());
    }
    EXPECT_EQ(0, blocks());
}
}  // namespace
