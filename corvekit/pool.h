// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/assert.h"
#include "corvekit/export.h"

#include <atomic>
#include <cstddef>
#include <new>

/// Memory blocks of one size, allocated and freed in constant time.
///
/// Blocks are parts of chunks, which are freed with the pool. The block freed last is allocated
/// next. A block is aligned for any type of its size.
///
/// Any thread may allocate and free blocks at any time, also those of other threads. Each thread
/// has a reserve of free blocks and takes a lock once for 64 of them. No thread may use the pool
/// during its construction and destruction.
class CORVEKIT_API KMemoryPool
{
public:
    /// pBlockSize        bytes in a block, at least 1.
    /// pBlocksPerChunk   blocks in a chunk, at least 1.
    /// pReserve          blocks allocated by the constructor, rounded up to whole chunks.
    /// pFreeAtEnd        true: the destructor frees all memory, also of blocks in use.
    ///                   false: it frees no memory if blocks are in use, as they outlive the pool.
    KMemoryPool(std::size_t pBlockSize, int pBlocksPerChunk, int pReserve = 0,
                bool pFreeAtEnd = true);
    KMemoryPool(const KMemoryPool&) = delete;
    KMemoryPool& operator=(const KMemoryPool&) = delete;
    ~KMemoryPool();

    /// A block with undefined content. Throws std::bad_alloc.
    void* Allocate()
    {
        Part& part = sParts[mSlot];
        if (!part.mFree) [[unlikely]] {
            Refill(part);
        }
        Link* block = part.mFree;
        part.mFree = block->mNext;
        part.AddReady(-1);
        return block;
    }
    /// Frees a block of this pool. Null is ignored.
    void Free(void* pBlock)
    {
        if (pBlock) {
            Part& part = sParts[mSlot];
            if (part.GetReady() == part.mLimit && !MakeRoom(part)) [[unlikely]] {
                FreeLocked(pBlock);
                return;
            }
            part.mFree = ::new (pBlock) Link{part.mFree};
            part.AddReady(1);
        }
    }

    /// Bytes from one block to the next: the block size, rounded up to the alignment.
    std::size_t GetBlockSize() const { return mBlockSize; }
    /// Number of blocks in use, of all threads.
    std::size_t GetUsedCount() const;

private:
    // The content of a free block, and of the first block of a full chain of the pool.
    struct Link
    {
        Link* mNext;
    };
    struct FullChain
    {
        Link* mNext;
        FullChain* mNextChain;
    };

    // The reserve of a thread: a chain for allocation and freeing, and a full chain. All zero
    // before its first use.
    struct Part
    {
        int GetReady() const { return mReady.load(std::memory_order_relaxed); }
        // Changed only by the thread of the part; GetUsedCount reads it on any thread.
        void AddReady(int pCount) { mReady.store(GetReady() + pCount, std::memory_order_relaxed); }

        Link* mFree = nullptr;
        std::atomic<int> mReady{0};  // number of blocks in both chains
        int mLimit = 0;              // number of blocks when the first chain is full
        Link* mFullChain = nullptr;
        KMemoryPool* mPool = nullptr;
        Part* mNext = nullptr;
    };
    struct ThreadEnd;

    static constexpr int kSlots = 4;  // the last one is for all further pools, which always lock

    bool Adopt(Part& pPart);
    void Abandon(Part& pPart);
    void Refill(Part& pPart);
    bool MakeRoom(Part& pPart);
    void FreeLocked(void* pBlock);
    Link* PopFullChain();
    void AddChunk();

    // Data of the thread, accessible without a function call.
    [[gnu::tls_model("initial-exec")]] static constinit thread_local Part sParts[kSlots];

    Link* mFree = nullptr;  // single blocks
    FullChain* mFullChains = nullptr;
    Link* mChunks = nullptr;
    Part* mParts = nullptr;  // of all threads that have used the pool
    int mSlot;
    std::size_t mBlockSize;
    std::size_t mBlocksPerChunk;
    std::size_t mTakenCount = 0;  // blocks in use or in a part
    bool mFreeAtEnd;
};
