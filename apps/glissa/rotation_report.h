// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/json_report.h"
#include "io/angle_jumps.h"

#include <string>

/// "2 steps of more than 180 degrees between frames in 1 curve, first in Hips/R/X at 1.25 s (frame
/// 30)".
std::string JumpsText(const AngleJumps& pJumps);

/// The count, the number of curves and the first jump, which is null without one.
Json DescribeJumps(const AngleJumps& pJumps);

/// Prints a line if rotations of the clip have jumps. For commands that sample between keys.
void WarnOfJumps(const ClipCurves& pClip);
