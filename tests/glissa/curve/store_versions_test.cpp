// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Streams of every version, written by hand, and the keys that they mean, worked out by hand
// from the tables of the format.

#include "corvekit/store/tdf.h"
#include "tests/support/stored_curve.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
constexpr unsigned kConstant = eInterpolationConstant;
constexpr unsigned kLine = eInterpolationLinear;

const std::string kFolder = GLISSA_SOURCE_DIR "/tests/data/curve/";

struct Version
{
    const char* file;
    std::vector<StoredKey> keys;
};

// A bias of 0.25 has the bits of the weights 0 and 16000; a weight of 0.5 is 4999.
const Version kVersions[] = {
    // Handles 1 and 2 of the first segment, a second long: slopes (1 - 0) * 3 and (2 - 3) * -3. The
    // second segment lasts two seconds and ends at no handle: (4 - 3) * 3 / 2, and 0. The automatic
    // key at the end takes what the user key before it says of its left side.
    {"oldest_handles",
     {{0, 0, kBrokenKey, {3, 3}},
      {1, 3, kBrokenKey, {1.5f, 0}},
      {3, 5, kUserKey, {6, 7}},
      {4, 5, kUserKey, {7, 0}},
      {5, 9, kUserKey, {0, 0}}}},
    // Key 1, behind a step: 0, and the right slope of key 2. That is half of 1.5 times secant 4.
    // Key 3, a line behind TCB: its secant. Key 2, behind what is a user key now: its right slope,
    // and for key 3 half of 1.5 times secant 2. Key 5, automatic as the last one, behind a step.
    {"oldest_kinds",
     {{0, 0, kConstant},
      {1, 2, kUserKey, {0, 3}},
      {2, 6, kBrokenKey, {3, 1.5f}},
      {3, 6, kBrokenKey, {2, 2}},
      {4, 8, kConstant},
      {5, 8, kUserKey, {0, 0}}}},
    // Key 6 is automatic as the last one; key 5, behind TCB, takes its left slope by bias 0.5, half
    // of 0.5 times secant 2, and the secant to the last key. Key 2, behind an automatic one and
    // before a broken one: the mean of the secants 3 and 0, and the right slope of key 3. Key 1,
    // behind a user key whose left side an "a" set to 0: that, and the mean at key 2. Key 4: half
    // of 1.5 times secant 4, and as the left slope of key 5 the one above.
    {"version_3999",
     {{0, 0, kUserKey, {1, 0}},
      {1, 1, kUserKey, {0, 1.5f}},
      {2, 4, kUserKey, {1.5f, 5}},
      {3, 4, kBrokenKey, {5, 6}},
      {4, 8, kBrokenKey, {3, 0.5f}},
      {5, 8, kUserKey, {0.5f, 2}},
      {6, 10, kAutoKey, {1, 0}}}},
    {"version_3999_user_behind_tcb",
     {{0, 0, kTcbKey, {0, 0}, 0, 0},
      {1, 2, kBrokenKey, {1, 0}},
      {2, 2, kUserKey, {0, 1}},
      {3, 3, kAutoKey}}},
    {"version_3999_line_at_the_end", {{0, 0, kAutoKey, {0, 100}}, {1, 3, kAutoKey}}},
    {"version_4000",
     {{0, 0, kAutoKey, {0, 100}},
      {1, 1, kLine},
      {2, 2, kAutoKey, {-100, -20}},
      {3, 1, kUserKey, {3, 0}},
      {4, 0, kAutoKey, {0, 7}},
      {5, 0, kAutoKey, {0, 100}},
      {6, 1, kConstant},
      {7, 1, kBrokenKey, {1, 2}},
      {8, 1, kTcbKey, {0.5f, -0.5f}, 0, 16000},
      {9, 1, kAutoKey, {-2, 3}},
      {10, 1, kAutoKey | eTangentBreak | eWeightRight, {1, 2}, 4999}}},
    {"version_4001",
     {{0, 0, kAutoKey}, {1, 1, kUserKey, {1, 0}}, {2, 2, kAutoKey}, {3, 1, kBrokenKey, {3, 4}}}},
    {"version_4002",
     {{0, 0, kUserKey | eWeightRight, {1, 0}, 2499},
      {1, 1, kAutoKey},
      {2, 1, kAutoKey, {0, 9}},
      {3, 1, kAutoKey, {0, 5}},
      {4, 1, kBrokenKey, {1, 1}},
      {5, 1, kAutoKey, {0, 2}},
      {6, 1, kTcbKey, {0, 0}, 0, 16000},
      {7, 1, kAutoKey, {0, 100}},
      {8, 1, kConstant},
      {9, 2, kAutoKey | eWeightAll, {0, 1}, 1, 9899}}},
    {"version_4003",
     {{0, 0, kUserKey | eWeightRight, {1, 0}, 2499},
      {1, 1, kAutoKey},
      {2, 1, kAutoKey, {0, 9}},
      {3, 1, kAutoKey, {0, 5}}}},
    {"version_4004",
     {{0, 0, kLine},
      {1, 1, kAutoKey},
      {2, 1, kConstant | eConstantNext},
      {3, 1, kConstant},
      {4, 1, kConstant},
      {5, 1, kUserKey, {1, 2}},
      {6, 1, kAutoKey},
      {7, 1, kAutoKey | eTangentBreak, {3, 4}},
      {8, 1, kAutoKey, {-4, 0}},
      {9, 1, kLine}}},
    // Where the bad keys were, key 3 takes over the left side of the last one: its only secant
    // is that of both sides, which is parameter 0.
    {"version_4005",
     {{0, 0, kAutoKey | eTangentClamp},
      {1, 1, kAutoKey | eWeightRight, {0, 1}, 4999},
      {2, 3, kAutoKey | eTangentClamp, {-1, 2}},
      {3, 1, kAutoKey | eTangentBreak, {1, 0}},
      {7, 1, kLine}}},
    {"version_4006",
     {{0, 0, kUserKey | eWeightNextLeft, {1, 1}, 3333, 4999},
      {1, 1, kAutoKey | eTangentClamp | eTangentTimeIndependent},
      {2, 0, kAutoKey | eTangentTimeIndependent},
      {3, 1, kAutoKey | eTangentClamp},
      {4, 0, kLine}}},
    {"version_4007",
     {{0, 0, kAutoKey | eTangentProgressiveClamp | eWeightAll, {0, 0}, 2499, 7499},
      {1, 1, kAutoKey},
      {2, 1, kAutoKey | eTangentClamp | eTangentTimeIndependent},
      {3, 1, kUserKey, {1, 2}},
      {4, 1, kTcbKey, {0, 0}, 0, 16000},
      {5, 1, kAutoKey | eTangentClamp, {0, 4}},
      {6, 1, kAutoKey | eTangentBreak | eTangentTimeIndependent | eWeightRight, {1, 2}, 4999},
      {7, 1, kAutoKey, {-2, 0}},
      {8, 1, kBrokenKey | eWeightNextLeft, {1, 2}, 3333, 4999}}},
};

