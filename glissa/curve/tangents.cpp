// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Slopes, auto parameters, handles, weights and velocities of one side of a key, and whole sides.
//
// The right side of key i is stored in its own slots, its left side in those of the key before:
// called P below, with K for key i itself. A slot holds what the kind of its side needs, a slope
// for a user side and an auto parameter for an automatic one; a cubic K decides, and a K of another
// kind leaves it to P.

#include "glissa/curve/curve.h"
#include "glissa/curve/key_kind.h"
#include "glissa/curve/left_side.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/curve/slope_rules.h"

namespace
{
/// How the side of a key is stored, in the key itself or in the one before.
struct SideSlots
{
    EGlissaDataIndex slope;
    EGlissaDataIndex weight;
    EGlissaDataIndex velocity;
    unsigned weightMode;
    unsigned velocityMode;
};
constexpr SideSlots kLeftSlots{eDataNextLeftSlope, eDataNextLeftWeight, eDataNextLeftVelocity,
                               eWeightNextLeft, eVelocityNextLeft};
constexpr SideSlots kRightSlots{eDataRightSlope, eDataRightWeight, eDataRightVelocity, eWeightRight,
                                eVelocityRight};

/// The side of a key. Behind the last key there is one more left side, which that key stores.
struct Side
{
    Glissa& curve;
    KeySide side;
    int index;

    bool IsLeft() const { return side == KeySide::kLeft; }
    const SideSlots& Slots() const { return IsLeft() ? kLeftSlots : kRightSlots; }
    /// The key that stores the side.
    int Store() const { return IsLeft() ? index - 1 : index; }
    bool Exists() const
    {
        return IsLeft() ? index > 0 && index <= curve.KeyGetCount()
                        : index >= 0 && index < curve.KeyGetCount() - 1;
    }
    /// Slot 2 of a TCB key is its bias: a left side has no weight or velocity there.
    bool HasNoPlace() const { return IsLeft() && IsCubicTcb(curve, Store()); }

    float Slope(bool pExtremes = false) const
    {
        return IsLeft() ? curve.KeyGetLeftDerivative(index, pExtremes)
                        : curve.KeyGetRightDerivative(index, pExtremes);
    }
    void SetSlope(float pSlope) const
    {
        IsLeft() ? curve.KeySetLeftDerivative(index, pSlope)
                 : curve.KeySetRightDerivative(index, pSlope);
    }
    float AutoFrom(double pSlope) const
    {
        double parameter = 0.0;
        (IsLeft() ? GLISSA_ComputeLeftAutoFromBezierForKey
                  : GLISSA_ComputeRightAutoFromBezierForKey)(parameter, pSlope, &curve, index);
        return static_cast<float>(parameter);
    }
    float SlopeFrom(double pAuto) const
    {
        double slope = 0.0;
        (IsLeft() ? GLISSA_ComputeLeftBezierFromAutoForKey
                  : GLISSA_ComputeRightBezierFromAutoForKey)(slope, pAuto, &curve, index);
        return static_cast<float>(slope);
    }
    bool IsClamped() const
    {
        bool left = false;
        bool right = false;
        curve.IsClamped(index, left, right);
        return IsLeft() ? left : right;
    }

    // A handle is a third of the segment away from the key, in time.

    double SecondsToNeighbour() const
    {
        const int from = IsLeft() ? index - 1 : index;
        CORVEKIT_ASSERT(from >= 0 && from + 1 < curve.KeyGetCount());
        return SecondsBetween(*curve.InternalPriKeyGetPtr(from),
                              *curve.InternalPriKeyGetPtr(from + 1));
    }
    float Handle(bool pExtremes) const
    {
        const float value = curve.KeyGetValue(index);
        switch (curve.KeyGetInterpolation(Store())) {
        case eInterpolationConstant:
            return value;
        case eInterpolationCustom:
        case eInterpolationLinear:
        case eInterpolationCubic: {
            const double way = Slope(pExtremes) * static_cast<float>(SecondsToNeighbour()) / 3.0;
            return static_cast<float>(IsLeft() ? value - way : value + way);
        }
        default:
            return 0.0f;
        }
    }
    void SetHandle(float pValue) const
    {
        if (Exists() && index < curve.KeyGetCount()) {
            const float rise = pValue - curve.KeyGetValue(index);
            const float third =
                static_cast<float>((IsLeft() ? -rise : rise) / SecondsToNeighbour());
            SetSlope(static_cast<float>(third * 3.0));
        }
    }

