// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Keys of whole channels: walks over the curves that pass locked nodes over.

#include "glissa/curve/curve.h"
#include "glissa/node/node_state.h"

void GlissaNode::Delete(KTime pStart, KTime pStop, bool pChain)
{
    for (GlissaNode* node = this; node; node = pChain ? node->LayerGet() : nullptr) {
        if (node->mState->mCurve) {
            if (!node->IsNodeLocked()) {
                node->mState->mCurve->Delete(pStart, pStop, false);
            }
            continue;
        }
        for (GlissaNode* child : node->mState->mChildren) {
            child->Delete(pStart, pStop, false);
        }
    }
}
