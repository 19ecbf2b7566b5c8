// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/file_name.h"

#include <algorithm>

std::string FileName(const std::string& pPath)
{
    const std::size_t slash = pPath.rfind('/');
    return slash == std::string::npos ? pPath : pPath.substr(slash + 1);
}

std::string FileSuffix(const std::string& pPath)
{
    const std::string name = FileName(pPath);
    const std::size_t dot = name.rfind('.');
    std::string suffix = dot == std::string::npos ? std::string() : name.substr(dot + 1);
    std::transform(suffix.begin(), suffix.end(), suffix.begin(), [](char pEach) {
        return pEach >= 'A' && pEach <= 'Z' ? static_cast<char>(pEach - 'A' + 'a') : pEach;
    });
    return suffix;
}
