// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"
#include "corvekit/object/iobject.h"

/// An event: a type and the data of a derived class. Valid only during the call of a listener.
class CORVEKIT_API KEventBase
{
public:
    KEventBase() = default;
    explicit KEventBase(int pType) : mType(pType) {}
    virtual ~KEventBase();

    int GetType() const { return mType; }
    void SetType(int pType) { mType = pType; }

protected:
    KEventBase(const KEventBase&) = default;
    KEventBase& operator=(const KEventBase&) = default;

    int mType = 0;
};

class IRegister;

/// A listener. Its member functions for events have the type KCallbackMethod.
class CORVEKIT_API ICallback : public IObject
{
public:
    virtual ~ICallback();
};

/// A member function of a listener, with the sender and the event, which may be null.
using KCallbackMethod = void (ICallback::*)(IRegister*, KEventBase*);

/// An object with listeners.
class CORVEKIT_API IRegister : public IObject
{
public:
    /// Adds a listener to an event. Listeners with a greater priority are called first, those of
    /// equal priority in the order of registration. A registered listener is not added again.
    /// False for an unknown event id.
    virtual bool Register(int pEventId, ICallback* pCallback, KCallbackMethod pMethod,
                          int pPriority) = 0;
    /// Removes a listener from an event. False for an unknown event id.
    virtual bool Unregister(int pEventId, ICallback* pCallback, KCallbackMethod pMethod) = 0;

protected:
    ~IRegister() = default;
};
