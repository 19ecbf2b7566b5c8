// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

/// Interface id of the object itself.
inline constexpr unsigned long kIQueryObject = 0;
/// Interface id of the side that others register with, an IRegister.
inline constexpr unsigned long kIQueryRegister = 3;

/// What every object of the system answers to: a question for an interface, and its end.
class IObject
{
public:
    /// The part of the object that answers to an interface id, as a pointer to that interface, or
    /// null. The meaning of pArgument belongs to the id; 0 where it has none.
    virtual IObject* IQuery(unsigned long pId, int pArgument) = 0;
    /// Ends the object. An object is ended by this call only, never by delete.
    virtual void Destroy(int pArgument) = 0;

protected:
    // Not virtual, since a class decides for itself whether its table has a destructor.
    ~IObject() = default;
};
