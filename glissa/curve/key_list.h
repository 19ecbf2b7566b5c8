// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/curve/key.h"
#include "glissa/export.h"

#include <atomic>
#include <cstdint>

/// The keys of a curve: dense records in pages of 42, addressed through a table of pages.
///
/// A page is one memory block of 1024 bytes; the table grows in steps of 32 entries. Records up to
/// the last page exist, those at and past the count hold no attribute block. The list does not
/// count the references to attribute blocks; the curve does.
///
/// A time deep inside a long list is found by the first times of its pages. They are copied into an
/// array of their own when a search first wants them, so that recording and playback never pay for
/// it. A change of a key is reported to it with TimeChanged or PagesChangedFrom. Several threads
/// may search at once while nobody changes keys: all of them then write the same times.
class GLISSA_API KeyList
{
public:
    static constexpr int kKeysPerPage = 42;
    static constexpr int kTableStep = 32;
    static constexpr int kKeysPerTableStep = kKeysPerPage * kTableStep;

    KeyList() = default;
    KeyList(const KeyList&) = delete;
    KeyList& operator=(const KeyList&) = delete;
    ~KeyList() { FreeAll(); }

    int Count() const { return mCount; }
    void SetCount(int pCount)
    {
        CORVEKIT_ASSERT(pCount >= 0 && (pCount == 0 || HasRoomFor(pCount - 1)));
        mCount = pCount;
    }
    /// Keys that the table can address, a multiple of 1344.
    int Capacity() const { return mCapacity; }
    int LastPage() const { return mLastPage; }
    KPriFCurveKey** Table() const { return mPages; }

    KPriFCurveKey& operator[](int pIndex) const
    {
        CORVEKIT_ASSERT(pIndex >= 0 && pIndex / kKeysPerPage <= mLastPage);
        const unsigned index = static_cast<unsigned>(pIndex);
        return mPages[index / kKeysPerPage][index % kKeysPerPage];
    }
    KTime FirstTime() const
    {
        CORVEKIT_ASSERT(mCount > 0);
        return mPages[0][0].mTime;
    }
    KTime LastTime() const { return (*this)[mCount - 1].mTime; }

    /// Whether the record at an index exists, filled or not.
    bool HasRoomFor(int pIndex) const
    {
        return static_cast<int>(static_cast<unsigned>(pIndex) / kKeysPerPage) <= mLastPage;
    }
    /// The record behind the last key, counted as a key from now on. There is room for it.
    KPriFCurveKey& Append()
    {
        CORVEKIT_ASSERT(HasRoomFor(mCount));
        return (*this)[mCount++];
    }
    /// Makes records for pCount keys.
    void Reserve(int pCount);
    /// Opens a record at an index by moving all from there on up by one. There is room for it; its
    /// content is undefined but for an attribute pointer that is null.
    void OpenGap(int pIndex);
    /// Takes records out and closes the gap. Whole pages between the first and the one of the key
    /// behind the gap are given back; the slots that come free are zeroed.
    void CloseGap(int pFirst, int pLast);
    /// Makes the list a copy of pCount records of another table of pages. There is room for them.
    void CopyRecords(KPriFCurveKey* const* pPages, int pCount);
    /// Frees the pages behind the last key, and table space far beyond the count.
    void Shrink();
    /// Frees all pages and the table.
    void FreeAll();

    /// The first key of the page of this index, or of a later page, may have changed.
    void PagesChangedFrom(int pIndex)
    {
        CORVEKIT_ASSERT(pIndex >= 0);
        KeepIndexedPages(pIndex / kKeysPerPage);
    }
    /// The time of this one key has changed.
    void TimeChanged(int pIndex)
    {
        CORVEKIT_ASSERT(pIndex >= 0 && HasRoomFor(pIndex));
        const int page = pIndex / kKeysPerPage;
        if (pIndex % kKeysPerPage == 0 && page < IndexedPages()) {
            CopyTick(page);
        }
    }
    /// The last page whose first key's time is at or below pTime, the first page if there is none.
    /// Keys changed through their pointers may make the result wrong: check it against the keys.
    unsigned PageBelow(KTime pTime)
    {
        CORVEKIT_ASSERT(mCount > 0);
        const int pages = (mCount - 1) / kKeysPerPage + 1;
        if (mIndexedPages.load(std::memory_order_acquire) < pages) [[unlikely]] {
            IndexPages(pages);
        }
        std::int64_t* base = mPageTicks;
        for (unsigned length = static_cast<unsigned>(pages); length > 1; length -= length / 2) {
            // A mask in place of a branch that no processor can predict.
            const unsigned half = length / 2;
            const std::int64_t tick = std::atomic_ref(base[half]).load(std::memory_order_relaxed);
            base += half & (0u - static_cast<unsigned>(tick <= pTime.Get()));
        }
        return static_cast<unsigned>(base - mPageTicks);
    }

private:
    void ResizeTable(int pEntries, int pKeptEntries);
    void FreePagesBehind(int pLastPage);
    void MoveDown(int pTo, int pFrom, int pCount);
    void IndexPages(int pPages);
    int IndexedPages() const { return mIndexedPages.load(std::memory_order_relaxed); }
    /// Publishes what CopyTick wrote before.
    void SetIndexedPages(int pPages) { mIndexedPages.store(pPages, std::memory_order_release); }
    /// Of the index the entries of so many pages stay.
    void KeepIndexedPages(int pPages)
    {
        if (pPages < IndexedPages()) {
            SetIndexedPages(pPages);
        }
    }
    void CopyTick(int pPage)
    {
        CORVEKIT_ASSERT(pPage >= 0 && pPage <= mLastPage);
        std::atomic_ref(mPageTicks[pPage])
            .store(mPages[pPage][0].mTime.Get(), std::memory_order_relaxed);
    }

    KPriFCurveKey** mPages = nullptr;
    int mCount = 0;
    int mCapacity = 0;
    int mLastPage = -1;
    std::atomic<int> mIndexedPages = 0;  // leading entries of mPageTicks that are true
    std::int64_t* mPageTicks = nullptr;  // an entry a page, with room for the whole table
};
