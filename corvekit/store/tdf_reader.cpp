// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Reading uses a stack of levels, one for each block entered. A level sorts its fields by name at
// the first search; the first instance of each name has the number of the next instance to open.
//
// The bytes were written by this document or checked by the parser, so they are valid.

#include "corvekit/store/cbor.h"

#include "corvekit/assert.h"
#include "corvekit/store/tdf.h"
#include "corvekit/store/tdf_format.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace
{
char TypeOf(const std::uint8_t* pAt)
{
    switch (*pAt & cbor::kMajorMask) {
    case cbor::eUnsigned:
    case cbor::eNegative:
        return KTdf::kTypeTime;
    case cbor::eBytes:
        return KTdf::kTypeCharacter;
    case cbor::eText:
        return KTdf::kTypeText;
    case cbor::eFloat:
        return KTdf::kTypeDouble;
    default:
        return cbor::GetBigEndian<std::uint16_t>(pAt + 1) == tdf::kTagInt ? KTdf::kTypeInt
                                                                          : KTdf::kTypeText;
    }
}

// Reads a text or a name in either form and moves pAt past it.
std::string_view TakeText(const std::uint8_t*& pAt)
{
    if ((*pAt & cbor::kMajorMask) == cbor::eTag) {
        pAt += tdf::kTagSize;
    }
    const std::size_t size = static_cast<std::size_t>(cbor::TakeArgument(pAt));
    const std::string_view text(reinterpret_cast<const char*>(pAt), size);
    pAt += size;
    return text;
}

const std::uint8_t* Skip(const std::uint8_t* pAt)
{
    switch (TypeOf(pAt)) {
    case KTdf::kTypeInt:
        pAt += tdf::kTagSize;
        cbor::TakeArgument(pAt);
        return pAt;
    case KTdf::kTypeCharacter:
        return pAt + 2;
    case KTdf::kTypeText:
        TakeText(pAt);
        return pAt;
    default:  // a float has the size of its argument
        cbor::TakeArgument(pAt);
        return pAt;
    }
}

float ToFloat(double pValue)
{
    // Values up to half a step above the greatest float are rounded to it, others to an infinity.
    constexpr double kGreatest = static_cast<double>(std::numeric_limits<float>::max());
    constexpr double kBeyond = 0x1.ffffffp127;
    const double size = std::fabs(pValue);
    if (size > kGreatest) {
        const float end = size < kBeyond ? std::numeric_limits<float>::max()
                                         : std::numeric_limits<float>::infinity();
        return std::copysign(end, static_cast<float>(std::copysign(1.0, pValue)));
    }
    return static_cast<float>(pValue);
}

// Reads a float of any width as a single.
float TakeSingle(const std::uint8_t*& pAt)
{
    if (*pAt == cbor::kSingle) {
        pAt += 5;
        return std::bit_cast<float>(cbor::GetBigEndian<std::uint32_t>(pAt - 4));
    }
    return ToFloat(cbor::TakeFloat(pAt));
}

// Whether the bytes at pAt start with the first pSize bytes of pBytes.
bool StartsWith(const std::uint8_t* pAt, const std::uint8_t* pEnd, const tdf::LetterBytes& pBytes,
                std::size_t pSize)
{
    if (pEnd - pAt < static_cast<std::ptrdiff_t>(pBytes.size())) {
        return pEnd - pAt >= static_cast<std::ptrdiff_t>(pSize) &&
               std::equal(pAt, pAt + pSize, pBytes.begin());
    }
    // Compares one word; only the first pSize bytes count.
    const std::uint64_t differs =
        cbor::GetBigEndian<std::uint64_t>(pAt) ^ cbor::GetBigEndian<std::uint64_t>(pBytes.data());
    return pSize == 0 || differs >> (64 - 8 * pSize) == 0;
}

template <class Value>
Value ReadSingle(KTdf& pTdf, const char* pName, char pType, Value (KTdf::*pRead)(),
                 const Value& pDefault)
{
    if (!pTdf.FieldReadBegin(pName)) {
        return pDefault;
    }
    Value value = pTdf.FieldReadGetType() == pType ? (pTdf.*pRead)() : pDefault;
    pTdf.FieldReadEnd();
    return value;
}
}  // namespace

