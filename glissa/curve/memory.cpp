// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/memory.h"

#include <cstdlib>
#include <cstring>
#include <utility>

namespace
{
constexpr int kBlockSize = 1024;
constexpr int kListThreshold = 1;

unsigned sRecordingMemory = 0;

KMemoryBlockQueue sQueue(kBlockSize, kListThreshold);

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
    sRecordingMemory += static_cast<unsigned>(pSize);
    return std::calloc(1, pSize);
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

struct KMemoryBlockQueue::Node
{
    Node* mNext;
    void* mBlock;
};

void KMemoryBlockQueue::Ring::Push(Node* pNode)
{
    const std::lock_guard guard(mLock);
    if (mLast) {
        pNode->mNext = mLast->mNext;
        mLast->mNext = pNode;
    } else {
        pNode->mNext = pNode;
    }
    mLast = pNode;
}

KMemoryBlockQueue::Node* KMemoryBlockQueue::Ring::Pop()
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
    return first;
}

bool KMemoryBlockQueue::Ring::IsEmpty()
{
    const std::lock_guard guard(mLock);
    return !mLast;
}

KMemoryBlockQueue::KMemoryBlockQueue(int pBlockSize, int pListThreshold)
    : mListThreshold(pListThreshold), mBlockSize(pBlockSize)
{
    mFileNewEvent.Register("FileNew", this, &KMemoryBlockQueue::OnFileNewEvent);
}

KMemoryBlockQueue::~KMemoryBlockQueue()
{
    mFileNewEvent.Unregister();
    if (mUsed.IsEmpty()) {
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

// A node with a new zero-filled block, accounted for.
KMemoryBlockQueue::Node* KMemoryBlockQueue::NewNode()
{
    sRecordingMemory += static_cast<unsigned>(mBlockSize);
    return new Node{nullptr, std::calloc(1, static_cast<std::size_t>(mBlockSize))};
}

void KMemoryBlockQueue::DeleteNode(Node* pNode)
{
    sRecordingMemory -= static_cast<unsigned>(mBlockSize);
    std::free(pNode->mBlock);
    delete pNode;
}

void* KMemoryBlockQueue::GetRecycleMemoryBlock()
{
    Node* node = nullptr;
    if (mFreeCount > 0) {
        node = mFree.Pop();
        if (node) {
            --mFreeCount;
        }
    }
    if (!node) {
        node = NewNode();
    }
    // Blocks come back in any order, so a node on the used list stands for one block that is out,
    // not for this one: it holds none until a block comes back.
    void* block = std::exchange(node->mBlock, nullptr);
    mUsed.Push(node);
    return block;
}

void KMemoryBlockQueue::RecycleMemoryBlock(void* pBlock)
{
    std::memset(pBlock, 0, static_cast<std::size_t>(mBlockSize));
    const bool keep = mFreeCount < mListThreshold;
    Node* node = mUsed.Pop();
    if (keep) {
        if (!node) {
            node = new Node;
        }
        node->mBlock = pBlock;
        mFree.Push(node);
        ++mFreeCount;
    } else if (node) {
        node->mBlock = pBlock;
        DeleteNode(node);
    } else {
        sRecordingMemory -= static_cast<unsigned>(mBlockSize);
        std::free(pBlock);
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
        Node* node = mFree.Pop();
        if (!node) {
            break;
        }
        DeleteNode(node);
        --mFreeCount;
    }
}

void KMemoryBlockQueue::ValidateListThreshold()
{
    while (mFreeCount < mListThreshold) {
        mFree.Push(NewNode());
        ++mFreeCount;
    }
}

void KMemoryBlockQueue::FreeAllMemoryList()
{
    while (Node* node = mFree.Pop()) {
        DeleteNode(node);
        --mFreeCount;
    }
    // What a curve still holds in spite of the guarantee stays alive and accounted for.
    while (Node* node = mUsed.Pop()) {
        delete node;
    }
}

void KMemoryBlockQueue::OnFileNewEvent(IRegister*, KEventBase*)
{
    SetListThreshold(mListThreshold);
}
