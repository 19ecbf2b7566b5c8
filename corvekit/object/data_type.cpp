// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A table has the built-in types, and the named pointers point to its entries. It is initialized at
// compile time. Types of the host are in a list.

#include "corvekit/object/data_type.h"

#include "corvekit/array.h"
#include "corvekit/assert.h"
#include "corvekit/string.h"

#include <array>
#include <cstring>
#include <mutex>

namespace
{
enum BuiltIn : int
{
    eBool,
    eInt,
    eEnum,
    eNumber,
    eVector,
    eVector2,
    eVector4,
    eQuaternion,
    eTime,
    eString,
    eAction,
    eVisibility,
    eTimeWarp,
    eTranslation,
    eRotation,
    eScaling,
    eLclTranslation,
    eLclRotation,
    eLclScaling,
    eMatrixTranslation,
    eMatrixRotation,
    eMatrixScaling,
    eTranslationUV,
    eRotationUV,
    eScalingUV,
    eColor,
    eColorAndAlpha,
};

// The named types in the order of the enum, then those that are available by name only.
constinit KDataType gBuiltIn[] = {
    {"Bool", eDataTypeMemberBool, 1},
    {"Integer", eDataTypeMemberInt, 1},
    {"Enum", eDataTypeMemberInt, 1},
    {"Default Number", eDataTypeMemberDouble, 1},
    {"Default Vector", eDataTypeMemberDouble, 3},
    {"Vector2", eDataTypeMemberDouble, 2},
    {"Vector4", eDataTypeMemberDouble, 4},
    {"Quaternion", eDataTypeMemberDouble, 4},
    {"Time", eDataTypeMemberTime, 1},
    {"String", eDataTypeMemberString, 1},
    {"Action", eDataTypeMemberNone, 0},
    {"Visibility", eDataTypeMemberDouble, 1},
    {"TimeWarp", eDataTypeMemberDouble, 1},
    {"Translation", eDataTypeMemberDouble, 3},
    {"Rotation", eDataTypeMemberDouble, 3},
    {"Scaling", eDataTypeMemberDouble, 3},
    {"Lcl Translation", eDataTypeMemberDouble, 3},
    {"Lcl Rotation", eDataTypeMemberDouble, 3},
    {"Lcl Scaling", eDataTypeMemberDouble, 3},
    {"Matrix Translation", eDataTypeMemberDouble, 3},
    {"Matrix Rotation", eDataTypeMemberDouble, 3},
    {"Matrix Scaling", eDataTypeMemberDouble, 3},
    {"TranslationUV", eDataTypeMemberDouble, 3},
    {"RotationUV", eDataTypeMemberDouble, 3},
    {"ScalingUV", eDataTypeMemberDouble, 3},
    {"Color", eDataTypeMemberDouble, 3},
    {"ColorAndAlpha", eDataTypeMemberDouble, 4},
    {"Cone angle", eDataTypeMemberDouble, 1},
    {"Fog", eDataTypeMemberDouble, 1},
    {"Intensity", eDataTypeMemberDouble, 1},
    {"FieldOfView", eDataTypeMemberDouble, 1},
    {"FieldOfViewX", eDataTypeMemberDouble, 1},
    {"FieldOfViewY", eDataTypeMemberDouble, 1},
    {"OpticalCenterX", eDataTypeMemberDouble, 1},
    {"OpticalCenterY", eDataTypeMemberDouble, 1},
    {"Roll", eDataTypeMemberDouble, 1},
    {"TurnTable", eDataTypeMemberDouble, 1},
    {"Pose", eDataTypeMemberDouble, 1},
    {"RootR", eDataTypeMemberDouble, 1},
    {"RootH", eDataTypeMemberDouble, 1},
    {"RootXZ", eDataTypeMemberDouble, 1},
    {"RootSpeed", eDataTypeMemberDouble, 1},
    {"CustomBool", eDataTypeMemberBool, 1},
    {"CustomInteger", eDataTypeMemberInt, 1},
    {"CustomNumber", eDataTypeMemberDouble, 1},
    {"CustomAction", eDataTypeMemberNone, 0},
    {"CustomEnum", eDataTypeMemberInt, 1},
    {"CustomTranslation", eDataTypeMemberDouble, 3},
    {"CustomColor", eDataTypeMemberDouble, 3},
    {"CustomColorAndAlpha", eDataTypeMemberDouble, 4},
};
constexpr int kBuiltInCount = static_cast<int>(std::size(gBuiltIn));

// The types created at run time: the shapes, and those of the host. Their names are copied.
struct AddedType
{
    AddedType(const char* pName, EDataTypeMember pMember, int pMemberCount)
        : mName(pName), mType(mName.c_str(), pMember, pMemberCount)
    {}

