// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/pool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace
{
TEST(KMemoryPool, BlocksAreAlignedDoNotOverlapAndAreReused)
{
    for (const std::size_t size : {1u, 8u, 20u, 36u, 48u}) {
        SCOPED_TRACE(size);
        KMemoryPool pool(size, 7, 5);
        std::vector<unsigned char*> blocks;
        for (unsigned char i = 0; i < 200; ++i) {
            auto* const block = static_cast<unsigned char*>(pool.Allocate());
            EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(block) % (size % 16 == 0 ? 16 : 8));
            std::memset(block, i, size);
            blocks.push_back(block);
        }
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            EXPECT_EQ(i, blocks[i][0]);
            EXPECT_EQ(i, blocks[i][size - 1]);
        }
        pool.Free(nullptr);
        pool.Free(blocks[0]);
        pool.Free(blocks[1]);
        EXPECT_EQ(198u, pool.GetUsedCount());
        EXPECT_EQ(blocks[1], pool.Allocate());
        EXPECT_EQ(blocks[0], pool.Allocate());
    }
}

TEST(KMemoryPool, ThrowsWhenTheSystemHasNoMemory)
{
    KMemoryPool pool(std::numeric_limits<std::size_t>::max() / 4, 1024);
    EXPECT_THROW(pool.Allocate(), std::bad_alloc);
    EXPECT_EQ(0u, pool.GetUsedCount());
}
}  // namespace
