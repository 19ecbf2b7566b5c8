// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "io/result.h"

#include <string>

/// Reads all bytes of a file or a pipe. An error for a file that does not exist or cannot be read,
/// a directory, a failed read, and more than 2 GiB.
IoResult<std::string> ReadTextFile(const std::string& pPath);
