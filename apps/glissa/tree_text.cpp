// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/tree_text.h"

#include "apps/glissa/printable_text.h"
#include "corvekit/math/rotation_order.h"
#include "glissa/node/node.h"

#include <fmt/format.h>

#include <iterator>

namespace
{
Json Describe(GlissaNode& pNode, const HostLayers& pLayers)
{
    Json node;
    const HostLayer* const layer = pLayers.Find(pNode.GetLayerID());
    // Nodes of layers have the names of their bases, so the name of the layer is shown.
    const bool isLayer = layer && pNode.GetDataType();
    node["name"] = isLayer ? layer->mName : std::string(pNode.GetTimeWarpName());
    if (pNode.GetDataType()) {
        node["type"] = pNode.GetTypeName();
    }
    if (isLayer) {
        node["mode"] = LayerModeName(layer->mMode);
        node["muted"] = layer->mMuted;
        node["locked"] = layer->mLocked;
    } else if (pNode.GetDataType() == KDataTypeLclRotation) {
        node["order"] = KVdRotationOrder(pNode.GetRotationOrder()).GetName();
    }
    if (const Glissa* const curve = pNode.FCurveGet()) {
        node["keys"] = curve->KeyGetCount();
    }
    for (int i = 0; i < pNode.GetCount(); ++i) {
        node["children"].push_back(Describe(*pNode.Get(i), pLayers));
    }
    if (pNode.GetLayerID() == 0) {
        for (GlissaNode* each = pNode.LayerGet(); each; each = each->LayerGet()) {
            node["layers"].push_back(Describe(*each, pLayers));
        }
    }
    return node;
}

void AppendNode(std::string& pText, const Json& pNode, int pDepth, bool pIsLayer)
{
    fmt::format_to(std::back_inserter(pText), "{:{}}{}{}", "", 2 * pDepth, pIsLayer ? "layer " : "",
                   PrintableText(pNode["name"].get<std::string>()));
    if (pIsLayer) {
        fmt::format_to(std::back_inserter(pText), "  {}{}{}", pNode["mode"].get<std::string>(),
                       pNode["muted"].get<bool>() ? ", muted" : "",
                       pNode["locked"].get<bool>() ? ", locked" : "");
    } else if (pNode.contains("type")) {
        fmt::format_to(std::back_inserter(pText), "  {}", pNode["type"].get<std::string>());
    }
    if (pNode.contains("order")) {
        fmt::format_to(std::back_inserter(pText), ", {}", pNode["order"].get<std::string>());
    }
    if (pNode.contains("keys")) {
        fmt::format_to(std::back_inserter(pText), "  {} keys", pNode["keys"].get<int>());
    }
    pText += '\n';
    for (const char* const below : {"children", "layers"}) {
        if (pNode.contains(below)) {
            for (const Json& each : pNode[below]) {
                AppendNode(pText, each, pDepth + 1, below[0] == 'l');
            }
        }
    }
}
}  // namespace

Json DescribeTree(const ClipCurves& pClip)
{
    const NodeClip& nodes = pClip.owner.GetNodes();
    return Describe(*nodes.GetRoot(), nodes.GetLayers())["children"];
}

std::string TreeText(const Json& pTree)
{
    std::string text;
    for (const Json& each : pTree) {
        AppendNode(text, each, 0, false);
    }
    return text;
}
