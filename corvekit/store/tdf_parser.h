// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: used by the sources of this folder only.
#pragma once

#include "corvekit/store/cbor.h"
#include "corvekit/store/tdf.h"

#include <cstdint>
#include <vector>

/// Checks all items of the body of a file and makes the fields of a document.
///
/// Counts and lengths are compared with the remaining bytes before they are used. Nested blocks are
/// a stack on the heap, limited to KTdf::kMaxNesting, and not recursive calls.
class KTdf::Parser
{
public:
    /// pBytes   the whole file. Names and values are moved within it, without gaps.
    /// pBegin   offset of the body, pEnd  of its end.
    Parser(std::uint8_t* pBytes, std::size_t pBegin, std::size_t pEnd)
        : mBytes(pBytes), mAt(pBytes + pBegin), mEnd(pBytes + pEnd), mKept(pBytes), mOut(pBytes)
    {}

    bool Run();

    /// After success: the fields, the number of fields of the document, the bytes in use.
    std::vector<Field>& GetFields() { return mFields; }
    std::uint32_t GetRootCount() const { return mRootCount; }
    std::size_t GetSize() const { return static_cast<std::size_t>(mOut - mBytes); }

    /// After failure: an id of ETdfError and the offset of the item that failed.
    int GetErrorId() const { return mErrorId; }
    std::int64_t GetErrorOffset() const { return mErrorOffset; }

private:
    struct Block
    {
        std::uint32_t field;  // kNoField for the document
        std::uint32_t left;   // fields that are not read yet
    };

    std::uint64_t Left() const { return static_cast<std::uint64_t>(mEnd - mAt); }
    bool Fail(int pId, const cbor::Byte* pPlace);
    bool Head(std::uint64_t* pArgument);
    bool Array(std::uint64_t* pCount, std::uint64_t pLeastItem);
    bool BeginBlock(std::uint32_t pField);
    void EndBlock();
    bool ParseField();
    bool Name(Field* pField);
    std::uint64_t SkipPlainValues(std::uint64_t pLeft);
    bool Value();
    bool Integer(std::uint64_t pMost);
    bool Float();
    bool Payload(std::uint64_t pSize, bool pUtf8);
    bool Tagged();
    void Keep(const cbor::Byte* pFrom);

    std::uint8_t* mBytes;
    const cbor::Byte* mAt;
    const cbor::Byte* mEnd;
    std::uint8_t* mKept;  // start of the names and values read, up to mOut
    std::uint8_t* mOut;   // at most mAt, as heads are omitted
    std::vector<Field> mFields;
    std::vector<Block> mBlocks;
    std::uint32_t mRootCount = 0;
    int mErrorId = KError::kNone;
    std::int64_t mErrorOffset = -1;
};