    void SetWeight(float pWeight) const
    {
        if (!Exists() || !IsShaped() || HasNoPlace()) {
            return;
        }
        const KeyModifyBracket bracket(curve);
        SetWeighted(true);
        curve.KeySetDataDouble(Store(), Slots().weight, pWeight);
    }
    void SetWeighted(bool pOn) const
    {
        if (Exists() && IsShaped()) {
            curve.KeySetTangeantWeightMode(Store(), pOn ? Slots().weightMode : eWeightNone,
                                           Slots().weightMode);
        }
    }
    void SetVelocityMode(bool pOn) const
    {
        if (Exists() && IsCubic(curve, Store())) {
            curve.KeySetTangeantVelocityMode(Store(), pOn ? Slots().velocityMode : eVelocityNone,
                                             Slots().velocityMode);
        }
    }
    /// Whether the segment on this side has tangents.
    bool IsShaped() const { return IsCubic(curve, Store()) || IsCustom(curve, Store()); }
};

bool IsPlainUser(const Glissa& pCurve, int pIndex)
{
    return pIndex < pCurve.KeyGetCount() && IsCubicWith(pCurve, pIndex, eTangentUser);
}

/// What a value of a side is, and so how its slot may hold it.
enum class SideValue
{
    kSlope,
    kAuto,
};

// A slope or an auto parameter of the left side of a key, in slot 1 of the key before. Where the
// slot holds the other one, the value is converted. The right side stays.
void StoreLeft(Glissa& pCurve, int pIndex, SideValue pWhat, float pValue)
{
    const Side left{pCurve, KeySide::kLeft, pIndex};
    CORVEKIT_ASSERT(left.Exists());
    const int before = pIndex - 1;
    const bool isSlope = pWhat == SideValue::kSlope;
    const auto store = [&](bool pAsItIs) {
        const float other = pAsItIs   ? 0.0f
                            : isSlope ? left.AutoFrom(pValue)
                                      : left.SlopeFrom(pValue);
        pCurve.KeySetDataDouble(before, eDataNextLeftSlope, pAsItIs ? pValue : other);
    };
    const bool hasKey = pIndex < pCurve.KeyGetCount();
    const bool isCubicKey = hasKey && IsCubic(pCurve, pIndex);
    switch (pCurve.KeyGetInterpolation(before)) {
    case eInterpolationCustom:
        if (isSlope) {
            store(true);
        }
        break;
    case eInterpolationConstant:
    case eInterpolationLinear:
        store(true);
        break;
    case eInterpolationCubic: {
        const bool isAutoBefore = IsCubicAuto(pCurve, before);
        if (!isAutoBefore && !IsCubicUser(pCurve, before)) {
            break;
        }
        // A cubic key decides. Without one the key before does, and where there is no key at all
        // either value is kept as it is.
        const bool isKeyAlike = isCubicKey && (pCurve.KeyGetTangeantMode(pIndex, false) &
                                               (isSlope ? eTangentUser : eTangentAuto)) != 0;
        const bool isBeforeAlike = isSlope != isAutoBefore;
        const bool isCustomSlope = isSlope && hasKey && IsCustom(pCurve, pIndex);
        store(isKeyAlike || isCustomSlope || (isBeforeAlike ? !isCubicKey : !hasKey));
        break;
    }
    default:
        break;
    }
}

// The two sides of a user tangent follow each other. Behind a TCB key there is no left side to
// follow: that key has no place for one.
void FollowLeftSlope(Glissa& pCurve, int pIndex, float pSlope)
{
    CORVEKIT_ASSERT(pIndex > 0);
    if (IsPlainUser(pCurve, pIndex) && !IsCubicTcb(pCurve, pIndex - 1)) {
        pCurve.KeySetRightDerivative(pIndex, pSlope);
    }
}

void StoreLeftSide(Glissa& pCurve, int pIndex, const GlissaTangeantInfo& pInfo,
                   bool pForceDerivative)
{
    CORVEKIT_ASSERT(pIndex > 0 && pIndex < pCurve.KeyGetCount());
    const GlissaKeyAttributes key = *pCurve.InternalPriKeyAttrGetPtr(pIndex);
    if (!IsCubicTcb(pCurve, pIndex - 1)) {
        pCurve.KeySetLeftTangeantWeight(pIndex, pInfo.mWeight);
        pCurve.KeySetLeftTangeantWeightedMode(pIndex, pInfo.mIsWeighted);
        pCurve.KeySetLeftTangeantVelocity(pIndex, pInfo.mVelocity);
        pCurve.KeySetLeftTangeantVelocityMode(pIndex, pInfo.mIsVelocity);
    }
    const GlissaKeyAttributes& decides =
        IsCubic(key) ? key : *pCurve.InternalPriKeyAttrGetPtr(pIndex - 1);
    if (IsCubic(decides) && (decides.mFlags & eTangentAuto) != 0 && !pForceDerivative) {
        StoreLeft(pCurve, pIndex, SideValue::kAuto, pInfo.mAuto);
    } else {
        StoreLeft(pCurve, pIndex, SideValue::kSlope, pInfo.mDerivative);
    }
}

// A key with the TCB bit has no sides to be set, unless the bit is part of a custom index.
bool HasTcbBit(const GlissaKeyAttributes& pKey)
{
    return (pKey.mFlags & eTangentTCB) != 0 && !IsCustom(pKey);
}
}  // namespace

