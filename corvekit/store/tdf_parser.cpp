// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// One pass over the body: a loop over the fields with a stack of blocks, and a function for each
// kind of item, which checks the item before it moves past it.

#include "corvekit/store/tdf_parser.h"

#include "corvekit/assert.h"
#include "corvekit/store/tdf_format.h"

#include <cstring>
#include <limits>
#include <string_view>

namespace
{
constexpr std::uint64_t kMostTime =
    static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
constexpr std::uint64_t kMostInt = static_cast<std::uint64_t>(std::numeric_limits<int>::max());
}  // namespace

bool KTdf::Parser::Run()
{
    if (!BeginBlock(kNoField)) {
        return false;
    }
    mRootCount = mBlocks.back().left;
    while (!mBlocks.empty()) {
        if (mBlocks.back().left == 0) {
            EndBlock();
            continue;
        }
        --mBlocks.back().left;
        if (!ParseField()) {
            return false;
        }
    }
    return mAt == mEnd || Fail(eTdfErrorTrailing, mAt);
}

bool KTdf::Parser::Fail(int pId, const cbor::Byte* pPlace)
{
    CORVEKIT_ASSERT(pPlace >= mBytes && pPlace <= mEnd);
    mErrorId = pId;
    mErrorOffset = pPlace - mBytes;
    return false;
}

// Reads a head in its shortest form, without the bytes after it.
bool KTdf::Parser::Head(std::uint64_t* pArgument)
{
    switch (cbor::ParseHead(mAt, mEnd, pArgument)) {
    case cbor::eHeadGood:
        return true;
    case cbor::eHeadCut:
        return Fail(eTdfErrorCut, mAt);
    case cbor::eHeadNotShortest:
        return Fail(eTdfErrorNotDeterministic, mAt);
    default:
        return Fail(eTdfErrorUnknownItem, mAt);
    }
}

// Reads the head of an array whose items have at least pLeastItem bytes each. The count is compared
// with the remaining bytes.
bool KTdf::Parser::Array(std::uint64_t* pCount, std::uint64_t pLeastItem)
{
    const cbor::Byte* const place = mAt;
    if (mAt != mEnd && (*mAt & cbor::kMajorMask) != cbor::eArray) {
        return Fail(eTdfErrorUnknownItem, place);
    }
    if (!Head(pCount)) {
        return false;
    }
    CORVEKIT_ASSERT(pLeastItem > 0);
    return *pCount <= Left() / pLeastItem || Fail(eTdfErrorCount, place);
}

bool KTdf::Parser::BeginBlock(std::uint32_t pField)
{
    const cbor::Byte* const place = mAt;
    std::uint64_t count = 0;
    if (mBlocks.size() > kMaxNesting) {
        return Fail(eTdfErrorNesting, place);
    }
    if (!Array(&count, tdf::kLeastField)) {
        return false;
    }
    if (count > kMostInt - mFields.size()) {
        return Fail(eTdfErrorTooMany, place);
    }
    if (pField != kNoField) {
        CORVEKIT_ASSERT(pField == mFields.size() - 1 && mFields[pField].children == kNoBlock);
        mFields[pField].children = static_cast<std::uint32_t>(count);
    }
    mBlocks.push_back({pField, static_cast<std::uint32_t>(count)});
    return true;
}

void KTdf::Parser::EndBlock()
{
    CORVEKIT_ASSERT(mBlocks.back().left == 0);
    const std::uint32_t field = mBlocks.back().field;
    mBlocks.pop_back();
    if (field != kNoField) {
        mFields[field].below = static_cast<std::uint32_t>(mFields.size() - field - 1);
    }
}

