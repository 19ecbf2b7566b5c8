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

/// What --format says ("bvh", "glissa"), and where it is empty the suffix of the file. Throws
/// WrongArguments.
ClipFormat ChooseClipFormat(const std::string& pPath, const std::string& pFormat);

/// Writes a clip to a file that is whole or was never there, and refuses the clip that was read.
/// BVH takes the values that were read where pClip.clip still has them, else those of the curves.
/// Throws Refusal, and WrongArguments where bytes would go to a terminal.
void WriteClip(const ClipCurves& pClip, ClipFormat pFormat, const std::string& pPath);
