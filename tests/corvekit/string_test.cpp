// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/string.h"

#include <gtest/gtest.h>

namespace
{
TEST(KString, HoldsAnyBytes)
{
    const char bytes[] = {'a', '\0', '\xff', 'b'};
    const KString text(bytes, sizeof(bytes));
    EXPECT_EQ(4u, text.GetLength());
    EXPECT_EQ('\0', text.GetBuffer()[4]);
    EXPECT_FALSE(text == "a");
    EXPECT_EQ(2u, text.Find("\xff"));
    EXPECT_EQ(KString::kNotFound, text.Find("a", 1));
    EXPECT_EQ(KString(bytes + 1, 2), text.Substring(1, 2));
    EXPECT_EQ(KString(), text.Substring(4));
    EXPECT_EQ(KString(), text.Substring(99, 1));
    EXPECT_EQ(text, text.Substring(0, 2) + text.Substring(2));
    EXPECT_EQ(KString(nullptr), KString(nullptr, 0));
    EXPECT_LT(KString("a"), text);
    EXPECT_GT(KString("\xc3\xa9"), KString("z"));  // bytes are unsigned
}

TEST(KString, CaseIsFoldedForAsciiLettersOnly)
{
    const struct
    {
        const char *left, *right;
        int sign;
    } cases[] = {
        {"Visibility", "vISIBILITY", 0},
        {"", nullptr, 0},
        {"ab", "ABC", -1},
        {"b", "AB", 1},
        {"\xc3\x89", "\xc3\xa9", -1},  // accented capital and small letter in UTF-8
        {"[", "{", -1},                // they differ by the same bit as a letter's two cases
        {"_", "A", -1},                // letters are folded to the small ones
        {"\xff", "a", 1},
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

TEST(KHash64, GivesThePublishedValuesOfItsMethod)
{
    EXPECT_EQ(0xCBF29CE484222325u, KHash64(""));
    EXPECT_EQ(0xAF63DC4C8601EC8Cu, KHash64("a"));
    EXPECT_EQ(0x85944171F73967E8u, KHash64("foobar"));
    EXPECT_EQ(KHash64("foobar"), KString("foobar").GetHash());
}
}  // namespace
