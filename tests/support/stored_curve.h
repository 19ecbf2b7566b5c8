// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "tests/support/curve_test.h"
#include "tests/support/text_document.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <initializer_list>
#include <map>
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

inline std::string TextOf(const RefKey& pKey)
{
    char text[160];
    std::snprintf(text, sizeof text, "%lld %a flags %x slots %a %a %08x %08x",
                  static_cast<long long>(pKey.time), pKey.value, pKey.flags, pKey.slots[0],
                  pKey.slots[1], pKey.slot2, pKey.slot3);
    return text;
}

inline RefKey KeyOf(const Glissa& pCurve, int pIndex)
{
    const GlissaKey key = pCurve.KeyGet(pIndex);
    RefKey copy;
    copy.time = key.GetTime().Get();
    copy.value = key.GetValue();
    copy.flags = key.GetAttributes().mFlags;
    copy.slots[0] = key.GetDataPtr()[0];
    copy.slots[1] = key.GetDataPtr()[1];
    copy.slot2 = std::bit_cast<std::uint32_t>(key.GetDataPtr()[2]);
    copy.slot3 = std::bit_cast<std::uint32_t>(key.GetDataPtr()[3]);
    return copy;
}

/// pSlotsOfLines  false: the slots of lines and steps, which mean nothing, may hold anything.
inline void ExpectKeys(const Glissa& pCurve, const std::vector<RefKey>& pKeys,
                       bool pSlotsOfLines = true)
{
    EXPECT_EQ("", CheckBooks({&pCurve}));
    ASSERT_EQ(static_cast<int>(pKeys.size()), pCurve.KeyGetCount());
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        const RefKey& expected = pKeys[static_cast<std::size_t>(i)];
        RefKey key = KeyOf(pCurve, i);
        if (!pSlotsOfLines && (key.flags & 0xF) != kRefCubic) {
            std::copy_n(expected.slots, 2, key.slots);
        }
        EXPECT_EQ(TextOf(expected), TextOf(key)) << "key " << i;
        const KPriFCurveKeyAttr* block = pCurve.InternalPriKeyAttrGetPtr(i);
        const KPriFCurveKeyAttr* before = pCurve.InternalPriKeyAttrGetPtr(std::max(i - 1, 0));
        EXPECT_FALSE(block != before && *block == *before) << "key " << i << " shares no block";
    }
}

inline void ExpectKeys(const Glissa& pCurve, std::initializer_list<StoredKey> pKeys,
                       bool pSlotsOfLines = true)
{
    std::vector<RefKey> keys;
    for (const StoredKey& each : pKeys) {
        keys.push_back(ToRefKey(each));
    }
    ExpectKeys(pCurve, keys, pSlotsOfLines);
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