void ExpectRead(KTdf& pTdf, const std::vector<StoredKey>& pKeys)
{
    for (const bool checked : {true, false}) {
        SCOPED_TRACE(checked ? "checked" : "unchecked");
        pTdf.FieldReadRewind();
        pTdf.SetCheckedReading(checked);
        const CurveHandle curve(GlissaCreate());
        EXPECT_TRUE(curve->TdfRetrieve(&pTdf, false, false));
        ExpectKeys(*curve, pKeys);
    }
}

using CurveStoreVersions = CurveStore;

TEST_F(CurveStoreVersions, EveryVersionReadsAsItWasMeant)
{
    for (const Version& version : kVersions) {
        SCOPED_TRACE(version.file);
        KTdf tdf;
        DocumentFromFile(kFolder + version.file + ".txt", tdf);
        ExpectRead(tdf, version.keys);
    }
}

// What one key says of the key before must not reach others that share its block.
TEST_F(CurveStoreVersions, WhatIsSaidOfTheKeyBeforeReachesNoOther)
{
    KTdf tdf = FromText("Default: D0 KeyVer: I4002 KeyCount: I5 Key: T0 D1 'U 's D1 D2 'l D0.5 "
                        "T1s D1 'U 's D1 D2 'l D0.5 T2s D1 'U 'a T3s D1 'U 'a T4s D1 'L");
    ExpectRead(tdf, {{0, 1, kUserKey | eWeightNextLeft, {1, 2}, 3333, 4999},
                     {1, 1, kUserKey, {1, 0}},
                     {2, 1, kAutoKey},
                     {3, 1, kAutoKey, {0, 100}},
                     {4, 1, kLine}});
    EXPECT_EQ(0.0f, GlissaDefaultKeyAttr->mData[1]);

    tdf = FromText("Default: D0 KeyVer: I4005 KeyCount: I3 Key: T0 D1 'U 's D1 D2 'l D0.5 "
                   "T1s D1 'U 's D1 D2 'l D0.5 T2s D1 'U 'a 'n");
    ExpectRead(tdf, {{0, 1, kUserKey | eWeightNextLeft, {1, 2}, 3333, 4999},
                     {1, 1, kUserKey, {1, 2}},
                     {2, 1, kAutoKey}});
}
}  // namespace
