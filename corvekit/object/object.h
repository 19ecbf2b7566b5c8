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

/// The names of the properties of a class, with the index of each in the list of properties. Filled
/// by searches. The names are those of the property infos.
using KPropertyHashMap = KMap<const char*, std::uint64_t, KCharPointerLessCompare, KBaseAllocator>;

/// Bits of an object's flag word.
enum EObjectFlag : unsigned int
{
    eObjectFlagDestructed = 0x40  ///< Destruct has been called
};

/// An object with a run-time class, a name and a list of properties.
///
/// Classes derive from KClassFrame, which implements the functions about the class. Destruction has
/// three steps, each called once: SystemDetach removes connections, PrepareDestruct and Destruct
/// release the content. The destructor calls them unless they were called before. A copy has the
/// same name; its class adds the properties of the copy to the list.
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
    /// Deletes the object, which must be on the heap.
    void Destroy(int pArgument) override;
    ~KObject() override;

    /// Releases the content of the object. An override calls that of its parent at its end.
    virtual void Destruct();
    /// Removes the connections of the object.
    virtual void SystemDetach();
    /// Called before Destruct, while the object is still complete.
    virtual void PrepareDestruct();

    /// Whether the object is of the class of a number, or of a class derived from it.
    virtual bool Is(int pClassId) const;
    virtual int GetClassId() const;
    virtual const char* GetClassIdName() const;
    virtual const KClassDefinition* GetClassDefinition() const;
    /// An optional group of classes; 0 is no group.
    virtual int GetClassGroupId() const;
    virtual const char* GetClassGroupName() const;
    /// Size of an object of the class in bytes.
    virtual int GetClassSize() const;
    virtual int GetClassInstanceCount() const;
    /// The property of exactly this name, or null. The list is searched only for the first object
    /// of the class. May be called for different objects on different threads.
    virtual KProperty* FastFindPropertyByName(const char* pName);

    /// Never null.
    const char* GetObjectName() const { return mName.c_str(); }
    void SetObjectName(const char* pName) { mName = KString(pName); }

    /// Bits of EObjectFlag.
    unsigned int GetObjectFlags() const { return mFlags; }

    /// Appends a property, not owned, to the list. False for null and for one that is in the list.
    /// It is removed when it is destroyed.
    bool AddProperty(KProperty* pProperty);
    bool RemoveProperty(KProperty* pProperty);
    int GetPropertyCount() const { return mProperties.GetCount(); }
    /// Null for an index out of range.
    KProperty* GetPropertyAt(int pIndex) const;

protected:
    /// Implements FastFindPropertyByName with the map of a class.
    KProperty* FastFindPropertyByName(const char* pName, KPropertyHashMap& pMap);
    /// For destructors: calls the three steps of destruction unless they were called before.
    void EndObject();

private:
    KString mName;
    KArrayTemplate<KProperty*, 8> mProperties;
    unsigned int mFlags = 0;
};
