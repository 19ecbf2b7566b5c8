// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/store/tdf.h"
#include "glissa/ext/invalid_key_manager.h"
#include "tests/support/random_curve.h"
#include "tests/support/stored_curve.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace
{
constexpr unsigned kAutoKey = eInterpolationCubic | eTangentAuto;
constexpr unsigned kUserKey = eInterpolationCubic | eTangentUser;
constexpr unsigned kBrokenKey = eInterpolationCubic | eTangentUserBreak;
constexpr unsigned kTcbKey = eInterpolationCubic | eTangentTCB;

RefCurve CurveOf(std::initializer_list<StoredKey> pKeys)
{
    RefCurve curve;
    for (const StoredKey& each : pKeys) {
        curve.keys.push_back(ToRefKey(each));
    }
    return curve;
}

CurveHandle Retrieved(KTdf& pTdf, bool pOnlyDefaults = false, bool pWithColor = false)
{
    CurveHandle curve(GlissaCreate());
    EXPECT_TRUE(curve->TdfRetrieve(&pTdf, pOnlyDefaults, pWithColor));
    return curve;
}

// What the format keeps of a stored weight: its range.
int KeptWeight(int pNumber)
{
    return std::clamp(pNumber, 1, 9899);
}

bool IsOutsideTheTable(unsigned pKind)
{
    return pKind != kRefAuto && pKind != (kRefAuto | kRefBreak) && pKind != kRefTcb &&
           pKind != kRefUser && pKind != (kRefUser | kRefBreak);
}

// What comes back of a curve without custom keys, by the tables of the format.
RefCurve Kept(const RefCurve& pCurve)
{
    RefCurve kept;
    kept.value = pCurve.value;
    if (!pCurve.keys.empty()) {
        const auto keep = [](unsigned pMode, unsigned pCount, unsigned& pKept,
                             unsigned& pKeptCount) {
            if (pMode != kRefHoldNone) {
                pKept = pMode <= kRefRelativeRepeat ? pMode : kRefHoldNone;
                pKeptCount = pCount;
            }
        };
        keep(pCurve.pre, pCurve.preCount, kept.pre, kept.preCount);
        keep(pCurve.post, pCurve.postCount, kept.post, kept.postCount);
    }
    for (const RefKey& from : pCurve.keys) {
        const unsigned kind = from.flags & 0xF00;
        RefKey key;
        key.time = from.time;
        key.value = from.value;
        if ((from.flags & 0xF) == kRefConstant) {
            key.flags = from.flags & 0x10F;
        } else if ((from.flags & 0xF) == kRefLinear) {
            key.flags = kRefLinear;
        } else if (kind == kRefTcb) {
            key.flags = kRefCubic | kRefTcb;
            key.slots[0] = from.slots[0];
            key.slots[1] = from.slots[1];
            key.slot2 = from.slot2;
        } else {
            key.flags = from.flags & 0x3000F0F;
            key.slots[0] = from.slots[0];
            key.slots[1] = from.slots[1];
            const int right = static_cast<std::int16_t>(from.slot2 & 0xFFFF);
            const int nextLeft = static_cast<std::int16_t>(from.slot2 >> 16);
            key.SetWeights((from.flags & kRefWeightRight) != 0 ? KeptWeight(right) : 3333,
                           (from.flags & kRefWeightNextLeft) != 0 ? KeptWeight(nextLeft) : 3333);
        }
        if ((key.flags & 0xF) == kRefCubic && IsOutsideTheTable(kind)) {
            key.flags = kRefCubic | kRefAuto;
            key.slots[0] = key.slots[1] = 0.0f;
            key.SetWeights(3333, 3333);
        } else if ((key.flags & 0xF) == kRefCubic &&
                   (kind == kRefAuto || kind == (kRefAuto | kRefBreak))) {
            const unsigned refinement = from.flags & 0x7000;
            key.flags |= refinement >= 0x6000 ? 0x6000 : refinement & 0x3000;
            if (key.slots[0] == 0.0f && key.slots[1] == 0.0f) {
                key.flags &= ~kRefBreak;
                key.slots[0] = key.slots[1] = 0.0f;  // the sign of a zero goes too
            } else if (kind == kRefAuto && !kept.keys.empty()) {
                const RefKey& before = kept.keys.back();
                const float left = (before.flags & 0xF) == kRefConstant ? 0.0f
                                   : (before.flags & 0xF) == kRefLinear ? 100.0f
                                   : (before.flags & 0xF00) == kRefTcb  ? -key.slots[0]
                                                                        : before.slots[1];
                key.flags |= std::fabs(left + key.slots[0]) > 0.001f ? kRefBreak : 0;
            }
        }
        kept.keys.push_back(key);
    }
    return kept;
}

void ExpectRoundTrip(RefCurve pCurve)
{
    // What custom keys and those of no kind leave behind has a test of its own.
    std::erase_if(pCurve.keys, [](const RefKey& pKey) {
        const unsigned kind = pKey.flags & 0xF;
        return kind != kRefConstant && kind != kRefLinear && kind != kRefCubic;
    });
    std::stringstream file;
    KTdf tdf;
    ASSERT_TRUE(ToGlissa(pCurve)->TdfStore(&tdf, false, false, false));
    ASSERT_TRUE(tdf.Save(file));
    KTdf loaded;
    ASSERT_TRUE(loaded.Load(file)) << loaded.GetError().GetLastErrorString();
    const RefCurve expected = Kept(pCurve);
    for (const bool checked : {true, false}) {
        SCOPED_TRACE(checked ? "checked" : "unchecked");
        loaded.SetCheckedReading(checked);
        loaded.FieldReadRewind();
        const CurveHandle back = Retrieved(loaded);
        EXPECT_EQ(pCurve.value, back->GetValue());
        EXPECT_EQ(expected.pre, back->GetPreExtrapolation());
        EXPECT_EQ(expected.preCount, back->GetPreExtrapolationCount());
        EXPECT_EQ(expected.post, back->GetPostExtrapolation());
        EXPECT_EQ(expected.postCount, back->GetPostExtrapolationCount());
        ExpectKeys(*back, expected.keys);
    }
}

TEST_F(CurveStore, FieldsAndLettersAreThoseOfTheTables)
{
    const std::string frame = "Default: D0\nKeyVer: I4007\nKeyCount: I1\nKey: T1s D2 ";
    const auto weighted = eWeightAll | kBrokenKey;
    struct Row
    {
        StoredKey key;
        const char* values;
    };
    for (const Row& row : {
             Row{{1, 2, eInterpolationConstant}, "'C 's"},
             Row{{1, 2, eInterpolationConstant | eConstantNext}, "'C 'n"},
             Row{{1, 2, eInterpolationLinear, {7, 8}}, "'L"},
             Row{{1, 2, kTcbKey | eTangentClamp, {0.5f, -1}, 0, 0}, "'U 't D0.5 D-1 D0"},
             Row{{1, 2, kUserKey, {3, 4}}, "'U 's D3 D4 'n"},
             Row{{1, 2, weighted, {0, 0}, 9999, 1}, "'U 'b D0 D0 'a D1 D0.00010001000191550702"},
             Row{{1, 2, kUserKey | eWeightRight, {0, 0}, 9999}, "'U 's D0 D0 'r D1"},
             Row{{1, 2, kUserKey | eWeightNextLeft, {0, 0}, 1, 9999}, "'U 's D0 D0 'l D1"},
             Row{{1, 2, kAutoKey}, "'U 'a 'n 'n"},
             Row{{1, 2, kAutoKey | eTangentBreak | eTangentClamp}, "'U 'a 'n 'c"},
             Row{{1, 2, kAutoKey | 0x3000, {0, 1}}, "'U 'p D0 D1 'n 'b"},
             Row{{1, 2, kAutoKey | eTangentBreak | 0x2000, {1, 0}}, "'U 'q D1 D0 'n 'i"},
             Row{{1, 2, kAutoKey | 0x6000 | eWeightRight, {1, 0}, 9999}, "'U 'p D1 D0 'r D1 'g"},
             Row{{1, 2, kAutoKey | 0x7000, {1, 0}}, "'U 'p D1 D0 'n 'g"},
             Row{{1, 2, kAutoKey | 0x5000}, "'U 'a 'n 'c"},
             Row{{1, 2, kAutoKey | 0x4000}, "'U 'a 'n 'n"},
             Row{{1, 2, eInterpolationCubic | 0x300, {3, 4}}, "'U"},
             Row{{1, 2, eInterpolationCustom | 0x100, {3, 4}}, ""},
         }) {
        SCOPED_TRACE(row.values);
        std::string expected = frame + row.values + "\n";
        if (*row.values == '\0') {
            expected.replace(expected.size() - 2, 2, "\n");
        }
        EXPECT_EQ(expected, StoredText(*ToGlissa(CurveOf({row.key}))));
    }
}

TEST_F(CurveStore, WhatStandsAroundTheKeysDependsOnTheCurve)
{
    RefCurve curve;
    curve.value = 0.5f;
    curve.pre = kRefMirror;
    curve.post = kRefRepeat;
    curve.preCount = 2;
    CurveHandle empty = ToGlissa(curve);
    const float color[] = {0.25f, 0.5f, 0.75f};
    empty->SetColor(color);
    EXPECT_EQ("Default: D0.5\n", StoredText(*empty));
    EXPECT_EQ("Default: D0.5\nColor: D0.25 D0.5 D0.75\n", StoredText(*empty, false, true));
    EXPECT_EQ("Default: D0.5\n", StoredText(*empty, true, true));

    // Each mode with a count, the two sides by themselves.
    struct Row
    {
        unsigned mode;
        unsigned count;
        const char* fields;
        unsigned readMode;
        unsigned readCount;
    };
    for (const Row& row : {Row{0, 3, nullptr, 1, 0}, Row{1, 0, nullptr, 1, 0},
                           Row{1, 3, "'C I3", 1, 3}, Row{2, 0, "'R I0", 2, 0},
                           Row{3, 1, "'M I1", 3, 1}, Row{4, 0xFFFFFFFF, "'K I-1", 4, 0xFFFFFFFF},
                           Row{5, 7, "'A I7", 5, 7}, Row{6, 7, "'0 I7", 0, 7}}) {
        SCOPED_TRACE(row.mode);
        for (const bool isPre : {true, false}) {
            RefCurve one = CurveOf({{1, 2, eInterpolationLinear}});
            (isPre ? one.pre : one.post) = row.mode;
            (isPre ? one.preCount : one.postCount) = row.count;
            std::string expected = "Default: D0\nKeyVer: I4007\nKeyCount: I1\nKey: T1s D2 'L\n";
            if (row.fields) {
                const std::string values = row.fields;
                expected += std::string(isPre ? "Pre" : "Post") +
                            "-Extrapolation: {\nType: " + values.substr(0, 2) +
                            "\nRepetition: " + values.substr(3) + "\n}\n";
            }
            EXPECT_EQ(expected, StoredText(*ToGlissa(one)));
            KTdf tdf = FromText(expected);
            // What the curve had before is gone.
            const CurveHandle back = ToGlissa(MuseumExtrapolation(kRefMirror, 9));
            EXPECT_TRUE(back->TdfRetrieve(&tdf, false, false));
            EXPECT_EQ(isPre ? row.readMode : 1u, back->GetPreExtrapolation());
            EXPECT_EQ(isPre ? row.readCount : 0u, back->GetPreExtrapolationCount());
            EXPECT_EQ(isPre ? 1u : row.readMode, back->GetPostExtrapolation());
            EXPECT_EQ(isPre ? 0u : row.readCount, back->GetPostExtrapolationCount());
        }
    }
    for (const char* field : {"", " {\n}", " {\nType: 'X\nRepetition: D5\n}"}) {
        KTdf tdf = FromText("Default: D0 KeyVer: I4007 KeyCount: I1 Key: T0 D1 'L "
                            "Post-Extrapolation:" +
                            std::string(field));
        const CurveHandle back = Retrieved(tdf);
        EXPECT_EQ(0u, back->GetPostExtrapolation());
        EXPECT_EQ(0u, back->GetPostExtrapolationCount());
    }
}

TEST_F(CurveStore, TheOlderFormTellsAutomaticKeysBySlopes)
{
    // Values 0, 2, 2, 6, 8 in steps of a second. A slot 0 that is not 0, or a slot 1 that is not 0
    // in the key before, asks for slopes; -100 on the right is the secant to the left.
    RefCurve curve = CurveOf({{0, 0, kAutoKey, {0, 0}},
                              {1, 2, kAutoKey | eWeightRight, {-100, 50}, 9999},
                              {2, 2, kAutoKey | eTangentBreak},
                              {3, 6, kAutoKey},
                              {4, 8, kUserKey, {1.5f, 1.5f}},
                              {5, 10, kAutoKey}});
    // Right of key 1: the secant before, 2. Left of key 2: a quarter of secant 4 after and three
    // quarters of secant 0 before, 1. Right of key 2: their mean, 2. Left of key 3: the mean of 4
    // and 2, 3. Key 4 is a user one: "d" tells its left slope, which is slot 1 of key 3: 0.
    // Key 5 has one secant, 2, for both sides.
    EXPECT_EQ("Default: D0\nKeyVer: I4007\nKeyCount: I6\nKey: T0s D0 'U 'a "
              "T1s D2 'U 's D2 D1 'r D1 "
              "T2s D2 'U 'b D2 D3 'n "
              "T3s D6 'U 'd D0 'n "
              "T4s D8 'U 's D1.5 D1.5 'n "
              "T5s D10 'U 's D2 D0 'n\n",
              StoredText(*ToGlissa(curve), false, false, true));
}

TEST_F(CurveStore, MuseumCurvesComeBack)
{
    for (const MuseumPiece& piece : Museum()) {
        SCOPED_TRACE(piece.name);
        ExpectRoundTrip(piece.make());
    }
    ExpectRoundTrip(MuseumRecording(5000));
    for (const std::uint32_t previous : MuseumKinds()) {
        for (const std::uint32_t key : MuseumKinds()) {
            SCOPED_TRACE(key);
            ExpectRoundTrip(MuseumTangentPair(previous, key));
        }
    }
}

TEST_F(CurveStore, RandomKeysOfAllKindsComeBackBitForBit)
{
    constexpr std::uint64_t kSeed = 1606;
    Random random(kSeed);
    const std::uint32_t kinds[] = {kRefConstant, kRefConstant | kRefConstantNext,
                                   kRefLinear,   kTcbKey,
                                   kUserKey,     kBrokenKey,
                                   kAutoKey,     kAutoKey | kRefBreak};
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE("seed " + std::to_string(kSeed) + " round " + std::to_string(round));
        RefCurve curve;
        std::int64_t time = static_cast<std::int64_t>(random.Bits()) / 4;
        for (int i = 0; i < 200; ++i) {
            RefKey key;
            key.time = time += 1 + random.Below(1 << random.Below(30));
            key.value =
                std::bit_cast<float>(static_cast<std::uint32_t>(random.Bits()) & 0xBFFFFFFF);
            key.flags =
                kinds[random.Below(8)] | (static_cast<std::uint32_t>(random.Bits()) & 0x33370000);
            if ((key.flags & 0xF) == kRefCubic) {
                key.flags |= static_cast<std::uint32_t>(random.Bits()) & 0x7000;
            }
            for (float& slot : key.slots) {
                slot = random.Below(3) == 0 ? 0.0f : static_cast<float>(100 * random.Signed());
            }
            // A good half of the keys as they are made: the right side follows the left one.
            if (i > 0 && (key.flags & 0xF0F) == kAutoKey && random.Below(3) != 0) {
                key.slots[0] = -curve.keys.back().slots[1];
            }
            key.SetWeights(1 + random.Below(9899), 1 + random.Below(9899));
            if ((key.flags & 0xF0F) == kTcbKey) {
                key.SetBias(static_cast<float>(random.Signed()));
            }
            key.slot3 = static_cast<std::uint32_t>(random.Bits());
            if (random.Below(4) == 0 && i > 0) {
                RefKey again = curve.keys.back();
                again.time = key.time;
                key = again;
            }
            curve.keys.push_back(key);
        }
        ExpectRoundTrip(curve);
    }
}

