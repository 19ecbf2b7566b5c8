// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// What is behind the last slash of a path.
std::string FileName(const std::string& pPath);

/// What is behind the last point of the file's name, in lower case: "bvh" of "Walk.BVH"; "" without
/// a point.
std::string FileSuffix(const std::string& pPath);
