// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/event/event.h"
#include "corvekit/event/listener_list.h"

/// The listeners of one event, called in order of priority. KListenerList says what a listener may
/// do during a call. Takes no lock: one thread at a time.
class CORVEKIT_API RegisterEntryList
{
public:
    /// Adds a listener behind all that have the same or a greater priority. Does not look for an
    /// equal one, see Find. A null callback or method is ignored.
    void Add(ICallback* pCallback, KCallbackMethod pMethod, int pPriority = 0);
    /// Removes the first entry of this callback and method. False if there is none.
    bool Remove(ICallback* pCallback, KCallbackMethod pMethod);
    /// Whether the callback listens with this method.
    bool Find(ICallback* pCallback, KCallbackMethod pMethod) const;
    /// Calls every listener; when it returns, all have run.
    void Call(IRegister* pSender, KEventBase* pEvent);
    /// How many listeners there are.
    int GetCount() const { return mListeners.GetCount(); }

private:
    struct Listener
    {
        ICallback* mCallback;
        KCallbackMethod mMethod;

        friend bool operator==(const Listener&, const Listener&) = default;
    };

    KListenerList<Listener> mListeners;
};
