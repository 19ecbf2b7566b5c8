// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/museum.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <utility>

namespace
{
constexpr std::int64_t kSecond = 141120000;
constexpr std::int64_t kFrame = kSecond / 30;
constexpr std::int64_t kInfinity = std::numeric_limits<std::int64_t>::max();

RefKey AtTicks(std::int64_t pTicks, float pValue, std::uint32_t pFlags = kRefCubic | kRefAuto,
               float pSlot0 = 0.0f, float pSlot1 = 0.0f)
{
    return {pTicks, pValue, pFlags, {pSlot0, pSlot1}};
}

RefKey At(double pSeconds, float pValue, std::uint32_t pFlags = kRefCubic | kRefAuto,
          float pSlot0 = 0.0f, float pSlot1 = 0.0f)
{
    return AtTicks(static_cast<std::int64_t>(pSeconds * static_cast<double>(kSecond)), pValue,
                   pFlags, pSlot0, pSlot1);
}

RefKey Tcb(double pSeconds, float pValue, float pTension, float pContinuity, float pBias)
{
    RefKey key = At(pSeconds, pValue, kRefCubic | kRefTcb, pTension, pContinuity);
    key.SetBias(pBias);
    return key;
}

RefKey Weighted(double pSeconds, float pValue, float pRight, float pNextLeft, int pRightWeight,
                int pNextLeftWeight)
{
    RefKey key = At(pSeconds, pValue,
                    kRefCubic | kRefUser | kRefBreak | kRefWeightRight | kRefWeightNextLeft, pRight,
                    pNextLeft);
    key.SetWeights(pRightWeight, pNextLeftWeight);
    return key;
}

RefCurve Extrapolated(RefCurve pCurve, std::uint32_t pPre, std::uint32_t pPost,
                      std::uint32_t pCount)
{
    pCurve.pre = pPre;
    pCurve.post = pPost;
    pCurve.preCount = pCurve.postCount = pCount;
    return pCurve;
}

RefCurve SharedBlock()
{
    RefCurve curve;
    for (int i = 0; i < 20; ++i) {
        curve.keys.push_back(At(0.5 * i, static_cast<float>(i * i % 7),
                                kRefCubic | kRefUser | kRefBreak, 1.5f, -2.0f));
    }
    return curve;
}

// One angle of a rotation that passes near the pole: it jumps by half turns within a frame.
RefCurve GimbalJumps()
{
    RefCurve curve;
    for (const float angle :
         {-179.5f, -179.9f, 179.8f, 179.0f, -0.5f, 0.4f, 180.0f, -180.0f, 90.0f}) {
        curve.keys.push_back(AtTicks(kFrame * curve.Count(), angle));
    }
    return curve;
}

RefCurve EveryKind()
{
    RefCurve curve;
    for (const std::uint32_t kind : MuseumKinds()) {
        const int i = curve.Count();
        RefKey key = At(0.75 * i, static_cast<float>((i * 5) % 11) - 4.0f, kind, 0.5f, -1.25f);
        if ((kind & 0xF00) == kRefTcb) {
            key.SetBias(0.25f);
        }
        curve.keys.push_back(key);
    }
    return curve;
}

std::vector<MuseumPiece> MakeMuseum()
{
    constexpr std::uint32_t kAuto = kRefCubic | kRefAuto;
    constexpr std::uint32_t kAutoBreak = kAuto | kRefBreak;
    constexpr std::uint32_t kClamped = kAuto | kRefClamp;
    constexpr std::uint32_t kProgressive = kAuto | kRefProgressive;
    constexpr std::uint32_t kProgressiveBreak = kAutoBreak | kRefProgressive;
    constexpr std::uint32_t kEndless = 0xFFFFFFFFu;
    const RefCurve oneKey = {{At(1.0, -3.0f)}};
    std::vector<MuseumPiece> pieces = {
        {"empty", {{}, 2.5f}},
        {"one key", oneKey},
        {"one key, extrapolated",
         Extrapolated(oneKey, kRefKeepSlope, kRefRelativeRepeat, kEndless)},
        {"equal values",
         {{At(0.0, 5.0f), At(1.0, 5.0f), At(2.0, 5.0f, kClamped), At(3.0, 5.0001f, kClamped),
           At(4.0, 5.0002f, kClamped | kRefBreak), At(5.0, 9.0f, kClamped | kRefBreak),
           At(6.0, 9.00015f, kClamped), At(7.0, 3.0f, kRefLinear), At(8.0, 4.0f, kClamped),
           At(9.0, 4.0f)}}},
        // A flat run next to a steep rise: plain automatic slopes leave the range of the values.
        {"overshoot",
         {{At(0.0, 0.0f), At(1.0, 0.0f), At(1.1, 100.0f), At(3.0, 100.0f), At(3.05, -100.0f),
           At(6.0, 0.0f)}}},
        {"handles at their limits",
         {{Weighted(0.0, 0.0f, 10.0f, -10.0f, 1, 1), Weighted(1.0, 4.0f, 0.0f, 0.0f, 9899, 9899),
           Weighted(2.0, -4.0f, 100.0f, 100.0f, 1, 9899),
           Weighted(3.0, 0.0f, -100.0f, 3.0f, 9899, 1), Weighted(4.0, 1.0f, 1.0f, 1.0f, 3333, 3333),
           At(5.0, 2.0f)}}},
        {"progressive peak",
         {{At(0.0, 0.0f, kProgressive), At(1.0, 10.0f, kProgressive), At(2.0, 4.0f, kProgressive),
           At(2.5, 3.9f, kProgressive), At(4.0, -20.0f, kProgressive),
           At(5.0, -20.0f, kProgressive), At(6.0, 1.0f, kProgressive)}}},
        // An auto break whose two sides were set flat against one secant.
        {"progressive broken flat",
         {{At(0.0, 0.0f, kProgressiveBreak, 0.0f, 100.0f),
           At(1.0, 2.0f, kProgressiveBreak, -100.0f, -100.0f),
           At(3.0, 1.0f, kProgressiveBreak, 100.0f, 100.00002f),
           At(4.0, 5.0f, kProgressiveBreak, 50.0f)}}},
        {"times at both infinities",
         {{AtTicks(-kInfinity, 1.0f, kRefLinear), At(-1.0, 2.0f), At(0.0, 3.0f),
           AtTicks(kInfinity, 4.0f)}}},
        {"neighbours one tick apart",
         {{AtTicks(kSecond, 0.0f), AtTicks(kSecond + 1, 1.0f, kRefLinear),
           AtTicks(kSecond + 2, -1.0f), AtTicks(kSecond + 3, 100.0f, kRefConstant), At(2.0, 100.0f),
           AtTicks(2 * kSecond + 2, 0.0f)}}},
        {"shared block", SharedBlock()},
        {"gimbal jumps", GimbalJumps()},
        {"huge auto parameters",
         {{At(0.0, 0.0f, kAutoBreak, 499.0f, 501.0f), At(1.0, 3.0f, kAutoBreak, 500.0f, -500.0f),
           At(2.0, 4.0f, kAutoBreak, 2000.0f, -2000.0f),
           At(3.0, -1.0f, kAutoBreak, -30000.0f, 30000.0f),
           At(4.0, -1.0f, kAutoBreak, -501.0f, 100.0f), At(5.0, -1.0f, kAutoBreak, 800.0f, 800.0f),
           At(6.0, -1.0f)}}},
        {"tcb corners",
         {{Tcb(0.0, 0.0f, 0.0f, 0.0f, 0.0f), Tcb(1.0, 5.0f, 1.0f, 0.0f, 0.0f),
           Tcb(1.5, 2.0f, -1.0f, 1.0f, 0.0f), Tcb(3.0, 8.0f, 0.0f, -1.0f, 1.0f),
           Tcb(3.25, -2.0f, 0.5f, 0.25f, -1.0f), At(5.0, 0.0f),
           Tcb(6.0, 3.0f, -0.75f, 0.5f, 0.125f)}}},
        {"every kind", EveryKind()},
        // Values whose differences no float holds, next to values that vanish in comparison.
        {"wide range",
         {{At(0.0, 1e30f), At(0.001, -1e30f), At(1.0, 1e-30f), At(2.0, 16777216.0f), At(3.0, 1.0f),
           At(1000000.0, 16777217.0f), At(1000000.5, 0.1f)}}},
    };
    for (const int keys : {42, 43, 1344, 1345}) {
        pieces.push_back({std::to_string(keys) + " keys", MuseumRecording(keys)});
    }
    pieces.push_back({"no extrapolation", MuseumExtrapolation(kRefHoldNone, 2)});
    pieces.push_back({"constant", MuseumExtrapolation(kRefHold, 2)});
    constexpr const char* kModes[] = {"repetition", "mirror", "keep slope", "relative repetition"};
    constexpr std::pair<const char*, std::uint32_t> kCounts[] = {
        {", none", 0}, {", once", 1}, {", twice", 2}, {" without end", kEndless}};
    for (std::uint32_t mode = 0; mode < 4; ++mode) {
        for (const auto& [name, count] : kCounts) {
            pieces.push_back(
                {kModes[mode] + std::string(name), MuseumExtrapolation(kRefRepeat + mode, count)});
        }
    }
    pieces.push_back({"unknown extrapolation", MuseumExtrapolation(17, 3)});
    return pieces;
}

std::int64_t Clamped(RefWide pTime)
{
    return static_cast<std::int64_t>(std::clamp<RefWide>(pTime, -kInfinity, kInfinity));
}

// A share of the span between two times, rounded down: exact below 2^64.
RefWide ShareOf(std::int64_t pFrom, std::int64_t pTo, unsigned pParts, unsigned pAll)
{
    const std::uint64_t span = static_cast<std::uint64_t>(pTo) - static_cast<std::uint64_t>(pFrom);
    return static_cast<RefWide>(span / pAll) * pParts +
           static_cast<RefWide>(span % pAll * pParts / pAll);
}
}  // namespace

