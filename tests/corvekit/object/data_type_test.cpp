// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/object/data_type.h"

#include <gtest/gtest.h>

namespace
{
TEST(KDataType, IsFoundByItsExactName)
{
    KDataType* const added = KDataTypeCreate("Muscle", eDataTypeMemberDouble, 22);
    const int count = KDataTypeGetCount();
    for (int i = 0; i < count; ++i) {
        KDataType* const type = KDataTypeGetAt(i);
        EXPECT_EQ(type, KDataTypeGet(type->GetName())) << type->GetName();
    }
    EXPECT_EQ(added, KDataTypeGet("Muscle"));
    for (const char* const name : {"", "fog", "Fog ", "Shape 00", "Shape 41", "Shape 1"}) {
        EXPECT_EQ(nullptr, KDataTypeGet(name)) << name;
    }
    for (const char* const refused : {"Muscle", "Fog", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(nullptr, KDataTypeCreate(refused, eDataTypeMemberDouble, 1));
    }
}
}  // namespace
