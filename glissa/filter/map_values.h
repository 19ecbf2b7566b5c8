// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: values of a curve changed by a function.
#pragma once

#include "glissa/curve/curve.h"
#include "glissa/ext/active.h"

/// Replaces the values of the keys pFirst to pLast by pMap of them, float to float. Checks each and
/// posts 0x2010 for it. Lives inside a bracket.
template <typename Map>
void MapKeyValues(Glissa& pCurve, int pFirst, int pLast, Map&& pMap)
{
    CORVEKIT_ASSERT(pFirst >= 0 && pLast < pCurve.KeyGetCount());
    for (int i = pFirst; i <= pLast; ++i) {
        // Written straight into the key: what KeySetValue does besides, the bracket has done.
        KPriFCurveKey& key = pCurve.Keys()[i];
        key.mValue = CheckedKeyValue(pMap(key.mValue));
        pCurve.CallbackAddEvent(kGlissaEventValue, i);
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
