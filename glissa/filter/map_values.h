// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: values of a curve changed by a function.
#pragma once

#include "glissa/curve/write_value.h"

/// WriteKeyValue of pMap of the values of the keys pFirst to pLast, float to float.
template <typename Map>
void MapKeyValues(Glissa& pCurve, int pFirst, int pLast, Map&& pMap)
{
    CORVEKIT_ASSERT(pFirst >= 0 && pLast < pCurve.KeyGetCount());
    for (int i = pFirst; i <= pLast; ++i) {
        WriteKeyValue(pCurve, i, pMap(pCurve.KeyGetValue(i)));
    }
}

/// The same with a function of a double, whose result is rounded to float, and the default value
/// too, which posts 0x1.
template <typename Map>
void MapValues(Glissa& pCurve, int pFirst, int pLast, Map&& pMap)
{
    const auto map = [&pMap](float pValue) {
        return static_cast<float>(pMap(static_cast<double>(pValue)));
    };
    pCurve.SetValue(map(pCurve.GetValue()));
    MapKeyValues(pCurve, pFirst, pLast, map);
}
