// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/assert.h"
#include "corvekit/export.h"

#include <cstddef>
#include <new>

/// Memory blocks of one size, taken and given back in constant time.
///
/// Blocks are cut from chunks; one that comes back is the next to be handed out. Chunks stay with
/// the pool until it ends. A block is aligned for any type of its size. Takes no lock: one thread
/// at a time.
class CORVEKIT_API KMemoryPool
{
public:
    /// pBlockSize        bytes in a block, at least 1.
    /// pBlocksPerChunk   blocks that one request to the system brings, at least 1.
    /// pReserve          blocks that are made ready at once, rounded up to whole chunks.
    /// pFreeAtEnd        true: the memory goes with the pool, and blocks still out die with it.
    ///                   false: it stays when blocks are still out, for those that outlive it.
    KMemoryPool(std::size_t pBlockSize, int pBlocksPerChunk, int pReserve = 0,
                bool pFreeAtEnd = true);
    KMemoryPool(const KMemoryPool&) = delete;
    KMemoryPool& operator=(const KMemoryPool&) = delete;
    ~KMemoryPool();

    /// A block with undefined content. Throws std::bad_alloc.
    void* Allocate()
    {
        if (!mFree) {
            AddChunk();
        }
        Link* block = mFree;
        mFree = block->mNext;
        ++mUsedCount;
        return block;
    }
    /// Gives back a block of this pool. Null is ignored.
    void Free(void* pBlock)
    {
        if (pBlock) {
            CORVEKIT_ASSERT(mUsedCount > 0);
            mFree = ::new (pBlock) Link{mFree};
            --mUsedCount;
        }
    }

    /// Bytes from one block to the next: the block size, rounded up to the alignment.
    std::size_t GetBlockSize() const { return mBlockSize; }
    /// Blocks that are out.
    std::size_t GetUsedCount() const { return mUsedCount; }

private:
    struct Link
    {
        Link* mNext;
    };

    void AddChunk();

    Link* mFree = nullptr;
    Link* mChunks = nullptr;
    std::size_t mBlockSize;
    std::size_t mBlocksPerChunk;
    std::size_t mUsedCount = 0;
    bool mFreeAtEnd;
};
