// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "io/clip.h"
#include "io/result.h"

#include <string>

/// The text of a motion file in the BVH format: hierarchy, channel order and frame time text of the
/// clip, numbers as the shortest decimals that read back as the same double. ParseBvh of the text
/// returns an equal clip.
///
/// A clip that the format cannot represent is refused, with the joint or the channel and frame: a
/// name with a line end, an opening brace or blanks at its ends; a value beyond the range of a
/// float; joints that are not in depth-first order. pFileName is for the message.
IoResult<std::string> FormatBvh(const Clip& pClip, const std::string& pFileName);
