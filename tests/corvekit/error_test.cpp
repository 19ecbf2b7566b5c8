// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/error.h"

#include <gtest/gtest.h>

#include <climits>
#include <utility>

namespace
{
TEST(KError, AnIdWithoutATextTakesTheOneOfTheTable)
{
    const char* const table[] = {"No key", nullptr, "Unchanged", "outside the count of the table"};
    KError error(table, 3);
    const std::pair<int, const char*> cases[] = {
        {0, "No key"}, {1, ""}, {3, ""}, {INT_MIN, ""}, {2, "Unchanged"}};
    for (const auto& [id, expected] : cases) {
        error.SetLastError(2, "Own text");
        EXPECT_STREQ("Own text", error.GetLastErrorString());
        error.SetLastError(id, nullptr);
        EXPECT_EQ(id, error.GetLastErrorID());
        EXPECT_STREQ(expected, error.GetLastErrorString());
    }
    error.SetLastError(1, error.GetLastErrorString(), 40);  // its own text is a valid argument
    EXPECT_STREQ("Unchanged", error.GetLastErrorString());
    EXPECT_EQ(40, error.GetLastErrorOffset());
    error.SetLastErrorID(0);
    EXPECT_EQ(-1, error.GetLastErrorOffset());
}
}  // namespace
