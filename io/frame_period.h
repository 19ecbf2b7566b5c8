// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "corvekit/time.h"

#include <string_view>

/// The exact frame period that a written frame time means. Files round it: ".0083333" means 1/120
/// of a second; with the number as written, an hour of frames would be 14 milliseconds short.
///
/// pSeconds  the number, finite and greater than 0.
/// pText     its decimal text, from which the precision is taken; trailing zeros are ignored.
///
/// Returns the period of a known rate (the usual whole rates from 10 to 1000 frames per second, and
/// 24, 30, 48, 60, 120 times 1000/1001) if the number is that period
///   1. with a relative error of at most 2e-5, which covers seven digits and a conversion to float,
///   2. rounded at its last digit, with at least two digits; whole rates are tried first,
///   3. or cut off at its last digit, with at least three digits; whole rates are tried first.
/// Otherwise the number as written, to the nearest tick: 0.016 is 62.5 frames per second.
KTime FramePeriodFromText(double pSeconds, std::string_view pText);
