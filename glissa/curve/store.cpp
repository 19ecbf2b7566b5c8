// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A curve as fields of a document, written and read in the same order: default value, key run,
// extrapolation, colour. A key of the run has the values that its kind needs; letters name the
// kind.

#include "glissa/curve/store.h"

#include "corvekit/event/operation.h"
#include "corvekit/store/tdf.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/key_kind.h"
#include "glissa/curve/key_weight.h"
#include "glissa/curve/store_reader.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <span>
#include <string_view>

namespace
{
constexpr char kExtrapolationLetters[] = {'0', 'C', 'R', 'M', 'K', 'A'};  // by mode

void WriteInt(KTdf& pTdf, const char* pName, int pValue)
{
    pTdf.FieldWriteBegin(pName);
    pTdf.FieldWriteI(pValue);
    pTdf.FieldWriteEnd();
}

void WriteLetter(KTdf& pTdf, const char* pName, char pLetter)
{
    pTdf.FieldWriteBegin(pName);
    pTdf.FieldWriteCH(pLetter);
    pTdf.FieldWriteEnd();
}

void WriteExtrapolation(KTdf& pTdf, const char* pName, unsigned pMode, unsigned pCount)
{
    if (pMode == eExtrapolationNone || (pMode == eExtrapolationConstant && pCount == 0)) {
        return;
    }
    pTdf.FieldWriteBegin(pName);
    pTdf.FieldWriteBlockBegin();
    WriteLetter(pTdf, "Type",
                pMode < std::size(kExtrapolationLetters) ? kExtrapolationLetters[pMode] : '0');
    // Without end is all bits set, and on disk -1.
    WriteInt(pTdf, "Repetition", static_cast<int>(pCount));
    pTdf.FieldWriteBlockEnd();
    pTdf.FieldWriteEnd();
}

void WriteWeights(KTdf& pTdf, const GlissaKeyAttributes& pKey)
{
    const unsigned mode = pKey.GetTangeantWeightMode();
    pTdf.FieldWriteCH(mode == eWeightAll        ? 'a'
                      : mode == eWeightRight    ? 'r'
                      : mode == eWeightNextLeft ? 'l'
                                                : 'n');
    if ((mode & eWeightRight) != 0) {
        pTdf.FieldWriteF(pKey.GetDataDouble(eDataRightWeight));
    }
    if ((mode & eWeightNextLeft) != 0) {
        pTdf.FieldWriteF(pKey.GetDataDouble(eDataNextLeftWeight));
    }
}

char ClampLetter(const GlissaKeyAttributes& pKey)
{
    const unsigned mode = pKey.GetTangeantMode(true);
    constexpr unsigned kBoth = eTangentClamp | eTangentTimeIndependent;
    return mode >= eTangentProgressiveClamp        ? 'g'
           : (mode & kBoth) == kBoth               ? 'b'
           : (mode & eTangentClamp) != 0           ? 'c'
           : (mode & eTangentTimeIndependent) != 0 ? 'i'
                                                   : 'n';
}

void WriteSlots(KTdf& pTdf, const GlissaKeyAttributes& pKey)
{
    pTdf.FieldWriteF(pKey.mData[0]);
    pTdf.FieldWriteF(pKey.mData[1]);
}

// Both sides follow the neighbours.
bool IsPlainAuto(const GlissaKeyAttributes& pKey)
{
    return IsCubicAuto(pKey) && pKey.mData[0] == 0.0f && pKey.mData[1] == 0.0f;
}

void WriteTangent(KTdf& pTdf, const GlissaKeyAttributes& pKey)
{
    const unsigned kind = pKey.GetTangeantMode(false);
    switch (kind) {
    case eTangentAuto:
    case eTangentAutoBreak:
        if (IsPlainAuto(pKey)) {
            pTdf.FieldWriteCH('a');
        } else {
            pTdf.FieldWriteCH(kind == eTangentAuto ? 'p' : 'q');
            WriteSlots(pTdf, pKey);
        }
        WriteWeights(pTdf, pKey);
        pTdf.FieldWriteCH(ClampLetter(pKey));
        break;
    case eTangentUser:
    case eTangentUserBreak:
        pTdf.FieldWriteCH(kind == eTangentUser ? 's' : 'b');
        WriteSlots(pTdf, pKey);
        WriteWeights(pTdf, pKey);
        break;
    case eTangentTCB:
        pTdf.FieldWriteCH('t');
        WriteSlots(pTdf, pKey);
        pTdf.FieldWriteF(pKey.mData[eDataTCBBias]);
        break;
    default:
        break;  // no letter: readers take such a key for an automatic one
    }
}

// The form of readers that know no auto parameters: both slopes, or "a" and "d" where a side is
// left to them.
void WriteAutoAsSlopes(KTdf& pTdf, Glissa& pCurve, int pIndex)
{
    const auto attributes = [&pCurve](int i) -> const GlissaKeyAttributes& {
        return *pCurve.InternalPriKeyAttrGetPtr(i);
    };
    const GlissaKeyAttributes& key = attributes(pIndex);
    const bool hasNext = pIndex + 1 < pCurve.KeyGetCount();
    const float nextLeft = hasNext ? pCurve.KeyGetLeftDerivative(pIndex + 1) : 0.0f;
    if (key.mData[0] == 0.0f && (pIndex == 0 || attributes(pIndex - 1).mData[1] == 0.0f)) {
        if (!hasNext || attributes(pIndex + 1).GetInterpolation() != eInterpolationCubic ||
            (attributes(pIndex + 1).mFlags & eTangentUser) == 0) {
            pTdf.FieldWriteCH('a');
            return;
        }
        pTdf.FieldWriteCH('d');
    } else {
        pTdf.FieldWriteCH(key.GetBreak() ? 'b' : 's');
        pTdf.FieldWriteF(pCurve.KeyGetRightDerivative(pIndex));
    }
    pTdf.FieldWriteF(nextLeft);
    WriteWeights(pTdf, key);
}

// The letters behind the value of a key that has no further numbers; empty for any other key.
class KeyLetters
{
public:
    explicit KeyLetters(const GlissaKeyAttributes& pKey)
    {
        switch (pKey.GetInterpolation()) {
        case eInterpolationConstant:
            Add('C');
            Add(pKey.GetConstantMode() == eConstantNext ? 'n' : 's');
            break;
        case eInterpolationLinear:
            Add('L');
            break;
        case eInterpolationCubic:
            if (IsPlainAuto(pKey) && pKey.GetTangeantWeightMode() == eWeightNone) {
                Add('U');
                Add('a');
                Add('n');
                Add(ClampLetter(pKey));
            }
            break;
        default:
            break;
        }
    }
    std::string_view Get() const { return {mLetters, mCount}; }

private:
    void Add(char pLetter)
    {
        CORVEKIT_ASSERT(mCount < KTdf::kMaxSampleLetters);
        mLetters[mCount++] = pLetter;
    }

