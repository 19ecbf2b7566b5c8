// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/array.h"
#include "corvekit/export.h"
#include "corvekit/object/class_definition.h"
#include "corvekit/object/plug.h"
#include "corvekit/set.h"
#include "corvekit/string.h"

#include <cstdint>

class KProperty;

/// Names of a class's properties, with the place of each in the property list of its objects.
/// Filled by look-ups; the names are those of the property infos.
using KPropertyHashMap = KMap<const char*, std::uint64_t, KCharPointerLessCompare, KBaseAllocator>;

/// Bits of an object's flag word.
enum EObjectFlag : unsigned int
{
    eObjectFlagDestructed = 0x40  ///< Destruct has run; the destructor has nothing left to end
};

/// An object with a class that is known at run time, a name and a list of properties.
///
/// A class derives from KClassFrame, which answers the questions about the class. Its end has
/// three steps, each run once: SystemDetach takes it out of what surrounds it, PrepareDestruct and
/// Destruct give up what it holds. The destructor runs them when nobody has. A copy takes over the
/// name; properties belong to the derived class, which puts its own into the list.
class CORVEKIT_API KObject : public KPlug
{
public:
    static const char* const ClassName;
    static int ClassSize;
    static int ClassInstanceCount;
    static int ClassId;
    static KPropertyHashMap PropertyHashMap;
    static KClassDefinition ClassDefinition;

    explicit KObject(const char* pName = nullptr);
    KObject(const KObject& pOther);
    KObject& operator=(const KObject& pOther);

    /// This object for kIQueryObject, else null.
    IObject* IQuery(unsigned long pId, int pArgument) override;
    /// Deletes the object, which stands on the heap.
    void Destroy(int pArgument) override;
    ~KObject() override;

    /// Gives up what the object holds. An override ends with the one of its parent.
    virtual void Destruct();
    /// Takes the object out of its connections.
    virtual void SystemDetach();
    /// Called ahead of Destruct, while the object is still whole.
    virtual void PrepareDestruct();

    /// Whether the object is of a class, by the class's number, or of one derived from it.
    virtual bool Is(int pClassId) const;
    virtual int GetClassId() const;
    virtual const char* GetClassIdName() const;
    virtual const KClassDefinition* GetClassDefinition() const;
    /// Classes may be grouped by those who define them; 0 is no group.
    virtual int GetClassGroupId() const;
    virtual const char* GetClassGroupName() const;
    /// Bytes of an object of the class.
    virtual int GetClassSize() const;
    virtual int GetClassInstanceCount() const;
    /// A property by its exact name, or null. Does not read through the list, once the class has
    /// met the name. Safe for different objects on different threads.
    virtual KProperty* FastFindPropertyByName(const char* pName);

    /// Never null.
    const char* GetObjectName() const { return mName.c_str(); }
    void SetObjectName(const char* pName) { mName = KString(pName); }

    /// Bits of EObjectFlag.
    unsigned int GetObjectFlags() const { return mFlags; }

    /// Puts a property, not owned, behind those in the list. False for null and for one that is in
    /// the list. It leaves the list when it ends.
    bool AddProperty(KProperty* pProperty);
    bool RemoveProperty(KProperty* pProperty);
    int GetPropertyCount() const { return mProperties.GetCount(); }
    /// Null for an index out of range.
    KProperty* GetPropertyAt(int pIndex) const;

protected:
    /// The look-up behind FastFindPropertyByName, with the map of the class that asks.
    KProperty* FastFindPropertyByName(const char* pName, KPropertyHashMap& pMap);
    /// For destructors: runs the three steps of the end, unless the flags say they have run.
    void EndObject();

private:
    KString mName;
    KArrayTemplate<KProperty*, 8> mProperties;
    unsigned int mFlags = 0;
};
