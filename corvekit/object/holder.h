// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/object/iobject.h"

/// A place where a host keeps an object of its own beside a curve or a node. Not owned: it is up
/// to the host to clear it before its object goes.
class KZrObjectHolder
{
public:
    /// The host's object, null at first.
    void* GetObject() const { return mObject; }
    void SetObject(void* pObject) { mObject = pObject; }

private:
    void* mObject = nullptr;
};

/// An object that has a holder.
class IZrObjectHolder : public IObject
{
public:
    virtual KZrObjectHolder* GetZrHolder() = 0;
    virtual ~IZrObjectHolder() = default;
};
