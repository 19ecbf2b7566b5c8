// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The new key has two neighbours, lo and hi. Values and slopes at the three keys are to stay as the
// curve has them. A user key has its slopes in its slots. An automatic key gets parameters for the
// slopes and its new secants. Slot 1 of a key is for the left side of the key behind it, so the
// keys from the one before lo to hi are written.

#include "glissa/utils/plain_insertion.h"

#include "glissa/curve/bezier.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/hold_slopes.h"
#include "glissa/curve/key_kind.h"
#include "glissa/curve/segment_search.h"
#include "glissa/curve/slope_rules.h"
#include "glissa/curve/tangent_math.h"
#include "glissa/ext/active.h"

#include <cmath>
#include <cstring>

namespace
{
enum class Kind
{
    kOther,
    kStep,  // constant or linear
    kAuto,
    kUser,
};

Kind KindOf(const GlissaKeyAttributes& pKey)
{
    switch (pKey.GetInterpolation()) {
    case eInterpolationConstant:
    case eInterpolationLinear:
        return (pKey.mFlags & eTangentTCB) != 0 ? Kind::kOther : Kind::kStep;
    case eInterpolationCubic:
        break;
    default:
        return Kind::kOther;
    }
    switch (pKey.GetTangeantMode(true)) {
    case eTangentAuto:
    case eTangentAutoBreak:
        return Kind::kAuto;
    case eTangentUser:
    case eTangentUserBreak:
        return Kind::kUser;
    default:
        return Kind::kOther;
    }
}

// Whether no slope at a key is infinite or not a number.
bool IsFinite(const KPriFCurveKey& pKey)
{
    constexpr float kGreatestValue = 1e25f;
    constexpr float kGreatestData = 1e15f;
    const GlissaKeyAttributes& key = *pKey.mAttribute;
    return std::fabs(pKey.mValue) < kGreatestValue && std::fabs(key.mData[0]) < kGreatestData &&
           std::fabs(key.mData[1]) < kGreatestData &&
           (!IsCubicTcb(key) || std::fabs(key.mData[eDataTCBBias]) < kGreatestData);
}

// Whether a key has the weights and velocities of a fresh one.
bool HasPlainHandles(const GlissaKeyAttributes& pKey)
{
    constexpr unsigned kModes =
        GlissaKeyAttributes::kWeightModeMask | GlissaKeyAttributes::kVelocityModeMask;
    return (pKey.mFlags & kModes) == 0 &&
           std::memcmp(&pKey.mData[2], &GlissaDefaultKeyAttr->mData[2], 2 * sizeof(float)) == 0;
}

/// The keys around an insertion; before and behind are null where there is none.
struct Keys
{
    const KPriFCurveKey* before;
    const KPriFCurveKey* lo;
    const KPriFCurveKey* hi;
    const KPriFCurveKey* behind;
    const KPriFCurveKey* afterBehind;
};

Keys KeysAround(const KeyList& pKeys, int pLo)
{
    const int count = pKeys.Count();
    const auto at = [&](int pIndex) {
        return pIndex >= 0 && pIndex < count ? &pKeys[pIndex] : nullptr;
    };
    return {at(pLo - 1), at(pLo), at(pLo + 1), at(pLo + 2), at(pLo + 3)};
}

bool IsPlain(const Keys& pKeys, Kind pLo, Kind pHi)
{
    if (pLo == Kind::kOther || pHi == Kind::kOther || (pLo == Kind::kAuto && pHi == Kind::kStep) ||
        !HasPlainHandles(*pKeys.lo->mAttribute)) {
        return false;
    }
    if (pKeys.before) {
        const GlissaKeyAttributes& before = *pKeys.before->mAttribute;
        // The left slope of lo is not stored, or not in a way that a new secant leaves alone.
        if (IsCubic(before) && !IsCubicUser(before) &&
            !(IsCubicAuto(before) && pLo != Kind::kStep)) {
            return false;
        }
    }
    for (const KPriFCurveKey* each :
         {pKeys.before, pKeys.lo, pKeys.hi, pKeys.behind, pKeys.afterBehind}) {
        if (each && !IsFinite(*each)) {
            return false;
        }
    }
    return true;
}

/// The secants of a key; an end key has one, which counts for both sides.
struct Secants
{
    double left;
    double right;
};

/// The secants around an insertion, with and without the new key.
class SecantsAround
{
public:
    explicit SecantsAround(const Keys& pKeys)
        : mKeys(pKeys), mThrough(FloatSecant(*pKeys.lo, *pKeys.hi))
    {
        mBefore = pKeys.before ? FloatSecant(*pKeys.before, *pKeys.lo) : 0.0;
        mBehind = pKeys.behind ? FloatSecant(*pKeys.hi, *pKeys.behind) : 0.0;
    }
    void Add(const KPriFCurveKey& pKey)
    {
        mToAdded = FloatSecant(*mKeys.lo, pKey);
        mFromAdded = FloatSecant(pKey, *mKeys.hi);
    }

