// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The bits of every result on the museum and on the shipped clip, as one number a group: the same
// from every compiler, in debug and release, shared and static. A change here means that animations
// play differently.
//
// When a hash changes by intention: say which results change, and why, under "Results that change"
// in CHANGELOG.md, then put the number that the test prints in place of the old one.

#include "glissa/settings/settings.h"
#include "io/bvh_reader.h"
#include "tests/support/bit_hash.h"
#include "tests/support/museum.h"

#include <gtest/gtest.h>

namespace
{
void AddCurve(BitHash& pHash, Glissa& pCurve, const std::vector<std::int64_t>& pTimes)
{
    int hint = 0;
    for (const std::int64_t ticks : pTimes) {
        const KTime time(ticks);
        pHash.Add(pCurve.KeyFindAll(time, &hint));
        pHash.Add(pCurve.Evaluate(time, &hint));
        pHash.Add(pCurve.EvaluateLeftDerivative(time, &hint));
        pHash.Add(pCurve.EvaluateRightDerivative(time, &hint));
        pHash.Add(hint);
    }
    const int step = pCurve.KeyGetCount() / 1000 + 1;
    for (int i = 0; i < pCurve.KeyGetCount(); i += step) {
        pHash.Add(pCurve.KeyGetLeftDerivative(i, false, false));
        pHash.Add(pCurve.KeyGetLeftDerivative(i, true, true));
        pHash.Add(pCurve.KeyGetRightDerivative(i, true));
    }
}

void AddCurve(BitHash& pHash, const RefCurve& pCurve)
{
    const CurveHandle curve = ToGlissa(pCurve);
    AddCurve(pHash, *curve, MuseumTimes(pCurve));
}

TEST(CurveHash, TheMuseumGivesTheSameBitsEverywhere)
{
    BitHash hash;
    for (const MuseumPiece& piece : Museum()) {
        AddCurve(hash, piece.curve);
        RecordProperty(piece.name, std::to_string(hash.Get()));  // where two runs part
    }
    EXPECT_EQ(0x1B83B19182FD9F1Eu, hash.Get());
}

TEST(CurveHash, PairsOfKindsGiveTheSameBitsEverywhere)
{
    BitHash hash;
    for (const bool older : {false, true}) {
        GLISSA_SetTCB4051EvalMode(older);
        for (const std::uint32_t previous : MuseumKinds()) {
            for (const std::uint32_t key : MuseumKinds()) {
                AddCurve(hash, MuseumTangentPair(previous, key));
            }
        }
    }
    GLISSA_SetTCB4051EvalMode(false);
    EXPECT_EQ(0x4C2DAF9C07DB4F09u, hash.Get());
}

TEST(CurveHash, AMillionKeysGiveTheSameBitsEverywhere)
{
    BitHash hash;
    AddCurve(hash, MuseumRecording(1000000));
    EXPECT_EQ(0xC49F1CD0875ADB63u, hash.Get());
}
// The clip as it is imported, and the same keys as other kinds and under other extrapolations.
TEST(CurveHash, TheClipGivesTheSameBitsEverywhere)
{
    const IoResult<Clip> clip = ReadBvh(GLISSA_SOURCE_DIR "/data/walk.bvh");
    ASSERT_TRUE(clip) << clip.GetError().GetText();
    ASSERT_GT(clip->mChannelCount, 0);
    const std::uint32_t kinds[] = {kRefCubic | kRefAuto, kRefCubic | kRefAuto | kRefProgressive,
                                   kRefLinear};
    BitHash hash;
    for (int channel = 0; channel < clip->mChannelCount; ++channel) {
        RefCurve curve;
        curve.keys.resize(static_cast<std::size_t>(clip->mFrameCount));
        for (int frame = 0; frame < clip->mFrameCount; ++frame) {
            RefKey& key = curve.keys[static_cast<std::size_t>(frame)];
            key.time = clip->GetTime(frame).Get();
            key.value = static_cast<float>(clip->GetValue(frame, channel));
            key.flags = kinds[channel % 3];
        }
        curve.pre = static_cast<std::uint32_t>(channel % 6);
        curve.post = static_cast<std::uint32_t>(channel / 3 % 6);
        curve.preCount = curve.postCount = 3;
        AddCurve(hash, curve);
    }
    EXPECT_EQ(0x5B1C02B97B24AFFAu, hash.Get());
}
}  // namespace
