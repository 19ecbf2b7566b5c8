// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <string_view>

/// "1 curve", "2 curves".
inline std::string CountText(std::int64_t pCount, std::string_view pName)
{
    return fmt::format("{} {}{}", pCount, pName, pCount == 1 ? "" : "s");
}