TEST_F(CurveStore, EveryWeightComesBack)
{
    for (int number = 1; number <= 9899; ++number) {
        const CurveHandle curve =
            ToGlissa(CurveOf({{0, 0, kBrokenKey | eWeightAll, {1, 2}, number, 9900 - number}}));
        KTdf tdf;
        curve->TdfStore(&tdf, false, false, false);
        ASSERT_TRUE(Retrieved(tdf)->KeyGet(0).GetAttributes() == curve->KeyGet(0).GetAttributes())
            << number;
    }
}

TEST_F(CurveStore, WithoutADefaultNothingHappens)
{
    KTdf tdf = FromText("KeyVer: I4007 KeyCount: I1 Key: T0 D1 'L Color: D0 D0 D0");
    const CurveHandle curve = ToGlissa(MuseumRecording(3));
    const int id = curve->GetUpdateId();
    EXPECT_FALSE(curve->TdfRetrieve(&tdf, false, true));
    EXPECT_EQ(3, curve->KeyGetCount());
    EXPECT_EQ(1.0f, curve->GetColor()[0]);
    EXPECT_EQ(id, curve->GetUpdateId());
}

TEST_F(CurveStore, DefaultsAndColourAreReadOnRequest)
{
    const std::string text =
        "Default: D2.5 KeyVer: I4007 KeyCount: I1 Key: T0 D1 'L Color: D0.25 D0.5 D0.75";
    for (const bool onlyDefaults : {false, true}) {
        for (const bool withColor : {false, true}) {
            KTdf tdf = FromText(text);
            const CurveHandle curve = ToGlissa(MuseumRecording(3));
            EXPECT_TRUE(curve->TdfRetrieve(&tdf, onlyDefaults, withColor));
            EXPECT_EQ(2.5f, curve->GetValue());
            EXPECT_EQ(onlyDefaults ? 0 : 1, curve->KeyGetCount());
            EXPECT_EQ(withColor && !onlyDefaults ? 0.5f : 1.0f, curve->GetColor()[1]);
        }
    }
    // Every field but the default may be missing.
    KTdf tdf = FromText("Default: D2.5");
    const CurveHandle curve = ToGlissa(MuseumRecording(3));
    EXPECT_TRUE(curve->TdfRetrieve(&tdf, false, true));
    EXPECT_EQ(0, curve->KeyGetCount());
    EXPECT_EQ(1.0f, curve->GetColor()[1]);
}

