// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "corvekit/math/matrix.h"
#include "io/filter_run.h"

#include <vector>

/// A largest difference, 0 for none, and the first time where it is.
struct LargestChange
{
    double mSize = 0.0;
    KTime mWhen;
};

/// The largest distance of two curves within a span, at the key times of both and halfway between.
LargestChange CompareCurves(Glissa& pBefore, Glissa& pAfter, const FilterTimes& pTimes);

/// The largest turn in degrees, at the same times, from a rotation that is turned on purpose to
/// what became of it.
///
/// pBefore, pAfter  the curves X, Y and Z
/// pOrder           the rotation order of both
LargestChange CompareRotations(const std::vector<Glissa*>& pBefore,
                               const std::vector<Glissa*>& pAfter, int pOrder,
                               const KgeRMatrix& pTurn);