    const KString mName;
    KDataType mType;
};

struct AddedTypes
{
    AddedTypes()
    {
        for (char tens = '0'; tens <= '4'; ++tens) {
            for (char units = tens == '0' ? '1' : '0'; units <= (tens == '4' ? '0' : '9');
                 ++units) {
                const char name[] = {'S', 'h', 'a', 'p', 'e', ' ', tens, units, '\0'};
                mTypes.SetCapacity(mTypes.GetCount() + 1);
                mTypes.Add(new AddedType(name, eDataTypeMemberDouble, 1));
            }
        }
    }

    std::mutex mLock;
    KArrayTemplate<AddedType*> mTypes;
};

// Never destroyed, as types exist until the process ends.
AddedTypes& Added()
{
    static AddedTypes& added = *new AddedTypes;
    return added;
}

// The lock is held.
KDataType* FindType(AddedTypes& pAdded, const char* pName)
{
    CORVEKIT_ASSERT(pName);
    for (KDataType& each : gBuiltIn) {
        if (std::strcmp(each.GetName(), pName) == 0) {
            return &each;
        }
    }
    for (AddedType* each : pAdded.mTypes) {
        if (each->mName == pName) {
            return &each->mType;
        }
    }
    return nullptr;
}
}  // namespace

KDataType* KDataTypeGet(const char* pName)
{
    if (!pName) {
        return nullptr;
    }
    AddedTypes& added = Added();
    const std::lock_guard guard(added.mLock);
    return FindType(added, pName);
}

KDataType* KDataTypeCreate(const char* pName, EDataTypeMember pMember, int pMemberCount)
{
    if (!pName || pMemberCount < 0) {
        return nullptr;
    }
    AddedTypes& added = Added();
    const std::lock_guard guard(added.mLock);
    if (FindType(added, pName)) {
        return nullptr;
    }
    added.mTypes.SetCapacity(added.mTypes.GetCount() + 1);
    AddedType* const type = new AddedType(pName, pMember, pMemberCount);
    added.mTypes.Add(type);
    return &type->mType;
}

int KDataTypeGetCount()
{
    AddedTypes& added = Added();
    const std::lock_guard guard(added.mLock);
    return kBuiltInCount + added.mTypes.GetCount();
}

KDataType* KDataTypeGetAt(int pIndex)
{
    if (pIndex >= 0 && pIndex < kBuiltInCount) {
        return &gBuiltIn[pIndex];
    }
    AddedTypes& added = Added();
    const std::lock_guard guard(added.mLock);
    const int place = pIndex - kBuiltInCount;
    return pIndex >= 0 && place < added.mTypes.GetCount() ? &added.mTypes[place]->mType : nullptr;
}

constinit KDataType* const KDataTypeBool = &gBuiltIn[eBool];
constinit KDataType* const KDataTypeInt = &gBuiltIn[eInt];
constinit KDataType* const KDataTypeEnum = &gBuiltIn[eEnum];
constinit KDataType* const KDataTypeNumber = &gBuiltIn[eNumber];
constinit KDataType* const KDataTypeVector = &gBuiltIn[eVector];
constinit KDataType* const KDataTypeVector2 = &gBuiltIn[eVector2];
constinit KDataType* const KDataTypeVector4 = &gBuiltIn[eVector4];
constinit KDataType* const KDataTypeQuaternion = &gBuiltIn[eQuaternion];
constinit KDataType* const KDataTypeTime = &gBuiltIn[eTime];
constinit KDataType* const KDataTypeString = &gBuiltIn[eString];
constinit KDataType* const KDataTypeAction = &gBuiltIn[eAction];
constinit KDataType* const KDataTypeVisibility = &gBuiltIn[eVisibility];
constinit KDataType* const KDataTypeTimeWarp = &gBuiltIn[eTimeWarp];
constinit KDataType* const KDataTypeTranslation = &gBuiltIn[eTranslation];
constinit KDataType* const KDataTypeRotation = &gBuiltIn[eRotation];
constinit KDataType* const KDataTypeScaling = &gBuiltIn[eScaling];
constinit KDataType* const KDataTypeLclTranslation = &gBuiltIn[eLclTranslation];
constinit KDataType* const KDataTypeLclRotation = &gBuiltIn[eLclRotation];
constinit KDataType* const KDataTypeLclScaling = &gBuiltIn[eLclScaling];
constinit KDataType* const KDataTypeMatrixTranslation = &gBuiltIn[eMatrixTranslation];
constinit KDataType* const KDataTypeMatrixRotation = &gBuiltIn[eMatrixRotation];
constinit KDataType* const KDataTypeMatrixScaling = &gBuiltIn[eMatrixScaling];
constinit KDataType* const KDataTypeTranslationUV = &gBuiltIn[eTranslationUV];
constinit KDataType* const KDataTypeRotationUV = &gBuiltIn[eRotationUV];
constinit KDataType* const KDataTypeScalingUV = &gBuiltIn[eScalingUV];
constinit KDataType* const KDataTypeColor = &gBuiltIn[eColor];
constinit KDataType* const KDataTypeColorAndAlpha = &gBuiltIn[eColorAndAlpha];
