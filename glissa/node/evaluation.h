// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the values of one node, of one layer and of a part of a chain.
#pragma once

#include "glissa/node/node_state.h"

/// The time that the node's time warp makes of a time; that time itself without a warp.
KTime WarpedTime(const GlissaNode& pNode, KTime pTime, bool pCandidates);
/// The node of a layer in the chain from pNode on, or null. Each node of the chain decides by
/// itself whether it may have layers.
GlissaNode* FindLayerFrom(GlissaNode& pNode, int pId);
/// The values of one layer, weighted; with pForce unweighted, muted or not.
double* EvaluateLayer(GlissaNode& pLayer, double* pValues, KTime pTime, int* pHint, bool pForce);
/// GlissaNode::Internal_GeneralEvaluateLayerExcluded at a time to which the warp of pNode has been
/// applied already.
double* EvaluatePart(GlissaNode& pNode, double* pValues, KTime pTime, int pExcludedId, int pFirstId,
                     int pLastId);