bool KTdf::FieldReadBegin(const char* pName)
{
    return Open(pName ? pName : "", -1);
}

bool KTdf::FieldReadBegin(const char* pName, int pIndex)
{
    return pIndex >= 0 && Open(pName ? pName : "", pIndex);
}

bool KTdf::FieldReadBeginNext()
{
    if (mReadField != kNoField) {
        return false;
    }
    Level& level = CurrentLevel();
    if (level.next >= level.end) {
        return false;
    }
    // FieldReadBegin of the name then continues after this field.
    const std::uint32_t field = level.next;
    const std::string_view name = GetName(field);
    std::size_t entry = FindName(level, name, mFields[field].hash);
    const std::size_t first = entry;
    const auto behind = level.names.begin() + static_cast<std::ptrdiff_t>(entry);
    entry = static_cast<std::size_t>(std::partition_point(behind, level.names.end(),
                                                          [&](const Named& pEntry) {
                                                              return IsNamed(pEntry, name,
                                                                             mFields[field].hash) &&
                                                                     pEntry.field < field;
                                                          }) -
                                     level.names.begin());
    level.names[first].opened = static_cast<std::uint32_t>(entry - first + 1);
    OpenField(level, field);
    return true;
}

void KTdf::FieldReadEnd()
{
    mReadField = kNoField;
    mReadRemain = 0;
}

bool KTdf::FieldReadBlockBegin()
{
    if (mReadField == kNoField || mFields[mReadField].children == kNoBlock) {
        return false;
    }
    if (mDepth == mLevels.size()) {
        mLevels.emplace_back();
    }
    Level& level = mLevels[mDepth++];
    level.first = mReadField + 1;
    level.end = level.first + mFields[mReadField].below;
    CORVEKIT_ASSERT(level.end <= mFields.size());
    level.next = level.first;
    level.field = mReadField;
    level.at = mReadAt;
    level.remain = mReadRemain;
    level.sorted = false;
    FieldReadEnd();
    return true;
}

void KTdf::FieldReadBlockEnd()
{
    if (mReadField != kNoField || mDepth < 2) {
        return;
    }
    const Level& level = mLevels[--mDepth];
    CORVEKIT_ASSERT(level.field < mFields.size());
    mReadField = level.field;
    mReadAt = level.at;
    mReadRemain = level.remain;
}

void KTdf::FieldReadRewind()
{
    if (mReadField != kNoField) {
        return;
    }
    Level& level = CurrentLevel();
    level.next = level.first;
    for (Named& each : level.names) {
        each.opened = 0;
    }
}

int KTdf::FieldGetInstanceCount(const char* pName)
{
    if (mReadField != kNoField) {
        return 0;
    }
    const std::string_view name = pName ? pName : "";
    const std::uint32_t hash = tdf::HashName(name);
    Level& level = CurrentLevel();
    const std::size_t first = FindName(level, name, hash);
    const auto behind = level.names.begin() + static_cast<std::ptrdiff_t>(first);
    return static_cast<int>(
        std::partition_point(behind, level.names.end(),
                             [&](const Named& pEntry) { return IsNamed(pEntry, name, hash); }) -
        behind);
}

int KTdf::FieldGetCount() const
{
    if (mReadField != kNoField) {
        return 0;
    }
    return static_cast<int>(mDepth < 2 ? mRootCount : mFields[mLevels[mDepth - 1].field].children);
}

KString KTdf::FieldReadGetName() const
{
    return mReadField == kNoField ? KString() : KString(GetName(mReadField));
}

int KTdf::FieldReadI()
{
    if (mReadRemain == 0) {
        return 0;
    }
    const std::uint8_t* at = ReadAt();
    if (TypeOf(at) != kTypeInt) {
        ReadTo(Skip(at));
        return 0;
    }
    at += tdf::kTagSize;
    const int value = static_cast<int>(cbor::TakeInteger(at));
    ReadTo(at);
    return value;
}

