// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "tests/support/reference.h"

// What an error of the time makes of the results of a weighted segment whose weights keep away from
// 0 and 1. Both are bounds, not estimates: derivatives are enclosed over the whole interval of
// parameters that the time may have.

/// Of a value at a time in 0 to 1 that is known to pTimeError.
long double ValueSpread(const RefSegment& pSegment, long double pTime, long double pTimeError);
/// Of a slope (value per second), with the roundings of the quotient that it is. pRoundings are
/// those of the slopes at the keys, in halves of FLT_EPSILON.
long double SlopeSpread(const RefSegment& pSegment, long double pTime, long double pTimeError,
                        long double pRoundings);
