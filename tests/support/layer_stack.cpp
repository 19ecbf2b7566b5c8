// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/layer_stack.h"

#include <algorithm>
#include <cmath>

namespace
{
// The power of a rotation as blending defines it: a turn below half a degree stays whole.
RefRotation Power(const RefRotation& pRotation, double pWeight)
{
    if (1.0L - std::cos(pRotation.Angle() / RefRotation::kDegrees / 2) <= 1e-5L) {
        return std::fabs(pWeight) <= 1e-6 ? RefRotation() : pRotation;
    }
    return pRotation.Part(pWeight);
}
}  // namespace

LayerStack::LayerStack(std::mt19937& pRandom, bool pPositive)
{
    const auto number = [&pRandom](double pFrom, double pTo) {
        return std::uniform_real_distribution(pFrom, pTo)(pRandom);
    };
    const auto pick = [&pRandom](int pCount) {
        return std::uniform_int_distribution(0, pCount - 1)(pRandom);
    };
    KDataType* const types[] = {KDataTypeLclTranslation, KDataTypeLclRotation, KDataTypeLclScaling};
    KDataType* const type = types[pick(3)];
    mOrder = pick(6);
    mNode = MakeChannel(type, "channel");
    const bool byChannel = type == KDataTypeLclRotation && pick(4) == 0;
    const int count = 1 + pick(5);
    int id = 0;
    GlissaNode* node = mNode.get();
    node->SetRotationOrder(mOrder);
    if (byChannel) {
        node->SetLayerType(eLayerTypeRotationByChannel);
    }
    mType = node->GetLayerType();
    for (int i = 0; i < count; ++i) {
        mLayers.push_back(std::make_unique<Layer>());
        Layer& layer = *mLayers.back();
        layer.info.mMode = static_cast<eLayerMode>(pick(3));
        layer.info.mWeight = pick(3) == 0 ? 1.0 : pick(8) == 0 ? 0.0 : number(0.0, 1.0);
        layer.info.mMuted = pick(5) == 0;
        layer.info.mRotationMode = byChannel ? eRotationByChannel : eRotationByLayer;
        layer.id = id;
        const GlissaLayerInfo info(id, &layer.info);
        if (i == 0) {
            node->SetLayerInfo(info);
            for (int k = 0; k < 3; ++k) {
                node->Get(k)->SetLayerInfo(info);
            }
        } else {
            node = mNode->CreateLayerAt(info);
        }
        layer.node = node;
        for (int k = 0; k < 3; ++k) {
            double value = number(-180.0, 180.0);
            if (type == KDataTypeLclScaling) {
                value = number(pPositive ? 0.2 : -3.0, 3.0);
            }
            node->Get(k)->FCurveGet()->SetValue(static_cast<float>(value));
            layer.values[static_cast<std::size_t>(k)] =
                static_cast<double>(static_cast<float>(value));
        }
        id += 1 + pick(4);
    }
}

std::array<double, 3> LayerStack::Values(int pFirst, int pLast) const
{
    const bool scales = mType == eLayerTypeScaling;
    const double zero = scales ? 1.0 : 0.0;
    std::array<double, 3> result = {zero, zero, zero};
    for (int i = 0; i < static_cast<int>(mLayers.size()); ++i) {
        const Layer& layer = *mLayers[static_cast<std::size_t>(i)];
        if (layer.info.mMuted) {
            continue;
        }
        const bool takesPart = i >= pFirst && i <= pLast;
        const double w = layer.info.mWeight;
        for (std::size_t k = 0; k < 3; ++k) {
            const double v = takesPart ? layer.values[k] : zero;
            // What the mode leaves of the layers below.
            const double kept = layer.info.mMode == eLayerModeAdditive   ? 1.0
                                : layer.info.mMode == eLayerModeOverride ? 0.0
                                                                         : 1.0 - w;
            double& r = result[k];
            r = mLayers.size() == 1 ? v
                : scales            ? std::pow(std::fabs(v), w) * std::pow(std::fabs(r), kept)
                                    : w * v + kept * r;
        }
    }
    return result;
}

RefRotation LayerStack::Rotation(int pFirst, int pLast) const
{
    RefRotation result;
    for (int i = 0; i < static_cast<int>(mLayers.size()); ++i) {
        const Layer& layer = *mLayers[static_cast<std::size_t>(i)];
        if (layer.info.mMuted) {
            continue;
        }
        const bool takesPart = i >= pFirst && i <= pLast;
        const RefRotation v =
            takesPart ? RefRotation::OfAngles(layer.values.data(), mOrder) : RefRotation();
        const double w = layer.info.mWeight;
        if (mLayers.size() == 1) {
            result = v;
            continue;
        }
        switch (layer.info.mMode) {
        case eLayerModeAdditive:
            result = result * Power(v, w);
            break;
        case eLayerModeOverride:
            result = Power(v, w);
            break;
        case eLayerModeOverridePassthrough:
            result = result * (result.Inverse() * v).Part(w);
            break;
        }
    }
    return result;
}

bool LayerStack::IsNear(const double* pLeft, const double* pRight, double pTolerance,
                        double pDegrees) const
{
    if (pDegrees > 0.0 && (IsRotation() || mType == eLayerTypeRotationByChannel)) {
        return RefDistance(RefRotation::OfAngles(pLeft, mOrder),
                           RefRotation::OfAngles(pRight, mOrder)) <= pDegrees;
    }
    for (int k = 0; k < 3; ++k) {
        if (!(std::fabs(pLeft[k] - pRight[k]) <=
              pTolerance * std::max({1.0, std::fabs(pLeft[k]), std::fabs(pRight[k])}))) {
            return false;
        }
    }
    return true;
}