    char mLetters[KTdf::kMaxSampleLetters] = {};
    std::size_t mCount = 0;
};

void WriteKey(KTdf& pTdf, Glissa& pCurve, int pIndex, bool pOlderKeyForm)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    const KPriFCurveKey& key = pCurve.Keys()[pIndex];
    const GlissaKeyAttributes& attributes = *key.mAttribute;
    pTdf.FieldWriteT(key.mTime);
    pTdf.FieldWriteF(key.mValue);
    if (attributes.GetInterpolation() != eInterpolationCubic) {
        return;  // a custom key is its time and value
    }
    pTdf.FieldWriteCH('U');
    if (pOlderKeyForm && IsCubicAuto(attributes)) {
        WriteAutoAsSlopes(pTdf, pCurve, pIndex);
    } else {
        WriteTangent(pTdf, attributes);
    }
}

void WriteKeys(KTdf& pTdf, Glissa& pCurve, bool pOlderKeyForm)
{
    const KeyList& keys = pCurve.Keys();
    std::array<KTdfSample, KeyList::kKeysPerPage> samples;
    for (int i = 0; i < keys.Count();) {
        const KPriFCurveKeyAttr* const block = keys[i].mAttribute;
        const KeyLetters letters(*block);
        if (letters.Get().empty() || (pOlderKeyForm && IsCubicAuto(*block))) {
            WriteKey(pTdf, pCurve, i++, pOlderKeyForm);
            continue;
        }
        // A recording shares one block: its keys are written in runs.
        std::size_t count = 0;
        while (count < samples.size() && i < keys.Count() && keys[i].mAttribute == block) {
            samples[count++] = {keys[i].mTime, keys[i].mValue};
            ++i;
        }
        pTdf.FieldWriteSamples(std::span(samples).first(count), letters.Get());
    }
}

// Leaves both as they are without the field, which a curve lacks that holds its end values.
void ReadExtrapolation(KTdf& pTdf, const char* pName, unsigned& pMode, unsigned& pCount)
{
    if (!pTdf.FieldReadBegin(pName)) {
        return;
    }
    pTdf.FieldReadBlockBegin();
    const char letter = pTdf.FieldReadCH("Type", '0');
    const auto found =
        std::find(std::begin(kExtrapolationLetters), std::end(kExtrapolationLetters), letter);
    pMode = found == std::end(kExtrapolationLetters)
                ? eExtrapolationNone
                : static_cast<unsigned>(found - std::begin(kExtrapolationLetters));
    pCount = static_cast<unsigned>(pTdf.FieldReadI("Repetition", 0));
    pTdf.FieldReadBlockEnd();
    pTdf.FieldReadEnd();
}

