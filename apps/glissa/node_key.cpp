// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The library undoes the other layers to find what the keyed one must hold. Not every total can be
// had that way, so what the node shows afterwards is held against it.

#include "apps/glissa/node_key.h"

#include "apps/glissa/clip_nodes.h"
#include "apps/glissa/printable_text.h"
#include "apps/glissa/refusal.h"
#include "corvekit/math/quaternion.h"
#include "corvekit/math/rotation_order.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{
constexpr double kMostTurn = 1e-3;  // degrees between orientations that count as equal
// Roundings to float on the way from a total to what is shown: of the total, of what the layer
// holds and of its weight.
constexpr double kMostRounding = 4.0 * static_cast<double>(std::numeric_limits<float>::epsilon());
constexpr double kNoWeight = 1e-5;  // below it a layer gives nothing

bool Turns(const NamedNode& pNode)
{
    return pNode.node->IsRotationLayerType();
}

// Degrees between two rotations, in the half angle form that keeps its digits near 0.
double TurnBetween(const NodeValues& pFirst, const NodeValues& pSecond, int pOrder)
{
    const KVdRotationOrder order(pOrder);
    const auto matrix = [&order](const NodeValues& pAngles) {
        KgeRMatrix turned;
        order.V2M(turned, KgeRVector(pAngles.data()));
        return turned;
    };
    const KgeQuaternion between(matrix(pFirst).Transpose() * matrix(pSecond));
    const double sine = std::hypot(between[0], between[1], between[2]);
    return 2.0 * std::atan2(sine, std::fabs(between[3])) * 180.0 / 3.14159265358979323846;
}

bool Shows(const ClipCurves& pClip, const NamedNode& pNode, KTime pTime, const NodeValues& pShown,
           const NodeValues& pWanted)
{
    const int count = pNode.node->GetValueCount();
    if (Turns(pNode) && count == 3) {
        return TurnBetween(pShown, pWanted, pNode.node->GetRotationOrder()) <= kMostTurn;
    }
    // Layers may give large values that take each other back: their digits count.
    NodeValues sizes = pWanted;
    for (const NodeSeries& part : MakeSeries(pClip, pNode, true)) {
        NodeValues values{};
        part.Evaluate(values, pTime, nullptr);
        std::transform(sizes.begin(), sizes.end(), values.begin(), sizes.begin(),
                       [](double pFirst, double pSecond) {
                           return std::max(std::fabs(pFirst), std::fabs(pSecond));
                       });
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        const double least = static_cast<double>(std::numeric_limits<float>::min());
        if (!(std::fabs(pShown[i] - pWanted[i]) <= std::max(sizes[i], least) * kMostRounding)) {
            return false;
        }
    }
    return true;
}

