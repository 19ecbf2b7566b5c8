// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

/// Indexes of the names that patterns choose, in the order of the patterns, each once. What a
/// pattern means is said at MatchNames (io/name_match.h).
///
/// pPath, pKind  for the message: the clip, and what the names are, "curve" or "node".
/// pMissing      receives the patterns that choose nothing; without it the first of them is a
///               Refusal that lists the names.
std::vector<std::size_t> ChooseNames(const std::vector<std::string>& pNames,
                                     const std::vector<std::string>& pPatterns,
                                     const std::string& pPath, const char* pKind,
                                     std::vector<std::string>* pMissing = nullptr);

/// "Hips/R, Spine/R and 24 more", for a message; "none" without names.
std::string NamesText(std::vector<std::string> pNames);
