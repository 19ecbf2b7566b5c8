// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/event/event.h"
#include "corvekit/string.h"

/// One subscription to an event that is known by name in the whole process, such as "FileNew".
///
/// Nobody owns such an event: a host announces it with Call, and whoever subscribed hears of it.
/// The subscription ends with the object. Takes no lock: one thread at a time.
class CORVEKIT_API KGlobalNamedEvent
{
public:
    KGlobalNamedEvent() = default;
    KGlobalNamedEvent(const KGlobalNamedEvent&) = delete;
    KGlobalNamedEvent& operator=(const KGlobalNamedEvent&) = delete;
    ~KGlobalNamedEvent();

    /// Subscribes a member of pObject to the event pName, exact in case. An earlier subscription
    /// of this object ends. False, and none stands, when an argument is null.
    bool Register(const char* pName, ICallback* pObject, KCallbackMethod pMethod);
    /// The same for a member that pObject's own class declares.
    template <typename Listener>
    bool Register(const char* pName, Listener* pObject,
                  void (Listener::*pMethod)(IRegister*, KEventBase*))
    {
        return Register(pName, static_cast<ICallback*>(pObject),
                        static_cast<KCallbackMethod>(pMethod));
    }
    /// Ends the subscription, if there is one.
    void Unregister();
    bool IsRegistered() const { return mObject != nullptr; }

    /// Fires an event: all who subscribed to the name have heard it when this returns, in the
    /// order in which they subscribed, with no sender. pEvent may be null.
    static void Call(const char* pName, KEventBase* pEvent = nullptr);

private:
    KString mName;
    ICallback* mObject = nullptr;
    KCallbackMethod mMethod = nullptr;
};
