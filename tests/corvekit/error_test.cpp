// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/error.h"

#include <gtest/gtest.h>

#include <climits>

namespace
{
const char* const kTable[] = {"No key", nullptr, "Left unchanged", "behind the table's count"};

TEST(KError, AnIdWithoutATextTakesTheOneOfTheTable)
{
    KError error(kTable, 3);
    EXPECT_EQ(KError::kNone, error.GetLastErrorID());
    EXPECT_STREQ("", error.GetLastErrorString());
    const struct
    {
        int id;
        const char* text;
        const char* expected;
    } cases[] = {
        {0, nullptr, "No key"},
        {2, "Clamp, nothing changed.", "Clamp, nothing changed."},
        {1, nullptr, ""},
        {3, nullptr, ""},
        {-1, nullptr, ""},
        {INT_MIN, nullptr, ""},
        {2, nullptr, "Left unchanged"},
    };
    for (const auto& each : cases) {
        error.SetLastError(each.id, each.text);
        EXPECT_EQ(each.id, error.GetLastErrorID());
        EXPECT_STREQ(each.expected, error.GetLastErrorString());
    }
    error.SetLastError(1, error.GetLastErrorString(), 40);
    EXPECT_STREQ("Left unchanged", error.GetLastErrorString());
    EXPECT_EQ(40, error.GetLastErrorOffset());
    error.SetLastErrorID(0);
    EXPECT_EQ(-1, error.GetLastErrorOffset());
}
}  // namespace