const std::vector<MuseumPiece>& Museum()
{
    static const std::vector<MuseumPiece> pieces = MakeMuseum();
    return pieces;
}

RefCurve MuseumCurve(const std::string& pName)
{
    for (const MuseumPiece& piece : Museum()) {
        if (piece.name == pName) {
            return piece.curve;
        }
    }
    std::fprintf(stderr, "no museum piece called %s\n", pName.c_str());
    std::abort();
}

RefCurve MuseumRecording(int pKeyCount)
{
    RefCurve curve;
    curve.keys.reserve(static_cast<std::size_t>(pKeyCount));
    std::uint32_t noise = 12345;
    for (int i = 0; i < pKeyCount; ++i) {
        noise = noise * 1664525u + 1013904223u;
        curve.keys.push_back(AtTicks(kFrame * i, static_cast<float>(noise >> 16) / 1024.0f +
                                                     static_cast<float>(i % 300)));
    }
    return curve;
}

RefCurve MuseumTangentPair(std::uint32_t pPrevious, std::uint32_t pKey)
{
    RefCurve curve = {{At(0.0, 1.0f), At(0.5, 2.0f, pPrevious, 0.75f, -0.5f),
                       At(2.0, 2.5f, pKey, -0.25f, 1.5f), At(3.0, -1.0f)}};
    for (RefKey& key : curve.keys) {
        if ((key.flags & 0xF) == kRefCubic && (key.flags & 0xF00) == kRefTcb) {
            key.SetBias(-0.125f);
        }
    }
    return curve;
}

