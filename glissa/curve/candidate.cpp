// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A pending value at a time, and the key that is made of it.
//
// A new key has two neighbours, lo and hi. Their sides are saved, the key is added, and its own
// slopes and the left slope of hi are set. An insertion also checks the slopes around the new key:
// where one is not the slope that the curve had there, the parameters of its key are computed
// again, and where these cannot express it, a refinement of the tangent or at last its kind is
// changed.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/hold_slopes.h"
#include "glissa/curve/key_index.h"
#include "glissa/curve/key_kind.h"
#include "glissa/curve/left_side.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/curve/segment_search.h"
#include "glissa/curve/weight_split.h"
#include "glissa/ext/active.h"

#include <algorithm>
#include <cmath>

namespace
{
/// What CandidateKey is asked for.
struct Request
{
    unsigned interpolation;
    unsigned mode;
    int continuity;
    bool changesKind;

    unsigned Kind() const { return mode & GlissaKeyAttributes::kTangentKindMask; }
    bool IsCubic(unsigned pKind) const
    {
        return interpolation == eInterpolationCubic && Kind() == pKind;
    }
    bool IsFlat() const { return continuity == eContinuityFlat; }
    bool IsCorner() const { return IsFlat() || continuity == eContinuityBreak; }
    bool IsInsertion() const { return continuity == eContinuityInsert; }
    float Tension() const { return IsFlat() ? 1.0f : 0.0f; }
    float Continuity() const { return continuity == eContinuityBreak ? -1.0f : 0.0f; }
};

/// The key that counts as standing at a fractional index, or -1: the nearest one, within a
/// tolerance of index steps. Outside the keys there are no steps, and so no key.
int KeyNear(double pIndex, double pTolerance, int pCount)
{
    CORVEKIT_ASSERT(pCount > 0);
    if (pIndex < 0.0 || pIndex > pCount - 1) {
        return -1;
    }
    const double nearest = std::floor(pIndex + 0.5);
    const bool isNear = pIndex == nearest || std::fabs(pIndex - nearest) <= pTolerance;
    return isNear ? static_cast<int>(nearest) : -1;
}

bool HasMode(const Glissa& pCurve, int pIndex, unsigned pBits)
{
    return IsCubic(pCurve, pIndex) && (pCurve.KeyGetTangeantMode(pIndex, true) & pBits) == pBits;
}

GlissaKey MakeKey(const Request& pRequest, KTime pTime, float pValue, const Surroundings& pAround)
{
    GlissaKey key;
    if (pRequest.IsCubic(eTangentTCB)) {
        key.SetTCB(pTime, pValue, pRequest.Tension(), pRequest.Continuity(), 0.0f);
    } else if (pRequest.interpolation == eInterpolationCustom) {
        // By its bits: a type that is gone is no reason for a key of another kind.
        KPriFCurveKeyAttr attributes{};
        attributes.mFlags =
            eInterpolationCustom | (pRequest.mode & GlissaKeyAttributes::kTangentModeMask);
        attributes.mData[0] = (pAround.hasHi ? pAround.hiRight : pAround.loRight).mDerivative;
        attributes.mData[1] = (pAround.hasHi ? pAround.hiLeft : pAround.loLeft).mDerivative;
        attributes.ResetWeights();
        key = GlissaKey({pTime, nullptr, 0.0f}, attributes);
        key.SetValue(pValue);
    } else {
        const bool isAutoCorner = pRequest.IsCubic(eTangentAuto) && pRequest.IsCorner();
        key.Set(pTime, pValue, pRequest.interpolation,
                isAutoCorner ? pRequest.mode | eTangentBreak : pRequest.mode,
                isAutoCorner ? 100.0f : 0.0f, 0.0f, eWeightNone, kGlissaDefaultWeight,
                kGlissaDefaultWeight, 0.0f, 0.0f);
    }
    return key;
}

void ReplaceKey(Glissa& pCurve, int pIndex, const Request& pRequest, KTime pTime, float pValue)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    if (!pRequest.changesKind) {
        pCurve.KeySetValue(pIndex, pValue);
        pCurve.KeySetTime(pIndex, pTime);
    } else if (pRequest.IsCubic(eTangentTCB)) {
        pCurve.KeySetTCB(pIndex, pTime, pValue, pRequest.Tension(), pRequest.Continuity(), 0.0f);
    } else {
        pCurve.KeySet(pIndex, pTime, pValue, pRequest.interpolation, pRequest.mode);
    }
}

