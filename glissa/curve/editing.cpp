// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Adding, replacing and removing keys.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/key_index.h"
#include "glissa/curve/key_weight.h"
#include "glissa/curve/left_side.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/curve/ticks.h"
#include "glissa/ext/active.h"

#include <bit>
#include <new>

namespace
{
bool HasSameBits(float pLeft, float pRight)
{
    return std::bit_cast<std::uint32_t>(pLeft) == std::bit_cast<std::uint32_t>(pRight);
}
}  // namespace

bool FindKeyRange(Glissa& pCurve, KTime pFrom, KTime pTo, bool pInclusive, int& pFirst, int& pLast)
{
    if (pCurve.KeyGetCount() == 0) {
        return false;
    }
    int hint = pCurve.KeyGetCount() - 1;
    const double from = pCurve.KeyFind(pFrom, nullptr);
    const double to = pCurve.KeyFind(pTo, &hint);
    pFirst = Ceil(from) + (!pInclusive && IsWhole(from) ? 1 : 0);
    pLast = Floor(to) - (!pInclusive && IsWhole(to) ? 1 : 0);
    CORVEKIT_ASSERT(pFirst >= 0 && pLast < pCurve.KeyGetCount());
    return true;
}

// The index of a key at this time, or of the place between two keys. A time behind all keys needs
// no search.
double Glissa::FindPlaceToAdd(KTime pTime, int* pHint)
{
    if (KeyGetCount() == 0) {
        return -0.5;
    }
    return mKeys.LastTime() < pTime ? KeyGetCount() - 0.5 : KeyFind(pTime, pHint);
}

// Opens a record for a new key at a place that FindPlaceToAdd found between the others.
int Glissa::OpenRecord(double pPlace, KTime pTime, float pValue)
{
    CORVEKIT_ASSERT(!IsWhole(pPlace) && pTime != kNoKeyTime);
    const int index = Ceil(pPlace);
    mKeys.OpenGap(index);
    KPriFCurveKey& record = mKeys[index];
    record.mTime = pTime;
    record.mValue = pValue;
    CORVEKIT_ASSERT(KeepsOrder(index, pTime));
    return index;
}

int Glissa::PostAdded(int pIndex, int* pHint)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < KeyGetCount());
    CallKeyAddCallback(&mKeys[pIndex], pIndex);
    if (pHint) {
        *pHint = pIndex;
    }
    CallbackAddEvent(kGlissaEventAdded, pIndex);
    return pIndex;
}

int Glissa::KeyAdd(KTime pTime, const GlissaKey& pKey, int* pHint)
{
    if (pTime == kNoKeyTime) {
        return -1;
    }
    const KOperation operation(IsObserved());
    const float value = CheckedKeyValue(pKey.GetValue());
    InitBuffers(KeyGetCount() + 1, false);
    const double place = FindPlaceToAdd(pTime, pHint);
    if (IsWhole(place)) {
        KeySet(Ceil(place), GlissaKey({pTime, nullptr, value}, pKey.GetKeyAttr()));
        return Ceil(place);
    }
    const int index = OpenRecord(place, pTime, value);
    try {
        KeyAttrSet(index, pKey.GetKeyAttr());
    } catch (const std::bad_alloc&) {
        if (!mKeys[index].mAttribute) {
            mKeys.CloseGap(index, index);
        }
        throw;
    }
    return PostAdded(index, pHint);
}

int Glissa::KeyAdd(KTime pTime, int* pHint)
{
    if (pTime == kNoKeyTime) {
        return -1;
    }
    const KOperation operation(IsObserved());
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
    const KPriFCurveKey source = pSource->KeyAt(pSourceIndex);
    const float value = CheckedKeyValue(source.mValue);
    InitBuffers(KeyGetCount() + 1, false);
    const double place = FindPlaceToAdd(pTime, pHint);
    if (!IsWhole(place)) {
        const int index = OpenRecord(place, pTime, value);
        PointToAttribute(mKeys[index], source.mAttribute);
        return PostAdded(index, pHint);
    }
    KPriFCurveKey& record = mKeys[Ceil(place)];
    record.mValue = value;
    record.mTime = pTime;
    mKeys.TimeChanged(Ceil(place));
    PointToAttribute(record, source.mAttribute);
    return Ceil(place);
}

int Glissa::KeyAppend(KTime pTime, const Glissa* pSource, int pSourceIndex)
{
    if (pTime == kNoKeyTime) {
        return -1;
    }
    const KOperation operation(IsObserved());
    const KPriFCurveKey source = pSource->KeyAt(pSourceIndex);
    const float value = CheckedKeyValue(source.mValue);
    InitBuffers(KeyGetCount() + 1, false);
    KPriFCurveKey& record = mKeys.Append();
    record.mTime = pTime;
    record.mValue = value;
    PointToAttribute(record, source.mAttribute);
    return PostAdded(KeyGetCount() - 1, nullptr);
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

// Writes time and value of a record, which need not be that of a key yet.
void Glissa::WriteRecord(int pIndex, KTime pTime, float pValue)
{
    CORVEKIT_ASSERT(pIndex >= 0 && mKeys.HasRoomFor(pIndex));
    mKeys[pIndex].mTime = pTime;
    mKeys.TimeChanged(pIndex);
    mKeys[pIndex].mValue = CheckedKeyValue(pValue);
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
    const KPriFCurveKey old = mKeys[pIndex];
    WriteRecord(pIndex, pKey.GetTime(), pKey.GetValue());
    const KPriFCurveKeyAttr attributes = pKey.GetKeyAttr();
    if (!exists || !(*mKeys[pIndex].mAttribute == attributes)) {
        KeyAttrSet(pIndex, attributes);
        return true;
    }
    if (!HasSameBits(old.mValue, mKeys[pIndex].mValue)) {
        CallbackAddEvent(kGlissaEventValue, pIndex);
    }
    if (old.mTime != pKey.GetTime()) {
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
    WriteRecord(pIndex, source.mTime, source.mValue);
    PointToAttribute(mKeys[pIndex], source.mAttribute);
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
    WeightPair{ToStoredWeight(pWeight0), ToStoredWeight(pWeight1)}.ToSlot(attributes.mData[2]);
    WeightPair{ToStoredVelocity(pVelocity0), ToStoredVelocity(pVelocity1)}.ToSlot(
        attributes.mData[3]);
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
        KeepLeftSide(*this, pFirst, info);
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
    return FindKeyRange(*this, pFrom, pTo, pInclusive, first, last) && Delete(first, last);
}
