// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Which node may hold which: no node holds itself, and no tree is too deep for functions that call
// themselves once a level.

#include "glissa/node/structure.h"

#include "glissa/node/node_state.h"

#include <algorithm>
#include <limits>
#include <unordered_map>

namespace
{
struct Step
{
    GlissaNode* node;
    int level;
};

// The level of nodes that are reached through a warp: another tree, whose depth has been checked.
constexpr int kOtherTree = std::numeric_limits<int>::min() / 2;

bool IsAlone(const GlissaNodeState& pState)
{
    return pState.mChildren.IsEmpty() && pState.mUnmatched.empty() && !pState.mNextLayer &&
           !pState.mTimeWarp;
}
}  // namespace

bool IsOwned(const GlissaNode* pNode)
{
    CORVEKIT_ASSERT(pNode);
    const GlissaNode* const holder = GlissaNodeState::Of(pNode).mHolder;
    return holder && (!GlissaNodeState::Of(holder).IsContainer() ||
                      GlissaNodeState::Of(holder).mNextLayer == pNode);
}

void EnterHolder(GlissaNode& pNode, GlissaNode& pHolder)
{
    GlissaNodeState& state = StateOf(pNode);
    if (IsOwned(&pNode)) {
        CORVEKIT_ASSERT(StateOf(pHolder).IsContainer());
        state.mOtherHolders.push_back(&pHolder);
        return;
    }
    if (state.mHolder) {
        state.mOtherHolders.push_back(state.mHolder);
    }
    state.mHolder = &pHolder;
}

void LeaveHolder(GlissaNode& pNode, const GlissaNode& pHolder)
{
    GlissaNodeState& state = StateOf(pNode);
    const auto place = std::ranges::find(state.mOtherHolders, &pHolder);
    if (place != state.mOtherHolders.end()) {
        state.mOtherHolders.erase(place);
    } else if (state.mHolder == &pHolder) {
        state.mHolder = nullptr;
    }
}

bool IsWithin(const GlissaNode* pNode, const GlissaNode* pHolder)
{
    CORVEKIT_ASSERT(pNode && pHolder);
    while (pNode && pNode != pHolder) {
        pNode = GlissaNodeState::Of(pNode).mHolder;
    }
    return pNode != nullptr;
}

int LevelOf(const GlissaNode* pNode)
{
    int level = 0;
    for (const GlissaNode* node = pNode; node; node = GlissaNodeState::Of(node).mHolder) {
        ++level;
    }
    CORVEKIT_ASSERT(level <= GlissaNode::kMaxLevels);
    return level;
}

int LevelsBelow(const GlissaNode* pNode)
{
    CORVEKIT_ASSERT(pNode);
    int below = 0;
    for (const GlissaNode* child : GlissaNodeState::Of(pNode).mChildren) {
        below = std::max(below, LevelsBelow(child));
    }
    return below + 1;
}

NodeReach ReachOf(GlissaNode* pFirst, const GlissaNode* pWanted, int pMost)
{
    CORVEKIT_ASSERT(pFirst && pMost > 0);
    NodeReach reach;
    std::vector<Step> waiting{{pFirst, 1}};
    // Warps and children of containers can be reached more than once; they are visited again only
    // at a deeper level.
    std::unordered_map<const GlissaNode*, int> deepest;
    const auto addShared = [&](GlissaNode* pShared, int pLevel) {
        const auto [entry, isNew] = deepest.emplace(pShared, pLevel);
        if (isNew || entry->second < pLevel) {
            entry->second = pLevel;
            waiting.push_back({pShared, pLevel});
        }
    };
    while (!waiting.empty() && reach.nodes < pMost) {
        const auto [node, level] = waiting.back();
        waiting.pop_back();
        ++reach.nodes;
        reach.levels = std::max(reach.levels, level);
        if (node == pWanted) {
            reach.meetsWanted = true;
            break;
        }
        const GlissaNodeState& state = GlissaNodeState::Of(node);
        for (GlissaNode* const child : state.mChildren) {
            if (state.IsContainer()) {
                addShared(child, level + 1);
            } else {
                waiting.push_back({child, level + 1});
            }
        }
        for (GlissaNode* const channel : state.mUnmatched) {
            waiting.push_back({channel, level + 1});
        }
        if (state.mNextLayer) {
            waiting.push_back({state.mNextLayer, level + 1});
        }
        if (state.mTimeWarp) {
            addShared(state.mTimeWarp, kOtherTree);
        }
    }
    return reach;
}

bool MayHold(const GlissaNode* pNode, GlissaNode* pTaken)
{
    CORVEKIT_ASSERT(pNode && pTaken);
    const int room = GlissaNode::kMaxLevels - LevelOf(pNode);
    if (pTaken == pNode || room < 1 ||
        (IsOwned(pTaken) && !GlissaNodeState::Of(pNode).IsContainer())) {
        return false;
    }
    if (IsAlone(GlissaNodeState::Of(pTaken))) {
        return true;
    }
    const NodeReach reach = ReachOf(pTaken, pNode, std::numeric_limits<int>::max());
    return !reach.meetsWanted && reach.levels <= room;
}

bool IsChainInOrder(const GlissaNode* pNode)
{
    CORVEKIT_ASSERT(pNode);
    const GlissaNodeState* state = &StateOf(*pNode);
    while (const GlissaNode* next = state->mNextLayer) {
        const GlissaNodeState& after = StateOf(*next);
        if (state->mLayer.GetLayerID() >= after.mLayer.GetLayerID()) {
            return false;
        }
        state = &after;
    }
    return true;
}
