// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

/// The marks of one axis: multiples of 1, 2 or 5 times a power of ten.
struct Ticks
{
    double step = 0.0;       ///< distance of two marks; 0 when the range holds none
    int exponent = 0;        ///< of the power of ten in the step
    std::vector<double> at;  ///< the marks inside the range, ascending
};

/// The finest such marks of which at most pMost lie in [pLow, pHigh].
///
/// pLeastStep  no finer step is taken; 1 on an axis that counts whole frames, 0 for no limit.
/// A range that is empty, not finite, or too narrow beside its distance from 0 for a double to
/// tell two marks apart gives no marks.
Ticks ChooseTicks(double pLow, double pHigh, int pMost, double pLeastStep = 0.0);

/// The label of a mark, with a true minus sign, and never a minus zero. Marks whose plain form
/// would be long are written with an exponent.
std::string TickLabel(const Ticks& pTicks, double pValue);
