// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: which node may hold which.
#pragma once

#include "glissa/node/node.h"

/// What a walk meets below a node: children, layers, and the time warps of all of them.
struct NodeReach
{
    bool meetsWanted = false;
    int nodes = 0;
    int levels = 0;  // the warps not counted
};

/// Whether another node destroys this one when it ends: its parent, or the one before it in a
/// chain.
bool IsOwned(const GlissaNode* pNode);
/// Notes that pHolder has, or no longer has, a node as child or layer: the end of the node takes it
/// out of all its holders. Only EnterHolder needs memory, and only for a node with a holder.
void EnterHolder(GlissaNode& pNode, GlissaNode& pHolder);
void LeaveHolder(GlissaNode& pNode, const GlissaNode& pHolder);
/// Whether a node is pHolder, or below or behind it.
bool IsWithin(const GlissaNode* pNode, const GlissaNode* pHolder);
/// Levels from the top of the tree to a node, that node included.
int LevelOf(const GlissaNode* pNode);
/// Levels of a node and those below it, without its chain.
int LevelsBelow(const GlissaNode* pNode);
/// Visits no more than pMost nodes, and stops at pWanted.
NodeReach ReachOf(GlissaNode* pFirst, const GlissaNode* pWanted, int pMost);
/// Whether a node may take another one as child or layer: the other one does not hold the first
/// one, the tree does not become too deep, and no node has two owners.
bool MayHold(const GlissaNode* pNode, GlissaNode* pTaken);
/// Whether ids ascend along the chain from a node on. For assertions.
bool IsChainInOrder(const GlissaNode* pNode);
