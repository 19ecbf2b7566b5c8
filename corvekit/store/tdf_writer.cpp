// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Names and values are appended to one buffer in their encoded form, and each field has the offset
// and the number of its own. The counts that precede them in CBOR are inserted when the document is
// saved.

#include "corvekit/store/cbor.h"

#include "corvekit/assert.h"
#include "corvekit/store/tdf.h"
#include "corvekit/store/tdf_format.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>

namespace
{
// The longest value except text: a double with its head.
constexpr std::size_t kMaxNumber = 9;
constexpr std::size_t kMaxFields = static_cast<std::size_t>(std::numeric_limits<int>::max());

constexpr auto kErrorTexts = std::to_array<const char*>({
    "fields, blocks and values were not written in order",
    "a field is still being written",
    "cannot read",
    "cannot write",
    "not a field store",
    "unknown format version",
    "damaged or cut: the checksum is wrong",
    "an item exceeds the end of the data",
    "an item is not in its shortest form",
    "an unexpected item",
    "a count exceeds the remaining bytes",
    "blocks are nested too deep",
    "text has the wrong form: UTF-8 must be text, other text must be tagged bytes",
    "a number is out of the range of its type",
    "a field name is too long",
    "too many fields",
    "bytes after the last field",
    "out of memory",
});
static_assert(kErrorTexts.size() == eTdfErrorIdCount);
}  // namespace

KTdf::KTdf() : mError(kErrorTexts.data(), eTdfErrorIdCount) {}

void KTdf::Clear()
{
    Reset();
    mError.Clear();
}

bool KTdf::FieldWriteBegin(const char* pName)
{
    ResetReading();
    if (mWriteState != eWriteFields) {
        return FailWrite("a field may not begin here");
    }
    if (mFields.size() >= kMaxFields) {
        mWriteState = eWriteFailed;
        return Fail(eTdfErrorTooMany, nullptr);
    }
    const std::string_view name = pName ? pName : "";
    if (name.size() > kMaxNameSize) {
        mWriteState = eWriteFailed;
        return Fail(eTdfErrorName, nullptr);
    }
    const std::size_t begin = mSize;
    WriteText(name);
    GrowOrFail([&] {
        mWriteFields.push_back(static_cast<std::uint32_t>(mFields.size()));
        mFields.push_back({begin, 0, static_cast<std::uint32_t>(mSize - begin), tdf::HashName(name),
                           0, kNoBlock});
    });
    mWriteCount = 0;
    mWriteState = eWriteValues;
    return true;
}

bool KTdf::FieldWriteEnd()
{
    if (mWriteState == eWriteValues) {
        FlushValueCount();
    } else if (mWriteState != eWriteClosed) {
        return FailWrite("a field ends, but none is open");
    }
    CORVEKIT_ASSERT(!mWriteFields.empty());
    const std::uint32_t index = mWriteFields.back();
    CORVEKIT_ASSERT(index < mFields.size());
    mWriteFields.pop_back();
    mFields[index].below = static_cast<std::uint32_t>(mFields.size() - index - 1);
    mWriteState = eWriteFields;
    if (mWriteFields.empty()) {
        mRootEnd = static_cast<std::uint32_t>(mFields.size());
        ++mRootCount;
        ResetReading();
    } else {
        ++mFields[mWriteFields.back()].children;
    }
    return true;
}

bool KTdf::FieldWriteBlockBegin()
{
    if (mWriteState != eWriteValues) {
        return FailWrite("a block may not begin here");
    }
    if (mWriteFields.size() > kMaxNesting) {
        mWriteState = eWriteFailed;
        return Fail(eTdfErrorNesting, nullptr);
    }
    FlushValueCount();
    CORVEKIT_ASSERT(mFields.back().children == kNoBlock &&
                    mWriteFields.back() == mFields.size() - 1);
    mFields.back().children = 0;
    mWriteState = eWriteFields;
    return true;
}

bool KTdf::FieldWriteBlockEnd()
{
    if (mWriteState != eWriteFields || mWriteFields.empty()) {
        return FailWrite("a block ends, but none is open");
    }
    mWriteState = eWriteClosed;
    return true;
}

bool KTdf::FieldWriteI(int pValue)
{
    static_assert(sizeof(int) == 4);
    std::uint8_t* at = Room(kMaxNumber);
    if (!at) {
        return false;
    }
    at = cbor::PutHead(at, cbor::eTag, tdf::kTagInt);
    mSize = static_cast<std::size_t>(cbor::PutInteger(at, pValue) - mBytes.GetData());
    return true;
}

bool KTdf::FieldWriteD(double pValue)
{
    std::uint8_t* const at = Room(kMaxNumber);
    if (!at) {
        return false;
    }
    mSize = static_cast<std::size_t>(cbor::PutDouble(at, pValue) - mBytes.GetData());
    return true;
}

