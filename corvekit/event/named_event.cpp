// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/event/named_event.h"

#include "corvekit/assert.h"
#include "corvekit/event/entry_list.h"

#include <map>
#include <utility>

namespace
{
using EventTable = std::map<KString, RegisterEntryList>;

// Never destroyed, as static subscriptions end at process exit in any order.
EventTable& Events()
{
    static EventTable& table = *new EventTable;
    return table;
}
}  // namespace

KGlobalNamedEvent::~KGlobalNamedEvent()
{
    Unregister();
}

bool KGlobalNamedEvent::Register(const char* pName, ICallback* pObject, KCallbackMethod pMethod)
{
    Unregister();
    if (!pName || !pObject || !pMethod) {
        return false;
    }
    KString name(pName);
    Events()[name].Add(pObject, pMethod);
    mName = std::move(name);
    mObject = pObject;
    mMethod = pMethod;
    return true;
}

void KGlobalNamedEvent::Unregister()
{
    if (mObject) {
        CORVEKIT_ASSERT(mMethod);
        Events()[mName].Remove(mObject, mMethod);
        mObject = nullptr;
        mMethod = nullptr;
    }
}

void KGlobalNamedEvent::Call(const char* pName, KEventBase* pEvent)
{
    CORVEKIT_ASSERT(pName);
    const auto found = Events().find(KString(pName));
    if (found != Events().end()) {
        found->second.Call(nullptr, pEvent);
    }
}
