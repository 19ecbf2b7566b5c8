// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/assert.h"
#include "corvekit/export.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

/// The allocator of the containers: plain blocks from the process heap.
class CORVEKIT_API KBaseAllocator
{
public:
    /// Resizes a block to pSize bytes and keeps its content up to that size. Null allocates a new
    /// block. Throws std::bad_alloc; pBlock is then unchanged.
    static void* KRealloc(void* pBlock, std::size_t pSize);
    /// Frees a block. Null is ignored.
    static void KFree(void* pBlock);
};

/// Memory blocks of arrays and their growth.
class CORVEKIT_API KArrayHelper : public KBaseAllocator
{
public:
    /// Frees a block and sets the pointer to null and the two counts to 0.
    static void Clear(void*& pBlock, int& pCount, int& pCapacity);
    /// The new capacity of an array for pNeeded items: at least 1.5 times pCapacity, so that
    /// appending takes constant time per item, and a multiple of pBlockCount. -1 if so many items
    /// of pItemSize bytes cannot be addressed.
    static int GetNextArraySize(int pCapacity, int pNeeded, int pBlockCount, std::size_t pItemSize);
};

/// A growable array. The capacity is a multiple of BlockCount and never shrinks before Clear.
///
/// Items may be of any type whose moves do not throw; they are constructed, moved and destroyed by
/// the operations of their type. A pointer to an item is valid until the array grows or an item
/// before it is removed. If there is no memory to grow, the call throws std::bad_alloc and the
/// array is unchanged. Allocator has the operations of KBaseAllocator.
template <typename T, int BlockCount = 16, typename Allocator = KBaseAllocator>
class KArrayTemplate
{
    static_assert(BlockCount > 0);
    static_assert(alignof(T) <= alignof(std::max_align_t));
    static_assert(std::is_nothrow_move_constructible_v<T> && std::is_nothrow_move_assignable_v<T>);

public:
    KArrayTemplate() = default;
    // Delegates, so that the destructor runs if the copy of an item throws.
    KArrayTemplate(const KArrayTemplate& pOther) : KArrayTemplate() { AppendAll(pOther); }
    KArrayTemplate(KArrayTemplate&& pOther) noexcept { Swap(pOther); }
    KArrayTemplate& operator=(const KArrayTemplate& pOther)
    {
        KArrayTemplate copy(pOther);
        Swap(copy);
        return *this;
    }
    KArrayTemplate& operator=(KArrayTemplate&& pOther) noexcept
    {
        KArrayTemplate taken(std::move(pOther));
        Swap(taken);
        return *this;
    }
    ~KArrayTemplate() { Clear(); }

    int GetCount() const { return mCount; }
    int GetCapacity() const { return mCapacity; }
    bool IsEmpty() const { return mCount == 0; }

    /// pIndex must be from 0 to the count minus 1.
    T& operator[](int pIndex)
    {
        CORVEKIT_ASSERT(pIndex >= 0 && pIndex < mCount);
        return mItems[pIndex];
    }
    const T& operator[](int pIndex) const
    {
        CORVEKIT_ASSERT(pIndex >= 0 && pIndex < mCount);
        return mItems[pIndex];
    }
    T* begin() { return mItems; }
    T* end() { return mItems + mCount; }
    const T* begin() const { return mItems; }
    const T* end() const { return mItems + mCount; }

    /// Inserts an item before the one at pIndex, 0 to the count. Returns pIndex, or -1 for an index
    /// out of range. The item may be one of the array's own.
    int InsertAt(int pIndex, T pItem)
    {
        if (pIndex < 0 || pIndex > mCount) {
            return -1;
        }
        Reserve(1);
        CORVEKIT_ASSERT(mCount < mCapacity);
        if (pIndex == mCount) {
            std::construct_at(mItems + mCount, std::move(pItem));
        } else {
            std::construct_at(mItems + mCount, std::move(mItems[mCount - 1]));
            std::move_backward(mItems + pIndex, mItems + mCount - 1, mItems + mCount);
            mItems[pIndex] = std::move(pItem);
        }
        ++mCount;
        return pIndex;
    }
    /// Appends an item and returns its index.
    int Add(T pItem) { return InsertAt(mCount, std::move(pItem)); }

    /// Removes an item. False for an index out of range.
    bool RemoveAt(int pIndex)
    {
        if (pIndex < 0 || pIndex >= mCount) {
            return false;
        }
        std::move(mItems + pIndex + 1, mItems + mCount, mItems + pIndex);
        --mCount;
        std::destroy_at(mItems + mCount);
        return true;
    }
    /// Removes the first equal item. False if there is none.
    bool RemoveIt(const T& pItem) { return RemoveAt(Find(pItem)); }

    /// Index of the first equal item, or -1.
    int Find(const T& pItem) const
    {
        for (int i = 0; i < mCount; ++i) {
            if (mItems[i] == pItem) {
                return i;
            }
        }
        return -1;
    }

    /// Reserves memory for pCapacity items: no call throws until the count exceeds it.
    void SetCapacity(int pCapacity)
    {
        if (pCapacity > mCapacity) {
            Reserve(pCapacity - mCount);
        }
    }

    /// Destroys the items, the last one first, and frees the memory.
    void Clear()
    {
        while (mCount > 0) {
            --mCount;
            std::destroy_at(mItems + mCount);
        }
        Allocator::KFree(mItems);
        mItems = nullptr;
        mCapacity = 0;
    }

    void Swap(KArrayTemplate& pOther) noexcept
    {
        std::swap(mItems, pOther.mItems);
        std::swap(mCount, pOther.mCount);
        std::swap(mCapacity, pOther.mCapacity);
    }

private:
    /// Reserves memory for pMore further items.
    void Reserve(int pMore)
    {
        if (pMore > mCapacity - mCount) {
            Grow(pMore);
        }
    }

    void Grow(int pMore)
    {
        int needed = 0;
        int capacity = -1;
        if (!__builtin_add_overflow(mCount, pMore, &needed)) {
            capacity = KArrayHelper::GetNextArraySize(mCapacity, needed, BlockCount, sizeof(T));
        }
        if (capacity < 0) {
            throw std::bad_alloc();
        }
        const std::size_t size = static_cast<std::size_t>(capacity) * sizeof(T);
        constexpr bool kMovedAsBytes = std::is_trivially_copyable_v<T>;
        T* const items = static_cast<T*>(
            Allocator::KRealloc(kMovedAsBytes ? static_cast<void*>(mItems) : nullptr, size));
        if constexpr (!kMovedAsBytes) {
            std::uninitialized_move(mItems, mItems + mCount, items);
            std::destroy(mItems, mItems + mCount);
            Allocator::KFree(mItems);
        }
        mItems = items;
        mCapacity = capacity;
        CORVEKIT_ASSERT(mCapacity >= needed);
    }

    void AppendAll(const KArrayTemplate& pOther)
    {
        CORVEKIT_ASSERT(mCount == 0);
        SetCapacity(pOther.mCount);
        for (const T& each : pOther) {
            std::construct_at(mItems + mCount, each);
            ++mCount;
        }
    }

    T* mItems = nullptr;
    int mCount = 0;
    int mCapacity = 0;
};
