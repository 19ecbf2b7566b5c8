// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/key_list.h"

#include "glissa/curve/memory.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>

namespace
{
int TableEntriesFor(int pKeys)
{
    return static_cast<int>((static_cast<std::int64_t>(pKeys) + KeyList::kKeysPerTableStep - 1) /
                            KeyList::kKeysPerTableStep) *
           KeyList::kTableStep;
}

unsigned long TableBytes(int pEntries)
{
    return static_cast<unsigned long>(pEntries) * sizeof(KPriFCurveKey*);
}

unsigned long PageBytes()
{
    return static_cast<unsigned long>(GLISSA_GetFCurveMemoryBlockSize());
}
}  // namespace

void KeyList::Reserve(int pCount)
{
    CORVEKIT_ASSERT(pCount >= 0);
    if (pCount > mCapacity) {
        ResizeTable(TableEntriesFor(pCount), mLastPage + 1);
    }
    if (mPages && pCount > 0) {
        const int wanted = (pCount - 1) / kKeysPerPage;
        while (mLastPage < wanted) {
            mPages[mLastPage + 1] = static_cast<KPriFCurveKey*>(WatchMalloc(PageBytes()));
            ++mLastPage;
        }
    }
}

// Page by page from the last one down: the last record of a page becomes the first of the next.
void KeyList::OpenGap(int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex <= mCount && HasRoomFor(mCount));
    const int page = pIndex / kKeysPerPage;
    const int slot = pIndex % kKeysPerPage;
    int last = mCount / kKeysPerPage;
    int filled = mCount % kKeysPerPage;
    ++mCount;
    for (; last > page; --last) {
        std::memmove(mPages[last] + 1, mPages[last],
                     static_cast<std::size_t>(filled) * sizeof(KPriFCurveKey));
        mPages[last][0] = mPages[last - 1][kKeysPerPage - 1];
        if (last < IndexedPages()) {
            CopyTick(last);
        }
        filled = kKeysPerPage - 1;
    }
    KPriFCurveKey* gap = mPages[page] + slot;
    std::memmove(gap + 1, gap, static_cast<std::size_t>(filled - slot) * sizeof(KPriFCurveKey));
    gap->mAttribute = nullptr;
    if (slot == 0) {
        PagesChangedFrom(pIndex);
    }
}

void KeyList::CloseGap(int pFirst, int pLast)
{
    CORVEKIT_ASSERT(pFirst >= 0 && pFirst <= pLast + 1 && pLast < mCount);
    const int firstPage = pFirst / kKeysPerPage;
    const int behindPage = (pLast + 1) / kKeysPerPage;
    const int freed = std::max(behindPage - firstPage - 1, 0);
    if (freed > 0) {
        for (int page = firstPage + 1; page <= firstPage + freed; ++page) {
            WatchFree(mPages[page], PageBytes());
        }
        std::memmove(mPages + firstPage + 1, mPages + firstPage + 1 + freed,
                     TableBytes(mLastPage - firstPage - freed));
        std::memset(mPages + mLastPage + 1 - freed, 0, TableBytes(freed));
        mLastPage -= freed;
        KeepIndexedPages(firstPage + 1);
    }
    // Indexes of what is left, the pages given back not counted.
    const int oldCount = mCount - freed * kKeysPerPage;
    const int from = pLast + 1 - freed * kKeysPerPage;
    MoveDown(pFirst, from, oldCount - from);
    mCount = pFirst + oldCount - from;
    for (int i = mCount; i < oldCount; ++i) {
        (*this)[i] = KPriFCurveKey{};
    }
    KeepIndexedPages((mCount + kKeysPerPage - 1) / kKeysPerPage);
}

// Records to a lower index, in runs that lie within one page on both sides.
void KeyList::MoveDown(int pTo, int pFrom, int pCount)
{
    CORVEKIT_ASSERT(pTo <= pFrom && pTo >= 0);
    const int firstPage = pTo / kKeysPerPage;
    while (pCount > 0) {
        const int toSlot = pTo % kKeysPerPage;
        const int fromSlot = pFrom % kKeysPerPage;
        const int run = std::min(pCount, kKeysPerPage - std::max(toSlot, fromSlot));
        std::memmove(mPages[pTo / kKeysPerPage] + toSlot, mPages[pFrom / kKeysPerPage] + fromSlot,
                     static_cast<std::size_t>(run) * sizeof(KPriFCurveKey));
        pTo += run;
        pFrom += run;
        pCount -= run;
    }
    for (int page = firstPage; page < IndexedPages(); ++page) {
        CopyTick(page);
    }
}

void KeyList::CopyRecords(KPriFCurveKey* const* pPages, int pCount)
{
    CORVEKIT_ASSERT(pCount >= 0 && (pCount == 0 || HasRoomFor(pCount - 1)));
    for (int first = 0; first < pCount; first += kKeysPerPage) {
        const int filled = std::min(pCount - first, kKeysPerPage);
        std::memcpy(mPages[first / kKeysPerPage], pPages[first / kKeysPerPage],
                    static_cast<std::size_t>(filled) * sizeof(KPriFCurveKey));
    }
    mCount = pCount;
    SetIndexedPages(0);
}

void KeyList::Shrink()
{
    if (!mPages) {
        return;
    }
    if (mCount == 0) {
        FreeAll();
        return;
    }
    FreePagesBehind((mCount - 1) / kKeysPerPage);
    if (mCapacity / kKeysPerTableStep > mCount / kKeysPerTableStep + 1) {
        ResizeTable(TableEntriesFor(mCount), mLastPage + 1);
    }
}

void KeyList::FreeAll()
{
    FreePagesBehind(-1);
    WatchFree(mPages, TableBytes(mCapacity / kKeysPerPage));
    delete[] mPageTicks;
    mPages = nullptr;
    mPageTicks = nullptr;
    mCount = 0;
    mCapacity = 0;
}

void KeyList::FreePagesBehind(int pLastPage)
{
    CORVEKIT_ASSERT(pLastPage >= -1);
    while (mLastPage > pLastPage) {
        WatchFree(mPages[mLastPage], PageBytes());
        mPages[mLastPage--] = nullptr;
    }
    KeepIndexedPages(pLastPage + 1);
}

void KeyList::ResizeTable(int pEntries, int pKeptEntries)
{
    CORVEKIT_ASSERT(pKeptEntries >= 0 && pKeptEntries <= pEntries);
    // Both before anything changes. Room for the page times comes with the table, so that a search
    // allocates nothing.
    auto ticks = std::make_unique_for_overwrite<std::int64_t[]>(static_cast<std::size_t>(pEntries));
    auto** table = static_cast<KPriFCurveKey**>(WatchMalloc(TableBytes(pEntries)));
    if (pKeptEntries > 0) {
        std::memcpy(table, mPages, TableBytes(pKeptEntries));
    }
    WatchFree(mPages, TableBytes(mCapacity / kKeysPerPage));
    mPages = table;
    mCapacity = pEntries * kKeysPerPage;
    delete[] mPageTicks;
    mPageTicks = ticks.release();
    SetIndexedPages(0);
}

void KeyList::IndexPages(int pPages)
{
    for (int page = IndexedPages(); page < pPages; ++page) {
        CopyTick(page);
    }
    SetIndexedPages(pPages);
}