// Times left in the open field: each would begin a key.
int CountTimes(KTdf& pTdf)
{
    int count = 0;
    while (pTdf.FieldReadGetRemain() > 0) {
        count += pTdf.FieldReadGetType() == KTdf::kTypeTime ? 1 : 0;
        pTdf.FieldReadT();
    }
    return count;
}
}  // namespace

bool Glissa::TdfStore(KTdf* pTdf, bool pOnlyDefaults, bool pWithColor, bool pOlderKeyForm)
{
    KTdf& tdf = *pTdf;
    tdf.FieldWriteBegin("Default");
    tdf.FieldWriteF(mValue);
    tdf.FieldWriteEnd();
    if (pOnlyDefaults) {
        return true;
    }
    if (KeyGetCount() > 0) {
        WriteInt(tdf, "KeyVer", eKeyVersionLatest);
        WriteInt(tdf, "KeyCount", KeyGetCount());
        tdf.FieldWriteBegin("Key");
        WriteKeys(tdf, *this, pOlderKeyForm);
        tdf.FieldWriteEnd();
        WriteExtrapolation(tdf, "Pre-Extrapolation", mPreExtrapolation, mPreExtrapolationCount);
        WriteExtrapolation(tdf, "Post-Extrapolation", mPostExtrapolation, mPostExtrapolationCount);
    }
    if (pWithColor) {
        tdf.FieldWriteBegin("Color");
        for (const float each : mColor) {
            tdf.FieldWriteF(each);
        }
        tdf.FieldWriteEnd();
    }
    return true;
}

bool Glissa::TdfRetrieve(KTdf* pTdf, bool pOnlyDefaults, bool pWithColor, int* pStoredKeys)
{
    return pTdf->FieldReadBegin("Default") &&
           TdfInternalRetrieve(pTdf, pOnlyDefaults, pWithColor, pStoredKeys);
}

bool Glissa::TdfInternalRetrieve(KTdf* pTdf, bool pOnlyDefaults, bool pWithColor, int* pStoredKeys)
{
    KTdf& tdf = *pTdf;
    const KOperation operation(IsObserved());
    int storedKeys = 0;
    // The operations used below close brackets of their own: only within one are they silent.
    KeyModifyBegin();
    KeyClear();
    SetValue(tdf.FieldReadF());
    tdf.FieldReadEnd();
    if (!pOnlyDefaults) {
        mPreExtrapolation = mPostExtrapolation = eExtrapolationConstant;
        mPreExtrapolationCount = mPostExtrapolationCount = 0;
        try {
            storedKeys = RetrieveKeys(tdf);
        } catch (...) {
            // No part of the keys is left for the key run of a file.
            KeyClear();
            CallbackClear();
            KeyModifyEnd();
            throw;
        }
        float color[3] = {};
        if (pWithColor && tdf.FieldReadBegin("Color")) {
            for (float& each : color) {
                each = tdf.FieldReadF();
            }
            tdf.FieldReadEnd();
            SetColor(color);
        }
    }
    CallbackClear();
    KeyModifyEnd();
    if (pStoredKeys) {
        *pStoredKeys = storedKeys;
    }
    return true;
}

// How many keys are stored, by the count or by what follows it.
int Glissa::RetrieveKeys(KTdf& pTdf)
{
    const int version = pTdf.FieldReadI("KeyVer", 0);
    const int count = std::max(pTdf.FieldReadI("KeyCount", 0), 0);
    int beyond = 0;
    if (pTdf.FieldReadBegin("Key")) {
        StoreReader reader(*this, pTdf, version);
        if (count > 0) {
            reader.ReadKeys(count);
        }
        beyond = CountTimes(pTdf);
        pTdf.FieldReadEnd();
        reader.RemoveBadKeys();
    }
    if (count == 0) {
        return beyond;
    }
    ReadExtrapolation(pTdf, "Pre-Extrapolation", mPreExtrapolation, mPreExtrapolationCount);
    ReadExtrapolation(pTdf, "Post-Extrapolation", mPostExtrapolation, mPostExtrapolationCount);
    if (version < eKeyVersionBothSides && KeyGetCount() > 0) {
        RepairOldestKeys(*this);
    }
    KeyAttrShrink(0, KeyGetCount());
    return count > std::numeric_limits<int>::max() - beyond ? count : count + beyond;
}
