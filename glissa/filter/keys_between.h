// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: whether a span of time holds keys.
#pragma once

#include "glissa/curve/curve.h"

#include <cmath>

/// Whether Glissa::Delete of the same arguments would remove a key. By key indexes, as there:
/// beside a key at an infinite time the index of a time may be rounded to that of a key.
inline bool HasKeysBetween(Glissa& pCurve, KTime pFrom, KTime pTo, bool pInclusive)
{
    const double from = pCurve.KeyFind(pFrom, nullptr);
    const double to = pCurve.KeyFind(pTo, nullptr);
    const double first = std::ceil(from) + (!pInclusive && from == std::floor(from) ? 1.0 : 0.0);
    const double last = std::floor(to) - (!pInclusive && to == std::floor(to) ? 1.0 : 0.0);
    return pCurve.KeyGetCount() > 0 && first <= last && first >= 0.0 && last < pCurve.KeyGetCount();
}
