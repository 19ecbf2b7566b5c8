// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Time warps: nodes whose curve maps time onto time, and the numbers by which a store knows them.

#include "glissa/node/node_state.h"

#include <vector>

namespace
{
KSet<int, GlissaNode*>* warp_numbers = nullptr;

// A warp is one curve as a rule. The bound keeps the walk short for links that a file asks for.
constexpr int kMostWarpNodes = 4096;

// Whether the time of a node would come to depend on itself: through what stands below and behind
// the warp, and their warps. One of that many nodes is taken for such a warp.
bool ClosesCircle(GlissaNode* pWarp, const GlissaNode* pNode)
{
    std::vector<GlissaNode*> waiting{pWarp};
    for (int seen = 0; !waiting.empty(); ++seen) {
        GlissaNode* const node = waiting.back();
        waiting.pop_back();
        if (node == pNode || seen == kMostWarpNodes) {
            return true;
        }
        for (int i = 0; i < node->GetCount() && i < kMostWarpNodes; ++i) {
            waiting.push_back(node->Get(i));
        }
        for (GlissaNode* const next : {node->LayerGet(), node->TimeWarpGet()}) {
            if (next) {
                waiting.push_back(next);
            }
        }
    }
    return false;
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
