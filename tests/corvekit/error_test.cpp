// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/error.h"

#include <gtest/gtest.h>

#include <climits>

namespace
{
TEST(KError, AnIdWithoutATextTakesTheOneOfTheTable)
{
    const char* const table[] = {"No key", nullptr, "Unchanged", "outside the count of the table"};
    KError error(table, 3);
    const struct
    {
        int id;
        const char* text;
        const char* expected;
    } cases[] = {
        {0, nullptr, "No key"}, {2, "Own text", "Own text"}, {1, nullptr, ""},
        {3, nullptr, ""},       {INT_MIN, nullptr, ""},      {2, nullptr, "Unchanged"},
    };
    for (const auto& each : cases) {
        error.SetLastError(each.id, each.text);
        EXPECT_EQ(each.id, error.GetLastErrorID());
        EXPECT_STREQ(each.expected, error.GetLastErrorString());
    }
    error.SetLastError(1, error.GetLastErrorString(), 40);  // its own text is a valid argument
    EXPECT_STREQ("Unchanged", error.GetLastErrorString());
    EXPECT_EQ(40, error.GetLastErrorOffset());
    error.SetLastErrorID(0);
    EXPECT_EQ(-1, error.GetLastErrorOffset());
}
}  // namespace
