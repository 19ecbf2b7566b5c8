// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the keys of a curve that an edit has made.
#pragma once

#include "glissa/curve/curve.h"

#include <utility>

/// Gives a curve the keys of another one, which has default attributes afterwards. Records change
/// hands with their attribute blocks: without memory the call throws before it changes anything.
/// Posts nothing.
inline void TakeKeys(Glissa& pTo, Glissa& pFrom)
{
    const int count = pFrom.KeyGetCount();
    pTo.InitBuffers(count, true);
    for (int i = 0; i < count; ++i) {
        pTo.KeyAppendFast(pFrom.KeyGetTime(i), 0.0f);
        KPriFCurveKey& to = *pTo.InternalPriKeyGetPtr(i);
        KPriFCurveKey& from = *pFrom.InternalPriKeyGetPtr(i);
        std::swap(to.mValue, from.mValue);
        std::swap(to.mAttribute, from.mAttribute);
    }
    pTo.IncrementUpdateId(-count);
}