void CountCall(Glissa*, GlissaEvent*, void* pCount)
{
    ++*static_cast<int*>(pCount);
}

TEST_F(CurveStore, ReadingIsSilentAndLeavesOwnerAndListeners)
{
    // An old version and a bad key: every operation inside that has something to tell.
    const std::string text = "Default: D1 KeyVer: I0 KeyCount: I5 Key: T0 D1 'U 'a T1s D2 'L "
                             "T1s D3 'L T2s D0 'U 's D1 D1 T3s D1 'L";
    for (const bool inBracket : {false, true}) {
        KTdf tdf = FromText(text);
        int calls = 0;
        const CurveHandle curve = ToGlissa(MuseumRecording(100));
        auto* const owner = reinterpret_cast<GlissaNode*>(curve.get());
        curve->SetOwner(owner);
        curve->CallbackRegister(CountCall, &calls);
        const int id = curve->GetUpdateId();
        if (inBracket) {
            curve->KeyModifyBegin();
        }
        EXPECT_TRUE(curve->TdfRetrieve(&tdf, false, true));
        EXPECT_EQ(4, curve->KeyGetCount());
        EXPECT_EQ(!inBracket, curve->IsCallbackEnabled());
        if (inBracket) {
            curve->KeyModifyEnd();
        }
        EXPECT_EQ(0, calls);
        EXPECT_EQ(owner, curve->GetOwner());
        EXPECT_NE(id, curve->GetUpdateId());
        curve->KeySetValue(0, 5.0f);
        EXPECT_EQ(1, calls);
        curve->SetOwner(nullptr);
    }
}

