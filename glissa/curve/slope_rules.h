// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the slopes of a key, from the key and its two neighbours.
//
// The right side of a key is stored in its own slot 0, its left side in slot 1 of the key before.
// So two keys decide a left slope, P before and K itself.
#pragma once

#include "glissa/curve/key.h"
#include "glissa/curve/key_weight.h"
#include "glissa/curve/ticks.h"

#include <cmath>

/// A key between its neighbours; null where there is none.
struct KeyWindow
{
    const KPriFCurveKey* previous;
    const KPriFCurveKey* key;
    const KPriFCurveKey* next;
};

inline double SecondsBetween(const KPriFCurveKey& pFrom, const KPriFCurveKey& pTo)
{
    return ToDouble((pTo.mTime - pFrom.mTime).Get()) / static_cast<double>(KTime::kTicksPerSecond);
}

/// Secant slope with the time difference in double.
inline double Secant(const KPriFCurveKey& pFrom, const KPriFCurveKey& pTo)
{
    return (pTo.mValue - pFrom.mValue) / SecondsBetween(pFrom, pTo);
}

/// Secant slope in float throughout: for automatic tangents.
inline float FloatSecant(const KPriFCurveKey& pFrom, const KPriFCurveKey& pTo)
{
    return (pTo.mValue - pFrom.mValue) / static_cast<float>(SecondsBetween(pFrom, pTo));
}

/// The slope of an automatic parameter: y for -100, x for 100, the mean for 0.
inline double AutoBlend(double pAuto, double pX, double pY)
{
    if (pAuto == 0.0) {
        return (pY + pX) * 0.5;  // the line below, without its divisions
    }
    return ((100.0 - pAuto) / 100.0 * pY + (pAuto + 100.0) / 100.0 * pX) * 0.5;
}

/// Which of the two tangents of a key.
enum class KeySide
{
    kLeft,
    kRight,
};

/// The slope of one side of a key from its auto parameter and the secants to its neighbours.
inline double SlopeFromAuto(KeySide pSide, double pAuto, double pToLeft, double pToRight)
{
    constexpr double kTolerance = 1e-5;
    constexpr double kRange = 500.0;  // beyond, the slope leaves the secants along a parabola
    constexpr double kParabolaScale = 1000.0;
    const bool isLeft = pSide == KeySide::kLeft;
    const double near = isLeft ? pToLeft : pToRight;
    const double far = isLeft ? pToRight : pToLeft;
    // On the left side the secants themselves, which the blend would miss by a rounding.
    if (isLeft && std::fabs(pAuto - 100.0) < kTolerance) {
        return near;
    }
    if (isLeft && std::fabs(pAuto + 100.0) < kTolerance) {
        return far;
    }
    const double blend = AutoBlend(pAuto, near, far);
    if (!(std::fabs(pAuto) > kRange)) {
        return blend;
    }
    // The parabola continues from the near secant, away from the far one.
    const double excess = (std::fabs(pAuto) - kRange) / kRange;
    const bool isNearAbove = near > far || (!isLeft && near - far == 0.0);
    return blend +
           excess * excess * (isNearAbove == (pAuto > 0.0) ? kParabolaScale : -kParabolaScale);
}

/// Secants to the neighbours; at an end both are the one that exists. A lone key leaves
/// pToRight as it is and copies it to pToLeft.
void SecantsOfKey(const KeyWindow& pKey, double& pToLeft, double& pToRight);

/// The flat sides of a clamped auto key: where a neighbour's value is equal to within 0.0001.
void FindClampedSides(const KeyWindow& pKey, bool& pLeft, bool& pRight);

/// The progressive clamp, the same on both sides but at an end key with pExtremes.
void ProgressiveSlopes(const KeyWindow& pKey, bool pExtremes, double& pLeft, double& pRight);

float RightSlopeOfKey(const KeyWindow& pKey, bool pExtremes);
float LeftSlopeOfKey(const KeyWindow& pKey, bool pExtremes, bool pIgnoreClamp);

/// Whether the weight of the right side of pKey takes part; pIsLast for the last key.
inline bool IsRightSideWeighted(const GlissaKeyAttributes& pKey, bool pIsLast)
{
    if (pIsLast || (pKey.mFlags & eWeightRight) == 0) {
        return false;
    }
    return pKey.GetInterpolation() == eInterpolationCustom ||
           (pKey.GetInterpolation() == eInterpolationCubic &&
            (pKey.mFlags & (eTangentAuto | eTangentUser | eTangentBreak)) != 0);
}

inline float RightWeightOf(const GlissaKeyAttributes& pKey, bool pIsLast)
{
    return IsRightSideWeighted(pKey, pIsLast)
               ? FromStoredNumber(WeightPair::FromSlot(pKey.mData[2]).mRight)
               : kGlissaDefaultWeight;
}

/// Weight of the left side of the key after pPrevious.
inline float LeftWeightAfter(const GlissaKeyAttributes& pPrevious)
{
    return (pPrevious.mFlags & eWeightNextLeft) != 0
               ? FromStoredNumber(WeightPair::FromSlot(pPrevious.mData[2]).mNextLeft)
               : kGlissaDefaultWeight;
}
