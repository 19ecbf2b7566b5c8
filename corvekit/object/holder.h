// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/object/iobject.h"

/// A pointer to an object of the host, attached to a curve or a node. Not owned: the host must
/// reset it before it destroys the object.
class KZrObjectHolder
{
public:
    /// The object of the host, initially null.
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
