// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Reads curves from random documents. The input is a script of fields and values, so that mutations
// are not rejected by a checksum. A curve that was read is valid, its memory is at most a multiple
// of the document, it can be evaluated, and it is stored and read back with the same times and
// values.

#include "corvekit/store/tdf.h"
#include "glissa/curve/curve.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>

namespace
{
void Require(bool pHolds)
{
    if (!pHolds) {
        std::abort();
    }
}

struct DestroyCurve
{
    void operator()(Glissa* pCurve) const { pCurve->Destroy(); }
};
using CurveHandle = std::unique_ptr<Glissa, DestroyCurve>;

class Script
{
public:
    Script(const std::uint8_t* pData, std::size_t pSize) : mAt(pData), mEnd(pData + pSize) {}

    bool HasMore() const { return mAt != mEnd; }
    std::uint8_t Byte() { return HasMore() ? *mAt++ : 0; }
    template <class T>
    T Take()
    {
        T value{};
        for (std::size_t i = 0; i < sizeof(T); ++i) {
            reinterpret_cast<std::uint8_t*>(&value)[i] = Byte();
        }
        return value;
    }

private:
    const std::uint8_t* mAt;
    const std::uint8_t* mEnd;
};

// Writes values up to the byte that ends a field. A letter is written as it is, other bytes select
// what follows.
std::size_t WriteValues(Script& pScript, KTdf& pTdf)
{
    constexpr std::uint8_t kEnd = 0;
    std::size_t count = 0;
    std::int64_t time = 0;
    for (; pScript.HasMore(); ++count) {
        const std::uint8_t code = pScript.Byte();
        switch (code) {
        case kEnd:
            return count;
        case 1:
            pTdf.FieldWriteT(KTime(time += 4704000));
            break;
        case 2:
            time += pScript.Take<std::int16_t>();
            pTdf.FieldWriteT(KTime(time));
            break;
        case 3:
            pTdf.FieldWriteT(KTime(pScript.Take<std::int64_t>()));
            break;
        case 4:
            pTdf.FieldWriteF(static_cast<float>(pScript.Take<std::int8_t>()) / 8.0f);
            break;
        case 5:
            pTdf.FieldWriteD(pScript.Take<double>());
            break;
        case 6:
            pTdf.FieldWriteI(pScript.Take<std::int32_t>());
            break;
        case 7:
            pTdf.FieldWriteC("U");
            break;
        default:
            pTdf.FieldWriteCH(static_cast<char>(code));
            break;
        }
    }
    return count;
}

std::size_t WriteExtrapolation(Script& pScript, KTdf& pTdf, const char* pName)
{
    std::size_t count = 0;
    pTdf.FieldWriteBegin(pName);
    if ((pScript.Byte() & 1) != 0) {
        pTdf.FieldWriteBlockBegin();
        for (const char* inner : {"Type", "Repetition"}) {
            pTdf.FieldWriteBegin(inner);
            count += WriteValues(pScript, pTdf);
            pTdf.FieldWriteEnd();
        }
        pTdf.FieldWriteBlockEnd();
    }
    pTdf.FieldWriteEnd();
    return count;
}

// A bit that is set omits a field; the default value is always written.
std::size_t WriteDocument(Script& pScript, KTdf& pTdf)
{
    const std::uint8_t omitted = pScript.Byte();
    const int versions[] = {0, 3999, 4000, 4001, 4002, 4003, 4004, 4005, 4006, 4007};
    pTdf.FieldWriteBegin("Default");
    std::size_t count = WriteValues(pScript, pTdf);
    pTdf.FieldWriteEnd();
    if ((omitted & 1) == 0) {
        pTdf.FieldWriteBegin("KeyVer");
        const std::uint8_t which = pScript.Byte();
        pTdf.FieldWriteI(which < 10 ? versions[which] : pScript.Take<std::int32_t>());
        pTdf.FieldWriteEnd();
    }
    if ((omitted & 2) == 0) {
        pTdf.FieldWriteBegin("KeyCount");
        const std::uint8_t keys = pScript.Byte();
        pTdf.FieldWriteI(keys < 255 ? keys * 64 : pScript.Take<std::int32_t>());
        pTdf.FieldWriteEnd();
    }
    if ((omitted & 4) == 0) {
        pTdf.FieldWriteBegin("Key");
        count += WriteValues(pScript, pTdf);
        pTdf.FieldWriteEnd();
    }
    if ((omitted & 8) == 0) {
        count += WriteExtrapolation(pScript, pTdf, "Pre-Extrapolation");
    }
    if ((omitted & 16) == 0) {
        count += WriteExtrapolation(pScript, pTdf, "Post-Extrapolation");
    }
    if ((omitted & 32) == 0) {
        pTdf.FieldWriteBegin("Color");
        count += WriteValues(pScript, pTdf);
        pTdf.FieldWriteEnd();
    }
    pTdf.SetCheckedReading((omitted & 64) == 0);
    return count;
}

void CheckSound(Glissa& pCurve)
{
    std::map<const KPriFCurveKeyAttr*, unsigned> pointers;
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        Require(pCurve.InternalPriKeyAttrGetPtr(i) != nullptr);
        ++pointers[pCurve.InternalPriKeyAttrGetPtr(i)];
        Require(i == 0 || pCurve.KeyGetTime(i - 1) < pCurve.KeyGetTime(i));
        Require(pCurve.KeyGetInterpolation(i) != 0);
    }
    Require(pCurve.IsCallbackEnabled() && !pCurve.IsLocked());
    for (const auto& [block, count] : pointers) {
        Require(block->mReferenceCount >= count);
        Require(block == GlissaDefaultKeyAttr || block->mReferenceCount == count);
    }
}

