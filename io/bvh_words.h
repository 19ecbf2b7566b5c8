// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "io/clip.h"

/// The words for channels in BVH files, by EClipChannel.
inline constexpr const char* kBvhChannelWords[kClipChannelKinds] = {
    "Xposition", "Yposition", "Zposition", "Xrotation", "Yrotation", "Zrotation"};
