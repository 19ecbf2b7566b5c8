// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A file is a header, one CBOR item and a checksum. Saving is a loop over the fields in the order
// written, which inserts the heads of CBOR between their bytes; blocks have no end mark. Loading
// reads all bytes, checks header and checksum, and passes the body to the parser.

#include "corvekit/store/atomic_file.h"

#include "corvekit/assert.h"
#include "corvekit/store/cbor.h"
#include "corvekit/store/crc32c.h"
#include "corvekit/store/tdf.h"
#include "corvekit/store/tdf_format.h"
#include "corvekit/store/tdf_parser.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <istream>
#include <memory>
#include <new>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace
{
// The initial size of the buffer, which is doubled when needed.
constexpr std::size_t kFirstRoom = 65536;
// Greatest number of bytes read at once: they are still in the cache for the checksum.
constexpr std::size_t kMostRead = 262144;

std::string SystemReason(const char* pDoing, const char* pPath)
{
    const char* const cause = std::strerror(errno);
    return std::string("cannot ") + pDoing + " '" + (pPath ? pPath : "") + "': " + cause;
}
}  // namespace

// Collects small pieces, computes the checksum, and writes large pieces to the target.
class KTdf::Sink
{
public:
    using Target = std::function<bool(const std::uint8_t* pBytes, std::size_t pSize)>;

    explicit Sink(Target pTarget)
        : mTarget(std::move(pTarget)),
          mBuffer(std::make_unique_for_overwrite<std::uint8_t[]>(kPiece))
    {}

    void Put(const std::uint8_t* pBytes, std::size_t pSize)
    {
        if (pSize > kPiece - mUsed) {
            Flush();
            if (pSize > kPiece) {
                HandOn(pBytes, pSize);
                return;
            }
        }
        CORVEKIT_ASSERT(pSize <= kPiece - mUsed);
        std::memcpy(mBuffer.get() + mUsed, pBytes, pSize);
        mUsed += pSize;
    }

    void PutHead(cbor::EMajor pMajor, std::uint64_t pArgument)
    {
        std::uint8_t head[cbor::kMaxHead];
        Put(head, static_cast<std::size_t>(cbor::PutHead(head, pMajor, pArgument) - head));
    }

    /// Writes the checksum. False if the target has refused anything.
    bool Finish()
    {
        Flush();
        std::uint8_t sum[tdf::kChecksumSize];
        cbor::PutBigEndian(sum, mSum);
        Put(sum, sizeof(sum));
        Flush();
        return mGood;
    }

private:
    void Flush()
    {
        HandOn(mBuffer.get(), mUsed);
        mUsed = 0;
    }

    void HandOn(const std::uint8_t* pBytes, std::size_t pSize)
    {
        // In pieces that are still in the cache when they are written.
        while (mGood && pSize > 0) {
            const std::size_t piece = std::min(pSize, kPiece);
            mSum = Crc32c(pBytes, piece, mSum);
            mGood = mTarget(pBytes, piece);
            pBytes += piece;
            pSize -= piece;
        }
    }

    static constexpr std::size_t kPiece = 262144;

    Target mTarget;
    std::unique_ptr<std::uint8_t[]> mBuffer;
    std::size_t mUsed = 0;
    std::uint32_t mSum = 0;
    bool mGood = true;
};

bool KTdf::Save(std::ostream& pStream)
{
    return AnswerForMemory([&] {
        if (!CheckComplete()) {
            return false;
        }
        Sink sink([&pStream](const std::uint8_t* pBytes, std::size_t pSize) {
            pStream.write(reinterpret_cast<const char*>(pBytes),
                          static_cast<std::streamsize>(pSize));
            return pStream.good();
        });
        return (WriteAll(sink) && pStream.flush()) ||
               Fail(eTdfErrorCannotWrite, "cannot write to the stream");
    });
}

