// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Slopes, auto parameters, handles, weights and velocities of one side of a key, and whole sides.
//
// The right side of key i stands in its own slots, its left side in those of the key before: called
// P below, with K for key i itself. A slot holds what the kind of its side asks for, a slope for a
// user side and an auto parameter for an automatic one; a cubic K decides, and a K of another kind
// leaves it to P.

#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/curve/slope_rules.h"

namespace
{
// A parameter from a slope, or a slope from a parameter, with the secants of a key.
template <typename Compute>
float ForKey(Compute&& pCompute, Glissa& pCurve, int pIndex, double pInput)
{
    double output = 0.0;
    pCompute(output, pInput, &pCurve, pIndex);
    return static_cast<float>(output);
}

float LeftAutoOf(Glissa& pCurve, int pIndex, double pSlope)
{
    return ForKey(GLISSA_ComputeLeftAutoFromBezierForKey, pCurve, pIndex, pSlope);
}

float RightAutoOf(Glissa& pCurve, int pIndex, double pSlope)
{
    return ForKey(GLISSA_ComputeRightAutoFromBezierForKey, pCurve, pIndex, pSlope);
}

float LeftSlopeOf(Glissa& pCurve, int pIndex, double pAuto)
{
    return ForKey(GLISSA_ComputeLeftBezierFromAutoForKey, pCurve, pIndex, pAuto);
}

float RightSlopeOf(Glissa& pCurve, int pIndex, double pAuto)
{
    return ForKey(GLISSA_ComputeRightBezierFromAutoForKey, pCurve, pIndex, pAuto);
}
}  // namespace

void Glissa::KeySetRightDerivative(int pIndex, float pSlope)
{
    if (pIndex < 0 || pIndex >= KeyGetCount() - 1) {
        return;
    }
    ResetCandidate();
    if (KeyGetInterpolation(pIndex) == eInterpolationCustom || IsCubicUser(pIndex)) {
        KeySetDataDouble(pIndex, eDataRightSlope, pSlope);
    } else if (IsCubicAuto(pIndex)) {
        KeySetDataDouble(pIndex, eDataRightSlope, RightAutoOf(*this, pIndex, pSlope));
    }
}

void Glissa::KeySetLeftDerivative(int pIndex, float pSlope)
{
    if (pIndex <= 0 || pIndex > KeyGetCount()) {
        return;
    }
    const KeyModifyBracket bracket(*this);
    ResetCandidate();
    StoreLeftSlope(pIndex, pSlope);
    FollowLeftSlope(pIndex, pSlope);
}

// The two sides of a user tangent follow each other. Behind a TCB key there is no left side to
// follow: that key has no place for one.
void Glissa::FollowLeftSlope(int pIndex, float pSlope)
{
    CORVEKIT_ASSERT(pIndex > 0);
    if (pIndex < KeyGetCount() && IsCubicWith(pIndex, eTangentUser, eTangentUser) &&
        !IsCubicTCB(pIndex - 1)) {
        KeySetRightDerivative(pIndex, pSlope);
    }
}

// The left slope of a key, in slot 1 of the key before; its right side stays.
void Glissa::StoreLeftSlope(int pIndex, float pSlope)
{
    CORVEKIT_ASSERT(pIndex > 0 && pIndex <= KeyGetCount());
    const int before = pIndex - 1;
    const bool hasKey = pIndex < KeyGetCount();
    const unsigned interpolation = hasKey ? KeyGetInterpolation(pIndex) : 0;
    const bool isCubic = interpolation == eInterpolationCubic;
    const bool isUserSide = hasKey && isCubic && (Attr(pIndex).mFlags & eTangentUser) != 0;
    const auto store = [&](bool pAsSlope) {
        KeySetDataDouble(before, eDataNextLeftSlope,
                         pAsSlope ? pSlope : LeftAutoOf(*this, pIndex, pSlope));
    };
    switch (KeyGetInterpolation(before)) {
    case eInterpolationCustom:
    case eInterpolationConstant:
    case eInterpolationLinear:
        store(true);
        break;
    case eInterpolationCubic:
        if (IsCubicAuto(before)) {
            store(!hasKey || isUserSide || interpolation == eInterpolationCustom);
        } else if (IsCubicUser(before)) {
            store(!hasKey || !isCubic || isUserSide);
        }
        break;
    default:
        break;
    }
}

