// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/event/entry_list.h"

void RegisterEntryList::Add(ICallback* pCallback, KCallbackMethod pMethod, int pPriority)
{
    if (pCallback && pMethod) {
        mListeners.Add({pCallback, pMethod}, pPriority);
    }
}

bool RegisterEntryList::Remove(ICallback* pCallback, KCallbackMethod pMethod)
{
    return mListeners.RemoveAt(mListeners.FindFirst({pCallback, pMethod}));
}

bool RegisterEntryList::Find(ICallback* pCallback, KCallbackMethod pMethod) const
{
    return mListeners.FindFirst({pCallback, pMethod}) >= 0;
}

void RegisterEntryList::Call(IRegister* pSender, KEventBase* pEvent)
{
    mListeners.Call(false, [pSender, pEvent](const Listener& pListener) {
        (pListener.mCallback->*pListener.mMethod)(pSender, pEvent);
    });
}
