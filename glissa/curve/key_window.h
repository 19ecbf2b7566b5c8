// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: a key of a list with its neighbours.
#pragma once

#include "glissa/curve/key_list.h"
#include "glissa/curve/slope_rules.h"

/// The key at an index between its neighbours. An index below 0 is taken as the first key, one past
/// the end as the last. The list is not empty.
inline KeyWindow WindowOf(const KeyList& pKeys, int pIndex)
{
    CORVEKIT_ASSERT(pKeys.Count() > 0);
    const int last = pKeys.Count() - 1;
    const int index = pIndex < 0 ? 0 : pIndex > last ? last : pIndex;
    return {index > 0 ? &pKeys[index - 1] : nullptr, &pKeys[index],
            index < last ? &pKeys[index + 1] : nullptr};
}
