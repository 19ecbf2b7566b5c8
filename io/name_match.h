// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Whether a pattern matches a whole name. Case matters.
///
/// '*' matches any number of characters, '/' included, so that "Hips/*" matches all curves of Hips
/// and "*/R/?" all rotations. '?' matches one character (a code point of UTF-8). '\' makes the next
/// character of the pattern literal. All other characters match themselves.
/// Cost: at most pattern length times name length; allocates nothing.
bool NameMatches(std::string_view pPattern, std::string_view pName);

/// Indexes of the names that a pattern matches, in order. A pattern that equals one of the names
/// matches only that name, whatever characters it contains.
std::vector<std::size_t> MatchNames(std::string_view pPattern,
                                    const std::vector<std::string>& pNames);
