// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/string.h"

#include <gtest/gtest.h>

namespace
{
TEST(KString, HoldsAnyBytes)
{
    const KString text("a\0\xff"
                       "b",
                       4);
    EXPECT_EQ(4u, text.GetLength());
    EXPECT_EQ('\0', text.GetBuffer()[4]);
    EXPECT_FALSE(text == "a");
    EXPECT_EQ(KString("\0\xff", 2), text.Substring(1, 2));
    EXPECT_EQ(text, text.Substring(0, 2) + text.Substring(2));
    EXPECT_GT(KString("\xc3\xa9"), KString("z"));  // bytes are unsigned
}

TEST(KString, OnlyAsciiLettersAreComparedWithoutCase)
{
    const struct
    {
        const char *left, *right;
        int sign;
    } cases[] = {
        {"Visibility", "vISIBILITY", 0},
        {"ab", "ABC", -1},
        {"\xc3\x89", "\xc3\xa9", -1},  // an accented letter in both cases, UTF-8
        {"[", "{", -1},                // not letters, though they differ by the same bit
        {"_", "A", -1},                // compared as small letters
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.left);
        const int order = KCompareNoCase(each.left, each.right);
        EXPECT_EQ(each.sign, (order > 0) - (order < 0));
        const int reverse = KCompareNoCase(each.right, each.left);
        EXPECT_EQ(-each.sign, (reverse > 0) - (reverse < 0));
    }
    EXPECT_NE(0, KString("a\0b", 3).CompareNoCase(KString("A\0c", 3)));
}

TEST(KHash64, HasThePublishedValues)
{
    EXPECT_EQ(0xAF63DC4C8601EC8Cu, KHash64("a"));
    EXPECT_EQ(0x85944171F73967E8u, KString("foobar").GetHash());
}
}  // namespace
