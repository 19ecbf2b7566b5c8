// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// From the values of a key run to keys. A key begins with time and value; the interpolation letter
// decides what follows, in the forms of all versions; then the key gets a shared block. The values
// are not trusted: each key consumes one value at least, and a key that is not valid is removed.

#include "glissa/curve/attribute_count.h"
#include "glissa/curve/key_kind.h"
#include "glissa/curve/key_weight.h"
#include "glissa/curve/left_side.h"
#include "glissa/curve/slope_rules.h"
#include "glissa/curve/store_reader.h"
#include "glissa/curve/ticks.h"
#include "glissa/ext/active.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <span>
#include <string_view>
#include <utility>

namespace
{
constexpr WeightPair kDefaultWeights{kDefaultWeightNumber, kDefaultWeightNumber};
constexpr int kLeastValues = 3;        // a key is a time, a value and a letter at least
constexpr double kSidesAgree = 0.001;  // auto parameters of the two sides of an unbroken tangent
constexpr float kAlongLeftSecant = 100.0f;
constexpr float kAlongRightSecant = -100.0f;

int Lower(int pLetter)
{
    return pLetter >= 'A' && pLetter <= 'Z' ? pLetter - 'A' + 'a' : pLetter;
}
}  // namespace

Glissa::StoreReader::~StoreReader()
{
    const int last = mCurve.KeyGetCount() - 1;
    if (last >= 0 && mCurve.mKeys[last].mAttribute == &mLocal) {
        mCurve.mKeys[last].mAttribute = nullptr;
    }
}

void Glissa::StoreReader::ReadKeys(int pCount)
{
    const std::int64_t backed = mTdf.FieldReadGetRemain() / kLeastValues;
    mCurve.ResizeKeyBuffer(static_cast<int>(std::min<std::int64_t>(pCount, backed)), false);
    for (int i = 0; i < pCount && FindTime(); ++i) {
        ReadKey();
        if (mIsPlain && !mIsLost && mVersion >= eKeyVersionProgressive) {
            i += ReadAlike(pCount - i - 1);
        }
    }
}

// The keys that follow with nothing but the very letters of the key just read: of these, and only
// of these, versions from 4007 on store nothing of the key before, so the shape is the same again.
int Glissa::StoreReader::ReadAlike(int pMost)
{
    std::array<KTdfSample, KeyList::kKeysPerPage> samples;
    const std::string_view letters(mLetters.data(), mLetterCount);
    int count = 0;
    for (std::size_t asked = 1, read = 1; read == asked && count < pMost;
         count += static_cast<int>(read)) {
        asked = std::min(samples.size(), static_cast<std::size_t>(pMost - count));
        read = mTdf.FieldReadSamples(std::span(samples).first(asked), letters);
        AddAlike(std::span(samples).first(read));
    }
    return count;
}

void Glissa::StoreReader::AddAlike(std::span<const KTdfSample> pSamples)
{
    CORVEKIT_ASSERT(mKey);
    KeyList& keys = mCurve.mKeys;
    while (!pSamples.empty()) {
        // Consecutive good keys share the block of the first, unless a listener for values may
        // change the curve.
        KPriFCurveKeyAttr* const block =
            keys.Count() > 0 ? keys[keys.Count() - 1].mAttribute : nullptr;
        std::size_t good = 0;
        if (block && *block == mLocal && mHasGoodKey && mForm != 'B' &&
            !IsInvalidKeyCheckActive()) {
            KTime last = mLastGoodTime;
            while (good < pSamples.size() && pSamples[good].time > last &&
                   keys.HasRoomFor(keys.Count())) {
                last = pSamples[good].time;
                KPriFCurveKey& key = keys.Append();
                key.mTime = last;
                key.mAttribute = block;
                key.mValue = pSamples[good].value;
                ++good;
            }
            mLastGoodTime = last;
            if (good > 0) {
                AddReferences(*block, static_cast<std::uint32_t>(good));
            }
            pSamples = pSamples.subspan(good);
        }
        // The one that stops them is read by itself.
        if (!pSamples.empty()) {
            BeginKey(pSamples.front().time, pSamples.front().value);
            EndKey(pSamples.front().time != kNoKeyTime);
            pSamples = pSamples.subspan(1);
        }
    }
}