struct BadKeyRow
{
    const char* name;
    const char* keys;
    std::vector<StoredKey> checked;
    std::vector<StoredKey> unchecked;
};

// The same keys in both modes.
BadKeyRow Both(const char* pName, const char* pKeys, std::initializer_list<StoredKey> pLeft)
{
    return {pName, pKeys, pLeft, pLeft};
}

TEST_F(CurveStore, ABadKeyGoesAndTheOthersStay)
{
    const unsigned line = eInterpolationLinear;
    const StoredKey first{0, 1, line};
    const StoredKey third{2, 3, line};
    const BadKeyRow rows[] = {
        Both("same time", "T0 D1 'L T0 D9 'L T2s D3 'L", {first, third}),
        Both("earlier than the last good one", "T0 D1 'L T2s D3 'L T1s D9 'L T1.5s D9 'L T3s D4 'L",
             {first, third, {3, 4, line}}),
        Both("no time at all", "T-9223372036854775808 D9 'L T0 D1 'L T2s D3 'L", {first, third}),
        Both("unknown letter", "T0 D1 'L T1s D9 'X T2s D3 'L", {first, third}),
        Both("small letter", "T0 D1 'L T1s D9 'l T2s D3 'L", {first, third}),
        Both("values behind an unknown letter", "T0 D1 'L T1s D9 'X D1 'L D2 T2s D3 'L",
             {first, third}),
        Both("unknown tangent", "T0 D1 'L T1s D9 'U 'f 'n 'n T2s D3 'L", {first, third}),
        Both("tangent behind the table", "T0 D1 'L T1s D9 'U 'z T2s D3 'L", {first, third}),
        Both("unknown clamp", "T0 D1 'L T1s D9 'U 'a 'n 'x T2s D3 'L", {first, third}),
        Both("custom key", "T0 D1 'L T1s D9 T2s D3 'L", {first, third}),
        Both("custom key at the end", "T0 D1 'L T2s D3 'L T3s D9", {first, third}),
        Both("tangent without a letter", "T0 D1 'L T1s D9 'U T2s D3 'L",
             {first, {1, 9, kAutoKey}, third}),
        Both("cut in its slots", "T0 D1 'L T1s D9 'U 's D1 T2s D3 'L", {first, third}),
        Both("cut before its weight", "T0 D1 'L T1s D9 'U 's D1 D1 'r T2s D3 'L", {first, third}),
        Both("cut behind its slots", "T0 D1 'L T1s D9 'U 's D1 D1 T2s D3 'L",
             {first, {1, 9, kUserKey, {1, 1}}, third}),
        Both("unknown weight letter", "T0 D1 'L T1s D9 'U 's D1 D1 'x T2s D3 'L",
             {first, {1, 9, kUserKey, {1, 1}}, third}),
        Both("cut in the middle of the run", "T0 D1 'L T2s D3 'L T3s", {first, third}),
        Both("letter and number in front", "'x D9 T0 D1 'L T2s D3 'L", {first, third}),
        {"a key without a time between two",
         "T-1s D1 'L I0 D2 'L T2s D3 'L",
         {{-1, 1, line}, third},
         {{-1, 1, line}, {0, 2, line}, third}},
        {"number between keys", "T0 D1 'L D9 T2s D3 'L", {first, third}, {first, third}},
        {"value of another type",
         "T0 D1 'L T1s I9 'L T2s D3 'L",
         {first, third},
         {first, {1, 0, line}, third}},
        {"slot of another type",
         "T0 D1 'L T1s D9 'U 's I1 D2 'n T2s D3 'L",
         {first, third},
         {first, {1, 9, kUserKey, {0, 2}}, third}},
        {"constant mode of another type",
         "T0 D1 'L T1s D9 'C D1 T2s D3 'L",
         {first, third},
         {first, {1, 9, eInterpolationConstant}, third}},
        {"tangent of another type",
         "T0 D1 'L T1s D9 'U D1 'c T2s D3 'L",
         {first, {1, 9, kAutoKey | eTangentClamp}, third},
         {first, third}},
        Both("another key behind an unknown letter", "T-1s D1 'L T-0.5s D9 'X D1 D2 'L T2s D3 'L",
             {{-1, 1, line}, third}),
        Both("all bad", "T0 D1 'X T1s D2 'X", {}),
        Both("no values", "", {}),
    };
    for (const BadKeyRow& row : rows) {
        for (const bool checked : {true, false}) {
            SCOPED_TRACE(std::string(row.name) + (checked ? ", checked" : ", unchecked"));
            KTdf tdf =
                FromText("Default: D7 KeyVer: I4007 KeyCount: I9 Key: " + std::string(row.keys) +
                         " Color: D0 D0 D0");
            tdf.SetCheckedReading(checked);
            const CurveHandle curve = Retrieved(tdf, false, true);
            std::vector<RefKey> expected;
            for (const StoredKey& each : checked ? row.checked : row.unchecked) {
                expected.push_back(ToRefKey(each));
            }
            ExpectKeys(*curve, expected, false);
            EXPECT_EQ(0.0f, curve->GetColor()[0]);  // what stands behind the run is read
        }
    }
}

