// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/output.h"

#include <string>
#include <vector>

/// File formats of clips.
enum class ClipFormat
{
    bvh,    ///< values at the frames
    glissa  ///< curves with keys
};

/// The format of --format ("bvh", "glissa"), or without it the one of the suffix of the file.
/// pOption  the name of the option, for the message. Throws WrongArguments.
ClipFormat ChooseClipFormat(const std::string& pPath, const std::string& pFormat,
                            const char* pOption = "--format");

/// Writes a clip, and prints the warnings of WriteClip.
void SaveClip(const ClipCurves& pClip, ClipFormat pFormat, const std::string& pPath);

/// Writes a clip to a file, completely or not at all. The clip that was read is refused as target.
/// A BVH file has the recorded values if pClip.clip has them, otherwise those of the curves. Throws
/// Refusal, and WrongArguments for a .glissa file to a terminal.
///
/// Returns what the file lacks, for warnings: keys before the first frame or after the last one,
/// and values of an axis that has no channel.
[[nodiscard]] std::vector<std::string> WriteClip(const ClipCurves& pClip, ClipFormat pFormat,
                                                 const std::string& pPath);