float Glissa::KeyGetRightAuto(int pIndex, bool pApplyClamp)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < KeyGetCount());
    if (IsCubicAuto(pIndex)) {
        bool clampedLeft = false;
        bool clampedRight = false;
        if (pApplyClamp) {
            IsClamped(pIndex, clampedLeft, clampedRight);
        }
        if (!clampedRight) {
            return KeyGetDataDouble(pIndex, eDataRightSlope);
        }
    } else if (pIndex >= KeyGetCount() - 1) {
        return 0.0f;
    }
    return RightAutoOf(*this, pIndex, KeyGetRightDerivative(pIndex));
}

float Glissa::KeyGetLeftAuto(int pIndex, bool pApplyClamp)
{
    if (pIndex < 0 || KeyGetCount() == 0) {
        return 0.0f;
    }
    if (pIndex == 0) {
        return IsCubicAuto(0) ? KeyGetDataDouble(0, eDataRightSlope) : 0.0f;
    }
    const int before = pIndex - 1;
    if (KeyGetInterpolation(before) == eInterpolationConstant) {
        return 0.0f;
    }
    if (KeyGetInterpolation(before) == eInterpolationLinear) {
        return 100.0f;
    }
    if (IsCubicAuto(pIndex)) {
        bool clampedLeft = false;
        bool clampedRight = false;
        if (pApplyClamp) {
            IsClamped(pIndex, clampedLeft, clampedRight);
        }
        if (!clampedLeft) {
            // Slot 1 of a TCB key holds its continuity.
            if (IsCubicTCB(before)) {
                return KeyGetBreak(pIndex) ? 100.0f : -KeyGetDataDouble(pIndex, eDataRightSlope);
            }
            return KeyGetDataDouble(before, eDataNextLeftSlope);
        }
    }
    return LeftAutoOf(*this, pIndex, KeyGetLeftDerivative(pIndex));
}

void Glissa::KeySetLeftAuto(int pIndex, float pAuto)
{
    if (pIndex <= 0 || pIndex > KeyGetCount()) {
        return;
    }
    const KeyModifyBracket bracket(*this);
    ResetCandidate();
    StoreLeftAuto(pIndex, pAuto);
    if (pIndex < KeyGetCount() && IsCubicWith(pIndex, eTangentUser, eTangentUser)) {
        KeySetRightAuto(pIndex, pAuto);
    }
}

// The left auto parameter of a key, in slot 1 of the key before; its right side stays.
void Glissa::StoreLeftAuto(int pIndex, float pAuto)
{
    CORVEKIT_ASSERT(pIndex > 0 && pIndex <= KeyGetCount());
    const int before = pIndex - 1;
    const bool hasKey = pIndex < KeyGetCount();
    const bool isCubic = hasKey && KeyGetInterpolation(pIndex) == eInterpolationCubic;
    const bool isAutoSide = isCubic && (Attr(pIndex).mFlags & eTangentAuto) != 0;
    const auto store = [&](bool pAsAuto) {
        KeySetDataDouble(before, eDataNextLeftSlope,
                         pAsAuto ? pAuto : LeftSlopeOf(*this, pIndex, pAuto));
    };
    switch (KeyGetInterpolation(before)) {
    case eInterpolationConstant:
    case eInterpolationLinear:
        store(true);
        break;
    case eInterpolationCubic:
        if (IsCubicAuto(before)) {
            store(!isCubic || isAutoSide);
        } else if (IsCubicUser(before)) {
            store(!hasKey || isAutoSide);
        }
        break;
    default:
        break;
    }
}

void Glissa::KeySetRightAuto(int pIndex, float pAuto)
{
    if (pIndex < 0 || pIndex >= KeyGetCount()) {
        return;
    }
    const KeyModifyBracket bracket(*this);
    ResetCandidate();
    if (IsCubicAuto(pIndex)) {
        KeySetDataDouble(pIndex, eDataRightSlope, pAuto);
    } else if (IsCubicUser(pIndex) && pIndex < KeyGetCount() - 1) {
        KeySetDataDouble(pIndex, eDataRightSlope, RightSlopeOf(*this, pIndex, pAuto));
    }
}

