// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/museum.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace
{
constexpr std::int64_t kSecond = 141120000;
constexpr std::int64_t kFrame = kSecond / 30;
constexpr std::int64_t kInfinity = std::numeric_limits<std::int64_t>::max();

RefKey At(double pSeconds, float pValue, std::uint32_t pFlags = kRefCubic | kRefAuto,
          float pSlot0 = 0.0f, float pSlot1 = 0.0f)
{
    RefKey key;
    key.time = static_cast<std::int64_t>(pSeconds * static_cast<double>(kSecond));
    key.value = pValue;
    key.flags = pFlags;
    key.slots[0] = pSlot0;
    key.slots[1] = pSlot1;
    return key;
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

RefCurve Of(std::initializer_list<RefKey> pKeys)
{
    RefCurve curve;
    curve.keys = pKeys;
    return curve;
}

RefCurve Empty()
{
    RefCurve curve;
    curve.value = 2.5f;
    return curve;
}

RefCurve OneKey()
{
    return Of({At(1.0, -3.0f)});
}

RefCurve OneKeyExtrapolated()
{
    RefCurve curve = OneKey();
    curve.pre = kRefKeepSlope;
    curve.post = kRefRelativeRepeat;
    curve.preCount = curve.postCount = 0xFFFFFFFFu;
    return curve;
}

RefCurve EqualValues()
{
    const std::uint32_t clamped = kRefCubic | kRefAuto | kRefClamp;
    return Of({At(0.0, 5.0f), At(1.0, 5.0f), At(2.0, 5.0f, clamped), At(3.0, 5.0001f, clamped),
               At(4.0, 5.0002f, clamped | kRefBreak), At(5.0, 9.0f, clamped | kRefBreak),
               At(6.0, 9.00015f, clamped), At(7.0, 3.0f, kRefLinear), At(8.0, 4.0f, clamped),
               At(9.0, 4.0f)});
}

// A flat run beside a steep rise: plain automatic slopes leave the range of the values.
RefCurve Overshoot()
{
    return Of({At(0.0, 0.0f), At(1.0, 0.0f), At(1.1, 100.0f), At(3.0, 100.0f), At(3.05, -100.0f),
               At(6.0, 0.0f)});
}

RefCurve HandlesAtTheirLimits()
{
    return Of(
        {Weighted(0.0, 0.0f, 10.0f, -10.0f, 1, 1), Weighted(1.0, 4.0f, 0.0f, 0.0f, 9899, 9899),
         Weighted(2.0, -4.0f, 100.0f, 100.0f, 1, 9899), Weighted(3.0, 0.0f, -100.0f, 3.0f, 9899, 1),
         Weighted(4.0, 1.0f, 1.0f, 1.0f, 3333, 3333), At(5.0, 2.0f)});
}

RefCurve ProgressivePeak()
{
    const std::uint32_t progressive = kRefCubic | kRefAuto | kRefProgressive;
    return Of({At(0.0, 0.0f, progressive), At(1.0, 10.0f, progressive), At(2.0, 4.0f, progressive),
               At(2.5, 3.9f, progressive), At(4.0, -20.0f, progressive),
               At(5.0, -20.0f, progressive), At(6.0, 1.0f, progressive)});
}

// An auto break whose two sides were laid flat against one secant.
RefCurve ProgressiveBrokenFlat()
{
    const std::uint32_t progressive = kRefCubic | kRefAuto | kRefBreak | kRefProgressive;
    return Of({At(0.0, 0.0f, progressive, 0.0f, 100.0f),
               At(1.0, 2.0f, progressive, -100.0f, -100.0f),
               At(3.0, 1.0f, progressive, 100.0f, 100.00002f), At(4.0, 5.0f, progressive, 50.0f)});
}

RefCurve TimesAtBothInfinities()
{
    RefCurve curve = Of({At(0.0, 1.0f, kRefLinear), At(-1.0, 2.0f), At(0.0, 3.0f), At(1.0, 4.0f)});
    curve.keys[0].time = -kInfinity;
    curve.keys[3].time = kInfinity;
    return curve;
}

RefCurve NeighboursOneTickApart()
{
    RefCurve curve = Of({At(1.0, 0.0f), At(1.0, 1.0f, kRefLinear), At(1.0, -1.0f),
                         At(1.0, 100.0f, kRefConstant), At(2.0, 100.0f), At(2.0, 0.0f)});
    for (std::size_t i = 1; i < 4; ++i) {
        curve.keys[i].time = curve.keys[i - 1].time + 1;
    }
    curve.keys[5].time = curve.keys[4].time + 2;
    return curve;
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

// One angle of a rotation that passes near the pole: it leaps by half turns within a frame.
RefCurve GimbalJumps()
{
    RefCurve curve;
    const float angles[] = {-179.5f, -179.9f, 179.8f, 179.0f, -0.5f, 0.4f, 180.0f, -180.0f, 90.0f};
    for (const float angle : angles) {
        RefKey key = At(0.0, angle);
        key.time = kFrame * static_cast<std::int64_t>(curve.keys.size());
        curve.keys.push_back(key);
    }
    return curve;
}

RefCurve HugeAutoParameters()
{
    const std::uint32_t broken = kRefCubic | kRefAuto | kRefBreak;
    return Of({At(0.0, 0.0f, broken, 499.0f, 501.0f), At(1.0, 3.0f, broken, 500.0f, -500.0f),
               At(2.0, 4.0f, broken, 2000.0f, -2000.0f),
               At(3.0, -1.0f, broken, -30000.0f, 30000.0f), At(4.0, -1.0f, broken, -501.0f, 100.0f),
               At(5.0, -1.0f, broken, 800.0f, 800.0f), At(6.0, -1.0f)});
}

RefCurve TcbCorners()
{
    return Of({Tcb(0.0, 0.0f, 0.0f, 0.0f, 0.0f), Tcb(1.0, 5.0f, 1.0f, 0.0f, 0.0f),
               Tcb(1.5, 2.0f, -1.0f, 1.0f, 0.0f), Tcb(3.0, 8.0f, 0.0f, -1.0f, 1.0f),
               Tcb(3.25, -2.0f, 0.5f, 0.25f, -1.0f), At(5.0, 0.0f),
               Tcb(6.0, 3.0f, -0.75f, 0.5f, 0.125f)});
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

// Values whose differences no float holds, beside values that vanish next to them.
RefCurve WideRange()
{
    return Of({At(0.0, 1e30f), At(0.001, -1e30f), At(1.0, 1e-30f), At(2.0, 16777216.0f),
               At(3.0, 1.0f), At(1000000.0, 16777217.0f), At(1000000.5, 0.1f)});
}

template <int Keys>
RefCurve Recording()
{
    return MuseumRecording(Keys);
}

template <std::uint32_t Mode, std::uint32_t Count>
RefCurve Extrapolated()
{
    return MuseumExtrapolation(Mode, Count);
}

constexpr MuseumPiece kPieces[] = {
    {"empty", Empty},
    {"one key", OneKey},
    {"one key, extrapolated", OneKeyExtrapolated},
    {"equal values", EqualValues},
    {"overshoot", Overshoot},
    {"handles at their limits", HandlesAtTheirLimits},
    {"progressive peak", ProgressivePeak},
    {"progressive broken flat", ProgressiveBrokenFlat},
    {"times at both infinities", TimesAtBothInfinities},
    {"neighbours one tick apart", NeighboursOneTickApart},
    {"shared block", SharedBlock},
    {"gimbal jumps", GimbalJumps},
    {"huge auto parameters", HugeAutoParameters},
    {"tcb corners", TcbCorners},
    {"every kind", EveryKind},
    {"wide range", WideRange},
    {"42 keys", Recording<42>},
    {"43 keys", Recording<43>},
    {"1344 keys", Recording<1344>},
    {"1345 keys", Recording<1345>},
    {"no extrapolation", Extrapolated<kRefHoldNone, 2>},
    {"constant", Extrapolated<kRefHold, 2>},
    {"repetition, none", Extrapolated<kRefRepeat, 0>},
    {"repetition, once", Extrapolated<kRefRepeat, 1>},
    {"repetition, twice", Extrapolated<kRefRepeat, 2>},
    {"repetition without end", Extrapolated<kRefRepeat, 0xFFFFFFFFu>},
    {"mirror, none", Extrapolated<kRefMirror, 0>},
    {"mirror, once", Extrapolated<kRefMirror, 1>},
    {"mirror, twice", Extrapolated<kRefMirror, 2>},
    {"mirror without end", Extrapolated<kRefMirror, 0xFFFFFFFFu>},
    {"keep slope, none", Extrapolated<kRefKeepSlope, 0>},
    {"keep slope, once", Extrapolated<kRefKeepSlope, 1>},
    {"keep slope, twice", Extrapolated<kRefKeepSlope, 2>},
    {"keep slope without end", Extrapolated<kRefKeepSlope, 0xFFFFFFFFu>},
    {"relative repetition, none", Extrapolated<kRefRelativeRepeat, 0>},
    {"relative repetition, once", Extrapolated<kRefRelativeRepeat, 1>},
    {"relative repetition, twice", Extrapolated<kRefRelativeRepeat, 2>},
    {"relative repetition without end", Extrapolated<kRefRelativeRepeat, 0xFFFFFFFFu>},
    {"unknown extrapolation", Extrapolated<17, 3>},
};

std::int64_t Clamped(RefWide pTime)
{
    return static_cast<std::int64_t>(std::clamp<RefWide>(pTime, -kInfinity, kInfinity));
}
}  // namespace

std::span<const MuseumPiece> Museum()
{
    return kPieces;
}

RefCurve MuseumCurve(const char* pName)
{
    for (const MuseumPiece& piece : kPieces) {
        if (std::strcmp(piece.name, pName) == 0) {
            return piece.make();
        }
    }
    std::fprintf(stderr, "no museum piece called %s\n", pName);
    std::abort();
}

RefCurve MuseumRecording(int pKeyCount)
{
    RefCurve curve;
    curve.keys.reserve(static_cast<std::size_t>(pKeyCount));
    std::uint32_t noise = 12345;
    for (int i = 0; i < pKeyCount; ++i) {
        noise = noise * 1664525u + 1013904223u;
        RefKey key;
        key.time = kFrame * i;
        key.value = static_cast<float>(noise >> 16) / 1024.0f + static_cast<float>(i % 300);
        curve.keys.push_back(key);
    }
    return curve;
}

RefCurve MuseumTangentPair(std::uint32_t pPrevious, std::uint32_t pKey)
{
    RefCurve curve = Of({At(0.0, 1.0f), At(0.5, 2.0f, pPrevious, 0.75f, -0.5f),
                         At(2.0, 2.5f, pKey, -0.25f, 1.5f), At(3.0, -1.0f)});
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
    RefCurve curve = Of({At(-0.5, -1.0f), At(0.0, 2.0f), At(0.7, -2.0f), At(1.0, 3.0f)});
    curve.pre = curve.post = pMode;
    curve.preCount = curve.postCount = pCount;
    return curve;
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
            const RefWide gap =
                RefWide(pCurve.keys[static_cast<std::size_t>(i) + 1].time) - key.time;
            for (const int seventh : {1, 2, 3, 4, 6}) {
                times.push_back(Clamped(key.time + gap * seventh / 7));
            }
        }
    }
    const RefWide first = pCurve.keys.front().time;
    const RefWide last = pCurve.keys.back().time;
    for (const int quarter : {1, 3, 4, 5, 8, 9, 14, 4001}) {
        times.push_back(Clamped(first - (last - first) * quarter / 4));
        times.push_back(Clamped(last + (last - first) * quarter / 4));
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
