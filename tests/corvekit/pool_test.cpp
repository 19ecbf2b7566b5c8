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
TEST(KMemoryPool, BlocksDoNotOverlapAndAreAlignedForTheirSize)
{
    for (const std::size_t size : {1u, 8u, 20u, 36u, 48u}) {
        SCOPED_TRACE(size);
        KMemoryPool pool(size, 7, 0, true);
        std::vector<unsigned char*> blocks;
        for (unsigned char i = 0; i < 100; ++i) {
            auto* block = static_cast<unsigned char*>(pool.Allocate());
            ASSERT_NE(nullptr, block);
            const std::uintptr_t alignment = size % 16 == 0 ? 16 : 8;
            EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(block) % alignment);
            std::memset(block, i, size);
            blocks.push_back(block);
        }
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            EXPECT_EQ(i, blocks[i][0]);
            EXPECT_EQ(i, blocks[i][size - 1]);
        }
    }
}

TEST(KMemoryPool, ABlockThatComesBackIsTheNextOneOut)
{
    KMemoryPool pool(32, 1024, 5, true);
    void* first = pool.Allocate();
    void* second = pool.Allocate();
    EXPECT_EQ(2u, pool.GetUsedCount());
    pool.Free(first);
    pool.Free(nullptr);
    EXPECT_EQ(1u, pool.GetUsedCount());
    EXPECT_EQ(first, pool.Allocate());
    pool.Free(second);
    pool.Free(first);
    EXPECT_EQ(first, pool.Allocate());
    EXPECT_EQ(second, pool.Allocate());
}

TEST(KMemoryPool, RefusesWhatTheMachineDoesNotHave)
{
    KMemoryPool pool(std::numeric_limits<std::size_t>::max() / 4, 1024);
    EXPECT_THROW(pool.Allocate(), std::bad_alloc);
    EXPECT_EQ(0u, pool.GetUsedCount());
}
}  // namespace
