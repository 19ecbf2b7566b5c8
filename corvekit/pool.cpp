// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/pool.h"

#include "corvekit/assert.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace
{
// The head of a chunk links it to the next one and keeps the first block aligned for any type.
constexpr std::size_t kChunkHead = alignof(std::max_align_t);

// A free block holds a link, so none is smaller than one. A type's size is a multiple of its
// alignment: rounding to a link's size keeps every block as aligned as its content can ask.
std::size_t StepOf(std::size_t pBlockSize)
{
    constexpr std::size_t link = sizeof(void*);
    return (std::max(pBlockSize, link) + link - 1) / link * link;
}
}  // namespace

KMemoryPool::KMemoryPool(std::size_t pBlockSize, int pBlocksPerChunk, int pReserve, bool pFreeAtEnd)
    : mBlockSize(StepOf(pBlockSize)),
      mBlocksPerChunk(static_cast<std::size_t>(std::max(pBlocksPerChunk, 1))),
      mFreeAtEnd(pFreeAtEnd)
{
    CORVEKIT_ASSERT(pBlockSize > 0 && pBlocksPerChunk > 0 && pReserve >= 0);
    const std::size_t reserve = static_cast<std::size_t>(std::max(pReserve, 0));
    for (std::size_t ready = 0; ready < reserve; ready += mBlocksPerChunk) {
        AddChunk();
    }
}

KMemoryPool::~KMemoryPool()
{
    if (!mFreeAtEnd && mUsedCount > 0) {
        return;
    }
    while (mChunks) {
        Link* chunk = mChunks;
        mChunks = chunk->mNext;
        std::free(chunk);
    }
}

void KMemoryPool::AddChunk()
{
    CORVEKIT_ASSERT(!mFree || mUsedCount == 0);
    constexpr std::size_t greatest = std::numeric_limits<std::size_t>::max() - kChunkHead;
    void* const memory = mBlocksPerChunk <= greatest / mBlockSize
                             ? std::malloc(kChunkHead + mBlocksPerChunk * mBlockSize)
                             : nullptr;
    if (!memory) {
        throw std::bad_alloc();
    }
    mChunks = ::new (memory) Link{mChunks};
    // Linked from the last block back, so that blocks are handed out in order of address.
    char* first = static_cast<char*>(memory) + kChunkHead;
    for (std::size_t i = mBlocksPerChunk; i-- > 0;) {
        mFree = ::new (static_cast<void*>(first + i * mBlockSize)) Link{mFree};
    }
}
