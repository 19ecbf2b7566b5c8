// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"

class KObject;

/// The run-time description of a class: name, number, parent and optionally a factory. Each class
/// has one static object, which is registered when its library is loaded and removed when it is
/// unloaded. Its constructor is constexpr, so the order of definitions does not matter.
class CORVEKIT_API KClassDefinition
{
public:
    /// Creates an object of the class on the heap, to be ended by Destroy.
    using Factory = KObject* (*)();

    /// pClassId   the variable of the class for its number, see RegisterClassId.
    /// pName      zero-terminated, not copied.
    /// pParent    null for the root of a family.
    /// pFactory   null for a class without a factory.
    constexpr KClassDefinition(const int& pClassId, const char* pName,
                               const KClassDefinition* pParent, Factory pFactory)
        : mClassId(pClassId), mName(pName), mParent(pParent), mFactory(pFactory)
    {}
    KClassDefinition(const KClassDefinition&) = delete;
    KClassDefinition& operator=(const KClassDefinition&) = delete;
    /// Removes the class from the registry. Its number is not used again.
    ~KClassDefinition();

    /// Registers the class and returns its number, at least 1. Numbers are valid for one run of the
    /// process. Further calls return the same number. May be called on any thread.
    int RegisterClassId();

    /// The number of the class; 0 before it is registered.
    int GetClassId() const { return mClassId; }
    const char* GetName() const { return mName; }
    const KClassDefinition* GetParent() const { return mParent; }
    /// Whether the number is that of this class or of one of its bases.
    bool Is(int pClassId) const;
    /// A new object, or null for a class without a factory.
    KObject* Create() const { return mFactory ? mFactory() : nullptr; }

    /// The first registered class of exactly this name, or null.
    static const KClassDefinition* Find(const char* pName);
    /// A registered class by its number, or null.
    static const KClassDefinition* Find(int pClassId);

private:
    const int& mClassId;
    const char* mName;
    const KClassDefinition* mParent;
    Factory mFactory;
    int mRegisteredId = 0;
};
