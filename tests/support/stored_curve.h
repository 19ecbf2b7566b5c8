// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "tests/support/curve_test.h"
#include "tests/support/text_document.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

// What the tests of the curve store expect of a curve that was read.

inline constexpr unsigned kAutoKey = eInterpolationCubic | eTangentAuto;
inline constexpr unsigned kUserKey = eInterpolationCubic | eTangentUser;
inline constexpr unsigned kBrokenKey = eInterpolationCubic | eTangentUserBreak;
inline constexpr unsigned kTcbKey = eInterpolationCubic | eTangentTCB;

/// One expected key. Weights as stored, times 9999.
struct StoredKey
{
    double seconds;
    float value;
    unsigned flags;
    float slots[2] = {0.0f, 0.0f};
    int right = 3333;
    int nextLeft = 3333;
};

inline RefKey ToRefKey(const StoredKey& pKey)
{
    RefKey key;
    key.time = KTime::FromSeconds(pKey.seconds).Get();
    key.value = pKey.value;
    key.flags = pKey.flags;
    key.slots[0] = pKey.slots[0];
    key.slots[1] = pKey.slots[1];
    key.SetWeights(pKey.right, pKey.nextLeft);
    return key;
}

inline RefCurve CurveOf(const std::vector<StoredKey>& pKeys)
{
    RefCurve curve;
    for (const StoredKey& each : pKeys) {
        curve.keys.push_back(ToRefKey(each));
    }
    return curve;
}

/// pSlotsOfLines  false: the slots of lines and steps, which mean nothing, may hold anything.
inline void ExpectKeys(const Glissa& pCurve, const std::vector<StoredKey>& pKeys,
                       bool pSlotsOfLines = true)
{
    const CurveHandle expected = ToGlissa(CurveOf(pKeys));
    EXPECT_EQ("", CheckBooks({&pCurve, expected.get()}));
    ASSERT_EQ(expected->KeyGetCount(), pCurve.KeyGetCount());
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        SCOPED_TRACE(i);
        const GlissaKey key = pCurve.KeyGet(i);
        const GlissaKey wanted = expected->KeyGet(i);
        EXPECT_EQ(wanted.GetTime(), key.GetTime());
        EXPECT_EQ(wanted.GetValue(), key.GetValue());
        EXPECT_EQ(wanted.GetAttributes().mFlags, key.GetAttributes().mFlags);
        const float* const slots = key.GetDataPtr();
        EXPECT_TRUE((!pSlotsOfLines && (pKeys[static_cast<std::size_t>(i)].flags & 8) == 0) ||
                    std::memcmp(wanted.GetDataPtr(), slots, 4 * sizeof(float)) == 0)
            << slots[0] << " " << slots[1] << " " << slots[2] << " " << slots[3];
        const KPriFCurveKeyAttr* block = pCurve.InternalPriKeyAttrGetPtr(i);
        const KPriFCurveKeyAttr* before = pCurve.InternalPriKeyAttrGetPtr(std::max(i - 1, 0));
        EXPECT_FALSE(block != before && *block == *before) << "shares no block";
    }
}

inline KTdf FromText(const std::string& pText)
{
    KTdf tdf;
    std::string error;
    EXPECT_TRUE(DocumentFromText(pText, tdf, error)) << error;
    return tdf;
}

inline std::string StoredText(Glissa& pCurve, bool pOnlyDefaults = false, bool pWithColor = false,
                              bool pOlderKeyForm = false)
{
    KTdf tdf;
    EXPECT_TRUE(pCurve.TdfStore(&tdf, pOnlyDefaults, pWithColor, pOlderKeyForm));
    return TextOfDocument(tdf);
}

/// No block is left behind when the curves of a test are gone.
inline CurveHandle Retrieved(KTdf& pTdf, bool pOnlyDefaults = false, bool pWithColor = false)
{
    CurveHandle curve(GlissaCreate());
    EXPECT_TRUE(curve->TdfRetrieve(&pTdf, pOnlyDefaults, pWithColor));
    return curve;
}

using CurveStore = CurveTest;
