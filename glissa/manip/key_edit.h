// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: keys as records with times of their own, for edits that change each key.
#pragma once

#include "glissa/curve/curve.h"
#include "glissa/node/eti_timeline.h"

#include <algorithm>
#include <memory>
#include <vector>

/// A key, with both sides of its tangent. Plain data.
struct GlissaKeyEdit2
{
    KTime mTime;  ///< global time
    double mValue = 0.0;
    GlissaTangeantInfo mLeftTangent;
    GlissaTangeantInfo mRightTangent;
    bool mSelected = false;
    bool mMarked = false;
    bool mRightTangentVisible = false;
    bool mLeftTangentVisible = false;
    unsigned mInterpolation = 0;  ///< flag word, mask 0xF
    unsigned mTangentMode = 0;    ///< flag word, mask 0x7F00: a custom index on a custom key
    float mTension = 0.0f;        ///< of a TCB key, as the two below
    float mContinuity = 0.0f;
    float mBias = 0.0f;
    int mKeyIndex = -1;  ///< in the curve that it was loaded from

    bool IsTcb() const
    {
        return mInterpolation == eInterpolationCubic &&
               (mTangentMode & GlissaKeyAttributes::kTangentKindMask) == eTangentTCB;
    }
    /// Whether the slopes of the key are stored ones.
    bool IsUser() const
    {
        return mInterpolation == eInterpolationCubic && (mTangentMode & eTangentUser) != 0;
    }
};

/// The nearest time that a key can have.
inline KTime PossibleKeyTime(KTime pTime)
{
    return std::max(pTime, KTime::MinusInfinite());
}

/// Memory of records, which is kept until the end of the pool.
class GlissaKeyEdit2Pool
{
public:
    GlissaKeyEdit2Pool() = default;
    GlissaKeyEdit2Pool(const GlissaKeyEdit2Pool&) = delete;
    GlissaKeyEdit2Pool& operator=(const GlissaKeyEdit2Pool&) = delete;

    /// Makes so many records free.
    void Reserve(int pCount)
    {
        while (mFree.size() < static_cast<std::size_t>(pCount)) {
            Grow();
        }
    }
    /// A free record of undefined content.
    GlissaKeyEdit2* Take()
    {
        CORVEKIT_ASSERT(!mFree.empty());
        GlissaKeyEdit2* const record = mFree.back();
        mFree.pop_back();
        return record;
    }
    void GiveBack(GlissaKeyEdit2* pRecord) { mFree.push_back(pRecord); }

private:
    static constexpr int kBlock = 100;  // records made at a time

    void Grow();

    std::vector<GlissaKeyEdit2*> mFree;  // has room for all records
    std::vector<std::unique_ptr<GlissaKeyEdit2[]>> mBlocks;
};

/// Which keys of a curve an edit has.
enum class KeySet
{
    kMarked,
    kBetween,  ///< unmarked keys between the first and the last marked one
    kBefore,   ///< before the first marked one
    kAfter,    ///< after the last marked one
};

/// Keys in ascending order of time. The records are taken from a pool and handed back to it, or
/// without a pool borrowed from another edit.
class GlissaEdit2
{
public:
    /// pPool  null for one that borrows its records, see Borrow: it is not changed.
    explicit GlissaEdit2(GlissaKeyEdit2Pool* pPool = nullptr) : mPool(pPool) {}
    GlissaEdit2(const GlissaEdit2&) = delete;
    GlissaEdit2& operator=(const GlissaEdit2&) = delete;
    ~GlissaEdit2() { Clear(); }

    int GetCount() const { return static_cast<int>(mRecords.size()); }
    bool IsEmpty() const { return mRecords.empty(); }
    GlissaKeyEdit2& operator[](int pIndex) const
    {
        CORVEKIT_ASSERT(pIndex >= 0 && pIndex < GetCount());
        return *mRecords[static_cast<std::size_t>(pIndex)];
    }
    /// Only where there are keys.
    GlissaKeyEdit2& First() const { return (*this)[0]; }
    GlissaKeyEdit2& Last() const { return (*this)[GetCount() - 1]; }

    /// All keys of a curve.
    void Load(Glissa& pCurve, const ETITimeline& pTimeline);
    /// The records of a set, which remain those of pAll. Without a marked key no set has keys.
    void Borrow(const GlissaEdit2& pAll, KeySet pSet);
    /// Copies another edit into the records that are there, with more or fewer of them.
    void Assign(const GlissaEdit2& pSource);
    void Clear();

    /// Index of the first key at or after a time; the count where there is none.
    int FindIndex(KTime pTime) const;
    /// Puts in a copy of a key. One at that time is replaced.
    void InsertOrReplace(KTime pTime, const GlissaKeyEdit2& pKey);
    /// Puts in copies of all keys of another edit, the first one at a time and the others at their
    /// distances. Keys at the same times are replaced, also by later ones of pSource, whose times
    /// need not ascend.
    void MergeAt(const GlissaEdit2& pSource, KTime pTime);
    /// Merges them at their own times.
    void Merge(const GlissaEdit2& pSource)
    {
        if (!pSource.IsEmpty()) {
            MergeAt(pSource, pSource.First().mTime);
        }
    }
    /// Turns keys whose times descend over, so that each segment is the mirror image of what it was
    /// where its keys are of one kind. Kinds belong to the segment after a key: a constant or a
    /// linear key swaps its kind with the next one, a last one becomes automatic.
    void Reverse();

private:
    void Reserve(int pMore);
    /// Where there is room, see Reserve.
    void Append(KTime pTime, const GlissaKeyEdit2& pKey)
    {
        GlissaKeyEdit2* const record = mPool->Take();
        *record = pKey;
        record->mTime = pTime;
        mRecords.push_back(record);
    }

    GlissaKeyEdit2Pool* mPool;
    std::vector<GlissaKeyEdit2*> mRecords;
    std::vector<GlissaKeyEdit2*> mTail;  // during MergeAt; kept for its memory
};