double KTdf::FieldReadD()
{
    if (mReadRemain == 0) {
        return 0.0;
    }
    const std::uint8_t* at = ReadAt();
    if ((*at & cbor::kMajorMask) != cbor::eFloat) {
        ReadTo(Skip(at));
        return 0.0;
    }
    const double value = cbor::TakeFloat(at);
    ReadTo(at);
    return value;
}

float KTdf::FieldReadF()
{
    return ToFloat(FieldReadD());
}

const char* KTdf::FieldReadC()
{
    mText = ReadText();
    return mText.c_str();
}

KString KTdf::FieldReadS()
{
    return KString(ReadText());
}

char KTdf::FieldReadCH()
{
    if (mReadRemain == 0) {
        return '\0';
    }
    const std::uint8_t* const at = ReadAt();
    if (*at != tdf::kCharacterHead) {
        ReadTo(Skip(at));
        return '\0';
    }
    ReadTo(at + 2);
    return static_cast<char>(at[1]);
}

KTime KTdf::FieldReadT()
{
    if (mReadRemain == 0) {
        return KTime();
    }
    const std::uint8_t* at = ReadAt();
    if (*at >= cbor::eBytes) {
        ReadTo(Skip(at));
        return KTime();
    }
    const KTime value(cbor::TakeInteger(at));
    ReadTo(at);
    return value;
}

std::size_t KTdf::FieldReadSamples(std::span<KTdfSample> pSamples, std::string_view pLetters)
{
    const std::size_t values = 2 + pLetters.size();
    if (pLetters.size() > kMaxSampleLetters) {
        return 0;
    }
    const auto most =
        static_cast<std::size_t>(std::min<std::uint64_t>(pSamples.size(), mReadRemain / values));
    if (most == 0) {
        return 0;
    }
    const tdf::LetterBytes letters = tdf::EncodeLetters(pLetters);
    const std::uint8_t* const end = mBytes.GetData() + mSize;
    const std::uint8_t* at = ReadAt();
    std::size_t count = 0;
    while (count < most && *at < cbor::eBytes) {
        const std::uint8_t* next = at;
        const KTime time(cbor::TakeInteger(next));
        if ((*next & cbor::kMajorMask) != cbor::eFloat) {
            break;
        }
        const float value = TakeSingle(next);
        if (!StartsWith(next, end, letters, 2 * pLetters.size())) {
            break;
        }
        pSamples[count++] = {time, value};
        at = next + 2 * pLetters.size();
    }
    mReadAt = static_cast<std::uint64_t>(at - mBytes.GetData());
    mReadRemain -= count * values;
    CORVEKIT_ASSERT(mReadAt <= mSize);
    return count;
}

int KTdf::FieldReadI(const char* pName, int pDefault)
{
    return ReadSingle<int>(*this, pName, kTypeInt, &KTdf::FieldReadI, pDefault);
}

double KTdf::FieldReadD(const char* pName, double pDefault)
{
    return ReadSingle<double>(*this, pName, kTypeDouble, &KTdf::FieldReadD, pDefault);
}

float KTdf::FieldReadF(const char* pName, float pDefault)
{
    return ReadSingle<float>(*this, pName, kTypeDouble, &KTdf::FieldReadF, pDefault);
}

const char* KTdf::FieldReadC(const char* pName, const char* pDefault)
{
    return ReadSingle<const char*>(*this, pName, kTypeText, &KTdf::FieldReadC, pDefault);
}

KString KTdf::FieldReadS(const char* pName, const KString& pDefault)
{
    return ReadSingle<KString>(*this, pName, kTypeText, &KTdf::FieldReadS, pDefault);
}

char KTdf::FieldReadCH(const char* pName, char pDefault)
{
    return ReadSingle<char>(*this, pName, kTypeCharacter, &KTdf::FieldReadCH, pDefault);
}

KTime KTdf::FieldReadT(const char* pName, KTime pDefault)
{
    return ReadSingle<KTime>(*this, pName, kTypeTime, &KTdf::FieldReadT, pDefault);
}

char KTdf::FieldReadGetType() const
{
    return mReadRemain == 0 ? kTypeNone : TypeOf(ReadAt());
}

