// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the links of a chain of layers.
#pragma once

#include "glissa/node/node_state.h"

/// Links another node, or none, after this one. Returns the one that was there.
GlissaNode* ExchangeNextLayer(GlissaNode& pNode, GlissaNode* pNext);
/// Takes the node after this one out of the chain and returns it, alone.
GlissaNode* TakeOutNextLayer(GlissaNode& pNode);
/// Makes pBase the base of a layer. Each child gets the child of pBase at its place as base, and so
/// do the layers after that child.
void SetBase(GlissaNode& pLayer, GlissaNode& pBase);
/// Destroys the channels that match none of the base.
void DestroyUnmatched(GlissaNode& pLayer);
/// Posts eNodeEventLayers on the base of a chain.
void PostLayersEvent(GlissaNode& pNode);
