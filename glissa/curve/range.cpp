// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Whole curves and spans: a copy, another curve's keys put in between, a span replaced by those of
// another curve.
//
// Keys come over with their attribute blocks shared. The left side of a key is stored in the key
// before it, so wherever a key comes to stand between two others, the left side of the one behind
// it moves house.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/curve_holder.h"
#include "glissa/curve/hold_slopes.h"
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

int Ceil(double pIndex)
{
    return static_cast<int>(std::ceil(pIndex));
}

int Floor(double pIndex)
{
    return static_cast<int>(std::floor(pIndex));
}

bool IsSameSide(const GlissaTangeantInfo& pLeft, const GlissaTangeantInfo& pRight, bool pIsAuto)
{
    return (pIsAuto ? pLeft.mAuto == pRight.mAuto : pLeft.mDerivative == pRight.mDerivative) &&
           pLeft.mIsWeighted == pRight.mIsWeighted && pLeft.mWeight == pRight.mWeight &&
           pLeft.mIsVelocity == pRight.mIsVelocity && pLeft.mVelocity == pRight.mVelocity;
}

// Where a key of a curve comes to be when the first one is put at pOffset.
KTime ShiftedTime(const Glissa& pCurve, int pIndex, KTime pOffset)
{
    CORVEKIT_ASSERT(pOffset != kNoKeyTime);
    return Later(pOffset, TicksBetween(pCurve.KeyGetTime(0), pCurve.KeyGetTime(pIndex)));
}
}  // namespace

/// What the values of a span and of the keys behind it become: v + add, or add - v.
struct Glissa::ValueShift
{
    float add;
    bool isInverted;

    bool IsNone() const { return !(std::fabs(add) > kNoShift); }
};

/// A span in time; either end may be open.
struct Glissa::TimeSpan
{
    KTime start;
    KTime stop;

    bool HasStart() const { return start > KTime::MinusInfinite(); }
    bool HasStop() const { return stop < KTime::Infinite(); }
};

Glissa* Glissa::Copy(KTime pStart, KTime pStop) const
{
    CurveHolder copy(GlissaCreate());
    const TimeSpan span{pStart, pStop};
    if (!span.HasStart() && !span.HasStop()) {
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
            for (int i = 0; i < count; ++i) {
                ++mKeys[i].mAttribute->mReferenceCount;
            }
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
    // The end of the bracket would end the candidate that came along.
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
            InsertBetween(pSource, pOffset, pFirstLeft);
        } else {
            const int first = KeyGetCount();
            for (int i = 0; i < added; ++i) {
                KeyAppend(ShiftedTime(*pSource, i, pOffset), pSource, i);
            }
            if (!IsLeftToHost(first)) {
                KeepLeftSide(first, pFirstLeft);
            }
        }
    }
    CandidateClear();
}

// A custom key is the host's to fit in, where it is told of new keys.
bool Glissa::IsLeftToHost(int pIndex) const
{
    return mCustomKeyAddEnabled && KeyGetInterpolation(pIndex) == eInterpolationCustom;
}

/// The left side of a key, as the key before it stores it and as it is.
struct Glissa::StoredSide
{
    bool exists = false;
    bool isTcb = false;  // the slots are parameters of a TCB key and store no side
    bool isCubic = false;
    bool isSlope = false;  // not an automatic parameter
    GlissaKeyAttributes slots{};
    GlissaTangeantInfo info;
};

// What the key stores whose segment a time cuts, or which stands there.
Glissa::StoredSide Glissa::SideBehind(int pIndex)
{
    StoredSide side;
    if (pIndex >= 0 && pIndex < KeyGetCount()) {
        side.exists = true;
        side.isTcb = IsCubicTCB(pIndex);
        side.isCubic = KeyGetInterpolation(pIndex) == eInterpolationCubic;
        side.isSlope = StoresNextLeftSlope(pIndex);
        side.slots = Attr(pIndex);
        if (pIndex + 1 < KeyGetCount()) {
            side.info = KeyGetLeftDerivativeInfo(pIndex + 1);
        }
    }
    return side;
}

