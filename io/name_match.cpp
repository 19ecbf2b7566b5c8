// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/name_match.h"

#include <algorithm>

namespace
{
// A byte of a UTF-8 character after the first one.
bool IsContinuation(char pChar)
{
    return (static_cast<unsigned char>(pChar) & 0xC0) == 0x80;
}

std::size_t AfterCharacter(std::string_view pName, std::size_t pAt)
{
    do {
        ++pAt;
    } while (pAt < pName.size() && IsContinuation(pName[pAt]));
    return pAt;
}
}  // namespace

// Backtracks to the last star only, which then takes one more character. The pattern before it has
// matched at the earliest place; a later place would leave less of the name for the rest.
bool NameMatches(std::string_view pPattern, std::string_view pName)
{
    constexpr std::size_t kNone = std::string_view::npos;
    std::size_t pattern = 0;
    std::size_t name = 0;
    std::size_t star = kNone;
    std::size_t taken = 0;
    while (name < pName.size()) {
        if (pattern < pPattern.size()) {
            const char wanted = pPattern[pattern];
            if (wanted == '*') {
                star = pattern++;
                taken = name;
                continue;
            }
            if (wanted == '?') {
                ++pattern;
                name = AfterCharacter(pName, name);
                continue;
            }
            const std::size_t literal =
                wanted == '\\' && pattern + 1 < pPattern.size() ? pattern + 1 : pattern;
            if (pPattern[literal] == pName[name]) {
                pattern = literal + 1;
                ++name;
                continue;
            }
        }
        if (star == kNone) {
            return false;
        }
        pattern = star + 1;
        taken = AfterCharacter(pName, taken);
        name = taken;
    }
    while (pattern < pPattern.size() && pPattern[pattern] == '*') {
        ++pattern;
    }
    return pattern == pPattern.size();
}

std::vector<std::size_t> MatchNames(std::string_view pPattern,
                                    const std::vector<std::string>& pNames)
{
    const bool isName = std::find(pNames.begin(), pNames.end(), pPattern) != pNames.end();
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < pNames.size(); ++i) {
        if (isName ? pNames[i] == pPattern : NameMatches(pPattern, pNames[i])) {
            found.push_back(i);
        }
    }
    return found;
}
