// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/array.h"

#include <cstdint>

/// Listeners of any kind, in calling order, with calls that survive whatever a listener does.
///
/// During a call a listener may add and remove listeners, itself included, start a further call of
/// the same list, and destroy the list. One that is removed is not called any more, one that is
/// added is called from the next call on, every other one is called once. Takes no lock: one thread
/// at a time.
///
/// Listener  a value that can be copied and compared.
template <typename Listener>
class KListenerList
{
public:
    KListenerList() = default;
    KListenerList(const KListenerList&) = delete;
    KListenerList& operator=(const KListenerList&) = delete;
    ~KListenerList()
    {
        for (Walk* walk = mWalks; walk; walk = walk->mOuter) {
            walk->mList = nullptr;
        }
    }

    int GetCount() const { return mEntries.GetCount(); }

    /// Adds a listener behind all that have the same or a greater priority. Equal ones may be added
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

    /// Calls pInvoke(listener) for each listener, from the first to the last or the other way
    /// round. False when the list has been destroyed meanwhile: its owner is gone too.
    template <typename Invoke>
    bool Call(bool pLastFirst, const Invoke& pInvoke)
    {
        Walk walk(*this, pLastFirst ? GetCount() : 0);
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
        std::uint64_t
            mNumber;  // rises with each one added: a call leaves out those that come later
    };

    // How far a call has come, on the stack of that call. Entries before mPlace have been called,
    // or last first those from mPlace on.
    struct Walk
    {
        Walk(KListenerList& pList, int pPlace) : mList(&pList), mOuter(pList.mWalks), mPlace(pPlace)
        {
            pList.mWalks = this;
        }
        Walk(const Walk&) = delete;
        Walk& operator=(const Walk&) = delete;
        ~Walk()  // also when a listener throws
        {
            if (mList) {
                CORVEKIT_ASSERT(mList->mWalks == this);
                mList->mWalks = mOuter;
            }
        }

        KListenerList* mList;  // null when the list is gone
        Walk* mOuter;
        int mPlace;
    };

    // An entry has come or gone before the places of the calls under way.
    void Shift(int pIndex, int pBy)
    {
        for (Walk* walk = mWalks; walk; walk = walk->mOuter) {
            walk->mPlace += pIndex < walk->mPlace ? pBy : 0;
            CORVEKIT_ASSERT(walk->mPlace >= 0 && walk->mPlace <= GetCount());
        }
    }

    KArrayTemplate<Entry, 4> mEntries;
    std::uint64_t mNextNumber = 0;
    Walk* mWalks = nullptr;  // the calls under way, innermost first
};
