// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/string.h"
#include "glissa/export.h"

class GlissaNode;

/// Differences between a stored tree and the tree that reads it.
enum eGlissaStoreFault : int
{
    eStoreFaultKeys = 0,        ///< damaged keys of a curve were left out
    eStoreFaultCurveUnused,     ///< a curve was stored for a branch and is left out
    eStoreFaultCurveMissing,    ///< no curve was stored: it is unchanged, in a layer it is zero
    eStoreFaultChannelUnknown,  ///< a channel matches no child and is left out
    eStoreFaultChannelTwice,    ///< a second channel matches the same child and replaces the first
    eStoreFaultChannelMissing,  ///< no channel was stored for a child, which is unchanged
    eStoreFaultChannelKept,     ///< a layer's channel that its base lacks: GlissaNode::GetUnmatched
    eStoreFaultChannelMade,     ///< a layer lacks a channel of its base: made, with zero values
    eStoreFaultLayerLeftOut,    ///< a layer's id is not above the one before, or the tree too deep
};

/// One difference; GlissaNode::TdfRetrieve collects them.
struct GlissaStoreFault
{
    eGlissaStoreFault mKind = eStoreFaultKeys;
    /// The node that was being read; for a layer and the nodes below it, the base of the chain.
    GlissaNode* mNode = nullptr;
    int mLayerID = 0;
    /// The channel that was being read, as it was stored, below mNode or below its layer: names
    /// joined by '/', "" for the node or the layer itself.
    KString mChannel;
    int mStoredKeys = 0;  ///< of eStoreFaultKeys alone: keys that the document has
    int mReadKeys = 0;    ///< and those that the curve has now
};