TEST_F(CurveStore, WhereNoKeyIsLeftTheFirstValueIsTheDefault)
{
    KTdf tdf = FromText("Default: D7 KeyVer: I4007 KeyCount: I2 Key: T0 D1 'X T1s D2 'X");
    EXPECT_EQ(1.0f, Retrieved(tdf)->GetValue());
    tdf = FromText("Default: D7 KeyVer: I4007 KeyCount: I2 Key: 'L D1");
    EXPECT_EQ(7.0f, Retrieved(tdf)->GetValue());
}

TEST_F(CurveStore, NeighboursOfACustomKeySurvive)
{
    RefCurve curve = CurveOf({{0, 1, kUserKey, {2, 3}},
                              {1, 9, eInterpolationCustom | 0x100, {4, 5}},
                              {2, 3, kUserKey, {6, 7}},
                              {3, 4, kAutoKey, {8, 0}},
                              {4, 9, eInterpolationCustom | 0x100, {9, 9}},
                              {5, 2, kAutoKey, {0, 11}}});
    KTdf tdf;
    ToGlissa(curve)->TdfStore(&tdf, false, false, false);
    // The left side of a user key is its right one; an automatic one starts anew.
    ExpectKeys(*Retrieved(tdf), {{0, 1, kUserKey, {2, 6}},
                                 {2, 3, kUserKey, {6, 7}},
                                 {3, 4, kAutoKey | eTangentBreak, {8, 0}},
                                 {5, 2, kAutoKey, {0, 11}}});
}