void KTdf::ResetReading()
{
    mReadField = kNoField;
    mReadRemain = 0;
    mDepth = 0;
}

KTdf::Level& KTdf::CurrentLevel()
{
    if (mDepth == 0) {
        if (mLevels.empty()) {
            mLevels.emplace_back();
        }
        Level& root = mLevels[mDepth++];
        root.first = 0;
        root.end = mRootEnd;
        root.next = 0;
        root.field = kNoField;
        root.at = 0;
        root.remain = 0;
        root.sorted = false;
    }
    CORVEKIT_ASSERT(mDepth <= mLevels.size());
    return mLevels[mDepth - 1];
}

// By hash, then by name, then in the order written.
void KTdf::SortNames(Level& pLevel) const
{
    CORVEKIT_ASSERT(pLevel.first <= pLevel.end && pLevel.end <= mFields.size());
    pLevel.names.clear();
    for (std::uint32_t i = pLevel.first; i < pLevel.end; i += 1 + mFields[i].below) {
        pLevel.names.push_back({mFields[i].hash, i, 0});
    }
    std::sort(pLevel.names.begin(), pLevel.names.end(),
              [this](const Named& pLeft, const Named& pRight) {
                  if (pLeft.hash != pRight.hash) {
                      return pLeft.hash < pRight.hash;
                  }
                  const int order = GetName(pLeft.field).compare(GetName(pRight.field));
                  return order != 0 ? order < 0 : pLeft.field < pRight.field;
              });
    pLevel.sorted = true;
}

// The index of the first instance of a name, or where it would be.
std::size_t KTdf::FindName(Level& pLevel, std::string_view pName, std::uint32_t pHash) const
{
    if (!pLevel.sorted) {
        SortNames(pLevel);
    }
    const auto first = std::partition_point(
        pLevel.names.begin(), pLevel.names.end(), [this, pName, pHash](const Named& pEntry) {
            return pEntry.hash != pHash ? pEntry.hash < pHash : GetName(pEntry.field) < pName;
        });
    return static_cast<std::size_t>(first - pLevel.names.begin());
}

bool KTdf::IsNamed(const Named& pEntry, std::string_view pName, std::uint32_t pHash) const
{
    return pEntry.hash == pHash && GetName(pEntry.field) == pName;
}

std::string_view KTdf::GetName(std::uint32_t pField) const
{
    CORVEKIT_ASSERT(pField < mFields.size());
    const std::uint8_t* at = mBytes.GetData() + mFields[pField].begin;
    return TakeText(at);
}

// pIndex  number of the instance, or -1 for the next one of the name.
bool KTdf::Open(std::string_view pName, std::int64_t pIndex)
{
    if (mReadField != kNoField) {
        return false;
    }
    Level& level = CurrentLevel();
    const std::uint32_t hash = tdf::HashName(pName);
    const std::size_t first = FindName(level, pName, hash);
    if (first == level.names.size() || !IsNamed(level.names[first], pName, hash)) {
        return false;
    }
    const std::size_t number =
        pIndex < 0 ? level.names[first].opened : static_cast<std::size_t>(pIndex);
    if (number >= level.names.size() - first ||
        !IsNamed(level.names[first + number], pName, hash)) {
        return false;
    }
    level.names[first].opened = static_cast<std::uint32_t>(number + 1);
    OpenField(level, level.names[first + number].field);
    return true;
}

void KTdf::OpenField(Level& pLevel, std::uint32_t pField)
{
    CORVEKIT_ASSERT(mReadField == kNoField);
    CORVEKIT_ASSERT(pField >= pLevel.first && pField < pLevel.end);
    const Field& field = mFields[pField];
    mReadField = pField;
    mReadAt = field.begin + field.nameSize;
    mReadRemain = field.count;
    pLevel.next = pField + 1 + field.below;
}

std::string_view KTdf::ReadText()
{
    if (mReadRemain == 0) {
        return {};
    }
    const std::uint8_t* at = ReadAt();
    if (TypeOf(at) != kTypeText) {
        ReadTo(Skip(at));
        return {};
    }
    const std::string_view text = TakeText(at);
    ReadTo(at);
    return text;
}
