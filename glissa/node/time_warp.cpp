// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Time warps: nodes whose curve maps time onto time, and the numbers by which a store knows them.

#include "glissa/node/node_state.h"

namespace
{
KSet<int, GlissaNode*>* warp_numbers = nullptr;

// A warp is one curve as a rule. The bound keeps the walk short for links that a file asks for.
constexpr int kMostWarpNodes = 4096;

// Whether the time of a node would come to depend on itself.
bool ClosesCircle(GlissaNode* pWarp, const GlissaNode* pNode)
{
    const NodeReach reach = ReachOf(pWarp, pNode, kMostWarpNodes + 1);
    return reach.meetsWanted || reach.nodes > kMostWarpNodes;
}
}  // namespace

void GlissaNodeState::SetTimeWarp(GlissaNode* pSelf, GlissaNode* pWarp)
{
    CORVEKIT_ASSERT(pSelf && this == &Of(pSelf));
    if (mTimeWarp) {
        mTimeWarp->DecReferenceCount();
    }
    mWarpLink.Leave();
    mTimeWarp = pWarp;
    if (pWarp) {
        pWarp->IncReferenceCount();
        mWarpLink.Enter(pSelf, Of(pWarp).mWarpUsers);
    }
}

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
    warp_numbers = pSet;
}

bool Glissa_FindNickNumberFromTW(int& pNick, GlissaNode* pNode)
{
    if (warp_numbers && pNode) {
        for (const auto& entry : *warp_numbers) {
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
    GlissaNode** found = warp_numbers ? warp_numbers->Find(pNick) : nullptr;
    return found ? *found : nullptr;
}
