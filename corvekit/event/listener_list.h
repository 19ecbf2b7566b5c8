// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/array.h"
#include "corvekit/export.h"

#include <cstdint>

/// The progress of a call of a KListenerList, on the stack of its thread. Entries before mPlace
/// have been called, in reverse order those from mPlace on. For KListenerList.
class CORVEKIT_API KListenerWalk
{
public:
    KListenerWalk(const void* pList, int pPlace);
    KListenerWalk(const KListenerWalk&) = delete;
    KListenerWalk& operator=(const KListenerWalk&) = delete;
    ~KListenerWalk();  // also if a listener throws

    /// The innermost call of this thread, or null.
    static KListenerWalk* Innermost();

    const void* mList;  // null if the list is destroyed
    KListenerWalk* mOuter;
    int mPlace;
};

/// A list of listeners in calling order, which listeners may change during a call.
///
/// A listener may add and remove listeners, itself included, start a nested call of the list, and
/// destroy the list. A removed listener is not called any more, an added one is called from the
/// next call on, all others are called once. Without a lock: several threads may call the list only
/// while none changes it.
///
/// Listener  a type that can be copied and compared.
template <typename Listener>
class KListenerList
{
public:
    KListenerList() = default;
    KListenerList(const KListenerList&) = delete;
    KListenerList& operator=(const KListenerList&) = delete;
    ~KListenerList()
    {
        for (KListenerWalk* walk = KListenerWalk::Innermost(); walk; walk = walk->mOuter) {
            walk->mList = walk->mList == this ? nullptr : walk->mList;
        }
    }

    int GetCount() const { return mEntries.GetCount(); }

    /// Adds a listener after all with the same or a greater priority. Equal listeners may be added
    /// several times.
    void Add(const Listener& pListener, int pPriority = 0)
    {
        int index = mEntries.GetCount();
        while (index > 0 && mEntries[index - 1].mPriority < pPriority) {
            --index;
        }
        mEntries.InsertAt(index, {pListener, pPriority, mNextNumber++});
        CORVEKIT_ASSERT(index == 0 || mEntries[index - 1].mPriority >= pPriority);
        Shift(index, 1);
    }

    /// Index of the first or the last equal listener, or -1.
    int FindFirst(const Listener& pListener) const
    {
        int index = 0;
        while (index < GetCount() && !(mEntries[index].mListener == pListener)) {
            ++index;
        }
        return index < GetCount() ? index : -1;
    }
    int FindLast(const Listener& pListener) const
    {
        int index = GetCount() - 1;
        while (index >= 0 && !(mEntries[index].mListener == pListener)) {
            --index;
        }
        return index;
    }

    /// Removes the listener at an index. False for an index out of range.
    bool RemoveAt(int pIndex)
    {
        if (!mEntries.RemoveAt(pIndex)) {
            return false;
        }
        Shift(pIndex, -1);
        return true;
    }

    /// Calls pInvoke(listener) for each listener, in order or in reverse order. False if the list,
    /// and so its owner, has been destroyed during the call.
    template <typename Invoke>
    bool Call(bool pLastFirst, const Invoke& pInvoke)
    {
        KListenerWalk walk(this, pLastFirst ? GetCount() : 0);
        const std::uint64_t end = mNextNumber;
        while (walk.mList && (pLastFirst ? walk.mPlace > 0 : walk.mPlace < GetCount())) {
            const Entry entry = mEntries[pLastFirst ? --walk.mPlace : walk.mPlace++];
            if (entry.mNumber < end) {
                pInvoke(entry.mListener);
            }
        }
        return walk.mList != nullptr;
    }

private:
    struct Entry
    {
        Listener mListener;
        int mPriority;
        // Ascending: a call omits entries that are added during it.
        std::uint64_t mNumber;
    };

    // Corrects the places of all calls in progress after an insertion or removal.
    void Shift(int pIndex, int pBy)
    {
        for (KListenerWalk* walk = KListenerWalk::Innermost(); walk; walk = walk->mOuter) {
            walk->mPlace += walk->mList == this && pIndex < walk->mPlace ? pBy : 0;
            CORVEKIT_ASSERT(walk->mList != this ||
                            (walk->mPlace >= 0 && walk->mPlace <= GetCount()));
        }
    }

    KArrayTemplate<Entry, 4> mEntries;
    std::uint64_t mNextNumber = 0;
};
