// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// A text as valid UTF-8 without control characters, for terminals and pictures: each byte that is
/// not part of such a character becomes U+FFFD.
std::string PrintableText(std::string_view pText);

/// Characters (code points) of a printable text.
std::size_t CharacterCount(std::string_view pText);
