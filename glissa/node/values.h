// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: how many values a node has, its zero values, and the total that is pending on it.
#pragma once

#include "glissa/node/node_state.h"

/// Values that evaluation writes for a node and all below it: one for a leaf, with a curve or
/// without.
int WidthOf(const GlissaNodeState& pState);
/// Values that blending works on: one for a curve, else one for each child, at most
/// kNodeZeroValues.
int BlendedCount(const GlissaNodeState& pState);
/// GlissaNode::GetZeroValues.
double* WriteZeroValues(const GlissaNodeState& pState, double* pValues);
/// Sets the default values of the curves to the zero values, with pForce those of locked leaves
/// too.
void ResetToZeroValues(GlissaNode& pNode, bool pForce);

/// Whether the node is a leaf, or a branch of at most kNodeZeroValues leaves: what layers and
/// candidates work on as a whole. Other branches leave them to the nodes below.
bool IsChannel(const GlissaNodeState& pState);
/// Makes values the pending total at a time. The children of a channel store those that the node
/// has no room for.
void StoreTotal(GlissaNodeState& pState, const double* pValues, int pCount, KTime pTime);
/// Reads the pending total of a channel. The place after the last value.
double* ReadTotal(const GlissaNodeState& pState, double* pValues);
