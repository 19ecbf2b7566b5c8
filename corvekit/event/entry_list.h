// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/event/event.h"
#include "corvekit/event/listener_list.h"

/// The listeners of one event in order of priority. See KListenerList for what a listener may do
/// during a call, and for threads.
class CORVEKIT_API RegisterEntryList
{
public:
    /// Adds a listener after all with the same or a greater priority, even if it is in the list
    /// already, see Find. A null callback or method is ignored.
    void Add(ICallback* pCallback, KCallbackMethod pMethod, int pPriority = 0);
    /// Removes the first entry of this callback and method. False if there is none.
    bool Remove(ICallback* pCallback, KCallbackMethod pMethod);
    /// Whether there is an entry of this callback and method.
    bool Find(ICallback* pCallback, KCallbackMethod pMethod) const;
    /// Calls all listeners.
    void Call(IRegister* pSender, KEventBase* pEvent);
    /// Number of entries.
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
