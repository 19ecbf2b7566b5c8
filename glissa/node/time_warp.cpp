// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Time warps: nodes whose curve maps time onto time, and their numbers in stored documents.

#include "glissa/node/node_state.h"
#include "glissa/node/structure.h"

namespace
{
KSet<int, GlissaNode*>* warpNumbers = nullptr;

// A warp is usually one node. The bound limits the search for circles in the links of a file.
constexpr int kMostWarpNodes = 4096;

// Whether the time of a node would depend on itself.
bool ClosesCircle(GlissaNode* pWarp, const GlissaNode* pNode)
{
    const NodeReach reach = ReachOf(pWarp, pNode, kMostWarpNodes + 1);
    return reach.meetsWanted || reach.nodes > kMostWarpNodes;
}
}  // namespace

GlissaNode* GlissaNode::TimeWarpGet() const
{
    return mState->mTimeWarp;
}

void GlissaNode::TimeWarpSet(GlissaNode* pWarp)
{
    if (pWarp == mState->mTimeWarp || (pWarp && ClosesCircle(pWarp, this))) {
        return;
    }
    mState->SetTimeWarp(this, pWarp);
    NoteStructureChange();
    CallbackAddEvent(eNodeEventTimeWarp);
}

void Glissa_SetTWSet(KSet<int, GlissaNode*>* pSet)
{
    warpNumbers = pSet;
}

bool Glissa_FindNickNumberFromTW(int& pNick, GlissaNode* pNode)
{
    if (warpNumbers && pNode) {
        for (const auto& entry : *warpNumbers) {
            if (entry.mValue == pNode) {
                pNick = entry.mKey;
                return true;
            }
        }
    }
    return false;
}

GlissaNode* Glissa_FindTWFromNickNumber(int pNick)
{
    GlissaNode** found = warpNumbers ? warpNumbers->Find(pNick) : nullptr;
    return found ? *found : nullptr;
}
