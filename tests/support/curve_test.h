// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "tests/support/edit_check.h"
#include "tests/support/museum.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

// Small curves, and how tests compare them.

inline const KTime kFromStart = KTime::MinusInfinite();
inline const KTime kToEnd = KTime::Infinite();

inline KTime Seconds(double pSeconds)
{
    return KTime::FromSeconds(pSeconds);
}

struct UserKey
{
    double seconds;
    float value;
    float right = 0.0f;
    float nextLeft = 0.0f;
    std::uint32_t flags = kRefCubic | kRefUser | kRefBreak;
};

inline CurveHandle MakeCurve(const std::vector<UserKey>& pKeys)
{
    RefCurve curve;
    for (const UserKey& each : pKeys) {
        RefKey key;
        key.time = Seconds(each.seconds).Get();
        key.value = each.value;
        key.flags = each.flags;
        key.slots[0] = each.right;
        key.slots[1] = each.nextLeft;
        curve.keys.push_back(key);
    }
    return ToGlissa(curve);
}

/// Three keys of one kind, a second apart: up to the second one and down again.
inline CurveHandle ThreeKeys(std::uint32_t pFlags)
{
    return MakeCurve({{0.0, 0.0f, 0.25f, 0.5f, pFlags},
                      {1.0, 4.0f, 0.25f, 0.5f, pFlags},
                      {2.0, 1.0f, 0.25f, 0.5f, pFlags}});
}

inline bool HasSameKey(const Glissa& pLeft, int pLeftIndex, const Glissa& pRight, int pRightIndex)
{
    const GlissaKey left = pLeft.KeyGet(pLeftIndex);
    const GlissaKey right = pRight.KeyGet(pRightIndex);
    return left.GetTime() == right.GetTime() && left.GetValue() == right.GetValue() &&
           std::memcmp(&left.GetAttributes(), &right.GetAttributes(),
                       sizeof(GlissaKeyAttributes)) == 0;
}

/// Times and values as text, for whole-curve comparisons that can be read.
inline std::string KeysOf(const Glissa& pCurve)
{
    std::string text;
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        char key[64];
        std::snprintf(key, sizeof key, "%g:%g ", pCurve.KeyGetTime(i).GetSecondDouble(),
                      static_cast<double>(pCurve.KeyGetValue(i)));
        text += key;
    }
    return text;
}

/// So many keys a second apart with the default attributes; each value is the key's index.
inline CurveHandle PlainCurve(int pKeys)
{
    CurveHandle curve(GlissaCreate());
    for (int i = 0; i < pKeys; ++i) {
        curve->KeyAppendFast(Seconds(i), static_cast<float>(i));
    }
    return curve;
}

/// No attribute block is left over when a test ends.
class CurveTest : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ("", CheckBooks({})); }
};
