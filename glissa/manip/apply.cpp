// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The curve of a list of records.

#include "glissa/curve/key_kind.h"
#include "glissa/curve/take_keys.h"
#include "glissa/manip/curve_writer.h"

namespace
{
bool IsSameSlope(const GlissaTangeantInfo& pLeft, const GlissaTangeantInfo& pRight)
{
    return pLeft.mDerivative == pRight.mDerivative;
}

// The slope aside.
bool IsSameSide(const GlissaTangeantInfo& pLeft, const GlissaTangeantInfo& pRight)
{
    return pLeft.mAuto == pRight.mAuto && pLeft.mIsWeighted == pRight.mIsWeighted &&
           pLeft.mWeight == pRight.mWeight && pLeft.mIsVelocity == pRight.mIsVelocity &&
           pLeft.mVelocity == pRight.mVelocity;
}

// Time, value and slopes aside. Selection and marks are not edited.
bool IsSameKind(const GlissaKeyEdit2& pLeft, const GlissaKeyEdit2& pRight)
{
    return pLeft.mInterpolation == pRight.mInterpolation &&
           pLeft.mTangentMode == pRight.mTangentMode &&
           IsSameSide(pLeft.mLeftTangent, pRight.mLeftTangent) &&
           IsSameSide(pLeft.mRightTangent, pRight.mRightTangent) &&
           pLeft.mTension == pRight.mTension && pLeft.mContinuity == pRight.mContinuity &&
           pLeft.mBias == pRight.mBias && pLeft.mLeftTangentVisible == pRight.mLeftTangentVisible &&
           pLeft.mRightTangentVisible == pRight.mRightTangentVisible;
}

unsigned StateFlags(const GlissaKeyEdit2& pKey)
{
    return (pKey.mSelected ? eSelectPoint : 0u) | (pKey.mMarked ? eMarkedForManipulation : 0u) |
           (pKey.mLeftTangentVisible ? eTangentShowLeft : 0u) |
           (pKey.mRightTangentVisible ? eTangentShowRight : 0u);
}

// A block without sides: these are set when all keys have their places.
KPriFCurveKeyAttr BlockOf(const GlissaKeyEdit2& pKey)
{
    KPriFCurveKeyAttr block{};
    block.mFlags = pKey.mInterpolation | pKey.mTangentMode | StateFlags(pKey);
    if (pKey.IsTcb()) {
        block.mData[eDataTCBTension] = pKey.mTension;
        block.mData[eDataTCBContinuity] = pKey.mContinuity;
        block.mData[eDataTCBBias] = pKey.mBias;
    } else {
        block.ResetWeights();
    }
    return block;
}
}  // namespace

// The records that have a time of the node to themselves. One that has not moved keeps its time to
// the tick. Of records that come to one time it is the one that remains, else the first.
void CurveWriter::PlaceRecords(const GlissaEdit2& pEdit, const GlissaEdit2& pAll,
                               const Glissa& pOriginal, const ETITimeline& pTimeline)
{
    mPlaced.clear();
    mPlaced.reserve(static_cast<std::size_t>(pEdit.GetCount()));
    for (int i = 0; i < pEdit.GetCount(); ++i) {
        const GlissaKeyEdit2& key = pEdit[i];
        const GlissaKeyEdit2& loaded = pAll[key.mKeyIndex];
        const bool hasMoved = key.mTime != loaded.mTime;
        const KTime time = hasMoved ? PossibleKeyTime(pTimeline.ToNode(key.mTime))
                                    : pOriginal.KeyGetTime(key.mKeyIndex);
        while (!hasMoved && !mPlaced.empty() && mPlaced.back().time >= time) {
            mPlaced.pop_back();
        }
        if (!mPlaced.empty() && mPlaced.back().time >= time) {
            continue;
        }
        const bool hasSlopes = IsSameSlope(key.mLeftTangent, loaded.mLeftTangent) &&
                               IsSameSlope(key.mRightTangent, loaded.mRightTangent);
        const Change change = !IsSameKind(key, loaded) ? Change::kOther
                              : hasSlopes              ? Change::kNone
                              : IsCubicUser(*pOriginal.InternalPriKeyAttrGetPtr(key.mKeyIndex))
                                  ? Change::kSlopes
                                  : Change::kOther;
        mPlaced.push_back({time, &key, change});
    }
}

// Blocks are written first, with slopes of user tangents in the slots where they were; sides that
// need the rules of other kinds are set when all keys have their places.
void CurveWriter::ApplyToNode(Glissa& pCurve, const GlissaEdit2& pEdit, const GlissaEdit2& pAll,
                              Glissa& pOriginal, const ETITimeline& pTimeline)
{
    PlaceRecords(pEdit, pAll, pOriginal, pTimeline);
    const int count = static_cast<int>(mPlaced.size());
    const auto wasNext = [&](const Placed& pKey, const Placed& pBefore) {
        return pKey.change != Change::kOther && pBefore.change != Change::kOther &&
               pBefore.record->mKeyIndex + 1 == pKey.record->mKeyIndex;
    };
    Begin(count);
    bool isShown = false;
    for (int k = 0; k < count; ++k) {
        const Placed& key = mPlaced[static_cast<std::size_t>(k)];
        const Placed* const next = k + 1 < count ? &key + 1 : nullptr;
        const float value = static_cast<float>(key.record->mValue);
        isShown = isShown || (StateFlags(*key.record) & ~eMarkedForManipulation) != 0;
        KPriFCurveKeyAttr* const original =
            pOriginal.InternalPriKeyAttrGetPtr(key.record->mKeyIndex);
        const bool hasNextSlope = next && next->change == Change::kSlopes && wasNext(*next, key) &&
                                  !IsCubicTcb(*original);
        if (key.change == Change::kNone && !hasNextSlope &&
            (original->mFlags & eSelectTangents) == 0) {
            AppendShared(*mCurve, key.time, {key.time, original, value});
            continue;
        }
        KPriFCurveKeyAttr block = key.change == Change::kOther ? BlockOf(*key.record) : *original;
        block.mFlags &= ~static_cast<unsigned>(eSelectTangents);
        if (key.change == Change::kSlopes && next) {
            block.mData[eDataRightSlope] = key.record->mRightTangent.mDerivative;
        }
        if (hasNextSlope) {
            block.mData[eDataNextLeftSlope] = next->record->mLeftTangent.mDerivative;
        }
        mCurve->KeyAppendFast(key.time, value);
        mCurve->KeyAttrSet(k, block);
    }
    for (int k = 0; k < count; ++k) {
        const Placed& key = mPlaced[static_cast<std::size_t>(k)];
        if (k > 0 && !wasNext(key, *(&key - 1))) {
            SetLeftSide(*mCurve, k, key.record->mLeftTangent);
        }
        const bool wasLast = key.record->mKeyIndex == pAll.GetCount() - 1;
        if (key.change == Change::kOther || (wasLast && k + 1 < count)) {
            mCurve->KeySetRightDerivativeInfo(k, key.record->mRightTangent, false);
        }
    }
    Commit(pCurve, pOriginal,
           kGlissaEventValue | kGlissaEventTime | kGlissaEventOther | eEventEditSlope);
    // By itself: a change of selection counts as another update than one of values.
    if (isShown) {
        pCurve.CallbackAddEvent(eEventSelection, 0);
        pCurve.CallbackAddEvent(eEventSelection, count - 1);
    }
}
