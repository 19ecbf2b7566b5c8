// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Records of keys: their pool, and lists of them that are loaded, merged and reversed.

#include "glissa/manip/key_edit.h"

#include <utility>

namespace
{
GlissaKeyEdit2 RecordOf(Glissa& pCurve, int pIndex, const ETITimeline& pTimeline)
{
    const GlissaKeyAttributes& key = *pCurve.InternalPriKeyAttrGetPtr(pIndex);
    GlissaKeyEdit2 record;
    record.mTime = PossibleKeyTime(pTimeline.ToGlobal(pCurve.KeyGetTime(pIndex)));
    record.mValue = pCurve.KeyGetValue(pIndex);
    record.mLeftTangent = pCurve.KeyGetLeftDerivativeInfo(pIndex);
    record.mRightTangent = pCurve.KeyGetRightDerivativeInfo(pIndex);
    record.mSelected = key.GetSelected();
    record.mMarked = key.GetMarkedForManipulation();
    record.mRightTangentVisible = (key.mFlags & eTangentShowRight) != 0;
    record.mLeftTangentVisible = (key.mFlags & eTangentShowLeft) != 0;
    record.mInterpolation = key.GetInterpolation();
    record.mTangentMode = key.GetTangeantMode(true);
    if (record.IsTcb()) {
        record.mTension = key.GetDataFloat(eDataTCBTension);
        record.mContinuity = key.GetDataFloat(eDataTCBContinuity);
        record.mBias = key.GetDataFloat(eDataTCBBias);
    }
    record.mKeyIndex = pIndex;
    return record;
}

bool IsConstantOrLinear(const GlissaKeyEdit2& pKey)
{
    return pKey.mInterpolation == eInterpolationConstant ||
           pKey.mInterpolation == eInterpolationLinear;
}

void SwapKinds(GlissaKeyEdit2& pLeft, GlissaKeyEdit2& pRight)
{
    std::swap(pLeft.mInterpolation, pRight.mInterpolation);
    std::swap(pLeft.mTangentMode, pRight.mTangentMode);
    std::swap(pLeft.mTension, pRight.mTension);
    std::swap(pLeft.mContinuity, pRight.mContinuity);
    std::swap(pLeft.mBias, pRight.mBias);
}

void MirrorSides(GlissaKeyEdit2& pKey)
{
    if (pKey.mInterpolation == eInterpolationConstant) {
        pKey.mTangentMode ^= GlissaKeyAttributes::kConstantModeMask;
    }
    std::swap(pKey.mLeftTangent, pKey.mRightTangent);
    pKey.mLeftTangent.mDerivative = -pKey.mLeftTangent.mDerivative;
    pKey.mRightTangent.mDerivative = -pKey.mRightTangent.mDerivative;
    std::swap(pKey.mLeftTangentVisible, pKey.mRightTangentVisible);
    if (pKey.mBias != 0.0f) {
        pKey.mBias = -pKey.mBias;
    }
}
}  // namespace

void GlissaKeyEdit2Pool::Grow()
{
    mBlocks.reserve(mBlocks.size() + 1);
    mFree.reserve((mBlocks.size() + 1) * kBlock);
    mBlocks.push_back(std::make_unique<GlissaKeyEdit2[]>(kBlock));
    for (int i = 0; i < kBlock; ++i) {
        mFree.push_back(&mBlocks.back()[static_cast<std::size_t>(i)]);
    }
}

void GlissaEdit2::Reserve(int pMore)
{
    CORVEKIT_ASSERT(mPool && pMore >= 0);
    mPool->Reserve(pMore);
    const std::size_t count = mRecords.size() + static_cast<std::size_t>(pMore);
    if (count > mRecords.capacity()) {
        mRecords.reserve(std::max(count, 2 * mRecords.capacity()));
    }
}

void GlissaEdit2::Load(Glissa& pCurve, const ETITimeline& pTimeline)
{
    Clear();
    const int count = pCurve.KeyGetCount();
    Reserve(count);
    for (int i = 0; i < count; ++i) {
        const GlissaKeyEdit2 record = RecordOf(pCurve, i, pTimeline);
        // Keys of the node may have one global time. In a list the times differ.
        Append(IsEmpty() ? record.mTime : std::max(record.mTime, Last().mTime + KTime(1)), record);
    }
}