// The same removal, key by key through the editing of the curve.
TEST_F(CurveStore, BadKeysGoAsKeyRemoveTakesThem)
{
    constexpr std::uint64_t kSeed = 77;
    Random random(kSeed);
    const std::uint32_t kinds[] = {kRefConstant, kRefLinear, kTcbKey,
                                   kBrokenKey,   kUserKey,   kAutoKey | kRefBreak};
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE("seed " + std::to_string(kSeed) + " round " + std::to_string(round));
        RefCurve all;
        std::vector<int> bad;
        double latest = -1.0;
        for (int i = 0; i < 2 + random.Below(60); ++i) {
            StoredKey key{latest + 1,
                          static_cast<float>(random.Below(9)),
                          kinds[random.Below(6)],
                          {static_cast<float>(random.Below(200)), 7.0f}};
            if (i > 0 && random.Below(2) == 0) {
                key.seconds = latest - random.Below(3);
                bad.push_back(i);
            } else {
                latest = key.seconds;
            }
            all.keys.push_back(ToRefKey(key));
        }
        all = Kept(all);
        CurveHandle removed = ToGlissa(all);
        KTdf tdf;
        removed->TdfStore(&tdf, false, false, false);
        for (auto each = bad.rbegin(); each != bad.rend(); ++each) {
            removed->KeyRemove(*each);
        }
        std::vector<RefKey> expected;
        for (int i = 0; i < removed->KeyGetCount(); ++i) {
            expected.push_back(KeyOf(*removed, i));
        }
        removed.reset();
        ExpectKeys(*Retrieved(tdf), expected);
    }
}

