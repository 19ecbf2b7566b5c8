// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/object/object.h"

/// The common members of all classes of objects: static data that describes the class, and
/// functions that return it. A class is declared as
///
///     class MyObject : public KClassFrame<MyObject, KObject>
///     {
///     public:
///         static constexpr char kClassName[] = "MyObject";
///         using KClassFrame::KClassFrame;  // or constructors of its own
///         ...
///     };
///
/// A library with public classes needs one line after the class in the header and one in the source
/// file, so that the static data exists once and the class is registered at load time:
///
///     extern template class KClassFrame<MyObject, KObject>;
///     template class KClassFrame<MyObject, KObject>;
///
/// The class has no factory. A class that overrides SystemDetach, PrepareDestruct or Destruct must
/// call EndObject in its destructor, as its overrides cannot be called later.
template <typename Self, typename Parent>
class CORVEKIT_API KClassFrame : public Parent
{
public:
    static const char* const ClassName;
    static int ClassSize;
    static int ClassInstanceCount;
    static int ClassId;
    static KPropertyHashMap PropertyHashMap;
    static KClassDefinition ClassDefinition;

    using Parent::Parent;
    KClassFrame() = default;
    KClassFrame(const KClassFrame&) = default;
    KClassFrame& operator=(const KClassFrame&) = default;

    void Destroy(int) override { delete this; }
    ~KClassFrame() override { this->EndObject(); }

    bool Is(int pClassId) const override { return pClassId == ClassId || Parent::Is(pClassId); }
    int GetClassId() const override { return ClassId; }
    const char* GetClassIdName() const override { return ClassName; }
    const KClassDefinition* GetClassDefinition() const override { return &ClassDefinition; }
    int GetClassGroupId() const override { return Parent::GetClassGroupId(); }
    const char* GetClassGroupName() const override { return Parent::GetClassGroupName(); }
    int GetClassSize() const override { return ClassSize; }
    int GetClassInstanceCount() const override { return ClassInstanceCount; }
    KProperty* FastFindPropertyByName(const char* pName) override
    {
        return KObject::FastFindPropertyByName(pName, PropertyHashMap);
    }
};

template <typename Self, typename Parent>
const char* const KClassFrame<Self, Parent>::ClassName = Self::kClassName;
template <typename Self, typename Parent>
int KClassFrame<Self, Parent>::ClassSize = sizeof(Self);
template <typename Self, typename Parent>
int KClassFrame<Self, Parent>::ClassInstanceCount = 0;
template <typename Self, typename Parent>
constinit KPropertyHashMap KClassFrame<Self, Parent>::PropertyHashMap;
template <typename Self, typename Parent>
constinit KClassDefinition KClassFrame<Self, Parent>::ClassDefinition(ClassId, Self::kClassName,
                                                                      &Parent::ClassDefinition,
                                                                      nullptr);
template <typename Self, typename Parent>
int KClassFrame<Self, Parent>::ClassId = ClassDefinition.RegisterClassId();
