// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the unrolling of the keys of three curves.
#pragma once

#include "corvekit/math/rotation_order.h"

class Glissa;

struct UnrollRules
{
    KVdRotationOrder order;
    bool testForPath = false;
    double qualityTolerance = 0.0;
    bool isLocked[3] = {};  ///< curves that are not written; then no second form is taken
    // Limits as those of KVdRotationOrder::V2VRef.
    const bool* enableMin = nullptr;
    const double* min = nullptr;
    const bool* enableMax = nullptr;
    const double* max = nullptr;
};

/// Writes each key of a range as the angles nearest to those of the key before, the first one next
/// to 0, 0, 0 where it is the first key of the curves. The curves have the same key times. A range
/// of one key stays as it is. Whether a value changed.
bool UnrollKeys(Glissa* const* pCurves, int pFirst, int pLast, const UnrollRules& pRules);