void KeepLeftSide(Glissa& pCurve, int pIndex, const GlissaTangeantInfo& pInfo,
                  bool pForceDerivative)
{
    if (pIndex <= 0 || pIndex >= pCurve.KeyGetCount() ||
        (IsCubic(pCurve, pIndex) && HasTcbBit(*pCurve.InternalPriKeyAttrGetPtr(pIndex)))) {
        return;
    }
    const KeyModifyBracket bracket(pCurve);
    StoreLeftSide(pCurve, pIndex, pInfo, pForceDerivative);
}

bool StoresNextLeftSlope(const Glissa& pCurve, int pIndex)
{
    if (!IsCubic(pCurve, pIndex) || IsCubicTcb(pCurve, pIndex)) {
        return false;
    }
    const int next = pIndex + 1;
    if (next < pCurve.KeyGetCount() && IsCustom(pCurve, next)) {
        return true;
    }
    const bool nextDecides = next < pCurve.KeyGetCount() && IsCubic(pCurve, next);
    return IsCubicUser(pCurve, nextDecides ? next : pIndex);
}

void Glissa::KeySetRightDerivative(int pIndex, float pSlope)
{
    const Side right{*this, KeySide::kRight, pIndex};
    if (!right.Exists()) {
        return;
    }
    ResetCandidate();
    if (IsCustom(Attr(pIndex)) || IsCubicUser(Attr(pIndex))) {
        KeySetDataDouble(pIndex, eDataRightSlope, pSlope);
    } else if (IsCubicAuto(Attr(pIndex))) {
        KeySetDataDouble(pIndex, eDataRightSlope, right.AutoFrom(pSlope));
    }
}

void Glissa::KeySetLeftDerivative(int pIndex, float pSlope)
{
    if (pIndex <= 0 || pIndex > KeyGetCount()) {
        return;
    }
    const KeyModifyBracket bracket(*this);
    ResetCandidate();
    StoreLeft(*this, pIndex, SideValue::kSlope, pSlope);
    FollowLeftSlope(*this, pIndex, pSlope);
}

