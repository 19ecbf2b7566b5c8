// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

/// The ticks of an axis: multiples of 1, 2 or 5 times a power of ten.
struct Ticks
{
    double step = 0.0;       ///< distance of two ticks; 0 without ticks
    int exponent = 0;        ///< of the power of ten in the step
    std::vector<double> at;  ///< the ticks in the range, ascending
};

/// The finest ticks of which at most pMost are in [pLow, pHigh].
///
/// pLeastStep  the least step; 1 for whole frames, 0 without a limit.
/// There are no ticks for a range that is empty, not finite, or too narrow for different doubles.
Ticks ChooseTicks(double pLow, double pHigh, int pMost, double pLeastStep = 0.0);

/// The label of a tick, with a typographic minus sign, but not for zero. Long numbers have an
/// exponent.
std::string TickLabel(const Ticks& pTicks, double pValue);
