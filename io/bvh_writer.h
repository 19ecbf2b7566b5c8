// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "io/clip.h"
#include "io/result.h"

#include <string>

/// The text of a motion file in the BVH format: hierarchy, channel order and frame time text as the
/// clip has them, numbers as the shortest decimals that read back as the same double. Reading it
/// with ParseBvh gives an equal clip.
///
/// Refused, with the joint or the curve and the frame: what the format cannot hold or a reader
/// would take for something else. That is a name with a line end, an opening brace or blanks at its
/// ends, a value beyond the range of a float, joints that do not stand parent before child and
/// branch after branch. pFileName is for the message.
IoResult<std::string> FormatBvh(const Clip& pClip, const std::string& pFileName);