// Why a total cannot be reached, as far as the layers tell.
std::string Hindrance(const ClipCurves& pClip, const NamedNode& pNode, const GlissaLayerInfo& pInfo,
                      KTime pTime)
{
    const auto quoted = [&](int pId) {
        return pId == 0 ? "the base"
                        : fmt::format("the layer '{}'", PrintableText(LayerName(pClip, pId)));
    };
    const int id = pInfo.GetLayerID();
    if (pInfo.IsMuted()) {
        return quoted(id) + " is muted and shows nothing of its keys";
    }
    const double weight = pInfo.GetWeight(pTime);
    if (std::fabs(weight) < kNoWeight) {
        return fmt::format("{} has weight {} there", quoted(id), weight);
    }
    bool mixes = false;
    bool hasAbove = false;
    for (GlissaNode* node = pNode.node; node; node = node->LayerGet()) {
        const GlissaLayerInfo& info = node->GetLayerInfo();
        if (info.GetLayerID() < id || info.IsMuted()) {
            continue;
        }
        const double its = info.GetWeight(pTime);
        const bool above = info.GetLayerID() > id;
        hasAbove = hasAbove || above;
        if (above && info.GetLayerMode() == eLayerModeOverride) {
            return quoted(info.GetLayerID()) + " above overrides it";
        }
        if (info.GetLayerMode() == eLayerModeOverridePassthrough) {
            if (above && std::fabs(1.0 - its) < kNoWeight) {
                return quoted(info.GetLayerID()) + " above lets nothing of it through";
            }
            mixes = true;
        }
    }
    bool byChannel = false;
    bool byMatrix = false;
    for (GlissaNode* node = pNode.node; node; node = node->LayerGet()) {
        byChannel = byChannel || node->GetLayerType() == eLayerTypeRotationByChannel;
        byMatrix = byMatrix || node->GetLayerType() == eLayerTypeRotation;
    }
    if (byChannel && byMatrix && hasAbove) {
        return "its layers blend rotations in part as rotations and in part channel by channel, "
               "which can be undone in the topmost layer only";
    }
    if (Turns(pNode) && mixes) {
        return "a passthrough layer mixes rotations, and such a mixture cannot be undone; layers "
               "that blend rotations channel by channel can";
    }
    if (Turns(pNode) && weight < 1.0) {
        return fmt::format("at weight {:g} {} turns by {:g} degrees at most", weight, quoted(id),
                           180.0 * weight);
    }
    return "the layers above and below do not let it come about";
}

std::string ValuesText(const NodeValues& pValues, int pCount)
{
    std::string text;
    for (int i = 0; i < pCount; ++i) {
        text += fmt::format("{}{}", i == 0 ? "" : ",",
                            static_cast<float>(pValues[static_cast<std::size_t>(i)]));
    }
    return text;
}

void KeyNode(const ClipCurves& pClip, const NamedNode& pNode, const NodeKeyRequest& pRequest,
             const GlissaLayerInfo& pInfo, KTime pTime)
{
    GlissaNode& node = *pNode.node;
    const int count = node.GetValueCount();
    NodeValues wanted{};
    node.GeneralEvaluate(wanted.data(), pTime);
    if (pRequest.total) {
        if (static_cast<int>(pRequest.total->size()) != count) {
            throw Refusal(fmt::format("{}: {} has {} values, --total gives {}", pClip.path,
                                      PrintableText(pNode.name), count, pRequest.total->size()));
        }
        std::copy(pRequest.total->begin(), pRequest.total->end(), wanted.begin());
        node.CandidateSet(pTime, wanted.data(), pInfo);
    }
    const TangentArgument tangent =
        pRequest.tangent.value_or(TangentArgument{eInterpolationCubic, eTangentAuto});
    int last = 0;
    node.CandidateKey(&last, pInfo, nullptr, false, static_cast<int>(tangent.interpolation),
                      static_cast<int>(tangent.mode), eContinuityDefault,
                      pRequest.tangent.has_value(), pTime);
    NodeValues shown{};
    node.GeneralEvaluate(shown.data(), pTime);
    if (!Shows(pClip, pNode, pTime, shown, wanted)) {
        throw Refusal(fmt::format("{}: {}: {} at {} s cannot be reached, it would show {}: {}",
                                  pClip.path, PrintableText(pNode.name), ValuesText(wanted, count),
                                  pTime.GetSecondDouble(), ValuesText(shown, count),
                                  Hindrance(pClip, pNode, pInfo, pTime)));
    }
}
}  // namespace

void KeyNodes(const ClipCurves& pClip, const NodeKeyRequest& pRequest, KTime pTime)
{
    const std::vector<NamedNode> nodes = ChooseNodes(pClip, pRequest.patterns);
    const GlissaLayerInfo info = FindLayerInfo(pClip, pRequest.layer);
    if (info.IsLocked()) {
        throw Refusal(fmt::format("{}: the layer '{}' is locked; 'glissa layer --unlock' opens it",
                                  pClip.path, PrintableText(pRequest.layer)));
    }
    for (const NamedNode& each : nodes) {
        KeyNode(pClip, each, pRequest, info, pTime);
    }
}
