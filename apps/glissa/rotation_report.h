// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/json_report.h"
#include "io/rotation_faults.h"
#include "io/unroll_clip.h"

#include <string>
#include <vector>

/// "2 steps of more than 180 degrees between frames in 1 curve, first in Hips/R/X at 1.25 s (frame
/// 30)".
std::string JumpsText(const AngleJumps& pJumps);

/// A line for the jumps, the gimbal zones and the poor paths of a clip, each with its title; the
/// line is empty where there are none.
struct FaultLine
{
    const char* title;  ///< "gimbal zones"
    std::string text;
};
std::vector<FaultLine> FaultLines(const RotationFaults& pFaults);

/// Adds the fields "angle_jumps", "gimbal_zones" and "poor_paths": counts, the first and the worst
/// finding, which are null without one.
void AddFaults(Json& pReport, const RotationFaults& pFaults);

/// "mended 2 jumps of 1 curve, the largest change of an orientation is 1.2e-05 degrees", and what
/// was left alone.
std::string UnrollText(const UnrollReport& pReport);