bool KTdf::FieldWriteF(float pValue)
{
    std::uint8_t* const at = Room(kMaxNumber);
    if (!at) {
        return false;
    }
    mSize = static_cast<std::size_t>(cbor::PutFloat(at, pValue) - mBytes.GetData());
    return true;
}

bool KTdf::FieldWriteC(const char* pText)
{
    if (!Room(0)) {
        return false;
    }
    WriteText(pText ? pText : "");
    return true;
}

bool KTdf::FieldWriteS(const KString& pText)
{
    if (!Room(0)) {
        return false;
    }
    WriteText(pText.GetView());
    return true;
}

bool KTdf::FieldWriteCH(char pValue)
{
    std::uint8_t* const at = Room(kMaxNumber);
    if (!at) {
        return false;
    }
    at[0] = tdf::kCharacterHead;
    at[1] = static_cast<std::uint8_t>(pValue);
    mSize += 2;
    return true;
}

bool KTdf::FieldWriteT(KTime pValue)
{
    std::uint8_t* const at = Room(kMaxNumber);
    if (!at) {
        return false;
    }
    mSize = static_cast<std::size_t>(cbor::PutInteger(at, pValue.Get()) - mBytes.GetData());
    return true;
}

bool KTdf::FieldWriteSamples(std::span<const KTdfSample> pSamples, std::string_view pLetters)
{
    if (mWriteState != eWriteValues || pLetters.size() > kMaxSampleLetters) {
        return FailWrite(
            "samples are written, but no field is open, or they have too many letters");
    }
    constexpr std::size_t kMaxSample = 2 * kMaxNumber + 2 * kMaxSampleLetters;
    GrowOrFail([&] { mBytes.Grow(mSize + pSamples.size() * kMaxSample); });
    const tdf::LetterBytes letters = tdf::EncodeLetters(pLetters);
    std::uint8_t* at = mBytes.GetData() + mSize;
    for (const KTdfSample& each : pSamples) {
        at = cbor::PutInteger(at, each.time.Get());
        at = cbor::PutFloat(at, each.value);
        std::copy(letters.begin(), letters.end(), at);  // the padding is overwritten
        at += 2 * pLetters.size();
    }
    mSize = static_cast<std::size_t>(at - mBytes.GetData());
    CORVEKIT_ASSERT(mSize <= mBytes.GetRoom());
    mWriteCount += pSamples.size() * (2 + pLetters.size());
    return true;
}

void KTdf::Reset()
{
    // Frees the memory of a large document.
    mBytes = {};
    mSize = 0;
    mFields = {};
    mRootEnd = 0;
    mRootCount = 0;
    mWriteState = eWriteFields;
    mWriteCount = 0;
    mWriteFields.clear();
    ResetReading();
    mLevels = {};
    mText.clear();
}

// Reports only the first misuse, as later ones are usually consequences.
bool KTdf::FailWrite(const char* pText)
{
    if (mWriteState != eWriteFailed) {
        mWriteState = eWriteFailed;
        mError.SetLastError(eTdfErrorMisuse, pText);
    }
    return false;
}

bool KTdf::Fail(int pId, const char* pText, std::int64_t pOffset)
{
    mError.SetLastError(pId, pText, pOffset);
    return false;
}

// Runs a step of a write that allocates. If it throws, the write is incomplete and the document can
// no longer be saved.
template <typename Step>
void KTdf::GrowOrFail(const Step& pGrow)
{
    try {
        pGrow();
    } catch (const std::bad_alloc&) {
        mWriteState = eWriteFailed;
        mError.SetLastErrorID(eTdfErrorMemory);  // a text so short needs no allocation
        throw;
    }
}

// The slow path of Room.
std::uint8_t* KTdf::MakeRoom(std::size_t pSize)
{
    if (mWriteState != eWriteValues) {
        FailWrite("a value is written, but no field is open");
        return nullptr;
    }
    GrowOrFail([&] { mBytes.Grow(mSize + pSize); });
    return Room(pSize);
}

void KTdf::WriteText(std::string_view pText)
{
    GrowOrFail([&] { mBytes.Grow(mSize + pText.size() + 2 * cbor::kMaxHead); });
    std::uint8_t* at = mBytes.GetData() + mSize;
    if (cbor::IsUtf8(pText)) {
        at = cbor::PutHead(at, cbor::eText, pText.size());
    } else {
        at = cbor::PutHead(at, cbor::eTag, tdf::kTagByteText);
        at = cbor::PutHead(at, cbor::eBytes, pText.size());
    }
    at = std::copy(pText.begin(), pText.end(), at);
    mSize = static_cast<std::size_t>(at - mBytes.GetData());
    CORVEKIT_ASSERT(mSize <= mBytes.GetRoom());
}

void KTdf::FlushValueCount()
{
    CORVEKIT_ASSERT(!mWriteFields.empty() && mFields[mWriteFields.back()].children == kNoBlock);
    mFields[mWriteFields.back()].count = mWriteCount;
}
