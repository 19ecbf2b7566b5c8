// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Loads the input into the field store, once as a file and once as the body of a file with a valid
// header and checksum. A document that was loaded is read through the public interface and written
// again, value by value. As a document has exactly one encoding, the copy must have the same bytes.

#include "corvekit/store/crc32c.h"
#include "corvekit/store/tdf.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <ostream>
#include <span>
#include <sstream>
#include <string>
#include <string_view>

namespace
{
void Require(bool pHolds)
{
    if (!pHolds) {
        std::abort();
    }
}

// Samples are read like single values, whatever the content of the field.
void CompareSamples(KTdf pSamples, KTdf pSingle)
{
    constexpr std::string_view kLetters[] = {"", "L", "Cs", "Uan", "Uann"};
    KTdfSample samples[3];
    for (std::size_t i = 0; pSamples.FieldReadGetRemain() > 0; ++i) {
        const std::string_view letters = kLetters[i % std::size(kLetters)];
        const std::size_t read = pSamples.FieldReadSamples(samples, letters);
        for (const KTdfSample& each : std::span(samples).first(read)) {
            Require(pSingle.FieldReadGetType() == KTdf::kTypeTime);
            Require(pSingle.FieldReadT() == each.time);
            Require(pSingle.FieldReadGetType() == KTdf::kTypeDouble);
            const float value = pSingle.FieldReadF();
            Require(std::bit_cast<std::uint32_t>(value) ==
                    std::bit_cast<std::uint32_t>(each.value));
            for (const char letter : letters) {
                Require(pSingle.FieldReadGetType() == KTdf::kTypeCharacter);
                Require(pSingle.FieldReadCH() == letter);
            }
        }
        if (read == 0) {
            pSamples.FieldReadT();
            pSingle.FieldReadT();
        }
        Require(pSamples.FieldReadGetRemain() == pSingle.FieldReadGetRemain());
    }
}

// Copies the values of the open field, and reads each a second time, possibly as another type.
void CopyValues(KTdf& pFrom, KTdf& pTo)
{
    KTdf probe = pTo.IsEmpty() ? pFrom : KTdf();
    CompareSamples(probe, probe);
    for (std::int64_t left = pFrom.FieldReadGetRemain(); left > 0; --left) {
        Require(pFrom.FieldReadGetRemain() == left);
        if (probe.FieldReadGetRemain() == left) {
            static_cast<void>(left % 2 == 0 ? probe.FieldReadD() : probe.FieldReadF());
        }
        switch (pFrom.FieldReadGetType()) {
        case KTdf::kTypeTime:
            pTo.FieldWriteT(pFrom.FieldReadT());
            break;
        case KTdf::kTypeInt:
            pTo.FieldWriteI(pFrom.FieldReadI());
            break;
        case KTdf::kTypeDouble:
            pTo.FieldWriteD(pFrom.FieldReadD());
            break;
        case KTdf::kTypeCharacter:
            pTo.FieldWriteCH(pFrom.FieldReadCH());
            break;
        default:
            Require(pFrom.FieldReadGetType() == KTdf::kTypeText);
            pTo.FieldWriteS(pFrom.FieldReadS());
            break;
        }
    }
    Require(pFrom.FieldReadGetType() == KTdf::kTypeNone);
}

// Checks the instances of the name of the field that was opened.
void CheckNames(KTdf& pTdf, const KString& pName)
{
    const int count = pTdf.FieldGetInstanceCount(pName.GetBuffer());
    Require(count > 0 && count <= pTdf.FieldGetCount());
    Require(!pTdf.FieldReadBegin(pName.GetBuffer(), count));
    Require(pTdf.FieldReadBegin(pName.GetBuffer(), count - 1));
    pTdf.FieldReadEnd();
    Require(!pTdf.FieldReadBegin(pName.GetBuffer()));
}

void Copy(KTdf& pFrom, KTdf& pTo)
{
    int depth = 0;
    for (;;) {
        if (!pFrom.FieldReadBeginNext()) {
            if (pFrom.FieldGetCount() > 0 && pFrom.FieldGetCount() < 100) {
                pFrom.FieldReadRewind();
                Require(pFrom.FieldReadBeginNext());
                const KString name = pFrom.FieldReadGetName();
                pFrom.FieldReadEnd();
                CheckNames(pFrom, name);
            }
            if (depth-- == 0) {
                return;
            }
            pFrom.FieldReadBlockEnd();
            pFrom.FieldReadEnd();
            Require(pTo.FieldWriteBlockEnd() && pTo.FieldWriteEnd());
            continue;
        }
        Require(pTo.FieldWriteBegin(pFrom.FieldReadGetName().GetBuffer()));
        CopyValues(pFrom, pTo);
        if (pFrom.FieldReadBlockBegin()) {
            Require(pTo.FieldWriteBlockBegin());
            ++depth;
        } else {
            pFrom.FieldReadEnd();
            Require(pTo.FieldWriteEnd());
        }
    }
}

void LoadWalkAndCompare(const std::string& pFile)
{
    KTdf tdf;
    if (!tdf.Load(std::span(reinterpret_cast<const std::uint8_t*>(pFile.data()), pFile.size()))) {
        Require(tdf.IsEmpty() && tdf.GetError().GetLastErrorID() != KError::kNone);
        Require(tdf.GetError().GetLastErrorOffset() >= 0);
        Require(tdf.GetError().GetLastErrorOffset() <= static_cast<std::int64_t>(pFile.size()));
        return;
    }
    KTdf copy;
    Copy(tdf, copy);
    std::ostringstream stream;
    Require(copy.Save(stream));
    Require(stream.str() == pFile);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t pSize)
{
    const std::string bytes(reinterpret_cast<const char*>(pData), pSize);
    LoadWalkAndCompare(bytes);

    std::string file = std::string("KTDF\0\0\0\1", 8) + bytes;
    const std::uint32_t sum = Crc32c(file.data(), file.size());
    for (int shift = 24; shift >= 0; shift -= 8) {
        file += static_cast<char>(sum >> shift);
    }
    LoadWalkAndCompare(file);
    return 0;
}
