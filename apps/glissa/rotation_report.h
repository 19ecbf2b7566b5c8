// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/json_report.h"
#include "io/unroll_clip.h"

#include <string>

/// "2 steps of more than 180 degrees between frames in 1 curve, first in Hips/R/X at 1.25 s (frame
/// 30)".
std::string JumpsText(const AngleJumps& pJumps);

/// The count, the number of curves and the first jump, which is null without one.
Json DescribeJumps(const AngleJumps& pJumps);

/// "mended 2 jumps of 1 curve, the largest change of an orientation is 1.2e-05 degrees", and what
/// was left alone.
std::string UnrollText(const UnrollReport& pReport);