void Glissa::InsertBetween(Glissa* pSource, KTime pOffset, const GlissaTangeantInfo& pFirstLeft)
{
    CORVEKIT_ASSERT(KeyGetCount() > 0 && pSource->KeyGetCount() > 0 && mModifyNesting > 0);
    const int last = pSource->KeyGetCount() - 1;
    int hint = mSearchIndex;
    int index = -1;
    StoredSide side;
    for (int i = 0; i <= last; ++i) {
        const KTime time = ShiftedTime(*pSource, i, pOffset);
        const int before = Floor(KeyFind(time, &hint));
        if (i == 0 || before != index) {
            side = SideBehind(before);  // else the key put in before cut the same segment
        }
        index = KeyAdd(time, pSource, i, &hint);
        if (IsLeftToHost(index)) {
            continue;
        }
        const bool meansAnother = side.isCubic &&
                                  KeyGetInterpolation(index) == eInterpolationCubic &&
                                  side.isSlope != StoresNextLeftSlope(index);
        if (side.exists && (side.isTcb || IsCubicTCB(index) || meansAnother)) {
            KeepLeftSide(index + 1, side.info, meansAnother);
        } else if (side.exists) {
            TakeNextLeft(index, side.slots);
        }
        if (i == 0) {
            KeepLeftSide(index, pFirstLeft);
            continue;
        }
        KeySetLeftTangeantWeight(index, pSource->KeyGetLeftTangeantWeight(i));
        KeySetLeftTangeantWeightedMode(index, pSource->KeyIsLeftTangeantWeighted(i));
        const GlissaTangeantInfo left = pSource->KeyGetLeftDerivativeInfo(i);
        KeepLeftSide(index, left);
        if (i == last && KeyGetInterpolation(index) == eInterpolationCustom) {
            KeySetRightDerivative(index, left.mDerivative);
        }
    }
}

// Whether slot 1 of a cubic key, TCB ones aside, is a slope and not a parameter: a cubic key behind
// it decides, any other leaves it to the key.
bool Glissa::StoresNextLeftSlope(int pIndex) const
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < KeyGetCount());
    if (KeyGetInterpolation(pIndex) != eInterpolationCubic || IsCubicTCB(pIndex)) {
        return false;
    }
    const unsigned next = pIndex + 1 < KeyGetCount() ? KeyGetInterpolation(pIndex + 1) : 0;
    return next == eInterpolationCubic    ? IsCubicUser(pIndex + 1)
           : next == eInterpolationCustom ? true
                                          : IsCubicUser(pIndex);
}

// Slot 1, the next-left weight and its mode, as they stood in another key.
void Glissa::TakeNextLeft(int pIndex, const GlissaKeyAttributes& pOld)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < KeyGetCount());
    KeySetDataDouble(pIndex, eDataNextLeftSlope, pOld.mData[eDataNextLeftSlope]);
    GlissaKeyAttributes attributes = Attr(pIndex);
    const float weight = pOld.GetDataDouble(eDataNextLeftWeight);
    if (attributes.GetDataDouble(eDataNextLeftWeight) != weight) {
        attributes.SetDataDouble(eDataNextLeftWeight, weight);
        SetData(pIndex, eDataNextLeftWeight, attributes);
    }
    KeySetTangeantWeightMode(pIndex, pOld.GetTangeantWeightMode(), eWeightNextLeft);
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

