// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "io/result.h"

#include <string>

/// The bytes of a file, read whole; a pipe is read to its end. Refused with a reason: a file that
/// is absent or may not be read, a directory, a read error, more than 2 GiB.
IoResult<std::string> ReadTextFile(const std::string& pPath);
