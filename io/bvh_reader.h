// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "io/clip.h"
#include "io/result.h"

#include <string>
#include <string_view>

/// Deepest nesting of joints, the root counted: hosts walk hierarchies by recursion.
constexpr int kBvhDeepestNesting = 512;

/// Reads a motion file in the BVH format. docs/bvh.md lists what is understood beyond the letter
/// of the format, and what is refused.
///
/// An error names the file, the line and the reason, and there is then no clip: a file is read
/// whole or not at all. The memory taken is bounded by a multiple of the length of the text,
/// whatever counts the text names.
IoResult<Clip> ParseBvh(std::string_view pText, const std::string& pFileName);

/// Reads the file and parses it.
IoResult<Clip> ReadBvh(const std::string& pPath);
