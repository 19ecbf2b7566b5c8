// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"

class KObject;

/// What the system knows of a class at run time: its name, its number, its parent and, where it
/// has one, a factory. One static object a class, registered while its library loads and taken out
/// when it unloads. Construction runs no code, so a class may name its parent in any order.
class CORVEKIT_API KClassDefinition
{
public:
    /// Makes an object of the class on the heap; it ends by Destroy.
    using Factory = KObject* (*)();

    /// pClassId   where the class keeps its number; RegisterClassId gives it.
    /// pName      zero-terminated, not copied.
    /// pParent    null for the root of a family.
    /// pFactory   null for a class that is made by its constructors only.
    constexpr KClassDefinition(const int& pClassId, const char* pName,
                               const KClassDefinition* pParent, Factory pFactory)
        : mClassId(pClassId), mName(pName), mParent(pParent), mFactory(pFactory)
    {}
    KClassDefinition(const KClassDefinition&) = delete;
    KClassDefinition& operator=(const KClassDefinition&) = delete;
    /// Takes the class out of the registry. Its number is not given out again.
    ~KClassDefinition();

    /// Puts the class into the registry and gives its number, 1 or above. Numbers hold for one run
    /// of the process. Called again it gives the same number. Safe from any thread.
    int RegisterClassId();

    /// The number that the class keeps; 0 before it is registered.
    int GetClassId() const { return mClassId; }
    const char* GetName() const { return mName; }
    const KClassDefinition* GetParent() const { return mParent; }
    /// Whether the number is that of this class or of a class above it.
    bool Is(int pClassId) const;
    /// A new object, or null for a class without a factory.
    KObject* Create() const { return mFactory ? mFactory() : nullptr; }

    /// A registered class by its exact name, the one registered first, or null.
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
