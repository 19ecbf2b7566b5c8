// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/store/tdf.h"
#include "tests/support/random_curve.h"
#include "tests/support/stored_curve.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>

namespace
{
// What is stored comes back in both ways of reading, evaluates to the same bits, and from then on
// is stored as the same bytes. A weight may lose a step, and an automatic key whose sides do not
// follow each other is broken from then on: of such a curve the keys are compared, not the values.
void ExpectRoundTrip(RefCurve pCurve)
{
    std::erase_if(pCurve.keys, [](const RefKey& pKey) {
        const unsigned kind = pKey.flags & 0xF;
        return kind != kRefConstant && kind != kRefLinear && kind != kRefCubic;
    });
    const CurveHandle curve = ToGlissa(pCurve);
    KTdf tdf;
    curve->TdfStore(&tdf, false, false, false);
    for (const bool checked : {true, false}) {
        SCOPED_TRACE(checked ? "checked" : "unchecked");
        tdf.SetCheckedReading(checked);
        tdf.FieldReadRewind();
        const CurveHandle back = Retrieved(tdf);
        EXPECT_EQ("", CheckBooks({curve.get(), back.get()}));
        ASSERT_EQ(curve->KeyGetCount(), back->KeyGetCount());
        bool isChanged = false;
        for (int i = 0; i < curve->KeyGetCount(); ++i) {
            const unsigned flags = curve->KeyGet(i).GetAttributes().mFlags;
            const unsigned changed = flags ^ back->KeyGet(i).GetAttributes().mFlags;
            const unsigned kind = flags & 0x70F;
            isChanged = isChanged || (flags & eWeightAll) != 0 || (changed & 0x7F0F) != 0;
            EXPECT_EQ(curve->KeyGetTime(i), back->KeyGetTime(i));
            EXPECT_EQ(curve->KeyGetValue(i), back->KeyGetValue(i));
            EXPECT_EQ(0u, changed & 0xF);
            // The format has no letter for other kinds: they come back as automatic.
            if (kind == kAutoKey || kind == kUserKey) {
                EXPECT_EQ(0u, changed & (0x700 | eWeightAll)) << i;
                for (const auto& [bit, side] : {std::pair{eWeightRight, eDataRightWeight},
                                                {eWeightNextLeft, eDataNextLeftWeight}}) {
                    if ((flags & bit) != 0) {
                        EXPECT_NEAR(curve->KeyGetDataDouble(i, side),
                                    back->KeyGetDataDouble(i, side), 1.01e-4f);
                    }
                }
            }
        }
        for (const std::int64_t time : MuseumTimes(pCurve)) {
            const float value = curve->Evaluate(KTime(time), nullptr);
            const float found = back->Evaluate(KTime(time), nullptr);
            ASSERT_TRUE(isChanged || value == found || (std::isnan(value) && std::isnan(found)))
                << time;
        }
        KTdf second = FromText(StoredText(*back));
        EXPECT_TRUE(isChanged || StoredText(*back) == StoredText(*Retrieved(second)));
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
}

TEST_F(CurveStore, TheOlderFormTellsAutomaticKeysBySlopes)
{
    // Values 0, 2, 2, 6, 8 in steps of a second. A slot 0 that is not 0, or a slot 1 that is not 0
    // in the key before, needs slopes; -100 on the right is the secant to the left.
    RefCurve curve = CurveOf({{0, 0, kAutoKey, {0, 0}},
                              {1, 2, kAutoKey | eWeightRight, {-100, 50}, 9999},
                              {2, 2, kAutoKey | eTangentBreak},
                              {3, 6, kAutoKey},
                              {4, 8, kUserKey, {1.5f, 1.5f}},
                              {5, 10, kAutoKey}});
    // Right of key 1: the secant before, 2. Left of key 2: a quarter of secant 4 after and three
    // quarters of secant 0 before, 1. Right of key 2: their mean, 2. Left of key 3: the mean of 4
    // and 2, 3. Key 4 is a user one: "d" has its left slope, which is slot 1 of key 3: 0.
    // Key 5 has one secant, 2, for both sides.
    EXPECT_EQ("Default: D0\nKeyVer: I4007\nKeyCount: I6\nKey: T0s D0 'U 'a "
              "T1s D2 'U 's D2 D1 'r D1 "
              "T2s D2 'U 'b D2 D3 'n "
              "T3s D6 'U 'd D0 'n "
              "T4s D8 'U 's D1.5 D1.5 'n "
              "T5s D10 'U 's D2 D0 'n\n",
              StoredText(*ToGlissa(curve), false, false, true));

    // Keys of other kinds are what they are; the mode of a constant one has the bit of an
    // automatic.
    curve = CurveOf({{0, 0, eInterpolationConstant | eConstantNext},
                     {1, 2, eInterpolationLinear},
                     {2, 2, eInterpolationConstant}});
    EXPECT_EQ(
        "Default: D0\nKeyVer: I4007\nKeyCount: I3\nKey: T0s D0 'C 'n T1s D2 'L T2s D2 'C 's\n",
        StoredText(*ToGlissa(curve), false, false, true));
}

TEST_F(CurveStore, MuseumCurvesComeBack)
{
    for (const MuseumPiece& piece : Museum()) {
        SCOPED_TRACE(piece.name);
        ExpectRoundTrip(piece.curve);
    }
    ExpectRoundTrip(MuseumRecording(5000));
    for (const std::uint32_t previous : MuseumKinds()) {
        for (const std::uint32_t key : MuseumKinds()) {
            SCOPED_TRACE(key);
            ExpectRoundTrip(MuseumTangentPair(previous, key));
        }
    }
}

TEST_F(CurveStore, RandomCurvesComeBackBitForBit)
{
    Random random(1606);
    for (int round = 0; round < 1000; ++round) {
        SCOPED_TRACE(round);
        ExpectRoundTrip(RandomMixedCurve(random));
        const Rule rule = random.Below(2) == 0 ? kUser : kAutomatic;
        ExpectRoundTrip(RandomWeightedCurve(rule, 1, 9899, random));
    }
}
}  // namespace