bool KTdf::Parser::ParseField()
{
    const cbor::Byte* const place = mAt;
    if (mFields.size() >= kMostInt) {
        return Fail(eTdfErrorTooMany, place);
    }
    std::uint64_t parts = 0;
    if (!Array(&parts, 1)) {
        return false;
    }
    if (parts != 2 && parts != 3) {
        return Fail(eTdfErrorUnknownItem, place);
    }
    Field field = {0, 0, 0, 0, 0, kNoBlock};
    if (!Name(&field) || !Array(&field.count, 1)) {
        return false;
    }
    const cbor::Byte* const values = mAt;
    for (std::uint64_t left = field.count; left > 0; --left) {
        left = SkipPlainValues(left);
        if (left == 0) {
            break;
        }
        if (!Value()) {
            return false;
        }
    }
    mFields.push_back(field);
    Keep(values);
    return parts == 2 || BeginBlock(static_cast<std::uint32_t>(mFields.size() - 1));
}

bool KTdf::Parser::Name(Field* pField)
{
    const cbor::Byte* const place = mAt;
    const cbor::Byte major = mAt == mEnd ? 0 : *mAt & cbor::kMajorMask;
    std::uint64_t size = 0;
    if (!Head(&size)) {
        return false;
    }
    if (major == cbor::eTag && size == tdf::kTagByteText) {
        if (mAt != mEnd && (*mAt & cbor::kMajorMask) != cbor::eBytes) {
            return Fail(eTdfErrorUnknownItem, mAt);
        }
        if (!Head(&size)) {
            return false;
        }
    } else if (major != cbor::eText) {
        return Fail(eTdfErrorUnknownItem, place);
    }
    if (size > kMaxNameSize) {
        return Fail(eTdfErrorName, place);
    }
    const cbor::Byte* const bytes = mAt;
    if (!Payload(size, major == cbor::eText)) {
        return false;
    }
    const std::string_view name(reinterpret_cast<const char*>(bytes),
                                static_cast<std::size_t>(size));
    // Names are zero-terminated strings in the interface.
    if (name.find('\0') != std::string_view::npos) {
        return Fail(eTdfErrorName, place);
    }
    pField->hash = tdf::HashName(name);
    pField->nameSize = static_cast<std::uint32_t>(mAt - place);
    Keep(place);
    pField->begin = static_cast<std::uint64_t>(mOut - mBytes) - pField->nameSize;
    return true;
}

// Skips frequent values that are valid by a simple test, and returns how many of pLeft remain. All
// other values are checked by Value.
std::uint64_t KTdf::Parser::SkipPlainValues(std::uint64_t pLeft)
{
    constexpr std::uint64_t kFourHeads = 0x0001000100010001 * tdf::kCharacterHead;
    constexpr std::uint64_t kFourHeadsMask = 0x00FF00FF00FF00FF;
    const cbor::Byte* at = mAt;
    while (pLeft > 0 && mEnd - at >= static_cast<std::ptrdiff_t>(cbor::kMaxHead)) {
        const cbor::Byte first = *at;
        if (first == tdf::kCharacterHead) {
            std::uint64_t word = 0;
            std::memcpy(&word, at, sizeof(word));
            const bool four =
                pLeft >= 4 && (cbor::ToLittleEndian(word) & kFourHeadsMask) == kFourHeads;
            at += four ? 8 : 2;
            pLeft -= four ? 4 : 1;
            continue;
        }
        if (first == cbor::kSingle) {
            // A fraction that fits in a half, or a NaN or infinity: checked by Value.
            const std::uint32_t bits = cbor::GetBigEndian<std::uint32_t>(at + 1);
            if ((bits & 0x1FFF) == 0 || (bits & 0x7F800000) == 0x7F800000) {
                break;
            }
            at += 5;
        } else if ((first | 0x20) == (cbor::eNegative | 26)) {
            if (cbor::GetBigEndian<std::uint32_t>(at + 1) <= 0xFFFF) {
                break;
            }
            at += 5;
        } else if ((first | 0x20) == (cbor::eNegative | 27)) {
            const std::uint64_t argument = cbor::GetBigEndian<std::uint64_t>(at + 1);
            if (argument <= 0xFFFFFFFF || argument > kMostTime) {
                break;
            }
            at += 9;
        } else {
            break;
        }
        --pLeft;
    }
    CORVEKIT_ASSERT(at <= mEnd);
    mAt = at;
    return pLeft;
}

