// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The second road is anchored here to numbers worked out by hand, without the library.

#include "tests/support/reference.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
constexpr std::int64_t kSecond = 141120000;

RefKey Key(std::int64_t pSeconds, float pValue, std::uint32_t pFlags = kRefCubic | kRefAuto,
           float pSlot0 = 0.0f, float pSlot1 = 0.0f)
{
    RefKey key;
    key.time = pSeconds * kSecond;
    key.value = pValue;
    key.flags = pFlags;
    key.slots[0] = pSlot0;
    key.slots[1] = pSlot1;
    return key;
}

RefCurve Curve(std::vector<RefKey> pKeys)
{
    RefCurve curve;
    curve.keys = std::move(pKeys);
    return curve;
}

double At(const RefCurve& pCurve, double pSeconds)
{
    return static_cast<double>(
        RefEvaluate(pCurve, static_cast<std::int64_t>(pSeconds * static_cast<double>(kSecond)))
            .value);
}

TEST(Reference, SlopesOfAKeyBetweenSecants1And3)
{
    const std::uint32_t autoBreak = kRefCubic | kRefAuto | kRefBreak;
    const struct
    {
        std::uint32_t flags;
        float leftAuto;  // slot 1 of the key before
        float slot0;
        double left;
        double right;
    } cases[] = {
        {autoBreak, 0.0f, 0.0f, 2.0, 2.0},
        {autoBreak, 100.0f, 100.0f, 1.0, 3.0},
        {autoBreak, -100.0f, -100.0f, 3.0, 1.0},
        {autoBreak, 500.0f, 500.0f, -3.0, 7.0},
        // Twice the range: H gives -8 and 12, and the parabola adds 1000 away from the secants.
        {autoBreak, 1000.0f, 1000.0f, -1008.0, 1012.0},
        {autoBreak, -1000.0f, -1000.0f, 1012.0, -1008.0},
        {autoBreak | kRefProgressive, 0.0f, 0.0f, 2.0, 2.0},
        {autoBreak | kRefProgressive, 100.0f, -100.0f, 1.0, 1.0},
        {autoBreak | kRefProgressive, -100.0f, 100.0f, 3.0, 3.0},
        {kRefCubic | kRefTcb, 0.0f, 0.0f, 2.0, 2.0},
        {kRefCubic | kRefTcb, 0.0f, 0.5f, 1.0, 1.0},
        {kRefCubic | kRefUser, 7.0f, -7.0f, 7.0, -7.0},
        {kRefCubic | 0x800u, 7.0f, -7.0f, 0.0, 0.0},
        {kRefLinear, 0.0f, 0.0f, 2.0, 3.0},
        {kRefConstant, 0.0f, 0.0f, 2.0, 0.0},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.flags);
        SCOPED_TRACE(each.leftAuto);
        RefCurve curve = Curve({Key(0, 0.0f, kRefCubic | kRefAuto, 0.0f, each.leftAuto),
                                Key(1, 1.0f, each.flags, each.slot0), Key(2, 4.0f)});
        if ((each.flags & 0xF00) == kRefTcb) {
            curve.keys[1].SetBias(0.0f);
        }
        EXPECT_DOUBLE_EQ(each.left, static_cast<double>(RefKeyLeftDerivative(curve, 1).value));
        EXPECT_DOUBLE_EQ(each.right, static_cast<double>(RefKeyRightDerivative(curve, 1).value));
    }
}

TEST(Reference, SegmentsAtNumbersWorkedOutByHand)
{
    // Straight by its slopes: 0 to 10 at 10 a second.
    const std::uint32_t user = kRefCubic | kRefUser;
    RefCurve curve = Curve({Key(0, 0.0f, user, 10.0f, 10.0f), Key(1, 10.0f, user)});
    EXPECT_DOUBLE_EQ(2.5, At(curve, 0.25));
    // Flat at both ends: 3 t^2 - 2 t^3, slope 6 t (1 - t).
    curve.keys[0].slots[0] = curve.keys[0].slots[1] = 0.0f;
    EXPECT_DOUBLE_EQ(10.0 * 0.15625, At(curve, 0.25));
    EXPECT_DOUBLE_EQ(11.25, static_cast<double>(RefLeftDerivative(curve, kSecond / 4).value));
    // Handles half way along the time: the value of parameter 1/4, at the time of parameter 1/4.
    curve.keys[0].flags |= kRefWeightRight | kRefWeightNextLeft;
    curve.keys[0].SetWeights(5000, 5000);  // 5000/9999
    const double w = static_cast<double>(5000 / 9999.0f);
    const double x = 3 * 0.25 * 0.5625 * w + 3 * 0.0625 * 0.75 * (1 - w) + 0.015625;
    EXPECT_NEAR(10.0 * 0.15625, At(curve, x), 1e-6);  // the time is rounded to a tick

    curve.keys[0].flags = kRefLinear;
    EXPECT_DOUBLE_EQ(2.5, At(curve, 0.25));
    curve.keys[0].flags = kRefConstant;
    EXPECT_DOUBLE_EQ(0.0, At(curve, 0.75));
    curve.keys[0].flags = kRefConstant | kRefConstantNext;
    EXPECT_DOUBLE_EQ(10.0, At(curve, 0.25));
    curve.keys[0].flags = kRefCustom;
    EXPECT_DOUBLE_EQ(0.0, At(curve, 0.25));
}

TEST(Reference, ExtrapolationOfARiseFrom0To10InASecond)
{
    const struct
    {
        std::uint32_t mode;
        std::uint32_t count;
        double seconds;
        double expected;
    } cases[] = {
        {kRefHold, 7, 1.25, 10.0},
        {kRefRepeat, 2, 1.25, 2.5},
        {kRefRepeat, 2, -0.25, 7.5},
        {kRefRepeat, 2, 3.0, 10.0},
        {kRefRepeat, 2, 9.5, 10.0},
        {kRefRepeat, 2, -2.0, 0.0},
        {kRefMirror, 2, 1.25, 7.5},
        {kRefMirror, 2, 2.25, 2.5},
        {kRefMirror, 2, -0.25, 2.5},
        {kRefMirror, 2, -1.25, 7.5},
        {kRefKeepSlope, 0, 1.5, 10.0},
        {kRefKeepSlope, 1, 1.5, 15.0},
        {kRefKeepSlope, 1, 8.0, 20.0},
        {kRefKeepSlope, 1, -8.0, -10.0},
        {kRefKeepSlope, 0xFFFFFFFF, 1000.0, 10000.0},
        {kRefRelativeRepeat, 2, 1.5, 15.0},
        {kRefRelativeRepeat, 2, 2.5, 25.0},
        {kRefRelativeRepeat, 2, 3.0, 30.0},
        {kRefRelativeRepeat, 2, 7.0, 30.0},
        {kRefRelativeRepeat, 2, -0.5, -5.0},
        {kRefRelativeRepeat, 2, -9.0, -20.0},
        {kRefHoldNone, 3, 1.5, 10.0},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.mode);
        SCOPED_TRACE(each.seconds);
        RefCurve curve = Curve({Key(0, 0.0f, kRefLinear), Key(1, 10.0f, kRefLinear)});
        curve.pre = curve.post = each.mode;
        curve.preCount = curve.postCount = each.count;
        EXPECT_DOUBLE_EQ(each.expected, At(curve, each.seconds));
    }
}
}  // namespace
