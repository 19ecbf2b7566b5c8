// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"
#include "corvekit/object/iobject.h"

/// What a listener is told: a type and what a derived class adds. Valid during the call only.
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

/// An object that listens. Its listening members have the form of KCallbackMethod.
class CORVEKIT_API ICallback : public IObject
{
public:
    virtual ~ICallback();
};

/// A member of a listener: who calls, and the event, which may be null.
using KCallbackMethod = void (ICallback::*)(IRegister*, KEventBase*);

/// An object that others listen to.
class CORVEKIT_API IRegister : public IObject
{
public:
    /// Adds a listener to an event. A listener with a greater priority is called earlier; equal
    /// ones in the order of registration. One that is already there stays as it is. False for an
    /// event id that the object does not know.
    virtual bool Register(int pEventId, ICallback* pCallback, KCallbackMethod pMethod,
                          int pPriority) = 0;
    /// Takes a listener off an event. False for an event id that the object does not know.
    virtual bool Unregister(int pEventId, ICallback* pCallback, KCallbackMethod pMethod) = 0;

protected:
    ~IRegister() = default;
};
