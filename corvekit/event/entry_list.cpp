// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A linked list in calling order. Entries keep their place in memory, so a running call can go on
// from its entry whatever is added; a removed entry is unlinked when no call runs any more. Each
// entry has a running number, by which a call leaves out what came after it began.

#include "corvekit/event/entry_list.h"

struct RegisterEntryList::Entry
{
    ICallback* mCallback;  // null once it is removed
    KCallbackMethod mMethod;
    int mPriority;
    std::uint64_t mNumber;
    Entry* mNext;
};

// Counts running calls, also when a listener throws.
class RegisterEntryList::CallScope
{
public:
    explicit CallScope(RegisterEntryList& pList) : mList(pList) { ++mList.mCallDepth; }
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;
    ~CallScope()
    {
        --mList.mCallDepth;
        mList.DropRemoved();
    }

private:
    RegisterEntryList& mList;
};

RegisterEntryList::~RegisterEntryList()
{
    while (mFirst) {
        Entry* entry = mFirst;
        mFirst = entry->mNext;
        delete entry;
    }
}

void RegisterEntryList::Add(ICallback* pCallback, KCallbackMethod pMethod, int pPriority)
{
    if (!pCallback || !pMethod) {
        return;
    }
    Entry** link = &mFirst;
    while (*link && (*link)->mPriority >= pPriority) {
        link = &(*link)->mNext;
    }
    *link = new Entry{pCallback, pMethod, pPriority, mNextNumber++, *link};
    ++mCount;
}

bool RegisterEntryList::Remove(ICallback* pCallback, KCallbackMethod pMethod)
{
    Entry* entry = FindEntry(pCallback, pMethod);
    if (!entry) {
        return false;
    }
    entry->mCallback = nullptr;
    --mCount;
    mHasRemoved = true;
    DropRemoved();
    return true;
}

bool RegisterEntryList::Find(ICallback* pCallback, KCallbackMethod pMethod) const
{
    return FindEntry(pCallback, pMethod) != nullptr;
}

void RegisterEntryList::Call(IRegister* pSender, KEventBase* pEvent)
{
    const CallScope scope(*this);
    const std::uint64_t end = mNextNumber;
    for (const Entry* entry = mFirst; entry; entry = entry->mNext) {
        if (entry->mCallback && entry->mNumber < end) {
            (entry->mCallback->*entry->mMethod)(pSender, pEvent);
        }
    }
}

RegisterEntryList::Entry* RegisterEntryList::FindEntry(ICallback* pCallback,
                                                       KCallbackMethod pMethod) const
{
    if (!pCallback) {
        return nullptr;
    }
    for (Entry* entry = mFirst; entry; entry = entry->mNext) {
        if (entry->mCallback == pCallback && entry->mMethod == pMethod) {
            return entry;
        }
    }
    return nullptr;
}

void RegisterEntryList::DropRemoved()
{
    if (mCallDepth > 0 || !mHasRemoved) {
        return;
    }
    for (Entry** link = &mFirst; *link;) {
        Entry* entry = *link;
        if (entry->mCallback) {
            link = &entry->mNext;
        } else {
            *link = entry->mNext;
            delete entry;
        }
    }
    mHasRemoved = false;
}