void Evaluate(Glissa& pCurve)
{
    for (int i = 0; i < pCurve.KeyGetCount() && i < 16; ++i) {
        const KTime time = pCurve.KeyGetTime(i);
        for (const std::int64_t away : {-1000, 0, 1, 2000000}) {
            pCurve.Evaluate(time + KTime(away), nullptr);
            pCurve.EvaluateLeftDerivative(time + KTime(away), nullptr);
        }
    }
    pCurve.Evaluate(KTime::Infinite(), nullptr);
    pCurve.Evaluate(KTime::MinusInfinite(), nullptr);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t pSize)
{
    GLISSA_SetFCurveRecordMemoryBlockCount(0);
    const unsigned before = GetRecordingMemory();
    {
        Script script(pData, pSize);
        KTdf tdf;
        const std::size_t values = WriteDocument(script, tdf);
        const CurveHandle curve(GlissaCreate());
        Require(curve->TdfRetrieve(&tdf, false, true));
        Require(!curve->TdfRetrieve(&tdf, false, true));
        // At most one key per value, of 24 bytes and a part of a page table, and one more page.
        Require(GetRecordingMemory() - before <= 2048 + 32 * values);
        CheckSound(*curve);
        Evaluate(*curve);

        for (const bool olderForm : {false, true}) {
            KTdf stored;
            Require(curve->TdfStore(&stored, false, true, olderForm));
            const CurveHandle back(GlissaCreate());
            Require(back->TdfRetrieve(&stored, false, true));
            CheckSound(*back);
            Require(back->KeyGetCount() == curve->KeyGetCount());
            for (int i = 0; i < back->KeyGetCount(); ++i) {
                Require(back->KeyGetTime(i) == curve->KeyGetTime(i));
                const float value = curve->KeyGetValue(i);
                Require(value != value || std::bit_cast<std::uint32_t>(back->KeyGetValue(i)) ==
                                              std::bit_cast<std::uint32_t>(value));
            }
        }
    }
    Require(GlissaDefaultKeyAttr->mReferenceCount == 1 && GlissaKeyAttrPool.GetUsedCount() == 1);
    Require(GetRecordingMemory() == before);
    return 0;
}