TEST_F(CurveStore, ACountIsBelievedAsFarAsTheFieldReaches)
{
    GLISSA_SetFCurveRecordMemoryBlockCount(0);
    const unsigned before = GetRecordingMemory();
    for (const char* count :
         {"I2147483647", "I2000000000", "I3", "I2", "I1", "I0", "I-1", "D2", "I-2147483648"}) {
        SCOPED_TRACE(count);
        KTdf tdf = FromText("Default: D0 KeyVer: I4007 KeyCount: " + std::string(count) +
                            " Key: T0 D1 'L T1s D1 'L");
        const CurveHandle curve = Retrieved(tdf);
        const int number = std::atoi(count + 1);
        EXPECT_EQ(*count == 'D' ? 0 : std::clamp(number, 0, 2), curve->KeyGetCount());
        EXPECT_LE(GetRecordingMemory() - before, 2048u);
    }
    for (const char* fields : {"KeyCount: I1000000000",
                               "KeyCount: I1000000000 Key:", "KeyCount: I5 Key: {\nKey: T0\n}"}) {
        KTdf tdf = FromText("Default: D0 KeyVer: I4007 " + std::string(fields));
        EXPECT_EQ(0, Retrieved(tdf)->KeyGetCount());
    }
}

// Removing them one by one would take minutes.
TEST_F(CurveStore, ManyBadKeysTakeNoLongerThanGoodOnes)
{
    constexpr int kKeys = 400000;
    KTdf tdf = FromText("Default: D0 KeyVer: I4007 KeyCount: I400000");
    tdf.FieldWriteBegin("Key");
    for (int i = 0; i < kKeys; ++i) {
        tdf.FieldWriteT(KTime(i / 2));
        tdf.FieldWriteD(i);
        tdf.FieldWriteCH('L');
    }
    tdf.FieldWriteEnd();
    const CurveHandle curve = Retrieved(tdf);
    EXPECT_EQ(kKeys / 2, curve->KeyGetCount());
    EXPECT_EQ(KTime(kKeys / 2 - 1), curve->KeyGetTime(kKeys / 2 - 1));
    EXPECT_EQ(kKeys / 4 * 2.0f, curve->Evaluate(KTime(kKeys / 4), nullptr));
}

