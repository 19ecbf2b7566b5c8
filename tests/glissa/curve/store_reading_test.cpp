// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Streams that lack something, are damaged or lie: what of them becomes a curve, and what does not
// happen to the one that is read into.

#include "corvekit/store/tdf.h"
#include "glissa/ext/invalid_key_manager.h"
#include "tests/support/host_listener.h"
#include "tests/support/stored_curve.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{
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

TEST_F(CurveStore, ReadingIsSilentAndLeavesOwnerAndListeners)
{
    // An old version and a bad key: every operation inside that posts an event.
    const std::string text = "Default: D1 KeyVer: I0 KeyCount: I5 Key: T0 D1 'U 'a T1s D2 'L "
                             "T1s D3 'L T2s D0 'U 's D1 D1 T3s D1 'L";
    for (const bool inBracket : {false, true}) {
        KTdf tdf = FromText(text);
        const CurveHandle curve = ToGlissa(MuseumRecording(100));
        auto* const owner = reinterpret_cast<GlissaNode*>(curve.get());
        curve->SetOwner(owner);
        const EventRecorder events(*curve);
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
        EXPECT_TRUE(events.Heard().empty());
        EXPECT_EQ(owner, curve->GetOwner());
        EXPECT_NE(id, curve->GetUpdateId());
        curve->KeySetValue(0, 5.0f);
        EXPECT_EQ(1u, events.Heard().size());
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
        Both("values behind an unknown letter", "T0 D1 'L T1s D9 'X D1 'L D2 T2s D3 'L",
             {first, third}),
        Both("values of a damaged key before time 0", "T-1s D1 'L T-0.5s D9 'X D2 D5 'L T2s D3 'L",
             {{-1, 1, line}, third}),
        Both("unknown tangent", "T0 D1 'L T1s D9 'U 'f 'n 'n T2s D3 'L", {first, third}),
        Both("unknown clamp", "T0 D1 'L T1s D9 'U 'a 'n 'x T2s D3 'L", {first, third}),
        Both("custom key", "T0 D1 'L T1s D9 T2s D3 'L", {first, third}),
        Both("tangent without a letter", "T0 D1 'L T1s D9 'U T2s D3 'L",
             {first, {1, 9, kAutoKey}, third}),
        Both("cut in its slots", "T0 D1 'L T1s D9 'U 's D1 T2s D3 'L", {first, third}),
        Both("cut in the middle of the run", "T0 D1 'L T2s D3 'L T3s", {first, third}),
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
            ExpectKeys(*curve, checked ? row.checked : row.unchecked, false);
            EXPECT_EQ(0.0f, curve->GetColor()[0]);  // what follows the keys is read
        }
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
        const CurveHandle curve(GlissaCreate());
        int stored = 0;
        EXPECT_TRUE(curve->TdfRetrieve(&tdf, false, false, &stored));
        const int number = *count == 'D' ? 0 : std::atoi(count + 1);
        EXPECT_EQ(std::clamp(number, 0, 2), curve->KeyGetCount());
        EXPECT_EQ(std::max(number, 2), stored);
        EXPECT_LE(GetRecordingMemory() - before, 2048u);
    }
    for (const char* fields : {"KeyCount: I1000000000",
                               "KeyCount: I1000000000 Key:", "KeyCount: I5 Key: {\nKey: T0\n}"}) {
        KTdf tdf = FromText("Default: D0 KeyVer: I4007 " + std::string(fields));
        EXPECT_EQ(0, Retrieved(tdf)->KeyGetCount());
    }
}

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
        HostListener listener([&](KEventBase*) {
            if (clears) {
                curve->KeyClear();
            }
        });
        auto& manager = GlissaInvalidKeyManager::TheOne();
        manager.Register(eInvalidKeyFound, &listener, kHear, 0);
        EXPECT_TRUE(curve->TdfRetrieve(&tdf, false, false));
        manager.Unregister(eInvalidKeyFound, &listener, kHear);
        EXPECT_EQ(2, listener.mCalls);
        if (clears) {
            EXPECT_EQ(0, curve->KeyGetCount());  // it is called when the curve has been read
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
