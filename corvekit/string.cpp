// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/string.h"

#include <algorithm>

namespace
{
int Folded(char pCharacter)
{
    const int byte = static_cast<unsigned char>(pCharacter);
    return byte >= 'A' && byte <= 'Z' ? byte - 'A' + 'a' : byte;
}
}  // namespace

int KCompareNoCase(std::string_view pLeft, std::string_view pRight)
{
    const std::size_t common = std::min(pLeft.size(), pRight.size());
    for (std::size_t i = 0; i < common; ++i) {
        const int difference = Folded(pLeft[i]) - Folded(pRight[i]);
        if (difference != 0) {
            return difference;
        }
    }
    return static_cast<int>(pLeft.size() > common) - static_cast<int>(pRight.size() > common);
}

int KCompareNoCase(const char* pLeft, const char* pRight)
{
    return KCompareNoCase(std::string_view(pLeft ? pLeft : ""),
                          std::string_view(pRight ? pRight : ""));
}
