// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_nodes.h"

#include "apps/glissa/name_choice.h"
#include "apps/glissa/refusal.h"

#include <fmt/format.h>

namespace
{
void CollectCurves(GlissaNode& pNode, std::vector<Glissa*>& pCurves)
{
    for (GlissaNode* node = &pNode; node; node = node->LayerGet()) {
        if (Glissa* const curve = node->FCurveGet()) {
            pCurves.push_back(curve);
        }
        for (int i = 0; i < node->GetCount(); ++i) {
            CollectCurves(*node->Get(i), pCurves);
        }
    }
}

// pNames  further names that the caller accepts, for the message.
HostLayer& FindLayer(const ClipCurves& pClip, const std::string& pName,
                     std::vector<std::string> pNames)
{
    const HostLayers& layers = pClip.owner.GetNodes().GetLayers();
    if (HostLayer* const layer = layers.Find(pName)) {
        return *layer;
    }
    for (const auto& each : layers.GetAll()) {
        pNames.push_back(each->mName);
    }
    throw Refusal(fmt::format("{}: no layer is named '{}'; the layers are {}", pClip.path, pName,
                              NamesText(std::move(pNames))));
}
}  // namespace

std::vector<NamedNode> ChooseNodes(const ClipCurves& pClip,
                                   const std::vector<std::string>& pPatterns,
                                   std::vector<std::string>* pMissing)
{
    std::vector<NamedNode> all;
    for (const NodeClip::NamedNode& each : pClip.owner.GetNodes().GetTransforms(pClip.clip)) {
        const bool isRotation = each.mNode->GetDataType() == KDataTypeLclRotation;
        all.push_back({each.mName, isRotation ? Unit::degrees : Unit::sceneUnits, each.mNode});
    }
    if (pPatterns.empty()) {
        return all;
    }
    std::vector<std::string> names;
    for (const NamedNode& each : all) {
        names.push_back(each.name);
    }
    std::vector<NamedNode> chosen;
    for (const std::size_t index : ChooseNames(names, pPatterns, pClip.path, "node", pMissing)) {
        chosen.push_back(all[index]);
    }
    return chosen;
}

std::vector<NamedNode> ChooseNodes(const ClipCurves& pClip,
                                   const std::vector<std::string>& pPatterns,
                                   const CurveChoice& pChoice, std::vector<std::string>* pMissing)
{
    std::vector<NamedNode> nodes = ChooseNodes(pClip, pPatterns, pMissing);
    for (const NamedNode& node : nodes) {
        for (Glissa* const each : CurvesOf(*node.node)) {
            SetExtrapolation(*each, pChoice);
        }
    }
    return nodes;
}

std::vector<Glissa*> CurvesOf(GlissaNode& pNode)
{
    std::vector<Glissa*> curves;
    CollectCurves(pNode, curves);
    return curves;
}

std::optional<TimeSpan> KeySpan(const std::vector<NamedNode>& pNodes)
{
    std::vector<Glissa*> curves;
    for (const NamedNode& node : pNodes) {
        CollectCurves(*node.node, curves);
    }
    return KeySpan(curves);
}

HostLayer& FindLayer(const ClipCurves& pClip, const std::string& pName)
{
    return FindLayer(pClip, pName, {});
}

GlissaLayerInfo FindLayerInfo(const ClipCurves& pClip, const std::string& pName)
{
    if (pName.empty() || pName == kBaseName) {
        return GlissaLayerInfo::Base;
    }
    const HostLayer& layer = FindLayer(pClip, pName, {kBaseName});
    return {layer.mId, &layer};
}

std::string LayerName(const ClipCurves& pClip, int pId)
{
    const HostLayer* const layer = pClip.owner.GetNodes().GetLayers().Find(pId);
    return layer ? layer->mName : kBaseName;
}

std::string NodeSeries::GetChannelName(int pIndex) const
{
    GlissaNode* const child = mNode.node->Get(pIndex);
    return child ? mNode.name + '/' + child->GetName() : mNode.name;
}

std::string NodeSeries::GetName(int pIndex) const
{
    const std::string name = GetChannelName(pIndex);
    return IsBlended() ? name : name + " @" + mLayerName;
}

bool NodeSeries::IsSingle() const
{
    const bool hasOneLayer = IsBlended() ? !mNode.node->LayerGet() : GetLayerId() == 0;
    return hasOneLayer && !mNode.node->GetUseQuaternion();
}

void NodeSeries::Evaluate(NodeValues& pValues, KTime pTime, int* pHint) const
{
    if (IsBlended()) {
        mNode.node->GeneralEvaluate(pValues.data(), pTime, pHint);
    } else {
        mNode.node->EvaluateSpecificLayer(pValues.data(), pTime, GetLayerId(), pHint);
    }
}

std::vector<NodeSeries> MakeSeries(const ClipCurves& pClip, const NamedNode& pNode, bool pLayers)
{
    std::vector<NodeSeries> series = {NodeSeries(pNode)};
    for (GlissaNode* layer = pLayers ? pNode.node : nullptr; layer; layer = layer->LayerGet()) {
        const int id = layer->GetLayerID();
        series.emplace_back(pNode, id, LayerName(pClip, id));
    }
    return series;
}
