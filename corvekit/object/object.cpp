// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/object/object.h"

#include "corvekit/assert.h"
#include "corvekit/object/property.h"

#include <cstring>
#include <limits>
#include <mutex>

namespace
{
// Objects of a class on several threads share the map of the class.
std::mutex gPropertyMapLock;
}  // namespace

const char* const KObject::ClassName = "KObject";
int KObject::ClassSize = sizeof(KObject);
int KObject::ClassInstanceCount = 0;
constinit KPropertyHashMap KObject::PropertyHashMap;
constinit KClassDefinition KObject::ClassDefinition(KObject::ClassId, "KObject", nullptr, nullptr);
int KObject::ClassId = KObject::ClassDefinition.RegisterClassId();

KObject::KObject(const char* pName) : mName(pName) {}

KObject::KObject(const KObject& pOther) : KPlug(pOther), mName(pOther.mName) {}

KObject& KObject::operator=(const KObject& pOther)
{
    KPlug::operator=(pOther);
    mName = pOther.mName;
    return *this;
}

KObject::~KObject()
{
    EndObject();
}

IObject* KObject::IQuery(unsigned long pId, int)
{
    return pId == kIQueryObject ? this : nullptr;
}

void KObject::Destroy(int)
{
    delete this;
}

void KObject::Destruct()
{
    while (GetPropertyCount() > 0) {
        RemoveProperty(mProperties[GetPropertyCount() - 1]);
    }
    mFlags |= eObjectFlagDestructed;
}

void KObject::SystemDetach()
{
    DisconnectAll();
}

void KObject::PrepareDestruct() {}

bool KObject::Is(int pClassId) const
{
    return pClassId == ClassId;
}

int KObject::GetClassId() const
{
    return ClassId;
}

const char* KObject::GetClassIdName() const
{
    return ClassName;
}

const KClassDefinition* KObject::GetClassDefinition() const
{
    return &ClassDefinition;
}

int KObject::GetClassGroupId() const
{
    return 0;
}

const char* KObject::GetClassGroupName() const
{
    return "";
}

int KObject::GetClassSize() const
{
    return ClassSize;
}

int KObject::GetClassInstanceCount() const
{
    return ClassInstanceCount;
}

KProperty* KObject::FastFindPropertyByName(const char* pName)
{
    return FastFindPropertyByName(pName, PropertyHashMap);
}

KProperty* KObject::FastFindPropertyByName(const char* pName, KPropertyHashMap& pMap)
{
    if (!pName) {
        return nullptr;
    }
    const auto isNamed = [pName](const KProperty* pProperty) {
        return pProperty && std::strcmp(pProperty->GetPropertyName(), pName) == 0;
    };
    {
        const std::lock_guard guard(gPropertyMapLock);
        const std::uint64_t* place = pMap.Find(pName);
        // Lists of objects of one class may differ, so the property at the index is checked.
        CORVEKIT_ASSERT(!place || *place <= std::numeric_limits<int>::max());
        if (place && isNamed(GetPropertyAt(static_cast<int>(*place)))) {
            return GetPropertyAt(static_cast<int>(*place));
        }
    }
    for (int i = 0; i < mProperties.GetCount(); ++i) {
        if (isNamed(mProperties[i])) {
            const std::lock_guard guard(gPropertyMapLock);
            pMap.Set(mProperties[i]->GetPropertyName(), static_cast<std::uint64_t>(i));
            return mProperties[i];
        }
    }
    return nullptr;
}

bool KObject::AddProperty(KProperty* pProperty)
{
    if (!pProperty || mProperties.Find(pProperty) >= 0) {
        return false;
    }
    mProperties.Add(pProperty);
    if (pProperty->mListedIn) {
        pProperty->mListedIn->RemoveProperty(pProperty);
    }
    pProperty->mListedIn = this;
    return true;
}

bool KObject::RemoveProperty(KProperty* pProperty)
{
    if (!mProperties.RemoveIt(pProperty)) {
        return false;
    }
    CORVEKIT_ASSERT(pProperty->mListedIn == this);
    pProperty->mListedIn = nullptr;
    return true;
}

KProperty* KObject::GetPropertyAt(int pIndex) const
{
    return pIndex >= 0 && pIndex < mProperties.GetCount() ? mProperties[pIndex] : nullptr;
}

void KObject::EndObject()
{
    if ((mFlags & eObjectFlagDestructed) == 0) {
        SystemDetach();
        PrepareDestruct();
        Destruct();
        CORVEKIT_ASSERT(GetPropertyCount() == 0 && GetSourceCount() == 0 &&
                        GetDestinationCount() == 0);
    }
}
