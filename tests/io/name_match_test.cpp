// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/name_match.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace
{
TEST(NameMatch, StarsAndQuestionMarksStandForOtherCharacters)
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
        {"?/T/X", "\xC3\xA9/T/X", true},  // a letter of two bytes is one character
        {"??", "\xC3\xA9", false},
        {"*\xA9/T/X", "\xC3\xA9/T/X", false},  // and a star does not split it
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.matches, NameMatches(each.pattern, each.name))
            << each.pattern << " on " << each.name;
    }
}

TEST(NameMatch, ManyStarsTakeNoExponentialTime)
{
    const std::string name(2000, 'a');
    std::string pattern;
    for (int i = 0; i < 200; ++i) {
        pattern += "a*";
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(NameMatches(pattern + "b", name));
    EXPECT_TRUE(NameMatches(pattern, name));
    // 400000 steps at most; tried anew for each star they would outlast the machine.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}
TEST(NameMatch, APatternThatIsANameMeansThatName)
{
    const std::vector<std::string> names = {"Hips/R/Y", "*/T/X", "Hips/T/X", "Leg*/R/X"};
    const struct
    {
        const char* pattern;
        std::vector<std::size_t> found;
    } cases[] = {
        {"*/R/?", {0, 3}}, {"Hips/*", {0, 2}}, {"hips/*", {}}, {"*", {0, 1, 2, 3}},
        {"*/T/X", {1}},    {"Leg*/R/X", {3}},  {"Hips", {}},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.found, MatchNames(each.pattern, names)) << each.pattern;
    }
}
}  // namespace