// Whether another key begins. In checked reading, and behind a key that was not read to its end,
// values before the next time are skipped.
bool Glissa::StoreReader::FindTime()
{
    if (mChecked || mIsLost) {
        while (mTdf.FieldReadGetType() != KTdf::kTypeTime && mTdf.FieldReadGetRemain() > 0) {
            mTdf.FieldReadT();
        }
    }
    return mTdf.FieldReadGetRemain() > 0;
}

void Glissa::StoreReader::ReadKey()
{
    const KTime time = mTdf.FieldReadT();
    float value = 0.0f;
    const bool good = Number(value) && time != kNoKeyTime;
    // Field by field: aggregates would be put together in memory and read back in other widths.
    mLocal.mFlags = 0;
    mLocal.mData[0] = 0.0f;
    mLocal.mData[1] = 0.0f;
    kDefaultWeights.ToSlot(mLocal.mData[2]);
    mLocal.mData[3] = 0.0f;
    BeginKey(time, value);
    mLetterCount = 0;
    mIsPlain = true;
    mIsLost = !ReadShape();
    EndKey(good && !mIsLost);
}

void Glissa::StoreReader::BeginKey(KTime pTime, float pValue)
{
    // Before the key is counted: a listener may read this curve, or clear it.
    const float value = CheckedKeyValue(pValue);

    mIndex = mCurve.KeyGetCount();
    while (!mBadKeys.empty() && mBadKeys.back() >= mIndex) {
        mBadKeys.pop_back();
    }
    if (!mCurve.mKeys.HasRoomFor(mIndex)) [[unlikely]] {
        mCurve.mKeys.Reserve(mIndex + 1);
    }
    mKey = &mCurve.mKeys.Append();
    mKey->mTime = pTime;
    mKey->mAttribute = &mLocal;
    mKey->mValue = value;
    mPrevious = mIndex > 0 ? &mCurve.mKeys[mIndex - 1] : nullptr;
}

// pGood  whether the key's values are valid. Its order is tested here.
void Glissa::StoreReader::EndKey(bool pGood)
{
    if (mPreviousForm == 'B') {
        TurnHandlesIntoSlopes();
    }
    ShareBlock();
    if (pGood && (!mHasGoodKey || mKey->mTime > mLastGoodTime)) {
        mHasGoodKey = true;
        mLastGoodTime = mKey->mTime;
    } else {
        mBadKeys.push_back(mIndex);
    }
    mPreviousForm = mForm;
}

bool Glissa::StoreReader::ReadShape()
{
    mForm = Letter(mChecked);
    switch (mForm) {
    case 'A':
    case 'C':
    case 'Z':
        mLocal.mFlags = eInterpolationConstant;
        return ReadConstantMode();
    case 'L':
        mLocal.mFlags = eInterpolationLinear;
        LineArrives();
        return true;
    case 'U':
        mLocal.mFlags = eInterpolationCubic;
        return ReadTangent();
    case 'T':
    case 'B':
    case 'H':
    case 'I':
    case 'O':
    case 'R':
        mLocal.mFlags = eInterpolationCubic;
        return ReadOldestTangent();
    default:
        return false;
    }
}

bool Glissa::StoreReader::ReadConstantMode()
{
    if (mVersion < eKeyVersionConstantMode) {
        LineArrives();
        return true;
    }
    const int letter = Letter(mChecked);
    if (letter == 'n') {
        mLocal.SetConstantMode(eConstantNext);
    }
    return letter >= 0 || !mChecked;
}