bool KTdf::Save(const char* pPath)
{
    return AnswerForMemory([&] {
        if (!CheckComplete()) {
            return false;
        }
        KAtomicFile file(pPath);
        Sink sink([&file](const std::uint8_t* pBytes, std::size_t pSize) {
            return file.Write(pBytes, pSize);
        });
        if (WriteAll(sink) && file.Commit()) {
            return true;
        }
        const std::string text = std::string("'") + (pPath ? pPath : "") + "': " + file.GetReason();
        return Fail(eTdfErrorCannotWrite, text.c_str());
    });
}

bool KTdf::Load(std::istream& pStream)
{
    const auto source = [&pStream](std::uint8_t* pOut, std::size_t pSize) {
        pStream.read(reinterpret_cast<char*>(pOut), static_cast<std::streamsize>(pSize));
        return static_cast<std::size_t>(pStream.gcount());
    };
    return LoadFrom(source, nullptr, [&] {
        return (!pStream.bad() && pStream.eof()) ||
               Fail(eTdfErrorCannotRead, "cannot read from the stream");
    });
}

bool KTdf::Load(const char* pPath)
{
    const auto close = [](std::FILE* pFile) { std::fclose(pFile); };
    const std::unique_ptr<std::FILE, decltype(close)> file(std::fopen(pPath ? pPath : "", "rb"),
                                                           close);
    const auto fail = [&](const char* pAction) {
        const std::string text = SystemReason(pAction, pPath);
        return Fail(eTdfErrorCannotRead, text.c_str());
    };
    if (!file) {
        Clear();
        return AnswerForMemory([&] { return fail("open"); });
    }
    const auto source = [&file](std::uint8_t* pOut, std::size_t pSize) {
        return std::fread(pOut, 1, pSize, file.get());
    };
    return LoadFrom(source, pPath, [&] { return std::ferror(file.get()) == 0 || fail("read"); });
}

bool KTdf::Load(std::span<const std::uint8_t> pBytes)
{
    const auto source = [&pBytes](std::uint8_t* pOut, std::size_t pSize) {
        const std::size_t size = std::min(pSize, pBytes.size());
        std::copy_n(pBytes.begin(), size, pOut);
        pBytes = pBytes.subspan(size);
        return size;
    };
    return LoadFrom(source, nullptr, [] { return true; });
}

// pCheckSource  called at the end of the source: false, with the error set, if it failed.
template <typename Check>
bool KTdf::LoadFrom(const Source& pSource, const char* pPath, const Check& pCheckSource)
{
    Clear();
    const bool isLoaded = AnswerForMemory([&] {
        std::uint32_t sum = 0;
        return Receive(pSource, pPath, &sum) && pCheckSource() && Accept(pPath, sum);
    });
    if (!isLoaded) {
        Reset();
    }
    return isLoaded;
}

// Reports a lack of memory as an error.
template <typename Step>
bool KTdf::AnswerForMemory(const Step& pStep)
{
    try {
        return pStep();
    } catch (const std::bad_alloc&) {
        mError.SetLastErrorID(eTdfErrorMemory);  // a text so short needs no allocation
        return false;
    }
}

bool KTdf::CheckComplete()
{
    if (mWriteState == eWriteFailed) {
        return false;  // the error of the write is kept
    }
    return mWriteFields.empty() || Fail(eTdfErrorFieldOpen, nullptr);
}