bool KTdf::Parser::Value()
{
    if (mAt == mEnd) {
        return Fail(eTdfErrorCut, mAt);
    }
    const cbor::Byte* const place = mAt;
    std::uint64_t size = 0;
    switch (*mAt & cbor::kMajorMask) {
    case cbor::eUnsigned:
    case cbor::eNegative:
        return Integer(kMostTime);
    case cbor::eFloat:
        return Float();
    case cbor::eBytes:
        if (*mAt != tdf::kCharacterHead) {
            return Fail(eTdfErrorUnknownItem, place);
        }
        if (Left() < 2) {
            return Fail(eTdfErrorCut, place);
        }
        mAt += 2;
        return true;
    case cbor::eText:
        return Head(&size) && Payload(size, true);
    case cbor::eTag:
        return Tagged();
    default:
        return Fail(eTdfErrorUnknownItem, place);
    }
}

// The argument n of a negative integer means -1 - n, so both signs have the same limit.
bool KTdf::Parser::Integer(std::uint64_t pMost)
{
    const cbor::Byte* const place = mAt;
    std::uint64_t argument = 0;
    if (!Head(&argument)) {
        return false;
    }
    return argument <= pMost || Fail(eTdfErrorRange, place);
}

bool KTdf::Parser::Float()
{
    if (*mAt < cbor::kHalf || *mAt > cbor::kDouble) {
        return Fail(eTdfErrorUnknownItem, mAt);
    }
    const std::uint64_t size = static_cast<std::uint64_t>(cbor::GetArgumentSize(*mAt)) + 1;
    if (Left() < size) {
        return Fail(eTdfErrorCut, mAt);
    }
    if (!cbor::IsShortestFloat(mAt)) {
        return Fail(eTdfErrorNotDeterministic, mAt);
    }
    mAt += size;
    CORVEKIT_ASSERT(mAt <= mEnd);
    return true;
}

// Reads the bytes of a text after its head. pUtf8  whether they must be UTF-8 or must not be.
bool KTdf::Parser::Payload(std::uint64_t pSize, bool pUtf8)
{
    if (pSize > Left()) {
        return Fail(eTdfErrorCut, mAt);
    }
    const std::string_view text(reinterpret_cast<const char*>(mAt),
                                static_cast<std::size_t>(pSize));
    if (cbor::IsUtf8(text) != pUtf8) {
        return Fail(eTdfErrorText, mAt);
    }
    mAt += pSize;
    CORVEKIT_ASSERT(mAt <= mEnd);
    return true;
}

bool KTdf::Parser::Tagged()
{
    const cbor::Byte* const place = mAt;
    std::uint64_t tag = 0;
    if (!Head(&tag)) {
        return false;
    }
    if (mAt == mEnd) {
        return Fail(eTdfErrorCut, mAt);
    }
    const cbor::Byte major = *mAt & cbor::kMajorMask;
    if (tag == tdf::kTagInt && (major == cbor::eUnsigned || major == cbor::eNegative)) {
        return Integer(kMostInt);
    }
    if (tag == tdf::kTagByteText && major == cbor::eBytes) {
        std::uint64_t size = 0;
        return Head(&size) && Payload(size, false);
    }
    return Fail(eTdfErrorUnknownItem, place);
}

// Joins the bytes from pFrom to mAt to those kept before, without a gap. The shorter of the two is
// moved, so that long runs of values are not.
void KTdf::Parser::Keep(const cbor::Byte* pFrom)
{
    CORVEKIT_ASSERT(mKept <= mOut && mOut <= pFrom && pFrom <= mAt);
    const std::size_t size = static_cast<std::size_t>(mAt - pFrom);
    const std::size_t kept = static_cast<std::size_t>(mOut - mKept);
    if (size <= kept) {
        std::memmove(mOut, pFrom, size);
        mOut += size;
        return;
    }
    // Each time the number of kept bytes at least doubles.
    const std::size_t way = static_cast<std::size_t>(pFrom - mOut);
    std::memmove(mKept + way, mKept, kept);
    mKept += way;
    mOut += way + size;
    for (Field& each : mFields) {
        each.begin += way;
    }
}
