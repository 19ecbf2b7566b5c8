// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"
#include "glissa/node/node.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

/// A node of a clip that can have layers: "Hips/T", "Spine/R". The clip owns it.
struct NamedNode
{
    std::string name;
    Unit unit = Unit::factor;
    GlissaNode* node = nullptr;
};

/// The values of a node, for the largest number of channels.
using NodeValues = std::array<double, 16>;

/// The nodes that match the patterns, in the order of the patterns, without repetition; all nodes
/// without a pattern. Patterns and pMissing as in ChooseNames. Throws Refusal for a pattern without
/// a match.
std::vector<NamedNode> ChooseNodes(const ClipCurves& pClip,
                                   const std::vector<std::string>& pPatterns,
                                   std::vector<std::string>* pMissing = nullptr);

/// The same, with the extrapolation of all their curves set.
std::vector<NamedNode> ChooseNodes(const ClipCurves& pClip,
                                   const std::vector<std::string>& pPatterns,
                                   const CurveChoice& pChoice,
                                   std::vector<std::string>* pMissing = nullptr);

/// The curves of a node, of all below it and of its layers.
std::vector<Glissa*> CurvesOf(GlissaNode& pNode);

/// From the first to the last key of all layers of the nodes; nullopt without keys.
std::optional<TimeSpan> KeySpan(const std::vector<NamedNode>& pNodes);

/// The name of the base, the motion below all layers.
inline constexpr const char* kBaseName = "base";

/// The layer of a name. Throws Refusal with the names of all layers.
HostLayer& FindLayer(const ClipCurves& pClip, const std::string& pName);

/// The same; kBaseName and "" are the base.
GlissaLayerInfo FindLayerInfo(const ClipCurves& pClip, const std::string& pName);

/// "base", or the name of a layer of the clip.
std::string LayerName(const ClipCurves& pClip, int pId);

/// The values of a node over time: the blend of all layers, or the contribution of one layer, its
/// values times its weight.
class NodeSeries
{
public:
    explicit NodeSeries(const NamedNode& pNode) : mNode(pNode) {}
    NodeSeries(const NamedNode& pNode, int pLayerId, std::string pLayerName)
        : mNode(pNode), mLayerId(pLayerId), mLayerName(std::move(pLayerName))
    {}

    const NamedNode& GetNode() const { return mNode; }
    bool IsBlended() const { return !mLayerId; }
    /// For a series of one layer.
    int GetLayerId() const { return *mLayerId; }
    const std::string& GetLayerName() const { return mLayerName; }
    int GetCount() const { return mNode.node->GetValueCount(); }
    /// "Spine/R/X", or "Spine/R/X @Breath" for a layer.
    std::string GetName(int pIndex) const;
    /// The same without the layer.
    std::string GetChannelName(int pIndex) const;
    /// Whether the values are those of curves, and so floats.
    bool IsSingle() const;
    void Evaluate(NodeValues& pValues, KTime pTime, int* pHint) const;

private:
    NamedNode mNode;
    std::optional<int> mLayerId;
    std::string mLayerName;
};

/// The blend of a node; with pLayers also its base and each layer.
std::vector<NodeSeries> MakeSeries(const ClipCurves& pClip, const NamedNode& pNode, bool pLayers);
