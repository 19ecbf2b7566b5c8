// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/event/event.h"
#include "corvekit/string.h"

/// A subscription to a process-wide event with a name, such as "FileNew".
///
/// A host fires the event with Call, which calls all subscribers. The subscription ends with the
/// object. Without a lock: only one thread may use named events at a time.
class CORVEKIT_API KGlobalNamedEvent
{
public:
    KGlobalNamedEvent() = default;
    KGlobalNamedEvent(const KGlobalNamedEvent&) = delete;
    KGlobalNamedEvent& operator=(const KGlobalNamedEvent&) = delete;
    ~KGlobalNamedEvent();

    /// Subscribes a member function of pObject to the event pName (case matters). A previous
    /// subscription of this object ends. False, without a subscription, if an argument is null.
    bool Register(const char* pName, ICallback* pObject, KCallbackMethod pMethod);
    /// The same for a member function of the class of pObject.
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

    /// Fires an event: calls all subscribers of the name in the order of subscription, without a
    /// sender. pEvent may be null.
    static void Call(const char* pName, KEventBase* pEvent = nullptr);

private:
    KString mName;
    ICallback* mObject = nullptr;
    KCallbackMethod mMethod = nullptr;
};
