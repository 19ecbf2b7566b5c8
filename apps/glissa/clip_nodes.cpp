// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_nodes.h"

#include "apps/glissa/refusal.h"
#include "io/name_match.h"

#include <fmt/format.h>

#include <algorithm>

namespace
{
constexpr std::size_t kMostNamed = 12;

// The names that there are, for who asked for another one.
std::string NamesText(std::vector<std::string> pNames)
{
    if (pNames.empty()) {
        return "none";
    }
    const std::size_t count = pNames.size();
    pNames.resize(std::min(count, kMostNamed));
    for (std::string& each : pNames) {
        each = PrintableText(each);
    }
    const std::string text = fmt::format("{}", fmt::join(pNames, ", "));
    return count > kMostNamed ? fmt::format("{} and {} more", text, count - kMostNamed) : text;
}

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
}  // namespace

std::vector<NamedNode> ChooseNodes(const ClipCurves& pClip,
                                   const std::vector<std::string>& pPatterns,
                                   std::vector<std::string>* pMissing)
{
    std::vector<NamedNode> all;
    for (const NodeClip::NamedNode& each : pClip.owner.GetNodes().GetTransforms(pClip.clip)) {
        const bool turns = each.mNode->GetDataType() == KDataTypeLclRotation;
        all.push_back({each.mName, turns ? Unit::degrees : Unit::sceneUnits, each.mNode});
    }
    if (pPatterns.empty()) {
        return all;
    }
    std::vector<NamedNode> chosen;
    std::vector<bool> taken(all.size(), false);
    for (const std::string& pattern : pPatterns) {
        const bool exact = std::any_of(
            all.begin(), all.end(), [&](const NamedNode& pEach) { return pEach.name == pattern; });
        bool found = false;
        for (std::size_t i = 0; i < all.size(); ++i) {
            if (exact ? all[i].name != pattern : !NameMatches(pattern, all[i].name)) {
                continue;
            }
            found = true;
            if (!taken[i]) {
                taken[i] = true;
                chosen.push_back(all[i]);
            }
        }
        if (!found && pMissing) {
            pMissing->push_back(pattern);
        } else if (!found) {
            std::vector<std::string> names;
            for (const NamedNode& each : all) {
                names.push_back(each.name);
            }
            throw Refusal(fmt::format("{}: no node matches '{}'; there are {}", pClip.path, pattern,
                                      NamesText(std::move(names))));
        }
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
    std::vector<NamedCurve> curves;
    for (const NamedNode& node : pNodes) {
        for (Glissa* const each : CurvesOf(*node.node)) {
            curves.push_back({node.name, node.unit, each});
        }
    }
    std::vector<NamedCurve*> pointers;
    for (NamedCurve& each : curves) {
        pointers.push_back(&each);
    }
    return KeySpan(pointers);
}

GlissaLayerInfo FindLayerInfo(const ClipCurves& pClip, const std::string& pName)
{
    if (pName.empty() || pName == "base") {
        return GlissaLayerInfo::Base;
    }
    const HostLayers& layers = pClip.owner.GetNodes().GetLayers();
    if (const HostLayer* const layer = layers.Find(pName)) {
        return {layer->mId, layer};
    }
    std::vector<std::string> names = {"base"};
    for (const auto& each : layers.GetAll()) {
        names.push_back(each->mName);
    }
    throw Refusal(fmt::format("{}: no layer is called '{}'; there are {}", pClip.path, pName,
                              NamesText(std::move(names))));
}

std::string LayerName(const ClipCurves& pClip, int pId)
{
    const HostLayer* const layer = pClip.owner.GetNodes().GetLayers().Find(pId);
    return layer ? layer->mName : "base";
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
    const bool alone = IsBlended() ? !mNode.node->LayerGet() : GetLayerId() == 0;
    return alone && !mNode.node->GetUseQuaternion();
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