// A cubic segment that ends at a line or a step arrived along its secant.
void Glissa::StoreReader::LineArrives()
{
    if (mVersion < eKeyVersionConstantMode && IsPreviousCubicWith(eTangentAuto)) {
        mCurve.KeySetLeftAuto(mIndex, kAlongLeftSecant);
    }
}

bool Glissa::StoreReader::ReadTangent()
{
    int letter = Letter(mChecked);
    if (letter == kEnded || letter == kWrongType) {
        letter = 'a';  // also the tangent patterns that have no letter
    }
    letter = Lower(letter);
    switch (letter) {
    case 'a':
        mLocal.SetTangeantMode(eTangentAuto);
        if (mVersion == eKeyVersionBothSides && !Number(mLocal.mData[1])) {
            return false;
        }
        if (mVersion < eKeyVersionConstantMode) {
            if (mPrevious && mPrevious->mAttribute->GetInterpolation() == eInterpolationLinear) {
                mLocal.mData[0] = kAlongRightSecant;
            } else if (IsPreviousCubicWith(eTangentUser)) {
                SetPreviousSlot(1, 0.0f);
            }
        }
        if (mVersion >= eKeyVersionWeights && mVersion < eKeyVersionTimeIndependent) {
            DropPreviousLeftWeight();
        }
        return (mVersion < eKeyVersionProgressive || ReadWeights()) && ReadClamp();
    case 's':
    case 'b':
        mLocal.SetTangeantMode(letter == 's' ? eTangentUser : eTangentUserBreak);
        if (!Numbers()) {
            return false;
        }
        if (mVersion < eKeyVersionBothSides && IsPreviousCubicWith(eTangentAuto) &&
            !mPrevious->mAttribute->GetBreak()) {
            SetPreviousSlot(1, mLocal.mData[0]);
        }
        return mVersion < eKeyVersionWeights || ReadWeights();
    case 'd':
        mLocal.SetTangeantMode(eTangentAuto);
        if (!Number(mLocal.mData[1])) {
            return false;
        }
        if (mVersion >= eKeyVersionWeights) {
            DropPreviousLeftWeight();
            if (!ReadWeights()) {
                return false;
            }
        }
        return ReadClamp();
    case 'p':
    case 'q':
        mLocal.SetTangeantMode(letter == 'p' ? eTangentAuto : eTangentAutoBreak);
        if (!Numbers() || !ReadWeights() || !ReadClamp()) {
            return false;
        }
        // Sides that do not follow each other are broken, whatever the letter.
        if (letter == 'p' && mPrevious &&
            std::fabs(mCurve.KeyGetLeftAuto(mIndex, false) +
                      mCurve.KeyGetRightAuto(mIndex, false)) > kSidesAgree) {
            mLocal.SetBreak(true);
        }
        return true;
    case 't':
        return ReadTcb();
    default:
        return false;
    }
}

bool Glissa::StoreReader::ReadTcb()
{
    mLocal.SetTangeantMode(eTangentTCB);
    return Numbers() && Number(mLocal.mData[eDataTCBBias]);
}

// A letter marks broken tangents; the numbers are the left side, which is stored in the
// key before, and the right one.
bool Glissa::StoreReader::ReadOldestTangent()
{
    if (mForm == 'T') {
        return ReadTcb();
    }
    const int letter = Lower(Letter(mChecked));
    if (letter < 0) {
        return false;
    }
    if (letter == 'a') {
        mLocal.SetTangeantMode(eTangentAuto);
        return true;
    }
    mLocal.SetTangeantMode(letter == 'b' ? eTangentUserBreak : eTangentUser);
    float left = 0.0f;
    if (!Number(left)) {
        return false;
    }
    if (!IsPreviousTcb()) {
        SetPreviousSlot(1, left);
    }
    mLocal.mData[0] = left;
    return letter != 'b' || Number(mLocal.mData[0]);
}

