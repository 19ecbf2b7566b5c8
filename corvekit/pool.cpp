// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/pool.h"

#include "corvekit/assert.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <utility>

namespace
{
// The head of a chunk has the link to the next one. The first block is aligned for any type.
constexpr std::size_t kChunkHead = alignof(std::max_align_t);
// Number of blocks in a full chain, which a thread takes at once. It has at most two chains.
constexpr int kBatch = 64;

// Protects the data of all pools outside the parts, the lists of parts, and the slots in use.
constinit std::mutex sLock;
constinit unsigned sTakenSlots = 0;
constinit thread_local bool tHasEnded = false;

// The distance of blocks. A free block has room for two links. The size of a type is a multiple of
// its alignment, so a multiple of the size of a link is sufficient for the alignment.
std::size_t StepOf(std::size_t pBlockSize)
{
    constexpr std::size_t kLink = sizeof(void*);
    return (std::max(pBlockSize, 2 * kLink) + kLink - 1) / kLink * kLink;
}

int TakeSlot(int pSlots)
{
    const std::lock_guard guard(sLock);
    int slot = 0;
    while (slot < pSlots - 1 && (sTakenSlots >> slot & 1u) != 0) {
        ++slot;
    }
    sTakenSlots |= slot < pSlots - 1 ? 1u << slot : 0u;
    return slot;
}
}  // namespace

constinit thread_local KMemoryPool::Part KMemoryPool::sParts[kSlots];

// Returns the blocks of a thread to all pools when it ends. Later calls, in destructors of other
// data of the thread, take the lock each time.
struct KMemoryPool::ThreadEnd
{
    ~ThreadEnd()
    {
        const std::lock_guard guard(sLock);
        tHasEnded = true;
        for (Part& part : sParts) {
            if (part.mPool) {
                part.mPool->Abandon(part);
            }
        }
    }
};

KMemoryPool::KMemoryPool(std::size_t pBlockSize, int pBlocksPerChunk, int pReserve, bool pFreeAtEnd)
    : mSlot(TakeSlot(kSlots)),
      mBlockSize(StepOf(pBlockSize)),
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
    const std::lock_guard guard(sLock);
    while (mParts) {
        Abandon(*mParts);
    }
    sTakenSlots &= mSlot < kSlots - 1 ? ~(1u << mSlot) : ~0u;
    if (!mFreeAtEnd && mTakenCount > 0) {
        return;
    }
    while (mChunks) {
        Link* chunk = mChunks;
        mChunks = chunk->mNext;
        std::free(chunk);
    }
}

std::size_t KMemoryPool::GetUsedCount() const
{
    const std::lock_guard guard(sLock);
    std::size_t count = mTakenCount;
    for (const Part* part = mParts; part; part = part->mNext) {
        count -= static_cast<std::size_t>(part->GetReady());
    }
    return count;
}

// Registers a part of this thread. False for a part without a reserve: that of a thread that ends,
// and that of the slot of several pools. The lock is held, here and in Abandon.
bool KMemoryPool::Adopt(Part& pPart)
{
    if (pPart.mPool) {
        return true;
    }
    if (tHasEnded || mSlot == kSlots - 1) {
        return false;
    }
    static thread_local ThreadEnd end;
    static_cast<void>(end);
    pPart.mPool = this;
    pPart.mLimit = kBatch;
    pPart.mNext = mParts;
    mParts = &pPart;
    return true;
}

// Takes the free blocks of a part and unregisters it.
void KMemoryPool::Abandon(Part& pPart)
{
    for (Link* chain : {pPart.mFree, pPart.mFullChain}) {
        while (chain) {
            Link* const block = chain;
            chain = block->mNext;
            block->mNext = mFree;
            mFree = block;
        }
    }
    mTakenCount -= static_cast<std::size_t>(pPart.GetReady());
    for (Part** link = &mParts; *link; link = &(*link)->mNext) {
        if (*link == &pPart) {
            *link = pPart.mNext;
            break;
        }
    }
    pPart.mFree = nullptr;
    pPart.mFullChain = nullptr;
    pPart.mReady = 0;
    pPart.mLimit = 0;
    pPart.mPool = nullptr;
    pPart.mNext = nullptr;
}

// Refills an empty part from its full chain, a chain of the pool, or single blocks.
void KMemoryPool::Refill(Part& pPart)
{
    if (pPart.mFullChain) {
        pPart.mFree = std::exchange(pPart.mFullChain, nullptr);
        pPart.mLimit = kBatch;
        return;
    }
    const std::lock_guard guard(sLock);
    const bool isRegistered = Adopt(pPart);
    int count = 0;
    if (isRegistered && mFullChains) {
        pPart.mFree = PopFullChain();
        count = kBatch;
    } else {
        if (!mFree && mFullChains) {
            mFree = PopFullChain();
        } else if (!mFree) {
            AddChunk();
        }
        Link** last = &pPart.mFree;
        for (; count < (isRegistered ? kBatch : 1) && mFree; ++count) {
            *last = mFree;
            last = &mFree->mNext;
            mFree = mFree->mNext;
        }
        *last = nullptr;
    }
    pPart.AddReady(count);
    mTakenCount += static_cast<std::size_t>(count);
}

// Starts an empty chain in a part whose chain is full. False for a part without a reserve.
bool KMemoryPool::MakeRoom(Part& pPart)
{
    if (pPart.GetReady() > kBatch || !pPart.mPool) {
        const std::lock_guard guard(sLock);
        if (!pPart.mPool) {
            return Adopt(pPart);
        }
        mFullChains = ::new (static_cast<void*>(pPart.mFullChain))
            FullChain{pPart.mFullChain->mNext, mFullChains};
        pPart.AddReady(-kBatch);
        mTakenCount -= kBatch;
    }
    pPart.mFullChain = std::exchange(pPart.mFree, nullptr);
    pPart.mLimit = 2 * kBatch;
    return true;
}

KMemoryPool::Link* KMemoryPool::PopFullChain()
{
    FullChain* const chain = std::exchange(mFullChains, mFullChains->mNextChain);
    return ::new (static_cast<void*>(chain)) Link{chain->mNext};
}

void KMemoryPool::FreeLocked(void* pBlock)
{
    const std::lock_guard guard(sLock);
    mFree = ::new (pBlock) Link{mFree};
    --mTakenCount;
}

void KMemoryPool::AddChunk()
{
    CORVEKIT_ASSERT(!mFree || mTakenCount == 0);
    constexpr std::size_t kGreatest = std::numeric_limits<std::size_t>::max() - kChunkHead;
    void* const memory = mBlocksPerChunk <= kGreatest / mBlockSize
                             ? std::malloc(kChunkHead + mBlocksPerChunk * mBlockSize)
                             : nullptr;
    if (!memory) {
        throw std::bad_alloc();
    }
    mChunks = ::new (memory) Link{mChunks};
    // Linked from the last block back, so that blocks are allocated in order of address.
    char* first = static_cast<char*>(memory) + kChunkHead;
    for (std::size_t i = mBlocksPerChunk; i-- > 0;) {
        mFree = ::new (static_cast<void*>(first + i * mBlockSize)) Link{mFree};
    }
}
