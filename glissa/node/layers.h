// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: what the operations on layers share.
#pragma once

#include "corvekit/event/operation.h"
#include "glissa/node/node_state.h"

/// Removes keys, candidates and unmatched channels of a layer and sets its values to the zero
/// values: the form of a locked layer that would be removed if it were not locked.
void EmptyLayer(GlissaNode& pLayer);

/// The node that an operation returns, or null where a listener that was called at the end of the
/// operation has destroyed it.
template <typename Operation>
GlissaNode* IfAlive(const Operation& pOperation)
{
    KWatch watch;
    GlissaNode* node = nullptr;
    {
        const KOperation operation;
        node = pOperation();
        watch.Set(node);
    }
    return watch.IsAlive() ? node : nullptr;
}
