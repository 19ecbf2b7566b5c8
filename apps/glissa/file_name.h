// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// The part of a path after the last slash.
std::string FileName(const std::string& pPath);

/// The part of the file name after the last point, in lower case: "bvh" for "Walk.BVH"; "" without
/// a point.
std::string FileSuffix(const std::string& pPath);