void Glissa::ReplaceSpan(Glissa* pSource, const TimeSpan& pSpan, bool pExactSpan,
                         bool pKeyEndsWhenEmpty, KTime pOffset, const ValueShift& pFromStart,
                         const ValueShift& pAfterStop)
{
    const int sourceCount = pSource->KeyGetCount();
    if (KeyGetCount() == 0 && sourceCount == 0) {
        return;
    }
    TimeSpan wanted = pSpan;  // of the source, which keys are taken
    TimeSpan target = pSpan;  // of this curve, which keys go
    bool isEmpty = true;
    if (sourceCount > 0) {
        int hint = 0;
        const KTime start = pSpan.HasStart() ? pSpan.start : pSource->KeyGetTime(0);
        const KTime stop = pSpan.HasStop() ? pSpan.stop : pSource->KeyGetTime(sourceCount - 1);
        const int first = Ceil(pSource->KeyFind(start, &hint));
        const int last = std::min(Floor(pSource->KeyFind(stop, &hint)), sourceCount - 1);
        isEmpty = first >= sourceCount;
        target = {start + pOffset, stop + pOffset};
        if (isEmpty && !pSpan.HasStop()) {
            target.stop = KTime::Infinite();  // all keys of the source lie before the start
        }
        if (!pExactSpan) {
            wanted.start = isEmpty ? wanted.start : pSource->KeyGetTime(first);
            wanted.stop = last >= 0 ? pSource->KeyGetTime(last) : wanted.stop;
        }
    }
    // The keys that come over.
    int sourceHint = 0;
    const int firstAdded = isEmpty ? 0 : Ceil(pSource->KeyFind(wanted.start, &sourceHint));
    int lastAdded = firstAdded - 1;
    while (!isEmpty && lastAdded + 1 < sourceCount &&
           pSource->KeyGetTime(lastAdded + 1) <= wanted.stop) {
        ++lastAdded;
    }
    if (firstAdded <= lastAdded && !(CanShift(pSource->KeyGetTime(firstAdded), pOffset) &&
                                     CanShift(pSource->KeyGetTime(lastAdded), pOffset))) {
        return;
    }

    const KeyModifyBracket bracket(*this);
    if (isEmpty && pKeyEndsWhenEmpty) {
        HoldSpan(target, pSpan, pSource->GetValue());
        return;
    }

    const bool hasKeys = KeyGetCount() > 0;
    const int first = hasKeys ? Ceil(KeyFind(target.start, nullptr)) : 0;
    const float leftSlope = EvaluateLeftDerivative(target.start, nullptr);
    const float rightSlope = EvaluateRightDerivative(target.stop, nullptr);
    const int behind = hasKeys ? Floor(KeyFind(target.stop, nullptr)) + 1 : 0;
    const GlissaTangeantInfo behindLeft =
        behind < KeyGetCount() ? KeyGetLeftDerivativeInfo(behind) : GlissaTangeantInfo();
    Delete(target.start, target.stop, true);
    if (isEmpty) {
        return;
    }

    const int last = AddRange(pSource, firstAdded, lastAdded, pOffset);
    if (last >= 0) {
        ShiftKeys(first, last, pFromStart);
        if (wanted.HasStart() && first < KeyGetCount() && KeyGetTime(first) <= target.stop) {
            const bool isBefore = KeyGetTime(first) < target.start && first + 1 < KeyGetCount();
            const int seam = isBefore ? first + 1 : first;
            if ((Attr(seam).mFlags & kHoldsSlope) != 0) {
                KeySetLeftDerivative(seam, leftSlope);
            }
        }
        if (wanted.HasStop() && (Attr(last).mFlags & kHoldsSlope) != 0) {
            KeySetRightDerivative(last, rightSlope);
        }
        if (last + 1 < KeyGetCount() &&
            !IsSameSide(behindLeft, KeyGetLeftDerivativeInfo(last + 1), IsCubicAuto(last + 1))) {
            KeepLeftSide(last + 1, behindLeft);
        }
    }
    const int rest = last >= 0           ? last + 1
                     : KeyGetCount() > 0 ? Floor(KeyFind(target.stop, nullptr)) + 1
                                         : 0;
    ShiftKeys(rest, KeyGetCount() - 1, pAfterStop);
}

