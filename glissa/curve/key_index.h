// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: fractional key indexes, as KeyFind returns them.
#pragma once

#include "glissa/curve/curve.h"

#include <cmath>

/// Whether a time lies on a key.
inline bool IsWhole(double pIndex)
{
    return pIndex == std::floor(pIndex);
}

/// The first key at or behind a time.
inline int Ceil(double pIndex)
{
    return static_cast<int>(std::ceil(pIndex));
}

/// The last key at or before a time.
inline int Floor(double pIndex)
{
    return static_cast<int>(std::floor(pIndex));
}

/// The keys between two times, with pInclusive those on them too. An empty range has pFirst above
/// pLast. False for a curve without keys.
bool FindKeyRange(Glissa& pCurve, KTime pFrom, KTime pTo, bool pInclusive, int& pFirst, int& pLast);
