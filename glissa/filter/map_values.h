// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: values of a curve changed by a function.
#pragma once

#include "glissa/curve/curve.h"

/// Replaces the default value and the values of the keys pFirst to pLast by pMap of them, which is
/// a function of a double; the result is rounded to float. Posts 0x1, and 0x2010 for each key.
template <typename Map>
void MapValues(Glissa& pCurve, int pFirst, int pLast, Map&& pMap)
{
    pCurve.SetValue(static_cast<float>(pMap(static_cast<double>(pCurve.GetValue()))));
    for (int i = pFirst; i <= pLast; ++i) {
        const double value = pCurve.KeyGetValue(i);
        pCurve.KeySetValue(i, static_cast<float>(pMap(value)));
    }
}