float Glissa::KeyGetRightAuto(int pIndex, bool pApplyClamp)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < KeyGetCount());
    const Side right{*this, KeySide::kRight, pIndex};
    if (IsCubicAuto(Attr(pIndex))) {
        if (!pApplyClamp || !right.IsClamped()) {
            return KeyGetDataDouble(pIndex, eDataRightSlope);
        }
    } else if (pIndex >= KeyGetCount() - 1) {
        return 0.0f;
    }
    return right.AutoFrom(right.Slope());
}

float Glissa::KeyGetLeftAuto(int pIndex, bool pApplyClamp)
{
    if (pIndex < 0 || KeyGetCount() == 0) {
        return 0.0f;
    }
    if (pIndex == 0) {
        return IsCubicAuto(Attr(0)) ? KeyGetDataDouble(0, eDataRightSlope) : 0.0f;
    }
    const Side left{*this, KeySide::kLeft, pIndex};
    const int before = pIndex - 1;
    if (KeyGetInterpolation(before) == eInterpolationConstant) {
        return 0.0f;
    }
    if (KeyGetInterpolation(before) == eInterpolationLinear) {
        return 100.0f;
    }
    if (IsCubicAuto(Attr(pIndex)) && (!pApplyClamp || !left.IsClamped())) {
        // Slot 1 of a TCB key holds its continuity.
        if (IsCubicTcb(Attr(before))) {
            return KeyGetBreak(pIndex) ? 100.0f : -KeyGetDataDouble(pIndex, eDataRightSlope);
        }
        return KeyGetDataDouble(before, eDataNextLeftSlope);
    }
    return left.AutoFrom(left.Slope());
}

void Glissa::KeySetLeftAuto(int pIndex, float pAuto)
{
    if (pIndex <= 0 || pIndex > KeyGetCount()) {
        return;
    }
    const KeyModifyBracket bracket(*this);
    ResetCandidate();
    StoreLeft(*this, pIndex, SideValue::kAuto, pAuto);
    if (IsPlainUser(*this, pIndex)) {
        KeySetRightAuto(pIndex, pAuto);
    }
}

void Glissa::KeySetRightAuto(int pIndex, float pAuto)
{
    if (pIndex < 0 || pIndex >= KeyGetCount()) {
        return;
    }
    const KeyModifyBracket bracket(*this);
    ResetCandidate();
    const Side right{*this, KeySide::kRight, pIndex};
    if (IsCubicAuto(Attr(pIndex))) {
        KeySetDataDouble(pIndex, eDataRightSlope, pAuto);
    } else if (IsCubicUser(Attr(pIndex)) && right.Exists()) {
        KeySetDataDouble(pIndex, eDataRightSlope, right.SlopeFrom(pAuto));
    }
}

float Glissa::KeyGetLeftBezierTangeant(int pIndex, bool pExtremes)
{
    const int count = KeyGetCount();
    if (count < 2 || pIndex <= 0) {
        return count == 0 ? 0.0f : KeyGetValue(0);
    }
    return Side{*this, KeySide::kLeft, pIndex}.Handle(pExtremes);
}

float Glissa::KeyGetRightBezierTangeant(int pIndex, bool pExtremes)
{
    const int last = KeyGetCount() - 1;
    if (pIndex >= last) {
        return last < 0 ? 0.0f : KeyGetValue(last);
    }
    return Side{*this, KeySide::kRight, pIndex}.Handle(pExtremes);
}

void Glissa::KeySetLeftBezierTangeant(int pIndex, float pValue)
{
    Side{*this, KeySide::kLeft, pIndex}.SetHandle(pValue);
}

void Glissa::KeySetRightBezierTangeant(int pIndex, float pValue)
{
    Side{*this, KeySide::kRight, pIndex}.SetHandle(pValue);
}

