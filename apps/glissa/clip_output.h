// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/output.h"

#include <string>

/// The kinds of file that a clip is written to.
enum class ClipFormat
{
    bvh,    ///< values at the clip's frames
    glissa  ///< the curves themselves
};

/// The format by the text of --format ("bvh", "glissa"), without it by the suffix of the file.
/// Throws WrongArguments.
ClipFormat ChooseClipFormat(const std::string& pPath, const std::string& pFormat);

/// Writes a clip to a file, as a whole or not at all. The clip that was read is refused as target.
/// BVH takes the values that were read where pClip.clip still has them, else those of the curves.
/// Throws Refusal, and WrongArguments for a .glissa file to a terminal.
void WriteClip(const ClipCurves& pClip, ClipFormat pFormat, const std::string& pPath);
