// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace
{
constexpr int kBlockSize = 1024;
constexpr int kListThreshold = 1;

std::atomic<unsigned> sRecordingMemory = 0;

KMemoryBlockQueue sQueue(kBlockSize, kListThreshold);

void* AllocateZeroed(std::size_t pSize)
{
    void* const memory = std::calloc(1, pSize);
    if (!memory) {
        throw std::bad_alloc();
    }
    return memory;
}

bool IsBlockSize(unsigned long pSize)
{
    return pSize == static_cast<unsigned long>(sQueue.GetMemoryBlockSize());
}
}  // namespace

void* WatchMalloc(unsigned long pSize)
{
    if (IsBlockSize(pSize)) {
        return sQueue.GetRecycleMemoryBlock();
    }
    void* const memory = AllocateZeroed(pSize);
    sRecordingMemory += static_cast<unsigned>(pSize);
    return memory;
}

void WatchFree(void* pMemory, unsigned long pSize)
{
    if (!pMemory) {
        return;
    }
    if (IsBlockSize(pSize)) {
        sQueue.RecycleMemoryBlock(pMemory);
        return;
    }
    CORVEKIT_ASSERT(sRecordingMemory >= pSize);
    sRecordingMemory -= static_cast<unsigned>(pSize);
    std::free(pMemory);
}

unsigned GetRecordingMemory()
{
    return sRecordingMemory;
}

int GLISSA_GetFCurveMemoryBlockSize()
{
    return sQueue.GetMemoryBlockSize();
}

void GLISSA_SetFCurveRecordMemoryBlockCount(int pCount)
{
    sQueue.SetListThreshold(pCount);
}

void GLISSA_ClearMemoryBlockQueue()
{
    sQueue.FreeAllMemoryList();
}

// What a free block holds in its first bytes; the rest is zero.
struct KMemoryBlockQueue::Node
{
    Node* mNext;
};

void KMemoryBlockQueue::Ring::Push(void* pBlock)
{
    CORVEKIT_ASSERT(pBlock);
    const std::lock_guard guard(mLock);
    Node* node = new (pBlock) Node;
    if (mLast) {
        node->mNext = mLast->mNext;
        mLast->mNext = node;
    } else {
        node->mNext = node;
    }
    mLast = node;
}

void* KMemoryBlockQueue::Ring::Pop()
{
    const std::lock_guard guard(mLock);
    if (!mLast) {
        return nullptr;
    }
    Node* first = mLast->mNext;
    if (first == mLast) {
        mLast = nullptr;
    } else {
        mLast->mNext = first->mNext;
    }
    first->mNext = nullptr;
    return first;
}

KMemoryBlockQueue::KMemoryBlockQueue(int pBlockSize, int pListThreshold)
    : mListThreshold(pListThreshold), mBlockSize(pBlockSize)
{
    CORVEKIT_ASSERT(pBlockSize > 0);
    mFileNewEvent.Register("FileNew", this, &KMemoryBlockQueue::OnFileNewEvent);
}

KMemoryBlockQueue::~KMemoryBlockQueue()
{
    mFileNewEvent.Unregister();
    if (mUsedCount <= 0) {
        FreeAllMemoryList();
    }
}

IObject* KMemoryBlockQueue::IQuery(unsigned long, int)
{
    return nullptr;
}

void KMemoryBlockQueue::Destroy(int)
{
    delete this;
}

// A new zero-filled block, accounted for.
void* KMemoryBlockQueue::NewBlock()
{
    void* const block =
        AllocateZeroed(std::max(static_cast<std::size_t>(mBlockSize), sizeof(Node)));
    sRecordingMemory += static_cast<unsigned>(mBlockSize);
    return block;
}

void KMemoryBlockQueue::FreeBlock(void* pBlock)
{
    CORVEKIT_ASSERT(pBlock && sRecordingMemory >= static_cast<unsigned>(mBlockSize));
    sRecordingMemory -= static_cast<unsigned>(mBlockSize);
    std::free(pBlock);
}

void* KMemoryBlockQueue::GetRecycleMemoryBlock()
{
    void* block = mFreeCount > 0 ? mFree.Pop() : nullptr;
    if (block) {
        --mFreeCount;
    } else {
        block = NewBlock();
    }
    ++mUsedCount;
    return block;
}

void KMemoryBlockQueue::RecycleMemoryBlock(void* pBlock)
{
    if (mUsedCount > 0) {
        --mUsedCount;
    }
    // Counted before it is there, so that two threads do not keep one too many.
    if (mFreeCount >= mListThreshold) {
        FreeBlock(pBlock);
    } else if (mFreeCount++ >= mListThreshold) {
        --mFreeCount;
        FreeBlock(pBlock);
    } else {
        std::memset(pBlock, 0, static_cast<std::size_t>(mBlockSize));
        mFree.Push(pBlock);
    }
}

void KMemoryBlockQueue::SetListThreshold(int pCount)
{
    mListThreshold = pCount;
    if (mFreeCount < pCount) {
        ValidateListThreshold();
        return;
    }
    while (mFreeCount > pCount) {
        void* const block = mFree.Pop();
        if (!block) {
            break;
        }
        FreeBlock(block);
        --mFreeCount;
    }
}

void KMemoryBlockQueue::ValidateListThreshold()
{
    while (mFreeCount < mListThreshold) {
        mFree.Push(NewBlock());
        ++mFreeCount;
    }
}

void KMemoryBlockQueue::FreeAllMemoryList()
{
    while (void* const block = mFree.Pop()) {
        FreeBlock(block);
        --mFreeCount;
    }
    // A block that a curve still holds against the rule is not freed and stays counted.
    mUsedCount = 0;
}

void KMemoryBlockQueue::OnFileNewEvent(IRegister*, KEventBase*)
{
    SetListThreshold(mListThreshold);
}