    Secants OldLo() const { return AtLo(mThrough); }
    Secants OldHi() const { return AtHi(mThrough); }
    Secants Lo() const { return AtLo(mToAdded); }
    Secants Added() const { return {mToAdded, mFromAdded}; }
    Secants Hi() const { return AtHi(mFromAdded); }

private:
    Secants AtLo(double pRight) const { return {mKeys.before ? mBefore : pRight, pRight}; }
    Secants AtHi(double pLeft) const { return {pLeft, mKeys.behind ? mBehind : pLeft}; }

    const Keys& mKeys;
    double mBefore;
    double mThrough;
    double mBehind;
    double mToAdded = 0.0;
    double mFromAdded = 0.0;
};

/// The parameters of an automatic key. A side counts where its segment is cubic.
struct AutoSides
{
    float& left;
    float& right;
    bool leftCounts;
    bool rightCounts;

    Slopes SlopesFor(const Secants& pSecants) const
    {
        return {
            static_cast<float>(SlopeFromAuto(KeySide::kLeft, left, pSecants.left, pSecants.right)),
            static_cast<float>(
                SlopeFromAuto(KeySide::kRight, right, pSecants.left, pSecants.right))};
    }
};

// A value that compares equal stays, like that of the setters: 0 over -0 included.
void Put(float& pSlot, double pValue)
{
    const float value = static_cast<float>(pValue);
    if (pSlot != value) {
        pSlot = value;
    }
}

// Finds the parameters for the slopes that a key had. False where there are none.
bool HoldByParameters(const AutoSides& pKey, const Secants& pSecants, Slopes pSlopes)
{
    const auto areMet = [&](auto&& pIsMet) {
        const Slopes got = pKey.SlopesFor(pSecants);
        return (!pKey.leftCounts || pIsMet(got.left, pSlopes.left)) &&
               (!pKey.rightCounts || pIsMet(got.right, pSlopes.right));
    };
    if (areMet(IsSameSlope)) {
        return true;
    }
    double left = pSlopes.left;
    double right = pSlopes.right;
    double leftAuto = 0.0;
    double rightAuto = 0.0;
    GLISSA_ComputeAutoFromBezier(leftAuto, rightAuto, left, right, pSecants.left, pSecants.right);
    if (pKey.leftCounts) {
        Put(pKey.left, leftAuto);
    }
    if (pKey.rightCounts) {
        Put(pKey.right, rightAuto);
    }
    const double steepest = std::max(std::fabs(pSecants.left), std::fabs(pSecants.right));
    return areMet(
        [=](double pGot, double pWanted) { return IsKeptAutoSlope(pGot, pWanted, steepest); });
}

void WriteData(Glissa& pCurve, int pIndex, float pRight, float pNextLeft)
{
    const float* const old = pCurve.InternalPriKeyAttrGetPtr(pIndex)->mData;
    if (old[eDataRightSlope] != pRight || old[eDataNextLeftSlope] != pNextLeft) {
        pCurve.KeyAttrSeparateCheck(pIndex);
        float* const data = pCurve.InternalPriKeyAttrGetPtr(pIndex)->mData;
        data[eDataRightSlope] = pRight;
        data[eDataNextLeftSlope] = pNextLeft;
    }
}
}  // namespace

