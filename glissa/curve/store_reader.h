// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: how a stored key run becomes the keys of a curve.
#pragma once

#include "corvekit/store/tdf.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/key_kind.h"
#include "glissa/curve/store.h"

#include <array>
#include <cstddef>
#include <span>
#include <vector>

/// Reads the open field "Key" into a curve without keys, in any version of the run.
///
/// A key is counted as soon as its time and value are known, and points to a local block until the
/// rest is read, so that operations of the curve work on what is there already. What a key stores
/// of the key before is written to that one's block, which is separated first. Bad keys stay until
/// all are read, since later ones may depend on them.
class Glissa::StoreReader
{
public:
    StoreReader(Glissa& pCurve, KTdf& pTdf, int pVersion)
        : mCurve(pCurve),
          mTdf(pTdf),
          mVersion(pVersion),
          mChecked(pTdf.IsCheckedReading()),
          mLocal(*GlissaDefaultKeyAttr)
    {}

    StoreReader(const StoreReader&) = delete;
    StoreReader& operator=(const StoreReader&) = delete;
    /// After an exception the key being read has no attribute block, and the caller clears the
    /// curve.
    ~StoreReader();

    /// pCount  the count in the document; not more keys are read than the field has values for.
    void ReadKeys(int pCount);
    /// As KeyRemove from the last bad key to the first, in one pass.
    void RemoveBadKeys();

private:
    // What was read in place of a letter.
    static constexpr int kEnded = -1;      // a time, or the end of the run: the key ends early
    static constexpr int kWrongType = -2;  // anything else

    bool FindTime();
    void ReadKey();
    int ReadAlike(int pMost);
    void AddAlike(std::span<const KTdfSample> pSamples);
    void BeginKey(KTime pTime, float pValue);
    void EndKey(bool pGood);
    bool ReadShape();
    bool ReadConstantMode();
    bool ReadTangent();
    bool ReadOldestTangent();
    bool ReadTcb();
    bool ReadWeights();
    bool ReadClamp();
    void TurnHandlesIntoSlopes();
    void LineArrives();
    void ShareBlock();

    int Letter(bool pKeepWrongType);
    bool Number(float& pValue);
    bool Numbers() { return Number(mLocal.mData[0]) && Number(mLocal.mData[1]); }

    bool IsPreviousTcb() const { return mPrevious && IsCubicTcb(*mPrevious->mAttribute); }
    bool IsPreviousCubicWith(unsigned pBit) const;
    void SetPreviousSlot(int pSlot, float pValue);
    void DropPreviousLeftWeight();

    Glissa& mCurve;
    KTdf& mTdf;
    const int mVersion;
    const bool mChecked;
    std::vector<int> mBadKeys;  // rising indexes

    KTime mLastGoodTime;
    bool mHasGoodKey = false;
    bool mIsLost = false;  // the key before could not be read to its end

    // The key being read. The local block looks like one that only this key points to.
    KPriFCurveKeyAttr mLocal;
    KPriFCurveKey* mKey = nullptr;
    KPriFCurveKey* mPrevious = nullptr;
    int mIndex = 0;
    int mForm = kEnded;  // interpolation letter
    int mPreviousForm = kEnded;

    // The letters of the key being read, and whether these are all there is behind its value.
    std::array<char, KTdf::kMaxSampleLetters> mLetters{};
    std::size_t mLetterCount = 0;
    bool mIsPlain = false;
};
