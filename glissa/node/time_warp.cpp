// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Time warps: nodes whose curve maps time onto time, and the numbers by which a store knows them.

#include "glissa/node/node_state.h"

namespace
{
KSet<int, GlissaNode*>* warp_numbers = nullptr;
}

GlissaNode* GlissaNode::TimeWarpGet() const
{
    return mState->mTimeWarp;
}

void GlissaNode::TimeWarpSet(GlissaNode* pWarp)
{
    if (pWarp == mState->mTimeWarp) {
        return;
    }
    if (mState->mTimeWarp) {
        mState->mTimeWarp->DecReferenceCount();
    }
    mState->mTimeWarp = pWarp;
    NoteStructureChange();
    if (pWarp) {
        pWarp->IncReferenceCount();
    }
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