bool InsertPlainKey(Glissa& pCurve, int pLo, KTime pTime, float pValue)
{
    CORVEKIT_ASSERT(pLo >= 0 && pLo + 1 < pCurve.KeyGetCount());
    CORVEKIT_ASSERT(pCurve.KeyGetTime(pLo) < pTime && pTime < pCurve.KeyGetTime(pLo + 1));
    const Keys keys = KeysAround(pCurve.Keys(), pLo);
    const GlissaKeyAttributes& lo = *keys.lo->mAttribute;
    const Kind loKind = KindOf(lo);
    const Kind hiKind = KindOf(*keys.hi->mAttribute);
    // A key index that rounds to a whole number is a key to KeyInsert.
    const double place = pLo + TimeFraction(keys.lo->mTime, pTime, keys.hi->mTime);
    if (CustomTangentTypeCount() != 0 || place == pLo || place == pLo + 1 ||
        !IsPlain(keys, loKind, hiKind)) {
        return false;
    }

    // The slots for both sides of the three keys.
    const bool isCubicLo = loKind != Kind::kStep;
    float loLeft = keys.before ? keys.before->mAttribute->mData[eDataNextLeftSlope] : 0.0f;
    float loRight = lo.mData[eDataRightSlope];
    float addedLeft = lo.mData[eDataNextLeftSlope];
    float addedRight = 0.0f;
    float hiLeft = 0.0f;
    float hiRight = keys.hi->mAttribute->mData[eDataRightSlope];
    const AutoSides loSides{loLeft, loRight, keys.before && IsCubic(*keys.before->mAttribute),
                            true};
    const AutoSides hiSides{hiLeft, hiRight, isCubicLo, keys.behind != nullptr};
    if (isCubicLo) {
        Put(hiLeft, addedLeft);
    } else if (hiKind == Kind::kAuto) {
        Put(hiLeft, lo.GetInterpolation() == eInterpolationLinear ? 100.0f : 0.0f);
    } else {
        Put(hiLeft, pCurve.KeyGetLeftDerivative(pLo + 1));
    }

    // The curve as it is. A user key has its slopes in the slots.
    SecantsAround secants(keys);
    const Slopes atLo =
        loKind == Kind::kAuto ? loSides.SlopesFor(secants.OldLo()) : Slopes{loLeft, loRight};
    const Slopes atHi =
        hiKind == Kind::kAuto ? hiSides.SlopesFor(secants.OldHi()) : Slopes{addedLeft, hiRight};
    int hint = pLo;
    const KPriFCurveKey added{pTime, nullptr, pValue};
    float slope = 0.0f;
    if (isCubicLo) {
        const float seconds = static_cast<float>(SecondsBetween(*keys.lo, *keys.hi));
        const CubicPoints p =
            PointsOfSlopes(keys.lo->mValue, keys.hi->mValue, atLo.right, atHi.left, seconds);
        slope = SlopeOfCubic(p, place - pLo, seconds);
    } else {
        slope = pCurve.EvaluateLeftDerivative(pTime, &hint);
    }
    secants.Add(added);

    Put(addedLeft, loKind == Kind::kAuto ? 0.0f : slope);
    Put(addedRight, loKind == Kind::kUser ? slope : 0.0f);
    const AutoSides addedSides{addedLeft, addedRight, true, true};
    if (loKind == Kind::kAuto && !(HoldByParameters(loSides, secants.Lo(), atLo) &&
                                   HoldByParameters(addedSides, secants.Added(), {slope, slope}))) {
        return false;
    }
    if (hiKind == Kind::kAuto && !HoldByParameters(hiSides, secants.Hi(), atHi)) {
        return false;
    }

    GlissaKey key;
    key.Set(pTime, pValue, lo.GetInterpolation(), lo.GetTangeantMode(false), addedRight, hiLeft,
            eWeightNone, kGlissaDefaultWeight, kGlissaDefaultWeight, 0.0f, 0.0f);
    if (keys.before) {
        WriteData(pCurve, pLo - 1, keys.before->mAttribute->mData[eDataRightSlope], loLeft);
    }
    const float hiNextLeft = keys.hi->mAttribute->mData[eDataNextLeftSlope];
    WriteData(pCurve, pLo, loRight, addedLeft);
    WriteData(pCurve, pLo + 1, hiRight, hiNextLeft);
    pCurve.KeyAdd(pTime, key, &hint);
    return true;
}
