// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Whole curves and spans: a copy, another curve's keys put in between, a span replaced by those of
// another curve.
//
// Keys are added with their attribute blocks shared. The left side of a key is stored in the key
// before it, so where a key is added between two others, the left side of the next one is copied
// into its record.

#include "corvekit/event/operation.h"
#include "glissa/curve/attribute_count.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/curve_holder.h"
#include "glissa/curve/hold_slopes.h"
#include "glissa/curve/key_index.h"
#include "glissa/curve/key_kind.h"
#include "glissa/curve/left_side.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/curve/ticks.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace
{
/// A shift of values up to this is none.
constexpr float kNoShift = 1e-7f;
constexpr unsigned kHoldsSlope = eTangentUser | eTangentAuto;

bool IsSameSide(const GlissaTangeantInfo& pLeft, const GlissaTangeantInfo& pRight, bool pIsAuto)
{
    return (pIsAuto ? pLeft.mAuto == pRight.mAuto : pLeft.mDerivative == pRight.mDerivative) &&
           pLeft.mIsWeighted == pRight.mIsWeighted && pLeft.mWeight == pRight.mWeight &&
           pLeft.mIsVelocity == pRight.mIsVelocity && pLeft.mVelocity == pRight.mVelocity;
}

// The time of a key when the first one of its curve is moved to pOffset.
KTime ShiftedTime(const Glissa& pCurve, int pIndex, KTime pOffset)
{
    CORVEKIT_ASSERT(pOffset != kNoKeyTime);
    return Later(pOffset, TicksBetween(pCurve.KeyGetTime(0), pCurve.KeyGetTime(pIndex)));
}

bool HasStart(const KTimeSpan& pSpan)
{
    return pSpan.GetStart() > KTime::MinusInfinite();
}

bool HasStop(const KTimeSpan& pSpan)
{
    return pSpan.GetStop() < KTime::Infinite();
}

// Whether an end of a span can be moved to where a span is held, with a key a tick outside it.
bool CanHoldEnd(KTime pEnd, KTime pOffset, KTime pTick)
{
    return CanShift(pEnd, pOffset) && CanShift(pEnd + pOffset, pTick) &&
           pEnd + pOffset + pTick != KTime::Infinite();
}

// The host sets the sides of a custom key, where the callback for new keys is enabled.
bool IsLeftToHost(const Glissa& pCurve, int pIndex)
{
    return pCurve.GetCallbackForCustomKeyAddEnabled() && IsCustom(pCurve, pIndex);
}

/// The left side of a key, as the key before it stores it and as it is.
struct StoredSide
{
    bool exists = false;
    bool isTcb = false;  // the slots are parameters of a TCB key and store no side
    bool isCubic = false;
    bool isSlope = false;  // not an automatic parameter
    GlissaKeyAttributes slots{};
    GlissaTangeantInfo info;
};

// The next left side that a key stores, before a key is added behind it.
StoredSide SideBehind(Glissa& pCurve, int pIndex)
{
    StoredSide side;
    if (pIndex >= 0 && pIndex < pCurve.KeyGetCount()) {
        side.exists = true;
        side.isTcb = IsCubicTcb(pCurve, pIndex);
        side.isCubic = IsCubic(pCurve, pIndex);
        side.isSlope = StoresNextLeftSlope(pCurve, pIndex);
        side.slots = *pCurve.InternalPriKeyAttrGetPtr(pIndex);
        if (pIndex + 1 < pCurve.KeyGetCount()) {
            side.info = pCurve.KeyGetLeftDerivativeInfo(pIndex + 1);
        }
    }
    return side;
}

// Slot 1, the next-left weight and its mode, as they were in another key.
void TakeNextLeft(Glissa& pCurve, int pIndex, const GlissaKeyAttributes& pOld)
{
    pCurve.KeySetDataDouble(pIndex, eDataNextLeftSlope, pOld.mData[eDataNextLeftSlope]);
    const float weight = pOld.GetDataDouble(eDataNextLeftWeight);
    if (pCurve.KeyGetDataDouble(pIndex, eDataNextLeftWeight) != weight) {
        pCurve.KeySetDataDouble(pIndex, eDataNextLeftWeight, weight);
    }
    pCurve.KeySetTangeantWeightMode(pIndex, pOld.GetTangeantWeightMode(), eWeightNextLeft);
}

void InsertBetween(Glissa& pCurve, Glissa* pSource, KTime pOffset,
                   const GlissaTangeantInfo& pFirstLeft)
{
    CORVEKIT_ASSERT(pCurve.KeyGetCount() > 0 && pSource->KeyGetCount() > 0);
    const int last = pSource->KeyGetCount() - 1;
    int hint = 0;
    int index = -1;
    StoredSide side;
    for (int i = 0; i <= last; ++i) {
        const KTime time = ShiftedTime(*pSource, i, pOffset);
        const int before = Floor(pCurve.KeyFind(time, &hint));
        if (i == 0 || before != index) {
            side = SideBehind(pCurve, before);  // else the key before was added to the same segment
        }
        index = pCurve.KeyAdd(time, pSource, i, &hint);
        if (IsLeftToHost(pCurve, index)) {
            continue;
        }
        const bool meansAnother = side.isCubic && IsCubic(pCurve, index) &&
                                  side.isSlope != StoresNextLeftSlope(pCurve, index);
        if (side.exists && (side.isTcb || IsCubicTcb(pCurve, index) || meansAnother)) {
            KeepLeftSide(pCurve, index + 1, side.info, meansAnother);
        } else if (side.exists) {
            TakeNextLeft(pCurve, index, side.slots);
        }
        if (i == 0) {
            KeepLeftSide(pCurve, index, pFirstLeft);
            continue;
        }
        pCurve.KeySetLeftTangeantWeight(index, pSource->KeyGetLeftTangeantWeight(i));
        pCurve.KeySetLeftTangeantWeightedMode(index, pSource->KeyIsLeftTangeantWeighted(i));
        const GlissaTangeantInfo left = pSource->KeyGetLeftDerivativeInfo(i);
        KeepLeftSide(pCurve, index, left);
        if (i == last && IsCustom(pCurve, index)) {
            pCurve.KeySetRightDerivative(index, left.mDerivative);
        }
    }
}

// The keys pFirst to pLast of a source, shifted in time. The index of the last one, or -1.
int AddRange(Glissa& pCurve, Glissa* pSource, int pFirst, int pLast, KTime pOffset)
{
    CORVEKIT_ASSERT(pFirst >= 0 && pLast < pSource->KeyGetCount());
    int hint = 0;
    int last = -1;
    pCurve.InitBuffers(pCurve.KeyGetCount() + std::max(pLast - pFirst + 1, 0), false);
    for (int i = pFirst; i <= pLast; ++i) {
        const KTime time = pSource->KeyGetTime(i) + pOffset;
        const bool isBehind = pCurve.KeyGetCount() > 0 && pCurve.Keys().LastTime() < time;
        last =
            isBehind ? pCurve.KeyAppend(time, pSource, i) : pCurve.KeyAdd(time, pSource, i, &hint);
    }
    return last;
}
}  // namespace

