// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/slope_rules.h"

#include "glissa/curve/key_kind.h"
#include "glissa/settings/settings.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr double kFlatValueDifference = 0.0001;
constexpr double kSmallAuto = 0.01;       // a time independent tangent this near 0 is a secant
constexpr double kSlopeTolerance = 1e-5;  // where two slopes or parameters count as equal

// Kochanek and Bartels, Interpolating splines with local tension, continuity and bias control,
// 1984. Each factor times its secant is rounded to float before the sum.
struct TcbParameters
{
    double tension;
    double continuity;
    double bias;
};

TcbParameters TcbOf(const GlissaKeyAttributes& pKey)
{
    return {pKey.mData[eDataTCBTension], pKey.mData[eDataTCBContinuity], pKey.mData[eDataTCBBias]};
}

float RightTcbSlope(const KeyWindow& pKey, const TcbParameters& pTcb)
{
    CORVEKIT_ASSERT(pKey.next);
    const auto [t, c, b] = pTcb;
    const float out = static_cast<float>((1.0 - c) * (1.0 - b) * Secant(*pKey.key, *pKey.next));
    if (!pKey.previous) {
        return static_cast<float>((1.0 - t) * out);
    }
    const float in = static_cast<float>((1.0 + c) * (1.0 + b) * Secant(*pKey.previous, *pKey.key));
    return static_cast<float>((1.0 - t) * 0.5 * (in + out));
}

float LeftTcbSlope(const KeyWindow& pKey, const TcbParameters& pTcb)
{
    CORVEKIT_ASSERT(pKey.previous);
    const auto [t, c, b] = pTcb;
    const float in = static_cast<float>((1.0 - c) * (1.0 + b) * Secant(*pKey.previous, *pKey.key));
    if (!pKey.next) {
        return static_cast<float>((1.0 - t) * in);
    }
    const float out = static_cast<float>((1.0 + c) * (1.0 - b) * Secant(*pKey.key, *pKey.next));
    return static_cast<float>((1.0 - t) * 0.5 * (in + out));
}

bool IsProgressive(const GlissaKeyAttributes& pKey)
{
    return (pKey.mFlags & eTangentProgressiveClamp) == eTangentProgressiveClamp;
}

// The secant that a time independent tangent takes when its parameter is near zero.
bool TakesNeighbourSecant(const GlissaKeyAttributes& pKey, double pAuto)
{
    return (pKey.mFlags & eTangentTimeIndependent) != 0 && std::fabs(pAuto) < kSmallAuto;
}

float NeighbourSecant(const KeyWindow& pKey)
{
    CORVEKIT_ASSERT(pKey.previous || pKey.next);
    return static_cast<float>(
        Secant(pKey.previous ? *pKey.previous : *pKey.key, pKey.next ? *pKey.next : *pKey.key));
}

float RightAutoSlope(const KeyWindow& pKey, bool pExtremes)
{
    bool clampedLeft = false;
    bool clampedRight = false;
    FindClampedSides(pKey, clampedLeft, clampedRight);
    if (clampedRight) {
        return 0.0f;
    }
    const GlissaKeyAttributes& key = *pKey.key->mAttribute;
    const double parameter = key.mData[eDataRightSlope];
    double toLeft = 0.0;
    double toRight = 0.0;
    if (IsProgressive(key)) {
        ProgressiveSlopes(pKey, pExtremes, toLeft, toRight);
        return static_cast<float>(toRight);
    }
    if (TakesNeighbourSecant(key, parameter)) {
        return NeighbourSecant(pKey);
    }
    SecantsOfKey(pKey, toLeft, toRight);
    return static_cast<float>(SlopeFromAuto(KeySide::kRight, parameter, toLeft, toRight));
}