// Hears of invalid values, and may empty the curve that is being read.
class InvalidValueListener final : public ICallback
{
public:
    explicit InvalidValueListener(Glissa* pToClear) : mToClear(pToClear)
    {
        GlissaInvalidKeyManager::TheOne().Register(eInvalidKeyFound, this, kHear, 0);
    }
    ~InvalidValueListener() override
    {
        GlissaInvalidKeyManager::TheOne().Unregister(eInvalidKeyFound, this, kHear);
    }
    IObject* IQuery(unsigned long, int) override { return nullptr; }
    void Destroy(int) override {}
    void Hear(IRegister*, KEventBase*)
    {
        ++mHeard;
        if (mToClear) {
            mToClear->KeyClear();
        }
    }

    int mHeard = 0;

private:
    static constexpr KCallbackMethod kHear =
        static_cast<KCallbackMethod>(&InvalidValueListener::Hear);

    Glissa* mToClear;
};

TEST_F(CurveStore, EveryKeyValueIsCheckedAndTheListenerMayDoAnything)
{
    const std::string text = "Default: Dinf KeyVer: I4007 KeyCount: I7 Key: T0 D1 'L T0 Dnan 'L "
                             "T0 D1 'L T1s D2 'U 'b D1 D1 'n T2s D1e300 'L T3s D1 'L T3s D1 'L";
    KTdf tdf = FromText(text);
    CurveHandle curve = Retrieved(tdf);
    EXPECT_EQ(HUGE_VALF, curve->KeyGetValue(2));
    EXPECT_EQ(HUGE_VALF, curve->GetValue());  // the default value is no key's
    for (const bool clears : {false, true}) {
        tdf.FieldReadRewind();
        const InvalidValueListener listener(clears ? curve.get() : nullptr);
        EXPECT_TRUE(curve->TdfRetrieve(&tdf, false, false));
        EXPECT_EQ(2, listener.mHeard);
        if (clears) {
            ExpectKeys(*curve, {{2, 0, eInterpolationLinear}, {3, 1, eInterpolationLinear}}, false);
        } else {
            ExpectKeys(*curve,
                       {{0, 1, eInterpolationLinear},
                        {1, 2, kBrokenKey, {1, 1}},
                        {2, 0, eInterpolationLinear},
                        {3, 1, eInterpolationLinear}},
                       false);
        }
    }
}
}  // namespace