/// What the values of a span and of the keys behind it become: v + add, or add - v.
struct Glissa::ValueShift
{
    float add;
    bool isInverted;

    bool IsNone() const { return !(std::fabs(add) > kNoShift); }
};

Glissa* Glissa::Copy(KTime pStart, KTime pStop) const
{
    CurveHolder copy(GlissaCreate());
    const KTimeSpan span(pStart, pStop);
    if (!HasStart(span) && !HasStop(span)) {
        copy->CopyFrom(*this, true);
    } else {
        copy->mValue = mValue;
        copy->mWasData = mWasData;
        copy->mUpdateId = mUpdateId;
        copy->mCandidateTime = mCandidateTime;
        copy->mCandidateValue = mCandidateValue;
    }
    return copy.release();
}

void Glissa::CopyFrom(const Glissa& pSource, bool pWithKeys)
{
    if (&pSource == this) {
        return;
    }
    const KOperation operation(IsObserved());
    {
        const int count = pWithKeys ? pSource.KeyGetCount() : 0;
        const KeyModifyBracket bracket(*this);
        KeyClear();
        if (count > 0) {
            mValue = pSource.mValue;
        } else {
            SetValue(pSource.mValue);
        }
        if (pWithKeys) {
            InitBuffers(count, false);
            CallbackAddEvent(kGlissaEventRemoved, 0);
            CallbackAddEvent(kGlissaEventRemoved, -1);
            mKeys.CopyRecords(pSource.mKeys.Table(), count);
            AddAllReferences();
        }
        if (count > 0) {
            CallbackAddEvent(kGlissaEventAdded, 0);
            CallbackAddEvent(kGlissaEventAdded, count - 1);
        }
        SetColor(pSource.mColor);
        mWasData = pSource.mWasData;
        mPreExtrapolation = pSource.mPreExtrapolation;
        mPreExtrapolationCount = pSource.mPreExtrapolationCount;
        mPostExtrapolation = pSource.mPostExtrapolation;
        mPostExtrapolationCount = pSource.mPostExtrapolationCount;
        CallbackAddEvent(kGlissaEventOther | eEventEditCopied, 0);
    }
    // The end of the bracket would end the copied candidate.
    mCandidateTime = pSource.mCandidateTime;
    mCandidateValue = pSource.mCandidateValue;
}