float Glissa::KeyGetLeftBezierTangeant(int pIndex, bool pExtremes)
{
    const int count = KeyGetCount();
    if (count == 0) {
        return 0.0f;
    }
    if (count == 1 || pIndex <= 0) {
        return KeyGetValue(0);
    }
    const float value = KeyGetValue(pIndex);
    switch (KeyGetInterpolation(pIndex - 1)) {
    case eInterpolationConstant:
        return value;
    case eInterpolationCustom:
    case eInterpolationLinear:
    case eInterpolationCubic: {
        const float seconds = static_cast<float>(SecondsBetween(KeyAt(pIndex - 1), KeyAt(pIndex)));
        return static_cast<float>(value - KeyGetLeftDerivative(pIndex, pExtremes) * seconds / 3.0);
    }
    default:
        return 0.0f;
    }
}

float Glissa::KeyGetRightBezierTangeant(int pIndex, bool pExtremes)
{
    const int last = KeyGetCount() - 1;
    if (last < 0) {
        return 0.0f;
    }
    if (pIndex >= last) {
        return KeyGetValue(last);
    }
    const float value = KeyGetValue(pIndex);
    switch (KeyGetInterpolation(pIndex)) {
    case eInterpolationConstant:
        return value;
    case eInterpolationCustom:
    case eInterpolationLinear:
    case eInterpolationCubic: {
        const float seconds = static_cast<float>(SecondsBetween(KeyAt(pIndex), KeyAt(pIndex + 1)));
        return static_cast<float>(value + KeyGetRightDerivative(pIndex, pExtremes) * seconds / 3.0);
    }
    default:
        return 0.0f;
    }
}

void Glissa::KeySetLeftBezierTangeant(int pIndex, float pValue)
{
    if (pIndex <= 0 || pIndex >= KeyGetCount()) {
        return;
    }
    const double seconds = SecondsBetween(KeyAt(pIndex - 1), KeyAt(pIndex));
    const float third = static_cast<float>(-(pValue - KeyGetValue(pIndex)) / seconds);
    KeySetLeftDerivative(pIndex, static_cast<float>(third * 3.0));
}

void Glissa::KeySetRightBezierTangeant(int pIndex, float pValue)
{
    if (pIndex < 0 || pIndex >= KeyGetCount() - 1) {
        return;
    }
    const double seconds = SecondsBetween(KeyAt(pIndex), KeyAt(pIndex + 1));
    const float third = static_cast<float>((pValue - KeyGetValue(pIndex)) / seconds);
    KeySetRightDerivative(pIndex, static_cast<float>(third * 3.0));
}

void Glissa::KeySetLeftTangeantWeight(int pIndex, float pWeight)
{
    if (pIndex <= 0 || pIndex > KeyGetCount()) {
        return;
    }
    const int before = pIndex - 1;
    const unsigned interpolation = KeyGetInterpolation(before);
    if (interpolation == eInterpolationCustom ||
        (interpolation == eInterpolationCubic && !IsCubicTCB(before))) {
        const KeyModifyBracket bracket(*this);
        KeySetTangeantWeightMode(before, eWeightNextLeft, eWeightNextLeft);
        KeySetDataDouble(before, eDataNextLeftWeight, pWeight);
    }
}

void Glissa::KeySetRightTangeantWeight(int pIndex, float pWeight)
{
    if (pIndex < 0 || pIndex >= KeyGetCount() - 1) {
        return;
    }
    const unsigned interpolation = KeyGetInterpolation(pIndex);
    if (interpolation == eInterpolationCustom || interpolation == eInterpolationCubic) {
        const KeyModifyBracket bracket(*this);
        KeySetTangeantWeightMode(pIndex, eWeightRight, eWeightRight);
        KeySetDataDouble(pIndex, eDataRightWeight, pWeight);
    }
}

void Glissa::KeySetLeftTangeantWeightedMode(int pIndex, bool pOn)
{
    if (pIndex <= 0 || pIndex > KeyGetCount()) {
        return;
    }
    const unsigned interpolation = KeyGetInterpolation(pIndex - 1);
    if (interpolation == eInterpolationCustom || interpolation == eInterpolationCubic) {
        KeySetTangeantWeightMode(pIndex - 1, pOn ? eWeightNextLeft : eWeightNone, eWeightNextLeft);
    }
}

