// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/layer_stack.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace
{
constexpr int kAxes[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 2, 0}, {1, 0, 2}, {2, 0, 1}, {2, 1, 0}};
constexpr double kDegrees = 180.0 / std::numbers::pi;

struct AxisAngle
{
    std::array<double, 3> axis;
    double angle;  // 0 to pi
};

// By the antisymmetric part where the turn is clearly below a half turn, else by the symmetric one.
AxisAngle AxisAngleOf(const RefRotation& pRotation)
{
    const auto& m = pRotation.m;
    std::array<double, 3> axis = {m[2][1] - m[1][2], m[0][2] - m[2][0], m[1][0] - m[0][1]};
    const double twice_sine = std::hypot(axis[0], axis[1], axis[2]);
    const double twice_cosine = m[0][0] + m[1][1] + m[2][2] - 1.0;
    const double angle = std::atan2(twice_sine, twice_cosine);
    if (angle > 3.0) {
        const double versine = 1.0 - std::cos(angle);
        const std::array<double, 3> sign = axis;
        for (int i = 0; i < 3; ++i) {
            const double square = (m[i][i] - std::cos(angle)) / versine;
            axis[static_cast<std::size_t>(i)] = std::sqrt(std::max(square, 0.0));
        }
        // Signs by the products with the largest component, and that one's by the sine part.
        const auto most =
            static_cast<std::size_t>(std::max_element(axis.begin(), axis.end()) - axis.begin());
        for (std::size_t i = 0; i < 3; ++i) {
            if (i != most && m[i][most] + m[most][i] < 0.0) {
                axis[i] = -axis[i];
            }
        }
        if (sign[most] < 0.0) {
            for (double& each : axis) {
                each = -each;
            }
        }
        return {axis, angle};
    }
    for (double& each : axis) {
        each = twice_sine > 0.0 ? each / twice_sine : 0.0;
    }
    return {axis, angle};
}

// Rodrigues' formula.
RefRotation OfAxisAngle(const AxisAngle& pTurn)
{
    const double s = std::sin(pTurn.angle);
    const double v = 1.0 - std::cos(pTurn.angle);
    const auto [x, y, z] = pTurn.axis;
    RefRotation r;
    r.m[0][0] = 1.0 - v * (y * y + z * z);
    r.m[1][1] = 1.0 - v * (x * x + z * z);
    r.m[2][2] = 1.0 - v * (x * x + y * y);
    r.m[0][1] = v * x * y - s * z;
    r.m[1][0] = v * x * y + s * z;
    r.m[0][2] = v * x * z + s * y;
    r.m[2][0] = v * x * z - s * y;
    r.m[1][2] = v * y * z - s * x;
    r.m[2][1] = v * y * z + s * x;
    return r;
}
}  // namespace

RefRotation operator*(const RefRotation& pLeft, const RefRotation& pRight)
{
    RefRotation r;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            r.m[i][j] = 0.0;
            for (int k = 0; k < 3; ++k) {
                r.m[i][j] += pLeft.m[i][k] * pRight.m[k][j];
            }
        }
    }
    return r;
}

RefRotation RefRotation::OfAngles(const double* pAngles, int pOrder)
{
    RefRotation r;
    for (const int axis : kAxes[pOrder]) {
        AxisAngle turn{{0, 0, 0}, pAngles[axis] / kDegrees};
        turn.axis[static_cast<std::size_t>(axis)] = 1.0;
        r = OfAxisAngle(turn) * r;
    }
    return r;
}

RefRotation RefRotation::Inverse() const
{
    RefRotation r;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            r.m[i][j] = m[j][i];
        }
    }
    return r;
}

RefRotation RefRotation::Power(double pWeight) const
{
    AxisAngle turn = AxisAngleOf(*this);
    if (1.0 - std::cos(turn.angle / 2.0) <= 1e-5) {
        return std::fabs(pWeight) <= 1e-6 ? RefRotation() : *this;
    }
    turn.angle *= pWeight;
    return OfAxisAngle(turn);
}

double RefRotation::Angle() const
{
    return AxisAngleOf(*this).angle * kDegrees;
}

RefRotation RefSlerp(const RefRotation& pFrom, const RefRotation& pTo, double pRatio)
{
    AxisAngle turn = AxisAngleOf(pFrom.Inverse() * pTo);
    turn.angle *= pRatio;
    return pFrom * OfAxisAngle(turn);
}

double RefDistance(const RefRotation& pLeft, const RefRotation& pRight)
{
    return (pLeft.Inverse() * pRight).Angle();
}

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
    const bool by_channel = type == KDataTypeLclRotation && pick(4) == 0;
    const int count = 1 + pick(5);
    int id = 0;
    GlissaNode* node = mNode.get();
    node->SetRotationOrder(mOrder);
    if (by_channel) {
        node->SetLayerType(eLayerTypeRotationByChannel);
    }
    mType = node->GetLayerType();
    for (int i = 0; i < count; ++i) {
        mLayers.push_back(std::make_unique<Layer>());
        Layer& layer = *mLayers.back();
        layer.info.mMode = static_cast<eLayerMode>(pick(3));
        layer.info.mWeight = pick(3) == 0 ? 1.0 : pick(8) == 0 ? 0.0 : number(0.0, 1.0);
        layer.info.mMuted = pick(5) == 0;
        layer.info.mRotationMode = by_channel ? eRotationByChannel : eRotationByLayer;
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
        const bool takes_part = i >= pFirst && i <= pLast;
        const double w = layer.info.mWeight;
        for (std::size_t k = 0; k < 3; ++k) {
            const double v = takes_part ? layer.values[k] : zero;
            double& r = result[k];
            if (mLayers.size() == 1) {
                r = v;
            } else if (scales) {
                const double part = std::pow(std::fabs(v), w);
                switch (layer.info.mMode) {
                case eLayerModeAdditive:
                    r = part * std::fabs(r);
                    break;
                case eLayerModeOverride:
                    r = part;
                    break;
                case eLayerModeOverridePassthrough:
                    r = part * std::pow(std::fabs(r), 1.0 - w);
                    break;
                }
            } else {
                switch (layer.info.mMode) {
                case eLayerModeAdditive:
                    r += w * v;
                    break;
                case eLayerModeOverride:
                    r = w * v;
                    break;
                case eLayerModeOverridePassthrough:
                    r = w * v + (1.0 - w) * r;
                    break;
                }
            }
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
        const bool takes_part = i >= pFirst && i <= pLast;
        const RefRotation v =
            takes_part ? RefRotation::OfAngles(layer.values.data(), mOrder) : RefRotation();
        const double w = layer.info.mWeight;
        if (mLayers.size() == 1) {
            result = v;
            continue;
        }
        switch (layer.info.mMode) {
        case eLayerModeAdditive:
            result = result * v.Power(w);
            break;
        case eLayerModeOverride:
            result = v.Power(w);
            break;
        case eLayerModeOverridePassthrough:
            result = RefSlerp(result, v, w);
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