void Glissa::Insert(Glissa* pSource, KTime pOffset, float pFirstLeftDerivative,
                    bool pFirstLeftWeighted, float pFirstLeftWeight)
{
    GlissaTangeantInfo info;
    info.mDerivative = pFirstLeftDerivative;
    info.mIsWeighted = pFirstLeftWeighted;
    info.mWeight = pFirstLeftWeight;
    Insert(pSource, pOffset, info);
}

void Glissa::Insert(Glissa* pSource, KTime pOffset, const GlissaTangeantInfo& pFirstLeft)
{
    const int added = pSource->KeyGetCount();
    if (added == 0 || pOffset == kNoKeyTime ||
        TicksBetween(pSource->mKeys.FirstTime(), pSource->mKeys.LastTime()) >
            TicksBetween(pOffset, KTime::Infinite())) {
        return;
    }
    const KOperation operation(IsObserved());
    ResizeKeyBuffer(KeyGetCount() + added, false);
    {
        const KeyModifyBracket bracket(*this);
        if (KeyGetCount() > 0 && pOffset <= mKeys.LastTime()) {
            InsertBetween(*this, pSource, pOffset, pFirstLeft);
        } else {
            const int first = KeyGetCount();
            for (int i = 0; i < added; ++i) {
                KeyAppend(ShiftedTime(*pSource, i, pOffset), pSource, i);
            }
            if (!IsLeftToHost(*this, first)) {
                KeepLeftSide(*this, first, pFirstLeft);
            }
        }
    }
    CandidateClear();
}

void Glissa::Replace(Glissa* pSource, KTime pStart, KTime pStop, bool pExactSpan,
                     bool pKeyEndsWhenEmpty, KTime pOffset)
{
    const ValueShift none{0.0f, false};
    ReplaceSpan(pSource, {pStart, pStop}, pExactSpan, pKeyEndsWhenEmpty, pOffset, none, none);
}

void Glissa::ReplaceForEulerXYZ(Glissa* pSource, KTime pStart, KTime pStop, float pAddFromStart,
                                float pAddAfterStop, bool pInvertFromStart, bool pInvertAfterStop,
                                bool pExactSpan, bool pKeyEndsWhenEmpty, KTime pOffset)
{
    ReplaceSpan(pSource, {pStart, pStop}, pExactSpan, pKeyEndsWhenEmpty, pOffset,
                {pAddFromStart, pInvertFromStart}, {pAddAfterStop, pInvertAfterStop});
}