// The segment before was stored as Bezier handles. A slope is three times the distance to the
// handle over the time of the segment. The slots of an automatic tangent are not handles.
void Glissa::StoreReader::TurnHandlesIntoSlopes()
{
    CORVEKIT_ASSERT(mKey);
    if (!mPrevious || !IsCubicUser(*mPrevious->mAttribute)) {
        return;
    }
    const double seconds = SecondsBetween(*mPrevious, *mKey);
    const auto slope = [seconds](float pHandle, float pValue) {
        return seconds > 0.0 ? static_cast<float>((pHandle - pValue) * 3.0 / seconds) : 0.0f;
    };
    SetPreviousSlot(0, slope(mPrevious->mAttribute->mData[0], mPrevious->mValue));
    const bool hasLeftHandle = mForm == 'B' && IsCubicUser(mLocal);
    SetPreviousSlot(1,
                    hasLeftHandle ? -slope(mPrevious->mAttribute->mData[1], mKey->mValue) : 0.0f);
}

bool Glissa::StoreReader::ReadWeights()
{
    const int letter = Letter(false);
    const unsigned mode = letter == 'a'   ? eWeightAll
                          : letter == 'r' ? eWeightRight
                          : letter == 'l' ? eWeightNextLeft
                                          : eWeightNone;
    mLocal.SetTangeantWeightMode(mode, eWeightAll);
    if (mode == eWeightNone) {
        return true;
    }
    auto weights = WeightPair::FromSlot(mLocal.mData[2]);
    for (const unsigned side : {unsigned{eWeightRight}, unsigned{eWeightNextLeft}}) {
        float weight = 0.0f;
        if ((mode & side) != 0) {
            if (!Number(weight)) {
                return false;
            }
            (side == eWeightRight ? weights.mRight : weights.mNextLeft) = ToTruncatedWeight(weight);
        }
    }
    weights.ToSlot(mLocal.mData[2]);
    return true;
}

bool Glissa::StoreReader::ReadClamp()
{
    if (mVersion < eKeyVersionClamp) {
        return true;
    }
    const int letter = Letter(false);
    unsigned refinement = 0;
    int since = eKeyVersionClamp;
    switch (letter) {
    case kEnded:
    case 'n':
        break;
    case 'c':
        refinement = eTangentClamp;
        break;
    case 'b':
        refinement = eTangentClamp | eTangentTimeIndependent;
        since = eKeyVersionTimeIndependent;
        break;
    case 'i':
        refinement = eTangentTimeIndependent;
        since = eKeyVersionTimeIndependent;
        break;
    case 'g':
        refinement = eTangentProgressiveClamp;
        since = eKeyVersionProgressive;
        break;
    default:
        return false;
    }
    if (mVersion < since) {
        return false;
    }
    mLocal.SetTangeantMode(mLocal.GetTangeantMode(false) | refinement);
    return true;
}

// The block of the key before, or the default one, where it is equal: a run of keys of one shape
// shares one.
void Glissa::StoreReader::ShareBlock()
{
    KPriFCurveKeyAttr* block = mPrevious ? mPrevious->mAttribute : nullptr;
    if (!block || !(*block == mLocal)) {
        if (*GlissaDefaultKeyAttr == mLocal) {
            block = GlissaDefaultKeyAttr;
        } else {
            block = static_cast<KPriFCurveKeyAttr*>(GlissaKeyAttrPool.Allocate());
            *block = KPriFCurveKeyAttr{mLocal, 0};
        }
    }
    AddReferences(*block, 1);
    mKey->mAttribute = block;
}

// A time is never taken for something else, in whatever mode: it is the next key's.
int Glissa::StoreReader::Letter(bool pKeepWrongType)
{
    const char type = mTdf.FieldReadGetType();
    if (type == KTdf::kTypeCharacter) [[likely]] {
        const char letter = mTdf.FieldReadCH();
        if (mLetterCount < mLetters.size()) {
            mLetters[mLetterCount++] = letter;
        } else {
            mIsPlain = false;
        }
        return static_cast<unsigned char>(letter);
    }
    mIsPlain = false;
    if (type == KTdf::kTypeTime || type == KTdf::kTypeNone) {
        return kEnded;
    }
    return pKeepWrongType ? kWrongType : static_cast<unsigned char>(mTdf.FieldReadCH());
}

