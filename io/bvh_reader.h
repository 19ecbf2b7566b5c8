// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "io/clip.h"
#include "io/result.h"

#include <string>
#include <string_view>

/// Greatest number of nested joints, the root included: hosts traverse hierarchies recursively.
constexpr int kBvhDeepestNesting = 512;

/// Reads a motion file in the BVH format. docs/bvh.md lists the variants that are accepted and what
/// is refused.
///
/// An error has the file, the line and the reason; no part of the clip is then returned. The memory
/// used is at most a multiple of the length of the text, whatever counts the text contains.
IoResult<Clip> ParseBvh(std::string_view pText, const std::string& pFileName);

/// Reads the file and parses it.
IoResult<Clip> ReadBvh(const std::string& pPath);
