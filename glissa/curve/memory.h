// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/event/named_event.h"
#include "glissa/export.h"

#include <atomic>
#include <cstddef>
#include <mutex>

/// Zero-filled memory. A size equal to the block size takes a block from the queue; any other adds
/// its size to the recording memory and comes from the heap. Throws std::bad_alloc.
GLISSA_API void* WatchMalloc(unsigned long pSize);
/// Frees what WatchMalloc returned; pSize is the size that was requested. Null is allowed.
GLISSA_API void WatchFree(void* pMemory, unsigned long pSize);
/// Bytes of key pages and page tables, kept free blocks included.
GLISSA_API unsigned GetRecordingMemory();

/// Bytes of one page of keys, 1024.
GLISSA_API int GLISSA_GetFCurveMemoryBlockSize();
/// How many free blocks are kept for the next recording; 0 or below keeps none.
GLISSA_API void GLISSA_SetFCurveRecordMemoryBlockCount(int pCount);
/// Frees every kept block. The caller guarantees that no curve holds one.
GLISSA_API void GLISSA_ClearMemoryBlockQueue();

/// Recycles memory blocks of one size, so that recording takes its pages without going to the heap.
///
/// Free blocks are zero-filled and are taken first in, first out. A new file refills the free list
/// to its threshold. Any thread may take and return blocks at any time: the list has a lock, which
/// is taken at most once for a page of keys and never held across an allocation, and the counts are
/// atomic.
class GLISSA_API KMemoryBlockQueue final : public ICallback
{
public:
    KMemoryBlockQueue(int pBlockSize, int pListThreshold);
    KMemoryBlockQueue(const KMemoryBlockQueue&) = delete;
    KMemoryBlockQueue& operator=(const KMemoryBlockQueue&) = delete;
    /// Frees all memory, or none of it while a block is in use.
    ~KMemoryBlockQueue() override;

    IObject* IQuery(unsigned long pId, int pArgument) override;
    void Destroy(int pArgument) override;

    /// A zero-filled block, from the free list or the heap. Throws std::bad_alloc.
    void* GetRecycleMemoryBlock();
    /// Takes a block back: kept while the free list is below its threshold, else freed.
    void RecycleMemoryBlock(void* pBlock);
    /// How many free blocks to keep; fills or trims the free list to that number at once.
    void SetListThreshold(int pCount);
    /// Fills the free list up to the threshold.
    void ValidateListThreshold();
    /// Frees both lists and every free block; blocks that are out stay with their holders.
    void FreeAllMemoryList();
    int GetMemoryBlockSize() const { return mBlockSize; }
    void OnFileNewEvent(IRegister* pSender, KEventBase* pEvent);

private:
    struct Node;

    /// The free blocks themselves, first in, first out: mLast is the last one, the one behind it
    /// the first.
    struct Ring
    {
        void Push(void* pBlock);
        /// The first block, zero-filled, or null.
        void* Pop();

        Node* mLast = nullptr;
        std::mutex mLock;
    };

    void* NewBlock();
    void FreeBlock(void* pBlock);

    Ring mFree;
    std::atomic<int> mListThreshold;
    int mBlockSize;
    std::atomic<int> mFreeCount = 0;  // of the list, and of blocks about to be put there
    std::atomic<int> mUsedCount = 0;  // blocks that are out
    KGlobalNamedEvent mFileNewEvent;
};