bool Glissa::StoreReader::Number(float& pValue)
{
    mIsPlain = false;
    const char type = mTdf.FieldReadGetType();
    if (type != KTdf::kTypeDouble) [[unlikely]] {
        if (mChecked || type == KTdf::kTypeTime || type == KTdf::kTypeNone) {
            return false;
        }
    }
    pValue = mTdf.FieldReadF();
    return true;
}

bool Glissa::StoreReader::IsPreviousCubicWith(unsigned pBit) const
{
    return mPrevious && mPrevious->mAttribute->GetInterpolation() == eInterpolationCubic &&
           (mPrevious->mAttribute->mFlags & pBit) != 0;
}

void Glissa::StoreReader::SetPreviousSlot(int pSlot, float pValue)
{
    CORVEKIT_ASSERT(pSlot >= 0 && pSlot < 4);
    if (!mPrevious || std::bit_cast<std::uint32_t>(mPrevious->mAttribute->mData[pSlot]) ==
                          std::bit_cast<std::uint32_t>(pValue)) {
        return;
    }
    mCurve.KeyAttrSeparate(mIndex - 1);
    mPrevious->mAttribute->mData[pSlot] = pValue;
}

// The weights of other keys are the bias of a TCB key.
void Glissa::StoreReader::DropPreviousLeftWeight()
{
    if (!mPrevious || IsPreviousTcb()) {
        return;
    }
    auto weights = WeightPair::FromSlot(mPrevious->mAttribute->mData[2]);
    if ((mPrevious->mAttribute->mFlags & eWeightNextLeft) == 0 &&
        weights.mNextLeft == kDefaultWeightNumber) {
        return;
    }
    mCurve.KeyAttrSeparate(mIndex - 1);
    weights.mNextLeft = kDefaultWeightNumber;
    weights.ToSlot(mPrevious->mAttribute->mData[2]);
    mPrevious->mAttribute->SetTangeantWeightMode(eWeightNone, eWeightNextLeft);
}

// KeyRemove moves all keys behind the removed one, which takes quadratic time for many bad keys.
// Here the good keys are collected at the end, from the last one on. The key under test is placed
// before them while its left side is moved, as it would be in the curve that is left.
void Glissa::StoreReader::RemoveBadKeys()
{
    KeyList& keys = mCurve.mKeys;
    const int count = keys.Count();
    if (mBadKeys.empty()) {
        return;
    }
    if (static_cast<int>(mBadKeys.size()) == count) {
        mCurve.SetValue(keys[0].mValue);
    }
    int first = count;  // the good keys are from here on
    bool handsOver = false;
    GlissaTangeantInfo side;
    for (int i = count - 1; i >= 0; --i) {
        KPriFCurveKey& key = keys[first - 1];
        if (i != first - 1) {
            key = keys[i];
            keys[i] = {};
        }
        if (handsOver) {
            KeepLeftSide(mCurve, first, side);
        }
        handsOver = false;
        if (mBadKeys.empty() || mBadKeys.back() != i) {
            --first;
            continue;
        }
        mBadKeys.pop_back();
        if (first < count) {
            handsOver = true;
            side = mCurve.KeyGetLeftDerivativeInfo(first);
            // A key without a shape stores no left side for the next one, whose two sides are one.
            if (key.mAttribute->GetInterpolation() == 0 && IsCubicUser(mCurve, first) &&
                !mCurve.KeyGetBreak(first)) {
                side.mDerivative = keys[first].mAttribute->mData[0];
            }
        }
        mCurve.ReleaseAttribute(key);
    }
    keys.CloseGap(0, first - 1);
    keys.PagesChangedFrom(0);
}