void Glissa::ReplaceSpan(Glissa* pSource, const KTimeSpan& pSpan, bool pExactSpan,
                         bool pKeyEndsWhenEmpty, KTime pOffset, const ValueShift& pFromStart,
                         const ValueShift& pAfterStop)
{
    const int sourceCount = pSource->KeyGetCount();
    if (KeyGetCount() == 0 && sourceCount == 0) {
        return;
    }
    KTimeSpan wanted = pSpan;  // of the source, which keys are taken
    KTimeSpan target = pSpan;  // of this curve, which keys go
    bool isEmpty = true;
    if (sourceCount > 0) {
        int hint = 0;
        const KTime start = HasStart(pSpan) ? pSpan.GetStart() : pSource->KeyGetTime(0);
        const KTime stop = HasStop(pSpan) ? pSpan.GetStop() : pSource->KeyGetTime(sourceCount - 1);
        const int first = Ceil(pSource->KeyFind(start, &hint));
        const int last = std::min(Floor(pSource->KeyFind(stop, &hint)), sourceCount - 1);
        isEmpty = first >= sourceCount;
        // Without an end, and all keys of the source before the start, there is no stop to add to.
        const bool isOpen = isEmpty && !HasStop(pSpan);
        target = {start + pOffset, isOpen ? KTime::Infinite() : stop + pOffset};
        if (!pExactSpan) {
            wanted = {isEmpty ? pSpan.GetStart() : pSource->KeyGetTime(first),
                      last >= 0 ? pSource->KeyGetTime(last) : pSpan.GetStop()};
        }
    }
    // The keys that are added.
    int sourceHint = 0;
    const int firstAdded = isEmpty ? 0 : Ceil(pSource->KeyFind(wanted.GetStart(), &sourceHint));
    int lastAdded = firstAdded - 1;
    while (!isEmpty && lastAdded + 1 < sourceCount &&
           pSource->KeyGetTime(lastAdded + 1) <= wanted.GetStop()) {
        ++lastAdded;
    }
    if (firstAdded <= lastAdded && !(CanShift(pSource->KeyGetTime(firstAdded), pOffset) &&
                                     CanShift(pSource->KeyGetTime(lastAdded), pOffset))) {
        return;
    }
    const bool holds = isEmpty && pKeyEndsWhenEmpty;
    const KTime offset = sourceCount > 0 ? pOffset : KTime();
    if (holds && ((HasStart(pSpan) && !CanHoldEnd(pSpan.GetStart(), offset, KTime(-1))) ||
                  (HasStop(pSpan) && !CanHoldEnd(pSpan.GetStop(), offset, KTime(1))))) {
        return;
    }

    const KeyModifyBracket bracket(*this);
    if (holds) {
        HoldSpan(target, pSpan, pSource->GetValue());
        return;
    }

    const bool hasKeys = KeyGetCount() > 0;
    const int first = hasKeys ? Ceil(KeyFind(target.GetStart(), nullptr)) : 0;
    const float leftSlope = EvaluateLeftDerivative(target.GetStart(), nullptr);
    const float rightSlope = EvaluateRightDerivative(target.GetStop(), nullptr);
    const int behind = hasKeys ? Floor(KeyFind(target.GetStop(), nullptr)) + 1 : 0;
    const GlissaTangeantInfo behindLeft =
        behind < KeyGetCount() ? KeyGetLeftDerivativeInfo(behind) : GlissaTangeantInfo();
    const float defaultValue = mValue;
    Delete(target.GetStart(), target.GetStop(), true);
    if (isEmpty) {
        return;
    }

    const int last = AddRange(*this, pSource, firstAdded, lastAdded, pOffset);
    if (last >= 0) {
        if (mValue != defaultValue) {
            SetValue(defaultValue);  // without keys it was that of the first one
        }
        ShiftKeys(first, last, pFromStart);
        if (HasStart(wanted) && first < KeyGetCount() && KeyGetTime(first) <= target.GetStop()) {
            const bool isBefore =
                KeyGetTime(first) < target.GetStart() && first + 1 < KeyGetCount();
            const int seam = isBefore ? first + 1 : first;
            if ((Attr(seam).mFlags & kHoldsSlope) != 0) {
                KeySetLeftDerivative(seam, leftSlope);
            }
        }
        if (HasStop(wanted) && (Attr(last).mFlags & kHoldsSlope) != 0) {
            KeySetRightDerivative(last, rightSlope);
        }
        if (last + 1 < KeyGetCount() && !IsSameSide(behindLeft, KeyGetLeftDerivativeInfo(last + 1),
                                                    IsCubicAuto(*this, last + 1))) {
            KeepLeftSide(*this, last + 1, behindLeft);
        }
    }
    const int rest = last >= 0           ? last + 1
                     : KeyGetCount() > 0 ? Floor(KeyFind(target.GetStop(), nullptr)) + 1
                                         : 0;
    ShiftKeys(rest, KeyGetCount() - 1, pAfterStop);
}