float LeftAutoSlope(const KeyWindow& pKey, bool pExtremes, bool pTestClamp)
{
    CORVEKIT_ASSERT(pKey.previous);
    const GlissaKeyAttributes& before = *pKey.previous->mAttribute;
    const GlissaKeyAttributes& key = *pKey.key->mAttribute;
    if (pTestClamp) {
        bool clampedLeft = false;
        bool clampedRight = false;
        FindClampedSides(pKey, clampedLeft, clampedRight);
        if (clampedLeft) {
            return 0.0f;
        }
    }
    const bool isCubic = key.GetInterpolation() == eInterpolationCubic;
    double parameter = before.mData[eDataNextLeftSlope];
    if (isCubic && before.GetTangeantMode(false) == eTangentTCB) {
        // Slot 1 of a TCB key holds its continuity, so the parameter comes from the key itself.
        parameter = key.GetBreak() ? 100.0 : pKey.next ? -key.mData[eDataRightSlope] : 0.0;
    }
    double toLeft = 0.0;
    double toRight = 0.0;
    if (IsProgressive(key)) {
        ProgressiveSlopes(pKey, pExtremes && isCubic, toLeft, toRight);
        return static_cast<float>(toLeft);
    }
    if (TakesNeighbourSecant(key, parameter)) {
        return NeighbourSecant(pKey);
    }
    SecantsOfKey(pKey, toLeft, toRight);
    return static_cast<float>(SlopeFromAuto(KeySide::kLeft, parameter, toLeft, toRight));
}

// P cubic, K cubic: K's tangent decides.
float LeftSlopeOfCubic(const KeyWindow& pKey, bool pExtremes, bool pIgnoreClamp)
{
    CORVEKIT_ASSERT(pKey.previous);
    const GlissaKeyAttributes& before = *pKey.previous->mAttribute;
    const GlissaKeyAttributes& key = *pKey.key->mAttribute;
    const bool isAfterTcb = before.GetTangeantMode(false) == eTangentTCB;
    switch (key.GetTangeantMode(false)) {
    case eTangentAuto:
    case eTangentAutoBreak:
        return LeftAutoSlope(pKey, pExtremes, !pIgnoreClamp);
    case eTangentTCB:
        // The last key has no right side to take over.
        return GLISSA_GetTCB4051EvalMode() && pKey.next ? RightSlopeOfKey(pKey, false)
                                                        : LeftTcbSlope(pKey, TcbOf(key));
    case eTangentUser:
        if (isAfterTcb) {
            return pKey.next ? key.mData[eDataRightSlope] : 0.0f;
        }
        return before.mData[eDataNextLeftSlope];
    case eTangentUserBreak:
        return isAfterTcb ? LeftTcbSlope(pKey, TcbOf(before)) : before.mData[eDataNextLeftSlope];
    default:
        return 0.0f;
    }
}

// P cubic, K linear or constant: P's tangent decides.
float LeftSlopeOfStep(const KeyWindow& pKey, bool pExtremes)
{
    CORVEKIT_ASSERT(pKey.previous);
    const GlissaKeyAttributes& before = *pKey.previous->mAttribute;
    const unsigned kind = before.GetTangeantMode(false);
    if (IsCubicAuto(before)) {
        return LeftAutoSlope(pKey, pExtremes, false);
    }
    if (IsCubicUser(before)) {
        return before.mData[eDataNextLeftSlope];
    }
    const bool isLinear = pKey.key->mAttribute->GetInterpolation() == eInterpolationLinear;
    return kind == eTangentTCB && isLinear && pKey.next ? RightSlopeOfKey(pKey, false) : 0.0f;
}
}  // namespace

void SecantsOfKey(const KeyWindow& pKey, double& pToLeft, double& pToRight)
{
    if (pKey.next) {
        pToRight = FloatSecant(*pKey.key, *pKey.next);
    }
    if (pKey.previous) {
        pToLeft = FloatSecant(*pKey.previous, *pKey.key);
    } else {
        pToLeft = pToRight;
    }
    if (!pKey.next) {
        pToRight = pToLeft;
    }
}

void FindClampedSides(const KeyWindow& pKey, bool& pLeft, bool& pRight)
{
    CORVEKIT_ASSERT(pKey.key && pKey.key->mAttribute);
    pLeft = false;
    pRight = false;
    const GlissaKeyAttributes& key = *pKey.key->mAttribute;
    constexpr unsigned kClampedAuto = eTangentAuto | eTangentClamp;
    if ((key.mFlags & kClampedAuto) != kClampedAuto) {
        return;
    }
    const auto isFlatTo = [&pKey](const KPriFCurveKey& pOther) {
        return std::fabs(static_cast<double>(pKey.key->mValue - pOther.mValue)) <=
               kFlatValueDifference;
    };
    const bool isAfterCubic =
        pKey.previous && pKey.previous->mAttribute->GetInterpolation() == eInterpolationCubic;
    if (pKey.previous && isFlatTo(*pKey.previous)) {
        pLeft = true;
        if (!key.GetBreak()) {
            pRight = true;
            return;
        }
    }
    if (!pKey.next || !isFlatTo(*pKey.next)) {
        return;
    }
    pRight = true;
    if (!key.GetBreak() && isAfterCubic) {
        pLeft = true;
    }
}