// The keys pFirst to pLast of a source, shifted in time. The index of the last one, or -1.
int Glissa::AddRange(Glissa* pSource, int pFirst, int pLast, KTime pOffset)
{
    CORVEKIT_ASSERT(pFirst >= 0 && pLast < pSource->KeyGetCount());
    int hint = 0;
    int last = -1;
    ResetCandidate();
    InitBuffers(KeyGetCount() + std::max(pLast - pFirst + 1, 0), false);
    for (int i = pFirst; i <= pLast; ++i) {
        const KTime time = pSource->KeyGetTime(i) + pOffset;
        const bool isBehind = KeyGetCount() > 0 && mKeys.LastTime() < time;
        last = isBehind ? KeyAppend(time, pSource, i) : KeyAdd(time, pSource, i, &hint);
    }
    return last;
}

// Shifts the values of some keys. Inverted, their slopes turn round as well; the left one of the
// first key stands in the key before.
void Glissa::ShiftKeys(int pFirst, int pLast, const ValueShift& pShift)
{
    CORVEKIT_ASSERT(pFirst >= 0 && pLast < KeyGetCount());
    if (pShift.IsNone() || pFirst > pLast) {
        return;
    }
    for (int i = pFirst; i <= pLast; ++i) {
        const float value = KeyGetValue(i);
        KeySetValue(i, pShift.isInverted ? pShift.add - value : pShift.add + value);
        if (pShift.isInverted && IsCubicUser(i)) {
            KeySetDataDouble(i, eDataRightSlope, -KeyGetDataDouble(i, eDataRightSlope));
        }
    }
    for (int i = std::max(pFirst - 1, 0); i <= pLast && pShift.isInverted; ++i) {
        if (StoresNextLeftSlope(i)) {
            KeySetDataDouble(i, eDataNextLeftSlope, -KeyGetDataDouble(i, eDataNextLeftSlope));
        }
    }
}

// Holds one value through a span. On each side that has an end a key one tick outside keeps the
// curve that was there, and the keys on the ends are flat.
void Glissa::HoldSpan(const TimeSpan& pTarget, const TimeSpan& pSpan, float pValue)
{
    CORVEKIT_ASSERT(mModifyNesting > 0 && pTarget.start <= pTarget.stop);
    constexpr KTime kTick(1);
    const auto makeKey = [this](int& pHint, int pContinuity) {
        return CandidateKey(&pHint, static_cast<int>(eInterpolationCubic),
                            static_cast<int>(eTangentUser), pContinuity, true);
    };
    // A key that is there already keeps the curve, and what a user tangent cannot continue goes on
    // in a key of its own kind.
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
    // While the keys inside are there: without them the curve outside would be another.
    if (pSpan.HasStart()) {
        keyOutside(pTarget.start - kTick);
    }
    if (pSpan.HasStop()) {
        keyOutside(pTarget.stop + kTick);
    }
    int first = 0;
    int last = 0;
    if (FindRange(pTarget.start, pTarget.stop, true, first, last) && first <= last) {
        RemoveRange(first, last);
    }

    const auto holdAt = [&](KTime pTime, bool pIsEnd) {
        int index = 0;
        CandidateSet(pTime, pValue);
        if (!makeKey(index, eContinuityDefault) || !pIsEnd) {
            return;
        }
        if (index > 0 && !IsCubicTCB(index - 1)) {
            KeySetDataDouble(index - 1, eDataNextLeftSlope, 0.0f);
        }
        KeySetDataDouble(index, eDataRightSlope, 0.0f);
    };
    holdAt(pTarget.start, pSpan.HasStart());
    holdAt(pTarget.stop, pSpan.HasStop());
    // The jump beside a key outside would turn an automatic tangent.
    for (const Outside& each : outside) {
        if (each.time < pTarget.start || each.time > pTarget.stop) {
            HoldSlopesByUserTangent(*this, Floor(KeyFind(each.time, nullptr)), each.slopes);
        }
    }
}
