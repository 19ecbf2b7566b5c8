// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/object/data_type.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
TEST(KDataType, IsFoundByItsExactName)
{
    const int count = KDataTypeGetCount();
    for (int i = 0; i < count; ++i) {
        KDataType* const type = KDataTypeGetAt(i);
        ASSERT_NE(nullptr, type);
        EXPECT_EQ(type, KDataTypeGet(type->GetName())) << type->GetName();
    }
    EXPECT_EQ(nullptr, KDataTypeGetAt(count));
    EXPECT_EQ(nullptr, KDataTypeGetAt(-1));
    for (const char* const name : {"", "fog", "Fog ", "Shape 00", "Shape 41", "Shape 1"}) {
        EXPECT_EQ(nullptr, KDataTypeGet(name)) << name;
    }
}

TEST(KDataType, HostsAddTypesUnderNewNames)
{
    std::string name = "Muscle";
    KDataType* const type = KDataTypeCreate(name.c_str(), eDataTypeMemberDouble, 22);
    ASSERT_NE(nullptr, type);
    name[0] = 'x';  // the name was copied
    EXPECT_EQ(type, KDataTypeGet("Muscle"));
    for (const char* const refused : {"Muscle", "Fog", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(nullptr, KDataTypeCreate(refused, eDataTypeMemberDouble, 1));
    }
    EXPECT_EQ(nullptr, KDataTypeCreate("Negative", eDataTypeMemberDouble, -1));
}
}  // namespace
