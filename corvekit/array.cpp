// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/array.h"

#include "corvekit/assert.h"

#include <algorithm>
#include <cstdint>
#include <limits>

void* KBaseAllocator::KRealloc(void* pBlock, std::size_t pSize)
{
    // Some platforms return null for a size of 0.
    void* const block = std::realloc(pBlock, std::max<std::size_t>(pSize, 1));
    if (!block) {
        throw std::bad_alloc();
    }
    return block;
}

void KBaseAllocator::KFree(void* pBlock)
{
    std::free(pBlock);
}

void KArrayHelper::Clear(void*& pBlock, int& pCount, int& pCapacity)
{
    KFree(pBlock);
    pBlock = nullptr;
    pCount = 0;
    pCapacity = 0;
}

int KArrayHelper::GetNextArraySize(int pCapacity, int pNeeded, int pBlockCount,
                                   std::size_t pItemSize)
{
    CORVEKIT_ASSERT(pCapacity >= 0 && pNeeded >= 0);
    CORVEKIT_ASSERT(pBlockCount > 0 && pItemSize > 0);
    const std::int64_t block = std::max(pBlockCount, 1);
    const std::int64_t halfMore = static_cast<std::int64_t>(pCapacity) + pCapacity / 2;
    std::int64_t size = std::max<std::int64_t>(pNeeded, halfMore);
    size = (size + block - 1) / block * block;
    const std::int64_t addressable = static_cast<std::int64_t>(
        std::numeric_limits<std::ptrdiff_t>::max() / std::max<std::size_t>(pItemSize, 1));
    size = std::min<std::int64_t>({size, std::numeric_limits<int>::max(), addressable});
    return size >= pNeeded ? static_cast<int>(size) : -1;
}
