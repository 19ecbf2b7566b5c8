// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/assert.h"
#include "corvekit/export.h"

#include <atomic>
#include <cstddef>
#include <new>

/// Memory blocks of one size, taken and given back in constant time.
///
/// Blocks are cut from chunks; one that comes back is the next to be handed out. Chunks stay with
/// the pool until it ends. A block is aligned for any type of its size.
///
/// Any thread may take and give back at any time, blocks of other threads too. Each thread keeps
/// some free blocks of its own and takes a lock for some dozens of them at once. No thread uses a
/// pool while it is made or ends.
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
        Part& part = sParts[mSlot];
        if (!part.mFree) [[unlikely]] {
            Refill(part);
        }
        Link* block = part.mFree;
        part.mFree = block->mNext;
        part.AddReady(-1);
        return block;
    }
    /// Gives back a block of this pool. Null is ignored.
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
    /// Blocks that are out, of all threads.
    std::size_t GetUsedCount() const;

private:
    // What a free block holds, and the first block of a full chain that the pool keeps.
    struct Link
    {
        Link* mNext;
    };
    struct FullChain
    {
        Link* mNext;
        FullChain* mNextChain;
    };

    // The free blocks that a thread keeps: a chain to take from and give to, and a full one. All
    // zero, the pool does not know it yet.
    struct Part
    {
        int GetReady() const { return mReady.load(std::memory_order_relaxed); }
        // Only the thread of the part changes the number; GetUsedCount reads it on any thread.
        void AddReady(int pCount) { mReady.store(GetReady() + pCount, std::memory_order_relaxed); }

        Link* mFree = nullptr;
        std::atomic<int> mReady{0};  // how many blocks, of both chains
        int mLimit = 0;              // how many there are when the chain is full
        Link* mFullChain = nullptr;
        KMemoryPool* mPool = nullptr;
        Part* mNext = nullptr;
    };
    struct ThreadEnd;

    static constexpr int kSlots = 4;  // the last one is for pools beyond that number: always locked

    bool Adopt(Part& pPart);
    void Abandon(Part& pPart);
    void Refill(Part& pPart);
    bool MakeRoom(Part& pPart);
    void FreeLocked(void* pBlock);
    Link* PopFullChain();
    void AddChunk();

    // Plain data of the thread, reached without a call.
    [[gnu::tls_model("initial-exec")]] static constinit thread_local Part sParts[kSlots];

    Link* mFree = nullptr;  // one by one
    FullChain* mFullChains = nullptr;
    Link* mChunks = nullptr;
    Part* mParts = nullptr;  // of the threads that have used the pool
    int mSlot;
    std::size_t mBlockSize;
    std::size_t mBlocksPerChunk;
    std::size_t mTakenCount = 0;  // blocks that are out or in a part
    bool mFreeAtEnd;
};
