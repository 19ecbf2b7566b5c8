// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// The text for terminals and pictures: bytes that are not valid UTF-8, and control characters, are
/// replaced by U+FFFD.
std::string PrintableText(std::string_view pText);

/// Takes the first character off a text that is not empty, and returns it as in PrintableText.
/// Allocates nothing.
std::string_view TakePrintable(std::string_view& pText);

/// Number of characters (code points) of a printable text.
std::size_t CharacterCount(std::string_view pText);
