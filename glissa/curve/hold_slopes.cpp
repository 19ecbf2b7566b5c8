// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A slope is stored as a number with another meaning for each kind of tangent, and for all kinds
// but user the slope also depends on the neighbours. Here the numbers for given slopes are
// computed, and the slopes that result are compared with those wanted.

#include "glissa/curve/hold_slopes.h"

#include "glissa/curve/key_kind.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <vector>

namespace
{
// A kind without a name has slope 0 and no slot for the left slope of the key behind.
bool HasNoSlopes(const Glissa& pCurve, int pIndex)
{
    switch (pCurve.KeyGetTangeantMode(pIndex, false)) {
    case eTangentAuto:
    case eTangentAutoBreak:
    case eTangentUser:
    case eTangentUserBreak:
    case eTangentTCB:
        return false;
    default:
        return IsCubic(pCurve, pIndex);
    }
}

// Slot 1 of a TCB key is its continuity.
bool HasNoPlaceBehind(const Glissa& pCurve, int pIndex)
{
    return IsCubicTcb(pCurve, pIndex) || HasNoSlopes(pCurve, pIndex);
}

// A side shapes the curve when the segment on it is cubic.
bool LeftCounts(const Glissa& pCurve, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    return pIndex > 0 && IsCubic(pCurve, pIndex - 1);
}

bool RightCounts(const Glissa& pCurve, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    return pIndex < pCurve.KeyGetCount() - 1 && IsCubic(pCurve, pIndex);
}

Slopes SlopesOf(Glissa& pCurve, int pIndex)
{
    return {pCurve.KeyGetLeftDerivative(pIndex), pCurve.KeyGetRightDerivative(pIndex)};
}

/// A key, the slopes that it is to have, and those of the key behind it where an answer that spoils
/// them is none.
struct Hold
{
    Glissa& curve;
    int index;
    Slopes slopes;
    const Slopes* next;
};

// Whether the slopes are met as nearly as a float parameter can.
bool HasSlopes(Glissa& pCurve, int pIndex, Slopes pSlopes)
{
    const Slopes got = SlopesOf(pCurve, pIndex);
    return (!LeftCounts(pCurve, pIndex) || IsSameSlope(got.left, pSlopes.left)) &&
           (!RightCounts(pCurve, pIndex) || IsSameSlope(got.right, pSlopes.right));
}

bool KeepsSlopes(Glissa& pCurve, int pIndex, Slopes pSlopes)
{
    double toLeft = 0.0;
    double toRight = 0.0;
    GLISSA_ComputeToLeftAndToRight(toLeft, toRight, &pCurve, pIndex);
    const double secants = std::max(std::fabs(toLeft), std::fabs(toRight));
    const bool isUser = (pCurve.KeyGetTangeantMode(pIndex, false) & eTangentUser) != 0;
    const Slopes got = SlopesOf(pCurve, pIndex);
    const auto isKept = [&](double pGot, double pWanted) {
        return isUser ? IsKeptSlope(pGot, pWanted) : IsKeptAutoSlope(pGot, pWanted, secants);
    };
    return (!LeftCounts(pCurve, pIndex) || isKept(got.left, pSlopes.left)) &&
           (!RightCounts(pCurve, pIndex) || isKept(got.right, pSlopes.right));
}

// Right after left: the left slope of a user tangent takes the right one along.
void SetSlopes(Glissa& pCurve, int pIndex, Slopes pSlopes)
{
    if (IsCubicTcb(pCurve, pIndex)) {
        double tension = pCurve.KeyGetDataFloat(pIndex, eDataTCBTension);
        double continuity = 0.0;
        double bias = 0.0;
        GLISSA_ComputeTCBFromBezierForKey(tension, continuity, bias, pSlopes.left, pSlopes.right,
                                          &pCurve, pIndex);
        pCurve.KeySetDataFloat(pIndex, eDataTCBTension, static_cast<float>(tension));
        pCurve.KeySetDataFloat(pIndex, eDataTCBContinuity, static_cast<float>(continuity));
        pCurve.KeySetDataFloat(pIndex, eDataTCBBias, static_cast<float>(bias));
        return;
    }
    if (LeftCounts(pCurve, pIndex)) {
        pCurve.KeySetLeftDerivative(pIndex, pSlopes.left);
    }
    if (RightCounts(pCurve, pIndex)) {
        pCurve.KeySetRightDerivative(pIndex, pSlopes.right);
    }
}

// Sets the slopes, and those of the key behind, which are stored in this one or follow from it.
bool SetAndTest(const Hold& pHold)
{
    if (!HasSlopes(pHold.curve, pHold.index, pHold.slopes)) {
        SetSlopes(pHold.curve, pHold.index, pHold.slopes);
    }
    if (pHold.next && !HasSlopes(pHold.curve, pHold.index + 1, *pHold.next)) {
        SetSlopes(pHold.curve, pHold.index + 1, *pHold.next);
    }
    return KeepsSlopes(pHold.curve, pHold.index, pHold.slopes) &&
           (!pHold.next || KeepsSlopes(pHold.curve, pHold.index + 1, *pHold.next));
}

// Finds parameters for the slopes of a key, where necessary without the refinements of its tangent.
// False where the kind of the key, or of a neighbour, has no such parameters.
bool HoldByParameters(const Hold& pHold)
{
    Glissa& curve = pHold.curve;
    if (SetAndTest(pHold)) {
        return true;
    }
    const unsigned kind = curve.KeyGetTangeantMode(pHold.index, false);
    if (curve.KeyGetTangeantMode(pHold.index, true) == kind) {
        return false;
    }
    curve.KeySetTangeantMode(pHold.index, kind);
    return SetAndTest(pHold);
}

// Changes the kind of tangent of a cubic key that has no slopes on its right.
void SetKind(Glissa& pCurve, int pIndex, unsigned pKind)
{
    CORVEKIT_ASSERT(IsCubic(pCurve, pIndex));
    const KPriFCurveKeyAttr old = pCurve.KeyGet(pIndex).GetKeyAttr();
    KPriFCurveKeyAttr changed = old;
    changed.SetTangeantMode(pKind);
    changed.mData[0] = 0.0f;
    // Slot 1 mostly means the same to all kinds but TCB, which has its own use for two more slots.
    if (pKind == eTangentTCB || old.GetTangeantMode(false) == eTangentTCB) {
        changed.mData[1] = 0.0f;
        changed.ResetWeights();
    }
    if (pKind == eTangentTCB) {
        changed.mData[eDataTCBBias] = 0.0f;
    }
    pCurve.KeyAttrSet(pIndex, changed);
}

// Changes the kind of tangent of a cubic key to keep its slopes. False, and the key as it was,
// where that does not keep them either.
bool HoldByKind(const Hold& pHold, unsigned pKind)
{
    Glissa& curve = pHold.curve;
    const KPriFCurveKeyAttr old = curve.KeyGet(pHold.index).GetKeyAttr();
    if (!IsCubic(curve, pHold.index) || old.GetTangeantMode(false) == pKind ||
        (pKind == eTangentTCB && old.GetTangeantWeightMode() != 0)) {
        return false;
    }
    SetKind(curve, pHold.index, pKind);
    if (SetAndTest(pHold)) {
        return true;
    }
    curve.KeyAttrSet(pHold.index, old);
    SetAndTest(pHold);
    return false;
}

// The user tangent that can have two slopes, and a plain one where they are one.
unsigned UserKindFor(const Hold& pHold)
{
    const bool isOne = pHold.slopes.left == pHold.slopes.right ||
                       !LeftCounts(pHold.curve, pHold.index) ||
                       !RightCounts(pHold.curve, pHold.index);
    return isOne ? eTangentUser : eTangentUserBreak;
}

// Changes the tangent of a key to a user tangent with the same slopes.
bool MakeUser(Glissa& pCurve, int pIndex)
{
    const Hold key{pCurve, pIndex, SlopesOf(pCurve, pIndex), nullptr};
    return HoldByKind(key, UserKindFor(key));
}

// A TCB key cannot store the left slope of the next key. It becomes a user key with the slopes that
// it had; where it cannot keep both, more keys of the row of TCB keys before it do, back to the
// nearest one that can.
bool HoldByKeysBefore(const Hold& pHold, int pMost)
{
    CORVEKIT_ASSERT(pMost >= 0 && pHold.index >= 0);
    Glissa& curve = pHold.curve;
    std::vector<KPriFCurveKeyAttr> old;  // of the keys before, the nearest one first
    int first = pHold.index;
    bool isUser = false;
    while (!isUser && first > std::max(pHold.index - pMost, 0) &&
           HasNoPlaceBehind(curve, first - 1)) {
        --first;
        old.push_back(curve.KeyGet(first).GetKeyAttr());
        isUser = MakeUser(curve, first);
    }
    for (int i = first + 1; isUser && i < pHold.index; ++i) {
        isUser = MakeUser(curve, i);
    }
    if (isUser && (HoldByParameters(pHold) || HoldByKind(pHold, UserKindFor(pHold)))) {
        return true;
    }
    for (int i = first; i < pHold.index; ++i) {
        curve.KeyAttrSet(i, old[static_cast<std::size_t>(pHold.index - 1 - i)]);
    }
    return false;
}

// Where one of the segments next to a key is so short that its slope changes no value by a
// rounding, the slope of the other one is used for both.
bool HoldByOneSlope(const Hold& pHold)
{
    Glissa& curve = pHold.curve;
    const int index = pHold.index;
    const KPriFCurveKeyAttr old = curve.KeyGet(index).GetKeyAttr();
    const double rounding = FLT_EPSILON / 2.0 * std::fabs(curve.KeyGetValue(index));
    const auto isUnseen = [&](double pGot, double pWanted, int pFrom) {
        const KTime gap = curve.KeyGetTime(pFrom + 1) - curve.KeyGetTime(pFrom);
        return std::fabs(pGot - pWanted) * gap.GetSecondDouble() <= rounding;
    };
    for (const float slope : {pHold.slopes.left, pHold.slopes.right}) {
        if (HoldByKind({curve, index, {slope, slope}, pHold.next}, eTangentUser)) {
            const Slopes got = SlopesOf(curve, index);
            if ((!LeftCounts(curve, index) || isUnseen(got.left, pHold.slopes.left, index - 1)) &&
                (!RightCounts(curve, index) || isUnseen(got.right, pHold.slopes.right, index))) {
                return true;
            }
            curve.KeyAttrSet(index, old);
        }
    }
    SetAndTest(pHold);
    return false;
}

// Few keys change their kind before many.
bool HoldByAll(const Hold& pHold)
{
    return HoldByParameters(pHold) || HoldByKind(pHold, UserKindFor(pHold)) ||
           HoldByKind(pHold, eTangentTCB) || HoldByKeysBefore(pHold, 1) || HoldByOneSlope(pHold) ||
           HoldByKeysBefore(pHold, pHold.index);
}
}  // namespace

