// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The library computes the values of the key from the total and the other layers. Some totals
// cannot be reached, so the node is evaluated afterwards and compared with the total.

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
// Relative error of the roundings to float: of the total, the key and the weight of its layer.
constexpr double kMostRounding = 4.0 * static_cast<double>(std::numeric_limits<float>::epsilon());
constexpr double kNoWeight = 1e-5;  // below it a layer has no effect

bool IsRotationNode(const NamedNode& pNode)
{
    return pNode.node->IsRotationLayerType();
}

// Angle between two rotations in degrees, by the half angle, which is accurate near 0.
double AngleBetween(const NodeValues& pFirst, const NodeValues& pSecond, int pOrder)
{
    const KVdRotationOrder order(pOrder);
    const auto matrix = [&order](const NodeValues& pAngles) {
        KgeRMatrix rotation;
        order.V2M(rotation, KgeRVector(pAngles.data()));
        return rotation;
    };
    const KgeQuaternion between(matrix(pFirst).Transpose() * matrix(pSecond));
    const double sine = std::hypot(between[0], between[1], between[2]);
    return 2.0 * std::atan2(sine, std::fabs(between[3])) * 180.0 / 3.14159265358979323846;
}

bool HasTotal(const ClipCurves& pClip, const NamedNode& pNode, KTime pTime,
              const NodeValues& pValues, const NodeValues& pTotal)
{
    const int count = pNode.node->GetValueCount();
    if (IsRotationNode(pNode) && count == 3) {
        return AngleBetween(pValues, pTotal, pNode.node->GetRotationOrder()) <= kMostTurn;
    }
    // The precision is that of the largest contribution: large ones may cancel out.
    NodeValues sizes = pTotal;
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
        if (!(std::fabs(pValues[i] - pTotal[i]) <= std::max(sizes[i], least) * kMostRounding)) {
            return false;
        }
    }
    return true;
}

// The reason why a total cannot be reached.
std::string UnreachableReason(const ClipCurves& pClip, const NamedNode& pNode,
                              const GlissaLayerInfo& pInfo, KTime pTime)
{
    const auto quoted = [&](int pId) {
        return pId == 0 ? "the base"
                        : fmt::format("the layer '{}'", PrintableText(LayerName(pClip, pId)));
    };
    const int id = pInfo.GetLayerID();
    if (pInfo.IsMuted()) {
        return quoted(id) + " is muted, so its keys have no effect";
    }
    const double weight = pInfo.GetWeight(pTime);
    if (std::fabs(weight) < kNoWeight) {
        return fmt::format("the weight of {} is {} at this time", quoted(id), weight);
    }
    bool isMixed = false;
    bool hasAbove = false;
    for (GlissaNode* node = pNode.node; node; node = node->LayerGet()) {
        const GlissaLayerInfo& info = node->GetLayerInfo();
        if (info.GetLayerID() < id || info.IsMuted()) {
            continue;
        }
        const double layerWeight = info.GetWeight(pTime);
        const bool isAbove = info.GetLayerID() > id;
        hasAbove = hasAbove || isAbove;
        if (isAbove && info.GetLayerMode() == eLayerModeOverride) {
            return quoted(info.GetLayerID()) + " above overrides it";
        }
        if (info.GetLayerMode() == eLayerModeOverridePassthrough) {
            if (isAbove && std::fabs(1.0 - layerWeight) < kNoWeight) {
                return quoted(info.GetLayerID()) + " above has full weight and replaces it";
            }
            isMixed = true;
        }
    }
    bool hasChannelBlend = false;
    bool hasRotationBlend = false;
    for (GlissaNode* node = pNode.node; node; node = node->LayerGet()) {
        hasChannelBlend = hasChannelBlend || node->GetLayerType() == eLayerTypeRotationByChannel;
        hasRotationBlend = hasRotationBlend || node->GetLayerType() == eLayerTypeRotation;
    }
    if (hasChannelBlend && hasRotationBlend && hasAbove) {
        return "some of its layers blend rotations as rotations and others channel by channel, so "
               "that only the topmost layer can be keyed";
    }
    if (IsRotationNode(pNode) && isMixed) {
        return "a passthrough layer mixes rotations, which can be reversed only in layers that "
               "blend rotations channel by channel";
    }
    if (IsRotationNode(pNode) && weight < 1.0) {
        return fmt::format("with weight {:g} {} can rotate by at most {:g} degrees", weight,
                           quoted(id), 180.0 * weight);
    }
    return "the other layers do not allow it";
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
    NodeValues total{};
    node.GeneralEvaluate(total.data(), pTime);
    if (pRequest.total) {
        if (static_cast<int>(pRequest.total->size()) != count) {
            throw Refusal(fmt::format("{}: {} has {} values, --total has {}", pClip.path,
                                      PrintableText(pNode.name), count, pRequest.total->size()));
        }
        std::copy(pRequest.total->begin(), pRequest.total->end(), total.begin());
        node.CandidateSet(pTime, total.data(), pInfo);
    }
    const TangentArgument tangent =
        pRequest.tangent.value_or(TangentArgument{eInterpolationCubic, eTangentAuto});
    int last = 0;
    node.CandidateKey(&last, pInfo, nullptr, false, static_cast<int>(tangent.interpolation),
                      static_cast<int>(tangent.mode), eContinuityDefault,
                      pRequest.tangent.has_value(), pTime);
    NodeValues values{};
    node.GeneralEvaluate(values.data(), pTime);
    if (!HasTotal(pClip, pNode, pTime, values, total)) {
        throw Refusal(fmt::format(
            "{}: {}: {} at {} s cannot be reached, the result would be {}: {}", pClip.path,
            PrintableText(pNode.name), ValuesText(total, count), pTime.GetSecondDouble(),
            ValuesText(values, count), UnreachableReason(pClip, pNode, pInfo, pTime)));
    }
}
}  // namespace

void KeyNodes(const ClipCurves& pClip, const NodeKeyRequest& pRequest, KTime pTime)
{
    const std::vector<NamedNode> nodes = ChooseNodes(pClip, pRequest.patterns);
    const GlissaLayerInfo info = FindLayerInfo(pClip, pRequest.layer);
    if (info.IsLocked()) {
        throw Refusal(
            fmt::format("{}: the layer '{}' is locked; unlock it with 'glissa layer --unlock'",
                        pClip.path, PrintableText(pRequest.layer)));
    }
    for (const NamedNode& each : nodes) {
        KeyNode(pClip, each, pRequest, info, pTime);
    }
}
