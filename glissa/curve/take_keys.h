// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: keys appended and taken over with their attribute blocks.
#pragma once

#include "glissa/curve/attribute_count.h"
#include "glissa/curve/curve.h"

#include <utility>

/// Appends a key with the value of another one, whose attribute block it shares. Posts nothing.
inline void AppendShared(Glissa& pTo, KTime pTime, const KPriFCurveKey& pKey)
{
    KPriFCurveKey& key = *pTo.InternalPriKeyGetPtr(pTo.KeyAppendFast(pTime, pKey.mValue));
    AddReferences(*pKey.mAttribute, 1);
    RemoveReferences(*key.mAttribute, 1);
    key.mAttribute = pKey.mAttribute;
}

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
