// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The input is the body of a clip file with a valid header and checksum. It is a clip that meets
// the rules of io/clip.h, with a valid curve for each channel, or an error with a reason. The clip
// can be stored and is read back with the same keys.

#include "io/clip_store.h"

#include "corvekit/store/crc32c.h"
#include "corvekit/store/tdf.h"
#include "fuzz/clip_checks.h"
#include "glissa/curve/curve.h"

#include <cmath>
#include <cstdint>
#include <sstream>

namespace
{
void CheckCurves(const StoredClip& pStored)
{
    const auto& curves = pStored.mCurves.GetCurves();
    Require(curves.size() == static_cast<std::size_t>(pStored.mClip.mChannelCount));
    for (const ClipCurve& each : curves) {
        Glissa& curve = *each.mCurve;
        Require(pStored.mCurves.Find(each.mName) == &each && curve.CheckCurve());
        for (int i = 1; i < curve.KeyGetCount(); ++i) {
            Require(curve.KeyGetTime(i - 1) < curve.KeyGetTime(i));
        }
        curve.Evaluate(pStored.mClip.GetTime(1), nullptr);
    }
    for (const std::string& fault : pStored.mFaults) {
        Require(fault.starts_with("curve ") || fault.starts_with("node ") ||
                fault.starts_with("the tree: "));
    }
    constexpr std::int64_t kMostValues = 10000;
    const std::int64_t values =
        static_cast<std::int64_t>(pStored.mClip.mFrameCount) * pStored.mClip.mChannelCount;
    if (values <= kMostValues) {
        Require(SampleClip(pStored.mClip, pStored.mCurves).mValues.size() ==
                static_cast<std::size_t>(values));
    }
}

void CompareCurves(const CurveClip& pStored, const CurveClip& pAgain)
{
    Require(pStored.GetCurves().size() == pAgain.GetCurves().size());
    for (std::size_t i = 0; i < pStored.GetCurves().size(); ++i) {
        const Glissa& old = *pStored.GetCurves()[i].mCurve;
        const Glissa& curve = *pAgain.GetCurves()[i].mCurve;
        Require(pStored.GetCurves()[i].mName == pAgain.GetCurves()[i].mName);
        Require(old.KeyGetCount() == curve.KeyGetCount());
        for (int key = 0; key < old.KeyGetCount(); ++key) {
            const float value = old.KeyGetValue(key);
            Require(old.KeyGetTime(key) == curve.KeyGetTime(key));
            Require(value == curve.KeyGetValue(key) || std::isnan(value));
        }
    }
}

std::string Stored(const StoredClip& pStored)
{
    KTdf tdf;
    StoreClip(pStored.mClip, pStored.mCurves, tdf);
    std::ostringstream stream;
    Require(tdf.Save(stream));
    return stream.str();
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t pSize)
{
    std::string file = std::string("KTDF\0\0\0\1", 8);
    file.append(reinterpret_cast<const char*>(pData), pSize);
    const std::uint32_t sum = Crc32c(file.data(), file.size());
    for (int shift = 24; shift >= 0; shift -= 8) {
        file += static_cast<char>(sum >> shift);
    }
    const IoResult<StoredClip> stored = ParseClipStore(file, "fuzz.glissa");
    if (!stored) {
        Require(stored.GetError().mFile == "fuzz.glissa" && !stored.GetError().mReason.empty());
        return 0;
    }
    CheckClip(stored->mClip);
    Require(MemoryOf(stored->mClip) <= 64 * pSize + 4096);
    CheckCurves(*stored);

    const IoResult<StoredClip> again = ParseClipStore(Stored(*stored), "fuzz.glissa");
    Require(again && again->mClip.mFrameCount == stored->mClip.mFrameCount &&
            again->mClip.mJoints.size() == stored->mClip.mJoints.size());
    CompareCurves(stored->mCurves, again->mCurves);
    return 0;
}
