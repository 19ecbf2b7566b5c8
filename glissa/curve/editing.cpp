// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Adding, replacing and removing keys.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/key_weight.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/curve/ticks.h"
#include "glissa/ext/active.h"

#include <bit>
#include <cmath>
#include <new>

namespace
{
bool HasSameBits(float pLeft, float pRight)
{
    return std::bit_cast<std::uint32_t>(pLeft) == std::bit_cast<std::uint32_t>(pRight);
}

bool IsWhole(double pIndex)
{
    return pIndex == std::floor(pIndex);
}

// KeyFind, without a search for a key that goes behind all others.
double FindPlaceToAdd(Glissa& pCurve, KTime pTime, int* pHint)
{
    CORVEKIT_ASSERT(pCurve.KeyGetCount() > 0);
    const KeyList& keys = pCurve.Keys();
    return keys.LastTime() < pTime ? keys.Count() - 0.5 : pCurve.KeyFind(pTime, pHint);
}
}  // namespace

int Glissa::KeyAdd(KTime pTime, const GlissaKey& pKey, int* pHint)
{
    if (pTime == kNoKeyTime) {
        return -1;
    }
    const KOperation operation(IsObserved());
    float value = pKey.GetValue();
    CheckKeyValue(value);
    InitBuffers(KeyGetCount() + 1, false);
    int index = 0;
    if (KeyGetCount() > 0) {
        const double place = FindPlaceToAdd(*this, pTime, pHint);
        index = static_cast<int>(std::ceil(place));
        if (IsWhole(place)) {
            KeySet(index, GlissaKey({pTime, nullptr, value}, pKey.GetKeyAttr()));
            return index;
        }
    }
    mKeys.OpenGap(index);
    KPriFCurveKey& record = mKeys[index];
    record.mTime = pTime;
    record.mValue = value;
    CORVEKIT_ASSERT(KeepsOrder(index, pTime));
    try {
        KeyAttrSet(index, pKey.GetKeyAttr());
    } catch (const std::bad_alloc&) {
        if (!mKeys[index].mAttribute) {
            mKeys.CloseGap(index, index);
        }
        throw;
    }
    CallKeyAddCallback(&mKeys[index], index);
    if (pHint) {
        *pHint = index;
    }
    CallbackAddEvent(kGlissaEventAdded, index);
    return index;
}

int Glissa::KeyAdd(KTime pTime, int* pHint)
{
    if (pTime == kNoKeyTime) {
        return -1;
    }
    ResetCandidate();
    GlissaKey key;
    key.Set(pTime, Evaluate(pTime, pHint), eInterpolationCubic, eTangentAuto, 0.0f, 0.0f,
            eWeightNone, kGlissaDefaultWeight, kGlissaDefaultWeight, 0.0f, 0.0f);
    return KeyAdd(pTime, key, pHint);
}

int Glissa::KeyAdd(KTime pTime, const Glissa* pSource, int pSourceIndex, int* pHint)
{
    if (pTime == kNoKeyTime) {
        return -1;
    }
    const KOperation operation(IsObserved());
    // The source may be this curve, whose records are about to move.
    KPriFCurveKey source = pSource->KeyAt(pSourceIndex);
    CheckKeyValue(source.mValue);
    InitBuffers(KeyGetCount() + 1, false);
    int index = 0;
    if (KeyGetCount() > 0) {
        const double place = FindPlaceToAdd(*this, pTime, pHint);
        index = static_cast<int>(std::ceil(place));
        if (IsWhole(place)) {
            KPriFCurveKey& record = mKeys[index];
            record.mValue = source.mValue;
            record.mTime = pTime;
            mKeys.TimeChanged(index);
            PointToAttribute(record, source.mAttribute);
            return index;
        }
    }
    mKeys.OpenGap(index);
    KPriFCurveKey& record = mKeys[index];
    record.mTime = pTime;
    record.mValue = source.mValue;
    CORVEKIT_ASSERT(KeepsOrder(index, pTime));
    PointToAttribute(record, source.mAttribute);
    CallKeyAddCallback(&record, index);
    if (pHint) {
        *pHint = index;
    }
    CallbackAddEvent(kGlissaEventAdded, index);
    return index;
}