void SetCornerKind(Glissa& pCurve, int pIndex, const Request& pRequest)
{
    if (pRequest.IsCubic(eTangentAuto)) {
        pCurve.KeySetTangeantMode(pIndex, pRequest.mode | eTangentBreak);
    } else if (pRequest.IsCubic(eTangentUser)) {
        pCurve.KeySetTangeantMode(pIndex, eTangentUser);
    } else if (pRequest.IsCubic(eTangentTCB)) {
        pCurve.KeySetTangeantMode(pIndex, eTangentTCB);
        pCurve.KeySetDataFloat(pIndex, eDataTCBBias, 0.0f);
        pCurve.KeySetDataFloat(pIndex, eDataTCBTension, pRequest.Tension());
        pCurve.KeySetDataFloat(pIndex, eDataTCBContinuity, pRequest.Continuity());
    }
}

// Whether the segment before a key stores an automatic parameter other than 0 for its left side.
// Where the key is not cubic the segment decides, whatever tangent bits are left in the key.
bool HasLeftParameter(Glissa& pCurve, int pIndex)
{
    if (IsCubic(pCurve, pIndex)) {
        return HasMode(pCurve, pIndex, eTangentAuto) &&
               pCurve.KeyGetLeftAuto(pIndex, false) != 0.0f;
    }
    return pIndex > 0 && IsCubicAuto(pCurve, pIndex - 1) && !IsCustom(pCurve, pIndex) &&
           pCurve.KeyGetDataFloat(pIndex - 1, eDataNextLeftSlope) != 0.0f;
}

// A key added behind the last one or before the first one: the old end key gets a second side,
// which takes the slope of the other one. An automatic one follows its new neighbour unless it has
// a parameter of its own.
void RunOnInto(Glissa& pCurve, int pIndex, const Surroundings& pAround)
{
    CORVEKIT_ASSERT(pAround.hasLo != pAround.hasHi);
    if (pAround.hasLo) {
        const int lo = pIndex - 1;
        const bool force = HasMode(pCurve, lo, eTangentUser) || HasLeftParameter(pCurve, lo);
        pCurve.KeySetRightDerivativeInfo(lo, pAround.loLeft, force);
        if (HasMode(pCurve, lo, eTangentAutoBreak)) {
            pCurve.KeySetRightAuto(lo, 100.0f);
        }
        if (force && !IsCubic(pCurve, lo)) {
            pCurve.KeySetLeftDerivative(lo, pAround.loLeft.mDerivative);
        } else if (force && !HasMode(pCurve, lo, eTangentBreak)) {
            pCurve.KeySetLeftDerivativeInfo(lo, pAround.loLeft, true);
        }
    } else if (pAround.hasHi) {
        const int hi = pIndex + 1;
        const bool force =
            HasMode(pCurve, hi, eTangentUser) ||
            (HasMode(pCurve, hi, eTangentAuto) && pCurve.KeyGetRightAuto(hi, false) != 0.0f);
        pCurve.KeySetLeftDerivativeInfo(hi, pAround.hiRight, force);
        if (HasMode(pCurve, hi, eTangentAutoBreak)) {
            pCurve.KeySetLeftAuto(hi, 100.0f);
        }
        if (force && !HasMode(pCurve, hi, eTangentBreak)) {
            pCurve.KeySetRightDerivativeInfo(hi, pAround.hiRight, true);
        }
    }
}
}  // namespace

bool Glissa::CandidateSet(KTime pTime, double pValue)
{
    mCandidateTime = pTime;
    mCandidateValue = static_cast<float>(pValue);
    return true;
}

bool Glissa::CandidateClear()
{
    ResetCandidate();
    mCandidateValue = 0.0f;
    return true;
}

double Glissa::CandidateEvaluate(KTime pTime, int* pHint)
{
    if (!IsCandidate() || pTime != mCandidateTime) {
        CandidateSet(pTime, Evaluate(pTime, pHint));
    }
    return mCandidateValue;
}

