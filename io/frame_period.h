// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "corvekit/time.h"

#include <string_view>

/// The span that a written frame time stands for. Files round it: ".0083333" means 1/120 of a
/// second, and an hour of frames taken at the written number would end 14 milliseconds early.
///
/// pSeconds  the number, finite and above 0.
/// pText     its decimal text, which tells how far it was rounded; trailing zeros say nothing.
///
/// Gives the period of a known rate (whole rates from 10 to 1000 frames a second that equipment and
/// programs use, and 24, 30, 48, 60, 120 times 1000/1001) where the number is that period
///   1. to within 2e-5 of itself, which covers seven digits and a way through a float,
///   2. rounded at its last digit, of two digits at least; whole rates go before the others,
///   3. or cut off at its last digit, of three digits at least; again whole rates first.
/// Else the nearest tick of the number as written, so that 0.016 is 62.5 frames a second.
KTime FramePeriodFromText(double pSeconds, std::string_view pText);