int Glissa::KeyAppend(KTime pTime, const Glissa* pSource, int pSourceIndex)
{
    if (pTime == kNoKeyTime) {
        return -1;
    }
    const KOperation operation(IsObserved());
    KPriFCurveKey source = pSource->KeyAt(pSourceIndex);
    CheckKeyValue(source.mValue);
    InitBuffers(KeyGetCount() + 1, false);
    KPriFCurveKey& record = mKeys.Append();
    record.mTime = pTime;
    record.mValue = source.mValue;
    PointToAttribute(record, source.mAttribute);
    const int index = KeyGetCount() - 1;
    CallKeyAddCallback(&record, index);
    CallbackAddEvent(kGlissaEventAdded, index);
    return index;
}

// Whether a key of this time can be at an index, which may be one past the end.
bool Glissa::KeepsOrder(int pIndex, KTime pTime) const
{
    CORVEKIT_ASSERT(pIndex >= 0);
    const int count = KeyGetCount();
    return pTime != kNoKeyTime &&
           !(pIndex >= 1 && pIndex <= count && pTime <= mKeys[pIndex - 1].mTime) &&
           !(pIndex < count - 1 && pTime >= mKeys[pIndex + 1].mTime);
}

bool Glissa::KeySet(int pIndex, const GlissaKey& pKey)
{
    const KOperation operation(IsObserved());
    ResetCandidate();
    if (!KeepsOrder(pIndex, pKey.GetTime())) {
        return false;
    }
    mKeys.Reserve(pIndex + 1);
    const bool exists = pIndex < KeyGetCount();
    KPriFCurveKey& record = mKeys[pIndex];
    const float oldValue = record.mValue;
    const KTime oldTime = record.mTime;
    record.mValue = pKey.GetValue();
    CheckKeyValue(record.mValue);
    record.mTime = pKey.GetTime();
    mKeys.TimeChanged(pIndex);

    const KPriFCurveKeyAttr attributes = pKey.GetKeyAttr();
    if (!exists || !(*record.mAttribute == attributes)) {
        KeyAttrSet(pIndex, attributes);
        return true;
    }
    if (!HasSameBits(oldValue, record.mValue)) {
        CallbackAddEvent(kGlissaEventValue, pIndex);
    }
    if (oldTime != pKey.GetTime()) {
        CallbackAddEvent(kGlissaEventTime, pIndex);
    }
    return true;
}

bool Glissa::KeySet(int pIndex, const Glissa* pSource, int pSourceIndex)
{
    const KOperation operation(IsObserved());
    const KPriFCurveKey source = pSource->KeyAt(pSourceIndex);
    ResetCandidate();
    if (!KeepsOrder(pIndex, source.mTime)) {
        return false;
    }
    mKeys.Reserve(pIndex + 1);
    KPriFCurveKey& record = mKeys[pIndex];
    record.mTime = source.mTime;
    record.mValue = source.mValue;
    CheckKeyValue(record.mValue);
    mKeys.TimeChanged(pIndex);
    PointToAttribute(record, source.mAttribute);
    CallbackAddEvent(GrowTo(pIndex) ? kGlissaEventAdded : kGlissaEventAllAttributes, pIndex);
    return true;
}

void Glissa::KeySet(int pIndex, KTime pTime, float pValue, unsigned pInterpolation,
                    unsigned pTangentMode, float pData0, float pData1, unsigned pWeightMode,
                    float pWeight0, float pWeight1, float pVelocity0, float pVelocity1)
{
    const KOperation operation(IsObserved());
    const bool isMissingType =
        pInterpolation == eInterpolationCustom && CustomTangentTypeCount() == 0;
    KPriFCurveKeyAttr attributes{};
    attributes.mFlags =
        (pTangentMode & GlissaKeyAttributes::kTangentModeMask) |
        (isMissingType ? 0 : pInterpolation & GlissaKeyAttributes::kInterpolationMask) |
        (pWeightMode & GlissaKeyAttributes::kWeightModeMask);
    attributes.mData[0] = pData0;
    attributes.mData[1] = pData1;
    attributes.mData[2] = WeightPair{ToStoredWeight(pWeight0), ToStoredWeight(pWeight1)}.ToSlot();
    attributes.mData[3] =
        WeightPair{ToStoredVelocity(pVelocity0), ToStoredVelocity(pVelocity1)}.ToSlot();
    KeyAttrSet(pIndex, attributes);
    KeySetValue(pIndex, pValue);
    KeySetTime(pIndex, pTime);
}

