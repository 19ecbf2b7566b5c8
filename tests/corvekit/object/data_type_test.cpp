// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/object/data_type.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

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