Surroundings SurroundingsOf(Glissa& pCurve, int pLo, int pHi)
{
    CORVEKIT_ASSERT(pLo >= -1 && pLo < pHi && pLo < pCurve.KeyGetCount());
    Surroundings around;
    around.hasLo = pLo >= 0;
    around.hasHi = pHi < pCurve.KeyGetCount();
    if (around.hasLo) {
        around.loLeft = pCurve.KeyGetLeftDerivativeInfo(pLo);
        around.loRight = pCurve.KeyGetRightDerivativeInfo(pLo);
    }
    if (around.hasHi) {
        around.hiLeft = pCurve.KeyGetLeftDerivativeInfo(pHi);
        around.hiRight = pCurve.KeyGetRightDerivativeInfo(pHi);
    }
    return around;
}

void HoldSlopes(Glissa& pCurve, int pIndex, Slopes pSlopes)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    const bool hasNext = pIndex + 1 < pCurve.KeyGetCount();
    const Slopes next = hasNext ? SlopesOf(pCurve, pIndex + 1) : Slopes{};
    HoldByAll({pCurve, pIndex, pSlopes, hasNext ? &next : nullptr});
}

void HoldSlopesByUserTangent(Glissa& pCurve, int pIndex, Slopes pSlopes)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    if (HasSlopes(pCurve, pIndex, pSlopes)) {
        return;
    }
    const bool hasNext = pIndex + 1 < pCurve.KeyGetCount();
    const Slopes next = hasNext ? SlopesOf(pCurve, pIndex + 1) : Slopes{};
    const Hold hold{pCurve, pIndex, pSlopes, hasNext ? &next : nullptr};
    if (IsCubic(pCurve, pIndex) && (pCurve.KeyGetTangeantMode(pIndex, false) & eTangentUser) == 0) {
        SetKind(pCurve, pIndex, UserKindFor(hold));
    }
    if (!HoldByParameters(hold) && !HoldByKeysBefore(hold, 1)) {
        HoldByKeysBefore(hold, pIndex);
    }
}