std::span<const std::uint32_t> MuseumKinds()
{
    static constexpr std::uint32_t kKinds[] = {
        kRefCubic | kRefAuto,
        kRefCubic | kRefAuto | kRefBreak,
        kRefCubic | kRefAuto | kRefClamp,
        kRefCubic | kRefAuto | kRefTimeIndependent,
        kRefCubic | kRefAuto | kRefProgressive,
        kRefCubic | kRefTcb,
        kRefCubic | kRefTcb | kRefBreak,
        kRefCubic | kRefUser,
        kRefCubic | kRefUser | kRefBreak,
        kRefCubic | kRefUser | kRefBreak | kRefWeightRight | kRefWeightNextLeft,
        kRefCubic,
        kRefLinear,
        kRefLinear | kRefProgressive,
        kRefConstant,
        kRefConstant | kRefConstantNext,
        kRefCustom,
        0,
    };
    return kKinds;
}

RefCurve MuseumExtrapolation(std::uint32_t pMode, std::uint32_t pCount)
{
    return Extrapolated({{At(-0.5, -1.0f), At(0.0, 2.0f), At(0.7, -2.0f), At(1.0, 3.0f)}}, pMode,
                        pMode, pCount);
}

std::vector<std::int64_t> MuseumTimes(const RefCurve& pCurve)
{
    std::vector<std::int64_t> times = {-kInfinity, -kSecond, 0, kSecond, kInfinity};
    if (pCurve.keys.empty()) {
        return times;
    }
    const int count = pCurve.Count();
    const int step = std::max(1, count / 40);
    for (int i = 0; i < count; i += i + step < count || i == count - 1 ? step : 1) {
        const RefKey& key = pCurve.keys[static_cast<std::size_t>(i)];
        for (const int away : {-1000, -1, 0, 1, 1000}) {
            times.push_back(Clamped(RefWide(key.time) + away));
        }
        if (i + 1 < count) {
            const std::int64_t next = pCurve.keys[static_cast<std::size_t>(i) + 1].time;
            for (const unsigned sevenths : {1u, 2u, 3u, 4u, 6u}) {
                times.push_back(Clamped(key.time + ShareOf(key.time, next, sevenths, 7)));
            }
        }
    }
    const std::int64_t first = pCurve.keys.front().time;
    const std::int64_t last = pCurve.keys.back().time;
    for (const unsigned quarters : {1u, 3u, 4u, 5u, 8u, 9u, 14u, 4001u}) {
        const RefWide share = ShareOf(first, last, quarters, 4);
        times.push_back(Clamped(first - share));
        times.push_back(Clamped(last + share));
    }
    return times;
}

void DestroyCurve::operator()(Glissa* pCurve) const
{
    pCurve->Destroy(0);
}

CurveHandle ToGlissa(const RefCurve& pCurve)
{
    CurveHandle curve(GlissaCreate());
    curve->SetValue(pCurve.value, false);
    curve->InitBuffers(pCurve.Count(), false);
    for (const RefKey& key : pCurve.keys) {
        const int index = curve->KeyAppendFast(KTime(key.time), key.value);
        KPriFCurveKeyAttr attributes{};
        attributes.mFlags = key.flags;
        attributes.mData[0] = key.slots[0];
        attributes.mData[1] = key.slots[1];
        attributes.mData[2] = std::bit_cast<float>(key.slot2);
        attributes.mData[3] = std::bit_cast<float>(key.slot3);
        curve->KeyAttrSet(index, attributes);
    }
    curve->KeyAttrShrink(0, pCurve.Count() - 2);
    curve->SetPreExtrapolation(pCurve.pre);
    curve->SetPreExtrapolationCount(pCurve.preCount);
    curve->SetPostExtrapolation(pCurve.post);
    curve->SetPostExtrapolationCount(pCurve.postCount);
    return curve;
}