void Glissa::KeySetLeftTangeantWeight(int pIndex, float pWeight)
{
    Side{*this, KeySide::kLeft, pIndex}.SetWeight(pWeight);
}

void Glissa::KeySetRightTangeantWeight(int pIndex, float pWeight)
{
    Side{*this, KeySide::kRight, pIndex}.SetWeight(pWeight);
}

void Glissa::KeySetLeftTangeantWeightedMode(int pIndex, bool pOn)
{
    Side{*this, KeySide::kLeft, pIndex}.SetWeighted(pOn);
}

void Glissa::KeySetRightTangeantWeightedMode(int pIndex, bool pOn)
{
    Side{*this, KeySide::kRight, pIndex}.SetWeighted(pOn);
}

void Glissa::KeySetLeftTangeantVelocity(int pIndex, float pVelocity)
{
    const Side left{*this, KeySide::kLeft, pIndex};
    if (left.Exists() && IsCubic(Attr(left.Store())) && !left.HasNoPlace()) {
        const KeyModifyBracket bracket(*this);
        left.SetVelocityMode(true);
        KeySetDataDouble(left.Store(), eDataNextLeftVelocity, pVelocity);
    }
}

void Glissa::KeySetRightTangeantVelocity(int pIndex, float pVelocity)
{
    const Side right{*this, KeySide::kRight, pIndex};
    if (!right.Exists() || !IsCubic(Attr(pIndex))) {
        return;
    }
    const KeyModifyBracket bracket(*this);
    right.SetVelocityMode(true);
    GlissaKeyAttributes attributes = Attr(pIndex);
    attributes.SetDataDouble(eDataRightVelocity, pVelocity);
    // Unlike KeySetDataDouble this posts a velocity for an automatic tangent too.
    const bool isSlope = IsCubicAuto(attributes) || IsCubicUser(attributes);
    WriteAndPost(pIndex, attributes,
                 isSlope ? kGlissaEventOther | eEventEditVelocity : kGlissaEventOther);
}

void Glissa::KeySetLeftTangeantVelocityMode(int pIndex, bool pOn)
{
    Side{*this, KeySide::kLeft, pIndex}.SetVelocityMode(pOn);
}

void Glissa::KeySetRightTangeantVelocityMode(int pIndex, bool pOn)
{
    Side{*this, KeySide::kRight, pIndex}.SetVelocityMode(pOn);
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
    if (pIndex <= 0 || pIndex >= KeyGetCount() || HasTcbBit(Attr(pIndex))) {
        return;
    }
    const KeyModifyBracket bracket(*this);
    ResetCandidate();
    StoreLeftSide(*this, pIndex, pInfo, pForceDerivative);
    FollowLeftSlope(*this, pIndex, pInfo.mDerivative);
}

void Glissa::KeySetRightDerivativeInfo(int pIndex, const GlissaTangeantInfo& pInfo,
                                       bool pForceDerivative)
{
    if (pIndex < 0 || pIndex >= KeyGetCount() || HasTcbBit(Attr(pIndex))) {
        return;
    }
    const GlissaKeyAttributes old = Attr(pIndex);
    const bool isAutoSide = IsCubic(old) && (old.mFlags & eTangentAuto) != 0;
    ResetCandidate();
    const KeyModifyBracket bracket(*this);
    if (pIndex == KeyGetCount() - 1) {
        if (isAutoSide) {
            KeySetDataDouble(pIndex, eDataRightSlope, pInfo.mAuto);
        }
        return;
    }
    KeySetRightTangeantWeight(pIndex, pInfo.mWeight);
    KeySetRightTangeantWeightedMode(pIndex, pInfo.mIsWeighted);
    KeySetRightTangeantVelocity(pIndex, pInfo.mVelocity);
    KeySetRightTangeantVelocityMode(pIndex, pInfo.mIsVelocity);
    if (isAutoSide && !pForceDerivative) {
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
