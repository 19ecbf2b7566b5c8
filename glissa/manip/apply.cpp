// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The curve of a list of records.

#include "glissa/curve/key_kind.h"
#include "glissa/manip/curve_writer.h"
#include "glissa/manip/sides.h"

namespace
{
bool IsSameSide(const GlissaTangeantInfo& pLeft, const GlissaTangeantInfo& pRight)
{
    return pLeft.mDerivative == pRight.mDerivative && pLeft.mAuto == pRight.mAuto &&
           pLeft.mIsWeighted == pRight.mIsWeighted && pLeft.mWeight == pRight.mWeight &&
           pLeft.mIsVelocity == pRight.mIsVelocity && pLeft.mVelocity == pRight.mVelocity;
}

// Equal but for time and value. Selection, marks and visibility are not edited.
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

void CurveWriter::ApplyToNode(Glissa& pCurve, const GlissaEdit2& pEdit, const GlissaEdit2& pAll,
                              Glissa& pOriginal, const ETITimeline& pTimeline)
{
    Begin(pEdit.GetCount());
    bool isShown = false;
    for (int i = 0; i < pEdit.GetCount(); ++i) {
        const GlissaKeyEdit2& key = pEdit[i];
        const GlissaKeyEdit2& loaded = pAll[key.mKeyIndex];
        // A key that has not moved keeps its time to the tick. Of keys that come to one time of the
        // node it is the one that remains, else the first.
        const bool hasMoved = key.mTime != loaded.mTime;
        const KTime time = hasMoved ? PossibleKeyTime(pTimeline.ToNode(key.mTime))
                                    : pOriginal.KeyGetTime(key.mKeyIndex);
        while (!hasMoved && !mPlaced.empty() && mCurve->Keys().LastTime() >= time) {
            mCurve->Delete(mCurve->KeyGetCount() - 1, mCurve->KeyGetCount() - 1);
            mPlaced.pop_back();
        }
        if (!mPlaced.empty() && mCurve->Keys().LastTime() >= time) {
            continue;
        }
        const int k = mCurve->KeyGetCount();
        const float value = static_cast<float>(key.mValue);
        if (IsSameKind(key, loaded)) {
            Append(time, pOriginal, key.mKeyIndex);
            mCurve->KeySetValue(k, value);
            if ((mCurve->InternalPriKeyAttrGetPtr(k)->mFlags & eSelectTangents) != 0) {
                KPriFCurveKeyAttr block = *mCurve->InternalPriKeyAttrGetPtr(k);
                block.mFlags &= ~static_cast<unsigned>(eSelectTangents);
                mCurve->KeyAttrSet(k, block);
            }
        } else {
            mCurve->KeyAppendFast(time, value);
            mCurve->KeyAttrSet(k, BlockOf(key));
            mPlaced.push_back({key.mKeyIndex, false, nullptr});
        }
        mPlaced.back().record = &key;
        isShown = isShown || (StateFlags(key) & ~eMarkedForManipulation) != 0;
    }

    const int last = mCurve->KeyGetCount() - 1;
    const int lastOfAll = pAll.GetCount() - 1;
    for (int k = 0; k <= last; ++k) {
        const Placed& key = mPlaced[static_cast<std::size_t>(k)];
        const Placed* const before = k > 0 ? &key - 1 : nullptr;
        if (before && !(before->isAsLoaded && key.isAsLoaded && before->index + 1 == key.index)) {
            SetLeftSide(*mCurve, k, key.record->mLeftTangent);
        }
        if (!key.isAsLoaded || (key.index == lastOfAll && k < last)) {
            mCurve->KeySetRightDerivativeInfo(k, key.record->mRightTangent, false);
        }
    }
    Commit(pCurve, pOriginal,
           kGlissaEventValue | kGlissaEventTime | kGlissaEventOther | eEventEditSlope |
               (isShown ? eEventSelection : 0));
}
