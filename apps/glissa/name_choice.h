// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

/// Indexes of the names that match patterns, in the order of the patterns, without repetition. See
/// MatchNames (io/name_match.h) for patterns.
///
/// pPath, pKind  for the message: the clip, and "curve" or "node".
/// pMissing      gets the patterns without a match; if it is null, the first of these throws a
///               Refusal with a list of the names.
std::vector<std::size_t> ChooseNames(const std::vector<std::string>& pNames,
                                     const std::vector<std::string>& pPatterns,
                                     const std::string& pPath, const char* pKind,
                                     std::vector<std::string>* pMissing = nullptr);

/// "Hips/R, Spine/R and 24 more" for a message; "none" without names.
std::string NamesText(std::vector<std::string> pNames);