void ProgressiveSlopes(const KeyWindow& pKey, bool pExtremes, double& pLeft, double& pRight)
{
    pLeft = 0.0;
    pRight = 0.0;
    if (!pKey.previous || !pKey.next) {
        if (pExtremes) {
            SecantsOfKey(pKey, pLeft, pRight);
        }
        return;
    }
    const auto slope = [](const KPriFCurveKey& pFrom, const KPriFCurveKey& pTo) {
        return static_cast<double>(pTo.mValue - pFrom.mValue) /
               static_cast<double>(static_cast<float>(SecondsBetween(pFrom, pTo)));
    };
    const double through = slope(*pKey.previous, *pKey.next);
    const double toLeft = slope(*pKey.previous, *pKey.key);
    const double toRight = slope(*pKey.key, *pKey.next);

    // Parameters of 100 and -100 on the two sides: the tangent was broken flat against one side.
    const double leftAuto = pKey.previous->mAttribute->mData[eDataNextLeftSlope];
    const double rightAuto = pKey.key->mAttribute->mData[eDataRightSlope];
    double out = 0.0;
    if (std::fabs(leftAuto + rightAuto) < kSlopeTolerance &&
        std::fabs(std::fabs(leftAuto) - 100.0) < kSlopeTolerance) {
        out = leftAuto > 0.0 ? toLeft : toRight;
    } else if ((toLeft < 0.0) == (toRight < 0.0) && (toLeft < 0.0) == (through < 0.0)) {
        out = toRight < 0.0 ? std::max({through, 3.0 * toRight, 3.0 * toLeft})
                            : std::min({through, 3.0 * toRight, 3.0 * toLeft});
    }
    pLeft = out;
    pRight = out;
}

float RightSlopeOfKey(const KeyWindow& pKey, bool pExtremes)
{
    if (!pKey.next) {
        return pKey.previous ? LeftSlopeOfKey(pKey, false, false) : 0.0f;
    }
    const GlissaKeyAttributes& key = *pKey.key->mAttribute;
    switch (key.GetInterpolation()) {
    case eInterpolationCustom:
        return key.mData[eDataRightSlope];
    case eInterpolationLinear:
        return static_cast<float>(Secant(*pKey.key, *pKey.next));
    case eInterpolationCubic:
        break;
    default:
        return 0.0f;
    }
    switch (key.GetTangeantMode(false)) {
    case eTangentUser:
    case eTangentUserBreak:
        return key.mData[eDataRightSlope];
    case eTangentTCB:
        return RightTcbSlope(pKey, TcbOf(key));
    case eTangentAuto:
    case eTangentAutoBreak:
        return RightAutoSlope(pKey, pExtremes);
    default:
        return 0.0f;
    }
}

float LeftSlopeOfKey(const KeyWindow& pKey, bool pExtremes, bool pIgnoreClamp)
{
    if (!pKey.previous) {
        return pKey.next ? RightSlopeOfKey(pKey, false) : 0.0f;
    }
    const GlissaKeyAttributes& before = *pKey.previous->mAttribute;
    switch (before.GetInterpolation()) {
    case eInterpolationCustom:
        return before.mData[eDataNextLeftSlope];
    case eInterpolationLinear:
        return static_cast<float>(Secant(*pKey.previous, *pKey.key));
    case eInterpolationCubic:
        break;
    default:
        return 0.0f;
    }
    switch (pKey.key->mAttribute->GetInterpolation()) {
    case eInterpolationCubic:
        return LeftSlopeOfCubic(pKey, pExtremes, pIgnoreClamp);
    case eInterpolationLinear:
    case eInterpolationConstant:
        return LeftSlopeOfStep(pKey, pExtremes);
    case eInterpolationCustom:
        return before.mData[eDataNextLeftSlope];
    default:
        return 0.0f;
    }
}