void Glissa::KeySetTCB(int pIndex, KTime pTime, float pValue, float pTension, float pContinuity,
                       float pBias)
{
    const KOperation operation(IsObserved());
    KPriFCurveKeyAttr attributes{};
    attributes.mFlags = eInterpolationCubic | eTangentTCB;
    attributes.mData[eDataTCBTension] = pTension;
    attributes.mData[eDataTCBContinuity] = pContinuity;
    attributes.mData[eDataTCBBias] = pBias;
    KeyAttrSet(pIndex, attributes);
    KeySetValue(pIndex, pValue);
    KeySetTime(pIndex, pTime);
}

bool Glissa::KeyRemove(int pIndex)
{
    const int count = KeyGetCount();
    if (pIndex < 0 || pIndex >= count) {
        return false;
    }
    const KeyModifyBracket bracket(*this);
    ResetCandidate();
    if (count == 1) {
        SetValue(KeyGetValue(0));
    }
    RemoveRange(pIndex, pIndex);
    return true;
}

// The key behind the range keeps its left side. The default value stays as it is.
void Glissa::RemoveRange(int pFirst, int pLast)
{
    CORVEKIT_ASSERT(pFirst >= 0 && pFirst <= pLast && pLast < KeyGetCount());
    const bool hasNext = pLast + 1 < KeyGetCount();
    const GlissaTangeantInfo info =
        hasNext ? KeyGetLeftDerivativeInfo(pLast + 1) : GlissaTangeantInfo();
    for (int i = pFirst; i <= pLast; ++i) {
        ReleaseAttribute(mKeys[i]);
    }
    mKeys.CloseGap(pFirst, pLast);
    if (hasNext) {
        KeepLeftSide(pFirst, info);
    }
    CallbackAddEvent(kGlissaEventRemoved, pFirst);
    if (pLast > pFirst) {
        CallbackAddEvent(kGlissaEventRemoved, pLast);
    }
}

bool Glissa::Delete(int pFirst, int pLast)
{
    const int count = KeyGetCount();
    if (count == 0 || pFirst > pLast || pFirst < 0 || pLast >= count) {
        return false;
    }
    ResetCandidate();
    const float firstValue = KeyGetValue(0);
    const KeyModifyBracket bracket(*this);
    if (pFirst == pLast) {
        KeyRemove(pFirst);
    } else if (pLast - pFirst + 1 == count) {
        KeyClear();
    } else {
        RemoveRange(pFirst, pLast);
    }
    if (KeyGetCount() == 0) {
        SetValue(firstValue);
    }
    return true;
}

bool Glissa::Delete(KTime pFrom, KTime pTo, bool pInclusive)
{
    int first = 0;
    int last = 0;
    return FindRange(pFrom, pTo, pInclusive, first, last) && Delete(first, last);
}

// The keys between two times; Delete and KeyMoveOf refuse a range that holds none.
bool Glissa::FindRange(KTime pFrom, KTime pTo, bool pInclusive, int& pFirst, int& pLast)
{
    if (KeyGetCount() == 0) {
        return false;
    }
    int hint = KeyGetCount() - 1;
    const double from = KeyFind(pFrom, nullptr);
    const double to = KeyFind(pTo, &hint);
    pFirst = static_cast<int>(std::ceil(from));
    pLast = static_cast<int>(std::floor(to));
    if (!pInclusive) {
        pFirst += IsWhole(from) ? 1 : 0;
        pLast -= IsWhole(to) ? 1 : 0;
    }
    return true;
}
