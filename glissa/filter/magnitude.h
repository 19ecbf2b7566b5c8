// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: absolute values that do not overflow.
#pragma once

#include "corvekit/time.h"

#include <limits>

/// The absolute value; that of the least integer is the greatest.
inline int Magnitude(int pValue)
{
    if (pValue == std::numeric_limits<int>::min()) {
        return std::numeric_limits<int>::max();
    }
    return pValue < 0 ? -pValue : pValue;
}

inline KTime Magnitude(KTime pTime)
{
    return pTime < KTime() ? -pTime : pTime;
}
