// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

/// Interface id of the object itself.
inline constexpr unsigned long kIQueryObject = 0;
/// Interface id of IRegister, for the registration of listeners.
inline constexpr unsigned long kIQueryRegister = 3;

/// The common interface of all objects: a query for interfaces, and destruction.
class IObject
{
public:
    /// The object as the interface of an id, or null. The meaning of pArgument depends on the id; 0
    /// for ids without an argument.
    virtual IObject* IQuery(unsigned long pId, int pArgument) = 0;
    /// Destroys the object. Objects are destroyed only by this call, never by delete.
    virtual void Destroy(int pArgument) = 0;

protected:
    // Not virtual; each class decides whether its destructor is virtual.
    ~IObject() = default;
};
