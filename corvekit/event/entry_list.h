// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/event/event.h"

#include <cstdint>

/// The listeners of one event, called in order of priority.
///
/// A listener may add and remove listeners, itself too, and may fire the same list again: one that
/// was removed is not called any more, one that was added is called from the next Call on. The
/// list itself must outlive the Call. Takes no lock: one thread at a time.
class CORVEKIT_API RegisterEntryList
{
public:
    RegisterEntryList() = default;
    RegisterEntryList(const RegisterEntryList&) = delete;
    RegisterEntryList& operator=(const RegisterEntryList&) = delete;
    ~RegisterEntryList();

    /// Adds a listener behind all that have the same or a greater priority. No test for an equal
    /// one: Find tells. A null callback or method is ignored.
    void Add(ICallback* pCallback, KCallbackMethod pMethod, int pPriority = 0);
    /// Takes off the first entry of this callback and method. False if there is none.
    bool Remove(ICallback* pCallback, KCallbackMethod pMethod);
    /// Whether the callback listens with this method.
    bool Find(ICallback* pCallback, KCallbackMethod pMethod) const;
    /// Calls every listener; when it returns, all have run.
    void Call(IRegister* pSender, KEventBase* pEvent);
    /// How many listeners there are.
    int GetCount() const { return mCount; }

private:
    struct Entry;
    class CallScope;

    Entry* FindEntry(ICallback* pCallback, KCallbackMethod pMethod) const;
    void DropRemoved();

    Entry* mFirst = nullptr;
    std::uint64_t mNextNumber = 0;
    int mCount = 0;
    int mCallDepth = 0;
    bool mHasRemoved = false;
};