void Glissa::KeySetRightTangeantWeightedMode(int pIndex, bool pOn)
{
    if (pIndex < 0 || pIndex >= KeyGetCount() - 1) {
        return;
    }
    const unsigned interpolation = KeyGetInterpolation(pIndex);
    if (interpolation == eInterpolationCustom || interpolation == eInterpolationCubic) {
        KeySetTangeantWeightMode(pIndex, pOn ? eWeightRight : eWeightNone, eWeightRight);
    }
}

void Glissa::KeySetLeftTangeantVelocity(int pIndex, float pVelocity)
{
    if (pIndex <= 0 || pIndex > KeyGetCount()) {
        return;
    }
    const int before = pIndex - 1;
    if (KeyGetInterpolation(before) == eInterpolationCubic && !IsCubicTCB(before)) {
        const KeyModifyBracket bracket(*this);
        KeySetTangeantVelocityMode(before, eVelocityNextLeft, eVelocityNextLeft);
        KeySetDataDouble(before, eDataNextLeftVelocity, pVelocity);
    }
}

void Glissa::KeySetRightTangeantVelocity(int pIndex, float pVelocity)
{
    if (pIndex < 0 || pIndex >= KeyGetCount() - 1 ||
        KeyGetInterpolation(pIndex) != eInterpolationCubic) {
        return;
    }
    const KeyModifyBracket bracket(*this);
    KeySetTangeantVelocityMode(pIndex, eVelocityRight, eVelocityRight);
    GlissaKeyAttributes attributes = Attr(pIndex);
    attributes.SetDataDouble(eDataRightVelocity, pVelocity);
    if (WriteAttributes(pIndex, attributes)) {
        const bool isSlope = IsCubicAuto(pIndex) || IsCubicUser(pIndex);
        CallbackAddEvent(isSlope ? kGlissaEventOther | eEventEditVelocity : kGlissaEventOther,
                         pIndex);
    }
}

void Glissa::KeySetLeftTangeantVelocityMode(int pIndex, bool pOn)
{
    if (pIndex > 0 && pIndex <= KeyGetCount() &&
        KeyGetInterpolation(pIndex - 1) == eInterpolationCubic) {
        KeySetTangeantVelocityMode(pIndex - 1, pOn ? eVelocityNextLeft : eVelocityNone,
                                   eVelocityNextLeft);
    }
}

void Glissa::KeySetRightTangeantVelocityMode(int pIndex, bool pOn)
{
    if (pIndex >= 0 && pIndex < KeyGetCount() - 1 &&
        KeyGetInterpolation(pIndex) == eInterpolationCubic) {
        KeySetTangeantVelocityMode(pIndex, pOn ? eVelocityRight : eVelocityNone, eVelocityRight);
    }
}

GlissaTangeantInfo Glissa::KeyGetLeftDerivativeInfo(int pIndex)
{
    GlissaTangeantInfo info;
    info.mDerivative = KeyGetLeftDerivative(pIndex);
    info.mWeight = KeyGetLeftTangeantWeight(pIndex);
    info.mIsWeighted = KeyIsLeftTangeantWeighted(pIndex);
    info.mVelocity = KeyGetLeftTangeantVelocity(pIndex);
    info.mIsVelocity = KeyIsLeftTangeantVelocity(pIndex);
    info.mAuto = KeyGetLeftAuto(pIndex, false);
    return info;
}

GlissaTangeantInfo Glissa::KeyGetRightDerivativeInfo(int pIndex)
{
    GlissaTangeantInfo info;
    info.mDerivative = KeyGetRightDerivative(pIndex);
    info.mWeight = KeyGetRightTangeantWeight(pIndex);
    info.mIsWeighted = KeyIsRightTangeantWeighted(pIndex);
    info.mVelocity = KeyGetRightTangeantVelocity(pIndex);
    info.mIsVelocity = KeyIsRightTangeantVelocity(pIndex);
    info.mAuto = KeyGetRightAuto(pIndex, false);
    return info;
}

void Glissa::KeySetLeftDerivativeInfo(int pIndex, const GlissaTangeantInfo& pInfo,
                                      bool pForceDerivative)
{
    if (pIndex <= 0 || pIndex >= KeyGetCount()) {
        return;
    }
    const GlissaKeyAttributes& key = Attr(pIndex);
    if ((key.mFlags & eTangentTCB) != 0 && key.GetInterpolation() != eInterpolationCustom) {
        return;
    }
    const KeyModifyBracket bracket(*this);
    StoreLeftSide(pIndex, pInfo, pForceDerivative);
    FollowLeftSlope(pIndex, pInfo.mDerivative);
}