bool KTdf::WriteAll(Sink& pSink) const
{
    std::uint8_t version[sizeof(std::uint32_t)];
    cbor::PutBigEndian(version, static_cast<std::uint32_t>(tdf::eVersionLatest));
    pSink.Put(tdf::kMagic.data(), tdf::kMagic.size());
    pSink.Put(version, sizeof(version));

    CORVEKIT_ASSERT(mWriteFields.empty() && mRootEnd == mFields.size());
    pSink.PutHead(cbor::eArray, mRootCount);
    for (std::size_t i = 0; i < mFields.size(); ++i) {
        const Field& field = mFields[i];
        const std::size_t values = static_cast<std::size_t>(field.begin) + field.nameSize;
        const std::size_t end =
            i + 1 < mFields.size() ? static_cast<std::size_t>(mFields[i + 1].begin) : mSize;
        CORVEKIT_ASSERT(values <= end && end <= mSize);
        pSink.PutHead(cbor::eArray, field.children == kNoBlock ? 2 : 3);
        pSink.Put(mBytes.GetData() + field.begin, field.nameSize);
        pSink.PutHead(cbor::eArray, field.count);
        pSink.Put(mBytes.GetData() + values, end - values);
        if (field.children != kNoBlock) {
            pSink.PutHead(cbor::eArray, field.children);
        }
    }
    return pSink.Finish();
}

// Reads a source to its end and computes the checksum of all but the last bytes. The buffer grows
// while bytes are read. A source that does not start with the magic number is refused at once, as
// it may have no end.
bool KTdf::Receive(const Source& pSource, const char* pPath, std::uint32_t* pSum)
{
    std::size_t summed = 0;
    mBytes.Grow(kFirstRoom);
    for (;;) {
        const std::size_t asked = std::min(mBytes.GetRoom() - mSize, kMostRead);
        const std::size_t received = pSource(mBytes.GetData() + mSize, asked);
        CORVEKIT_ASSERT(received <= asked);
        mSize += received;
        if (mSize >= tdf::kMagic.size() &&
            !std::equal(tdf::kMagic.begin(), tdf::kMagic.end(), mBytes.GetData())) {
            return Refuse(eTdfErrorNotAStore, pPath, 0);
        }
        if (mSize > summed + tdf::kChecksumSize) {
            const std::size_t end = mSize - tdf::kChecksumSize;
            *pSum = Crc32c(mBytes.GetData() + summed, end - summed, *pSum);
            summed = end;
        }
        if (received < asked) {
            return true;
        }
        mBytes.Grow(mSize + 1);
    }
}

// Makes a document of the received bytes, with checksum pSum. pPath is for errors and may be
// null.
bool KTdf::Accept(const char* pPath, std::uint32_t pSum)
{
    if (mSize < tdf::kHeaderSize + tdf::kChecksumSize) {
        return Refuse(eTdfErrorNotAStore, pPath, mSize);
    }
    const std::uint32_t version =
        cbor::GetBigEndian<std::uint32_t>(mBytes.GetData() + tdf::kMagic.size());
    if (version < tdf::eVersionFirst || version > tdf::eVersionLatest) {
        return Refuse(eTdfErrorVersion, pPath, tdf::kMagic.size());
    }
    const std::size_t end = mSize - tdf::kChecksumSize;
    if (pSum != cbor::GetBigEndian<std::uint32_t>(mBytes.GetData() + end)) {
        return Refuse(eTdfErrorChecksum, pPath, end);
    }
    Parser parser(mBytes.GetData(), tdf::kHeaderSize, end);
    if (!parser.Run()) {
        return Refuse(parser.GetErrorId(), pPath,
                      static_cast<std::size_t>(parser.GetErrorOffset()));
    }
    mFields = std::move(parser.GetFields());
    mRootEnd = static_cast<std::uint32_t>(mFields.size());
    mRootCount = parser.GetRootCount();
    CORVEKIT_ASSERT(parser.GetSize() <= mSize);
    mSize = parser.GetSize();
    if (mBytes.GetRoom() / 2 > mSize) {
        mBytes.Resize(mSize);
    }
    return true;
}

// "'<path>', byte <offset>: <fault>", without the path if it is null.
bool KTdf::Refuse(int pId, const char* pPath, std::size_t pOffset)
{
    mError.SetLastErrorID(pId);
    std::string text = pPath ? std::string("'") + pPath + "', " : "";
    text += "byte " + std::to_string(pOffset) + ": " + mError.GetLastErrorString();
    return Fail(pId, text.c_str(), static_cast<std::int64_t>(pOffset));
}
