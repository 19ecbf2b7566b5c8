// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/name_match.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
TEST(NameMatch, StarsAndQuestionMarksMatchOtherCharacters)
{
    const struct
    {
        const char* pattern;
        const char* name;
        bool matches;
    } cases[] = {
        {"Hips/T/X", "Hips/T/X", true},
        {"Hips/T/X", "hips/T/X", false},
        {"Hips/T", "Hips/T/X", false},
        {"Hips/*", "Hips/T/X", true},
        {"Hips/*", "LeftHips/T/X", false},
        {"*/R/?", "Left Arm:1/R/Y", true},
        {"*/R/?", "Left/T/Y", false},
        {"", "", true},
        {"", "a", false},
        {"?", "", false},
        {"*a*b*", "xaxxbx", true},
        {"*ab", "abab", true},
        {"*aab*c", "aaaabaac", true},
        {"a\\*b", "a*b", true},
        {"a\\?", "a?", true},
        {"a\\\\b", "a\\b", true},
        {"a\\", "a\\", true},
        {"?/T/X", "\xC3\xA9/T/X", true},  // a character of two bytes
        {"??", "\xC3\xA9", false},
        {"*\xA9/T/X", "\xC3\xA9/T/X", false},  // is not split by a star
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.matches, NameMatches(each.pattern, each.name))
            << each.pattern << " on " << each.name;
    }
}

TEST(NameMatch, ManyStarsTakeNoExponentialTime)
{
    std::string pattern;
    for (int i = 0; i < 200; ++i) {
        pattern += "a*";
    }
    const std::string name(2000, 'a');
    EXPECT_TRUE(NameMatches(pattern, name));
    EXPECT_FALSE(NameMatches(pattern + "b", name));  // else the test does not end
}

TEST(NameMatch, APatternThatEqualsANameMatchesOnlyThatName)
{
    using Indexes = std::vector<std::size_t>;
    const std::vector<std::string> names = {"Hips/R/Y", "*/T/X", "Hips/T/X", "Leg*/R/X"};
    EXPECT_EQ((Indexes{0, 3}), MatchNames("*/R/?", names));
    EXPECT_EQ((Indexes{1}), MatchNames("*/T/X", names));
    EXPECT_EQ(Indexes{}, MatchNames("Hips", names));
}
}  // namespace