// From left to right: slot 1 of each key holds the left slope of the one behind it.
void HoldShapeAround(Glissa& pCurve, int pIndex, const Surroundings& pAround, float pSlope)
{
    CORVEKIT_ASSERT(!pAround.hasLo || pIndex > 0);
    CORVEKIT_ASSERT(!pAround.hasHi || pIndex + 1 < pCurve.KeyGetCount());
    const int hi = pIndex + 1;
    if (pAround.hasLo) {
        if (HasNoSlopes(pCurve, pIndex - 1)) {
            HoldByKind({pCurve, pIndex - 1, {0.0f, 0.0f}, nullptr}, eTangentUser);
        }
        // Behind the last key, as before the first one, the tangent continues.
        const GlissaTangeantInfo& right = pAround.hasHi ? pAround.loRight : pAround.loLeft;
        HoldByAll({pCurve, pIndex - 1, {pAround.loLeft.mDerivative, right.mDerivative}, nullptr});
    }
    HoldByAll({pCurve, pIndex, {pSlope, pSlope}, nullptr});
    if (!pAround.hasHi) {
        return;
    }
    const GlissaTangeantInfo& left = pAround.hasLo ? pAround.hiLeft : pAround.hiRight;
    const bool hasNext = hi + 1 < pCurve.KeyGetCount();
    const Slopes next = hasNext ? SlopesOf(pCurve, hi + 1) : Slopes{};
    const Hold end{
        pCurve, hi, {left.mDerivative, pAround.hiRight.mDerivative}, hasNext ? &next : nullptr};
    // The new key is changed rather than the old one.
    if (!HoldByParameters(end) && !HoldByKeysBefore(end, 1)) {
        HoldByAll(end);
    }
}
