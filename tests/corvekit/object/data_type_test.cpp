// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/object/data_type.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
TEST(KDataType, EachPointerStandsForTheTypeOfItsName)
{
    const struct
    {
        KDataType* type;
        const char* name;
        int members;
    } cases[] = {
        {KDataTypeBool, "Bool", 1},
        {KDataTypeInt, "Integer", 1},
        {KDataTypeEnum, "Enum", 1},
        {KDataTypeNumber, "Default Number", 1},
        {KDataTypeVector, "Default Vector", 3},
        {KDataTypeVector2, "Vector2", 2},
        {KDataTypeVector4, "Vector4", 4},
        {KDataTypeQuaternion, "Quaternion", 4},
        {KDataTypeTime, "Time", 1},
        {KDataTypeString, "String", 1},
        {KDataTypeAction, "Action", 0},
        {KDataTypeVisibility, "Visibility", 1},
        {KDataTypeTimeWarp, "TimeWarp", 1},
        {KDataTypeTranslation, "Translation", 3},
        {KDataTypeRotation, "Rotation", 3},
        {KDataTypeScaling, "Scaling", 3},
        {KDataTypeLclTranslation, "Lcl Translation", 3},
        {KDataTypeLclRotation, "Lcl Rotation", 3},
        {KDataTypeLclScaling, "Lcl Scaling", 3},
        {KDataTypeMatrixTranslation, "Matrix Translation", 3},
        {KDataTypeMatrixRotation, "Matrix Rotation", 3},
        {KDataTypeMatrixScaling, "Matrix Scaling", 3},
        {KDataTypeTranslationUV, "TranslationUV", 3},
        {KDataTypeRotationUV, "RotationUV", 3},
        {KDataTypeScalingUV, "ScalingUV", 3},
        {KDataTypeColor, "Color", 3},
        {KDataTypeColorAndAlpha, "ColorAndAlpha", 4},
    };
    for (const auto& each : cases) {
        EXPECT_STREQ(each.name, each.type->GetName());
        EXPECT_EQ(each.members, each.type->GetMemberCount()) << each.name;
    }
}

TEST(KDataType, EveryTypeIsFoundByItsNameAndNoOther)
{
    const int count = KDataTypeGetCount();
    ASSERT_GE(count, 90);
    for (int i = 0; i < count; ++i) {
        KDataType* type = KDataTypeGetAt(i);
        ASSERT_NE(nullptr, type);
        EXPECT_EQ(type, KDataTypeGet(type->GetName())) << type->GetName();
    }
    EXPECT_EQ(nullptr, KDataTypeGetAt(count));
    EXPECT_EQ(nullptr, KDataTypeGetAt(-1));
    for (const char* name : {"", "fog", "Fog ", "Shape 00", "Shape 41", "Shape 1"}) {
        EXPECT_EQ(nullptr, KDataTypeGet(name)) << name;
    }
    for (const char* name : {"Fog", "Shape 01", "Shape 09", "Shape 10", "Shape 40"}) {
        EXPECT_NE(nullptr, KDataTypeGet(name)) << name;
    }
    EXPECT_EQ(nullptr, KDataTypeGet(nullptr));
}

TEST(KDataType, HostsAddTypesUnderFreeNames)
{
    std::string name = "Muscle";
    KDataType* type = KDataTypeCreate(name.c_str(), eDataTypeMemberDouble, 22);
    ASSERT_NE(nullptr, type);
    name[0] = 'x';
    EXPECT_EQ(type, KDataTypeGet("Muscle"));
    EXPECT_EQ(22, type->GetMemberCount());
    EXPECT_EQ(nullptr, KDataTypeCreate("Muscle", eDataTypeMemberDouble, 1));
    EXPECT_EQ(nullptr, KDataTypeCreate("Fog", eDataTypeMemberDouble, 1));
    EXPECT_EQ(nullptr, KDataTypeCreate(nullptr, eDataTypeMemberDouble, 1));
    EXPECT_EQ(nullptr, KDataTypeCreate("Negative", eDataTypeMemberDouble, -1));
}
}  // namespace