bool Glissa::CandidateKey(int* pLast, int pInterpolation, int pTangentMode, int pContinuity,
                          bool pTangentOverride, KTime pTime, double pTolerance)
{
    const KTime time = pTime != KTime::Infinite() ? pTime : mCandidateTime;
    if (time == KTime::Infinite() || time == kNoKeyTime) {
        return false;
    }
    mCandidateTime = time;
    // Every change of a key ends the candidate.
    const float value = mCandidateValue;
    Request request{static_cast<unsigned>(pInterpolation), static_cast<unsigned>(pTangentMode),
                    pContinuity, pTangentOverride};

    const KeyModifyBracket bracket(*this);
    if (KeyGetCount() == 0) {
        KeyAdd(time, MakeKey(request, time, value, Surroundings()), pLast);
        return true;
    }
    const double place = KeyFind(time, nullptr);
    const int existing = KeyNear(place, pTolerance, KeyGetCount());
    const bool isNew = existing < 0;
    const bool needsMissingType =
        pTangentOverride && pInterpolation == eInterpolationCustom && CustomTangentTypeCount() == 0;
    if (!isNew && (request.IsInsertion() || needsMissingType)) {
        return false;
    }

    const int lo = isNew ? Floor(place) : existing - 1;
    const Surroundings around = SurroundingsOf(*this, lo, isNew ? lo + 1 : existing + 1);
    const bool isWeighted = isNew && around.hasLo && around.hasHi && IsCubic(*this, lo) &&
                            !IsCubicTcb(*this, lo) &&
                            (around.loRight.mIsWeighted || around.hiLeft.mIsWeighted);
    if (request.IsInsertion() && isWeighted && request.IsCubic(eTangentTCB)) {
        request.mode = eTangentUser;  // TCB has no weights, and so not the shape
    }
    SplitWeights weights{};
    GlissaTangeantInfo left;
    GlissaTangeantInfo right;
    int index = existing;
    if (isNew) {
        left.mDerivative = right.mDerivative = EvaluateLeftDerivative(time, nullptr);
        if (isWeighted) {
            const double t = TimeFraction(KeyGetTime(lo), time, KeyGetTime(lo + 1));
            weights =
                SplitWeightedSegment(WeightedSegmentBehind(*this, lo), t, value, left.mDerivative);
        }
        index = KeyAdd(time, MakeKey(request, time, value, around), pLast);
    } else {
        left = KeyGetLeftDerivativeInfo(index);
        right = KeyGetRightDerivativeInfo(index);
        ReplaceKey(*this, index, request, time, value);
    }
    if (pLast) {
        *pLast = index;
    }
    if (!isNew && !pTangentOverride) {
        return true;
    }

    const float slope = left.mDerivative;
    const bool isCorner = request.IsCorner();
    if (isCorner) {
        left.mDerivative = right.mDerivative = 0.0f;
        left.mAuto = right.mAuto = 100.0f;
        if (IsCubic(*this, index)) {
            SetCornerKind(*this, index, request);
        }
    }
    if (IsCustom(*this, index)) {
        if (request.IsInsertion()) {
            HoldShapeAround(*this, index, around, slope);
        }
        return true;
    }
    KeySetLeftDerivativeInfo(index, left, isCorner);
    KeySetRightDerivativeInfo(index, right, isCorner);
    // Its left side is stored in the key that was just written.
    if (around.hasHi && (around.hasLo || !isNew)) {
        KeepLeftSide(*this, index + 1, around.hiLeft);
    }
    if (isCorner && !request.IsCubic(eTangentTCB)) {
        HoldSlopes(*this, index, {0.0f, 0.0f});
    }
    if (isNew && around.hasLo != around.hasHi) {
        RunOnInto(*this, index, around);
    }
    if (request.IsInsertion()) {
        if (isWeighted && request.interpolation == eInterpolationCubic) {
            KeySetRightTangeantWeight(index - 1, weights.firstRight);
            KeySetLeftTangeantWeight(index, weights.left);
            KeySetRightTangeantWeight(index, weights.right);
            KeySetLeftTangeantWeight(index + 1, weights.lastLeft);
        }
        HoldShapeAround(*this, index, around, slope);
    }
    return true;
}

int Glissa::KeyInsert(KTime pTime, int* pHint)
{
    if (pTime == kNoKeyTime) {
        return -1;
    }
    const KOperation operation(IsObserved());
    const int count = KeyGetCount();
    if (count == 0) {
        return KeyAdd(pTime, pHint);
    }
    int hint = pHint ? *pHint : mSearchIndex.load();
    const int index = std::min(Ceil(KeyFind(pTime, &hint)), count - 1);
    if (KeyGetTime(index) != pTime) {
        const int model = std::max(index - 1, 0);
        const unsigned interpolation = KeyGetInterpolation(model);
        const unsigned kind = KeyGetTangeantMode(model, false);
        CandidateEvaluate(pTime, &hint);
        CandidateKey(&hint, static_cast<int>(interpolation), static_cast<int>(kind),
                     eContinuityInsert, true);
    }
    if (pHint) {
        *pHint = std::min(hint, KeyGetCount() - 1);
    }
    return index;
}