// Shifts the values of some keys. Inverted, their slopes change sign as well; the left one of the
// first key is stored in the key before.
void Glissa::ShiftKeys(int pFirst, int pLast, const ValueShift& pShift)
{
    CORVEKIT_ASSERT(pFirst >= 0 && pLast < KeyGetCount());
    if (pShift.IsNone() || pFirst > pLast) {
        return;
    }
    for (int i = pFirst; i <= pLast; ++i) {
        const float value = KeyGetValue(i);
        KeySetValue(i, pShift.isInverted ? pShift.add - value : pShift.add + value);
        if (pShift.isInverted && IsCubicUser(*this, i)) {
            KeySetDataDouble(i, eDataRightSlope, -KeyGetDataDouble(i, eDataRightSlope));
        }
    }
    for (int i = std::max(pFirst - 1, 0); i <= pLast && pShift.isInverted; ++i) {
        if (StoresNextLeftSlope(*this, i)) {
            KeySetDataDouble(i, eDataNextLeftSlope, -KeyGetDataDouble(i, eDataNextLeftSlope));
        }
    }
}

// Holds one value through a span. On each side that has an end a key one tick outside keeps the
// curve that was there, and the keys on the ends are flat.
void Glissa::HoldSpan(const KTimeSpan& pTarget, const KTimeSpan& pSpan, float pValue)
{
    CORVEKIT_ASSERT(mModifyNesting > 0 && pTarget.GetStart() <= pTarget.GetStop());
    constexpr KTime kTick(1);
    const auto makeKey = [this](int& pHint, int pContinuity) {
        return CandidateKey(&pHint, static_cast<int>(eInterpolationCubic),
                            static_cast<int>(eTangentUser), pContinuity, true);
    };
    // A key that is there already keeps the curve. A segment that a user tangent cannot continue
    // gets a key of its own kind.
    struct Outside
    {
        KTime time;
        Slopes slopes;
    };
    std::vector<Outside> outside;
    const auto keyOutside = [&](KTime pTime) {
        int hint = 0;
        const int before = KeyGetCount() > 0 ? Floor(KeyFind(pTime, &hint)) : -1;
        const bool isInside = before >= 0 && before < KeyGetCount() - 1;
        const unsigned kind = isInside ? KeyGetInterpolation(before) : eInterpolationCubic;
        if (kind == eInterpolationCubic || kind == eInterpolationLinear) {
            CandidateEvaluate(pTime, &hint);
            makeKey(hint, eContinuityInsert);
        } else {
            KeyInsert(pTime, &hint);
        }
        const double place = KeyFind(pTime, &hint);
        if (place >= 0.0 && place == std::floor(place)) {
            const int index = static_cast<int>(place);
            outside.push_back({pTime, {KeyGetLeftDerivative(index), KeyGetRightDerivative(index)}});
        }
    };
    // Before the keys inside are removed: without them the curve outside is another.
    if (HasStart(pSpan)) {
        keyOutside(pTarget.GetStart() - kTick);
    }
    if (HasStop(pSpan)) {
        keyOutside(pTarget.GetStop() + kTick);
    }
    int first = 0;
    int last = 0;
    if (FindKeyRange(*this, pTarget.GetStart(), pTarget.GetStop(), true, first, last) &&
        first <= last) {
        RemoveRange(first, last);
    }

    const auto holdAt = [&](KTime pTime, bool pIsEnd) {
        int index = 0;
        CandidateSet(pTime, pValue);
        if (!makeKey(index, eContinuityDefault) || !pIsEnd) {
            return;
        }
        if (index > 0 && !IsCubicTcb(*this, index - 1)) {
            KeySetDataDouble(index - 1, eDataNextLeftSlope, 0.0f);
        }
        KeySetDataDouble(index, eDataRightSlope, 0.0f);
    };
    holdAt(pTarget.GetStart(), HasStart(pSpan));
    holdAt(pTarget.GetStop(), HasStop(pSpan));
    // The jump next to a key outside would change the slope of an automatic tangent.
    for (const Outside& each : outside) {
        if (each.time < pTarget.GetStart() || each.time > pTarget.GetStop()) {
            HoldSlopesByUserTangent(*this, Floor(KeyFind(each.time, nullptr)), each.slopes);
        }
    }
}
