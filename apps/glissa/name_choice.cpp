// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/name_choice.h"

#include "apps/glissa/printable_text.h"
#include "apps/glissa/refusal.h"
#include "io/name_match.h"

#include <fmt/format.h>

#include <algorithm>

namespace
{
constexpr std::size_t kMostNamed = 12;
}  // namespace

std::vector<std::size_t> ChooseNames(const std::vector<std::string>& pNames,
                                     const std::vector<std::string>& pPatterns,
                                     const std::string& pPath, const char* pKind,
                                     std::vector<std::string>* pMissing)
{
    std::vector<std::size_t> chosen;
    std::vector<bool> isChosen(pNames.size(), false);
    for (const std::string& pattern : pPatterns) {
        const std::vector<std::size_t> found = MatchNames(pattern, pNames);
        for (const std::size_t index : found) {
            if (!isChosen[index]) {
                isChosen[index] = true;
                chosen.push_back(index);
            }
        }
        if (found.empty() && pMissing) {
            pMissing->push_back(pattern);
        } else if (found.empty()) {
            throw Refusal(fmt::format("{}: no {} matches '{}'; the {}", pPath, pKind, pattern,
                                      pNames.empty()
                                          ? fmt::format("clip has no {}s", pKind)
                                          : fmt::format("{}s are {}", pKind, NamesText(pNames))));
        }
    }
    return chosen;
}

std::string NamesText(std::vector<std::string> pNames)
{
    if (pNames.empty()) {
        return "none";
    }
    const std::size_t count = pNames.size();
    pNames.resize(std::min(count, kMostNamed));
    for (std::string& each : pNames) {
        each = PrintableText(each);
    }
    const std::string text = fmt::format("{}", fmt::join(pNames, ", "));
    return count > kMostNamed ? fmt::format("{} and {} more", text, count - kMostNamed) : text;
}