void GlissaEdit2::Borrow(const GlissaEdit2& pAll, KeySet pSet)
{
    CORVEKIT_ASSERT(!mPool);
    mRecords.clear();
    const auto isMarked = [](const GlissaKeyEdit2* pKey) { return pKey->mMarked; };
    const auto begin = pAll.mRecords.begin();
    const auto end = pAll.mRecords.end();
    const auto first = std::find_if(begin, end, isMarked);
    if (first == end) {
        return;
    }
    const auto behind = std::find_if(pAll.mRecords.rbegin(), pAll.mRecords.rend(), isMarked).base();
    switch (pSet) {
    case KeySet::kMarked:
        std::copy_if(first, behind, std::back_inserter(mRecords), isMarked);
        break;
    case KeySet::kBetween:
        std::remove_copy_if(first, behind, std::back_inserter(mRecords), isMarked);
        break;
    case KeySet::kBefore:
        mRecords.assign(begin, first);
        break;
    case KeySet::kAfter:
        mRecords.assign(behind, end);
        break;
    }
}

void GlissaEdit2::Assign(const GlissaEdit2& pSource)
{
    Reserve(std::max(pSource.GetCount() - GetCount(), 0));
    while (GetCount() > pSource.GetCount()) {
        mPool->GiveBack(mRecords.back());
        mRecords.pop_back();
    }
    for (int i = 0; i < GetCount(); ++i) {
        (*this)[i] = pSource[i];
    }
    for (int i = GetCount(); i < pSource.GetCount(); ++i) {
        Append(pSource[i].mTime, pSource[i]);
    }
}

void GlissaEdit2::Clear()
{
    for (; !mRecords.empty(); mRecords.pop_back()) {
        if (mPool) {
            mPool->GiveBack(mRecords.back());
        }
    }
}

int GlissaEdit2::FindIndex(KTime pTime) const
{
    const auto isBefore = [](const GlissaKeyEdit2* pKey, KTime pAt) { return pKey->mTime < pAt; };
    return static_cast<int>(std::lower_bound(mRecords.begin(), mRecords.end(), pTime, isBefore) -
                            mRecords.begin());
}

void GlissaEdit2::InsertOrReplace(KTime pTime, const GlissaKeyEdit2& pKey)
{
    const int index = FindIndex(pTime);
    if (index == GetCount() || (*this)[index].mTime != pTime) {
        Reserve(1);
        Append(pTime, pKey);
        std::rotate(mRecords.begin() + index, mRecords.end() - 1, mRecords.end());
    } else {
        (*this)[index] = pKey;
        (*this)[index].mTime = pTime;
    }
}

// The keys from the first of the source on are moved aside; then the two lists are appended as one.
void GlissaEdit2::MergeAt(const GlissaEdit2& pSource, KTime pTime)
{
    CORVEKIT_ASSERT(mPool && &pSource != this);
    if (pSource.IsEmpty()) {
        return;
    }
    // All memory before anything changes.
    Reserve(pSource.GetCount());
    mTail.reserve(mRecords.size());

    const KTime shift = pTime - pSource.First().mTime;
    const auto begin = mRecords.begin() + FindIndex(PossibleKeyTime(pTime));
    mTail.assign(begin, mRecords.end());
    mRecords.erase(begin, mRecords.end());
    auto next = mTail.begin();
    for (const GlissaKeyEdit2* key : pSource.mRecords) {
        const KTime time = PossibleKeyTime(key->mTime + shift);
        for (; next != mTail.end() && (*next)->mTime <= time; ++next) {
            mRecords.push_back(*next);
        }
        if (IsEmpty() || Last().mTime < time) {
            Append(time, *key);
        } else {
            InsertOrReplace(time, *key);
        }
    }
    mRecords.insert(mRecords.end(), next, mTail.end());
}

void GlissaEdit2::Reverse()
{
    const int count = GetCount();
    if (count < 2) {
        return;
    }
    if (IsConstantOrLinear(Last())) {
        Last().mInterpolation = eInterpolationCubic;
        Last().mTangentMode = eTangentAuto | eTangentProgressiveClamp;
    }
    for (int i = count - 2; i >= 0; --i) {
        if (IsConstantOrLinear((*this)[i])) {
            SwapKinds((*this)[i], (*this)[i + 1]);
        }
    }
    std::reverse(mRecords.begin(), mRecords.end());
    for (GlissaKeyEdit2* key : mRecords) {
        MirrorSides(*key);
    }
}
