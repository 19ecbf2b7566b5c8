// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"

/// The type of the members of a data type.
enum EDataTypeMember : int
{
    eDataTypeMemberNone = 0,  ///< an action, which has no value
    eDataTypeMemberBool,
    eDataTypeMemberInt,
    eDataTypeMemberDouble,
    eDataTypeMemberTime,
    eDataTypeMemberString
};

/// A named type of values, such as a rotation of three angles. Each exists once until the process
/// ends, so types can be compared by their pointers.
class CORVEKIT_API KDataType
{
public:
    constexpr KDataType(const char* pName, EDataTypeMember pMember, int pMemberCount)
        : mName(pName), mMember(pMember), mMemberCount(pMemberCount)
    {}
    KDataType(const KDataType&) = delete;
    KDataType& operator=(const KDataType&) = delete;

    const char* GetName() const { return mName; }
    EDataTypeMember GetMember() const { return mMember; }
    /// Number of members of a value; 0 for an action.
    int GetMemberCount() const { return mMemberCount; }

private:
    const char* mName;
    EDataTypeMember mMember;
    int mMemberCount;
};

/// The type of exactly this name, one of those below or one of the host, or null.
CORVEKIT_API KDataType* KDataTypeGet(const char* pName);

/// Adds a type of the host. Null if the name is null or in use, or the count is negative. May be
/// called on any thread.
CORVEKIT_API KDataType* KDataTypeCreate(const char* pName, EDataTypeMember pMember,
                                        int pMemberCount);

/// The number of types, and each by its index in the order of creation; null out of range.
CORVEKIT_API int KDataTypeGetCount();
CORVEKIT_API KDataType* KDataTypeGetAt(int pIndex);

// Plain values; the name is the text in the comment.
CORVEKIT_API extern KDataType* const KDataTypeBool;        ///< "Bool"
CORVEKIT_API extern KDataType* const KDataTypeInt;         ///< "Integer"
CORVEKIT_API extern KDataType* const KDataTypeEnum;        ///< "Enum"
CORVEKIT_API extern KDataType* const KDataTypeNumber;      ///< "Default Number", one double
CORVEKIT_API extern KDataType* const KDataTypeVector;      ///< "Default Vector", X Y Z
CORVEKIT_API extern KDataType* const KDataTypeVector2;     ///< "Vector2", X Y
CORVEKIT_API extern KDataType* const KDataTypeVector4;     ///< "Vector4", X Y Z W
CORVEKIT_API extern KDataType* const KDataTypeQuaternion;  ///< "Quaternion", x y z w
CORVEKIT_API extern KDataType* const KDataTypeTime;        ///< "Time", ticks
CORVEKIT_API extern KDataType* const KDataTypeString;      ///< "String"
CORVEKIT_API extern KDataType* const KDataTypeAction;      ///< "Action"
CORVEKIT_API extern KDataType* const KDataTypeVisibility;  ///< "Visibility", one double
CORVEKIT_API extern KDataType* const KDataTypeTimeWarp;    ///< "TimeWarp", seconds of warped time

// Transforms of three members each, X Y Z; rotations in degrees. The local ones are relative to
// the parent object.
CORVEKIT_API extern KDataType* const KDataTypeTranslation;        ///< "Translation"
CORVEKIT_API extern KDataType* const KDataTypeRotation;           ///< "Rotation"
CORVEKIT_API extern KDataType* const KDataTypeScaling;            ///< "Scaling"
CORVEKIT_API extern KDataType* const KDataTypeLclTranslation;     ///< "Lcl Translation"
CORVEKIT_API extern KDataType* const KDataTypeLclRotation;        ///< "Lcl Rotation"
CORVEKIT_API extern KDataType* const KDataTypeLclScaling;         ///< "Lcl Scaling"
CORVEKIT_API extern KDataType* const KDataTypeMatrixTranslation;  ///< "Matrix Translation"
CORVEKIT_API extern KDataType* const KDataTypeMatrixRotation;     ///< "Matrix Rotation"
CORVEKIT_API extern KDataType* const KDataTypeMatrixScaling;      ///< "Matrix Scaling"

// Texture transforms and colours.
CORVEKIT_API extern KDataType* const KDataTypeTranslationUV;  ///< "TranslationUV", U V W
CORVEKIT_API extern KDataType* const KDataTypeRotationUV;     ///< "RotationUV", degrees
CORVEKIT_API extern KDataType* const KDataTypeScalingUV;      ///< "ScalingUV", U V W
CORVEKIT_API extern KDataType* const KDataTypeColor;          ///< "Color", red green blue
CORVEKIT_API extern KDataType* const KDataTypeColorAndAlpha;  ///< "ColorAndAlpha", and alpha

// Further types are available by name only, for channels with their own display colour:
// camera and light channels ("FieldOfView", "Intensity"), poses and roots ("Pose", "RootH"), the
// shapes "Shape 01" to "Shape 40", and the custom ones ("CustomBool" to "CustomColorAndAlpha").
