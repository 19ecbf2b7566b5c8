// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Whether a pattern covers a whole name, case and all.
///
/// '*' stands for any run of characters, also none and also across '/', so that "Hips/*" names all
/// curves of Hips and "*/R/?" all rotations. '?' stands for one character (of UTF-8 text: one code
/// point), '\' takes the next character of the pattern as itself. Everything else is itself.
/// Cost: at most pattern length times name length; allocates nothing.
bool NameMatches(std::string_view pPattern, std::string_view pName);

/// Indexes of the names that a pattern covers, in their order. A pattern that is one of the names
/// means that name alone, whatever characters it holds.
std::vector<std::size_t> MatchNames(std::string_view pPattern,
                                    const std::vector<std::string>& pNames);