// Gives a key back the left side that it had before an edit of the keys before it, so that the
// segment that it ends arrives as it did. Its right side, and with it the segment behind, stays:
// the left slope of a user tangent does not take the right one along here. A key without a left
// side to store, the first one or a cubic one with the TCB bit, stays as it is.
void Glissa::KeepLeftSide(int pIndex, const GlissaTangeantInfo& pInfo, bool pForceDerivative)
{
    if (pIndex <= 0 || pIndex >= KeyGetCount() ||
        (KeyGetInterpolation(pIndex) == eInterpolationCubic &&
         (Attr(pIndex).mFlags & eTangentTCB) != 0)) {
        return;
    }
    const KeyModifyBracket bracket(*this);
    StoreLeftSide(pIndex, pInfo, pForceDerivative);
}

void Glissa::StoreLeftSide(int pIndex, const GlissaTangeantInfo& pInfo, bool pForceDerivative)
{
    CORVEKIT_ASSERT(pIndex > 0 && pIndex < KeyGetCount() && mModifyNesting > 0);
    ResetCandidate();
    const GlissaKeyAttributes old = Attr(pIndex);
    const bool isCubic = old.GetInterpolation() == eInterpolationCubic;
    // The weights of a TCB key share a slot with its bias.
    if (!IsCubicTCB(pIndex - 1)) {
        KeySetLeftTangeantWeight(pIndex, pInfo.mWeight);
        KeySetLeftTangeantWeightedMode(pIndex, pInfo.mIsWeighted);
        KeySetLeftTangeantVelocity(pIndex, pInfo.mVelocity);
        KeySetLeftTangeantVelocityMode(pIndex, pInfo.mIsVelocity);
    }
    const GlissaKeyAttributes& before = Attr(pIndex - 1);
    const bool isAutoSide = isCubic ? (old.mFlags & eTangentAuto) != 0
                                    : before.GetInterpolation() == eInterpolationCubic &&
                                          (before.mFlags & eTangentAuto) != 0;
    if (isAutoSide && !pForceDerivative) {
        StoreLeftAuto(pIndex, pInfo.mAuto);
    } else {
        StoreLeftSlope(pIndex, pInfo.mDerivative);
    }
}

void Glissa::KeySetRightDerivativeInfo(int pIndex, const GlissaTangeantInfo& pInfo,
                                       bool pForceDerivative)
{
    if (pIndex < 0 || pIndex >= KeyGetCount()) {
        return;
    }
    const GlissaKeyAttributes old = Attr(pIndex);
    if ((old.mFlags & eTangentTCB) != 0 && old.GetInterpolation() != eInterpolationCustom) {
        return;
    }
    const bool isCubicAuto =
        old.GetInterpolation() == eInterpolationCubic && (old.mFlags & eTangentAuto) != 0;
    ResetCandidate();
    const KeyModifyBracket bracket(*this);
    if (pIndex >= KeyGetCount() - 1) {
        if (isCubicAuto) {
            KeySetDataDouble(pIndex, eDataRightSlope, pInfo.mAuto);
        }
        return;
    }
    KeySetRightTangeantWeight(pIndex, pInfo.mWeight);
    KeySetRightTangeantWeightedMode(pIndex, pInfo.mIsWeighted);
    KeySetRightTangeantVelocity(pIndex, pInfo.mVelocity);
    KeySetRightTangeantVelocityMode(pIndex, pInfo.mIsVelocity);
    if (isCubicAuto && !pForceDerivative) {
        KeySetRightAuto(pIndex, pInfo.mAuto);
    } else {
        KeySetRightDerivative(pIndex, pInfo.mDerivative);
    }
}

bool Glissa::IsKeyInterpolationPureCubicAuto(int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < KeyGetCount());
    const GlissaKeyAttributes& key = Attr(pIndex);
    return (key.mFlags & eInterpolationCubic) != 0 && (key.mFlags & eTangentAuto) != 0 &&
           KeyGetLeftAuto(pIndex, false) == 0.0f && KeyGetRightAuto(pIndex, false) == 0.0f &&
           !KeyIsLeftTangeantWeighted(pIndex) && !KeyIsRightTangeantWeighted(pIndex);
}
