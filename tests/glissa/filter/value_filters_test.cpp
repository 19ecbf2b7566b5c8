// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/ext/invalid_key_manager.h"
#include "glissa/filter/clamp.h"
#include "glissa/filter/inverse.h"
#include "glissa/filter/scale.h"
#include "glissa/filter/test_template.h"
#include "tests/support/curve_test.h"
#include "tests/support/held_kinds.h"
#include "tests/support/host_listener.h"

#include <algorithm>
#include <cmath>

namespace
{
using ValueFilters = CurveTest;

std::uint32_t Interpolation(const RefCurve& pCurve, std::size_t pIndex)
{
    return pCurve.keys[pIndex].flags & 0xF;
}

void Limit(GlissaFilterClamp& pFilter, double pFloor, double pCeil)
{
    pFilter.SetApplyCeilClamping(true);
    pFilter.SetApplyFloorClamping(true);
    pFilter.SetFloor(pFloor);
    pFilter.SetCeil(pCeil);
}

void ExpectClamped(const Glissa& pCurve, float pFloor, float pCeil)
{
    const CurveHandle before(pCurve.Copy());
    const CurveHandle curve(pCurve.Copy());
    GlissaFilterClamp filter;
    Limit(filter, pFloor, pCeil);
    EXPECT_TRUE(filter.Apply(*curve));
    for (int i = 0; i <= 300; ++i) {
        const KTime time = Seconds(i / 100.0);
        const float wanted = std::clamp(before->Evaluate(time, nullptr), pFloor, pCeil);
        // The time of a crossing is found to 1e-5 of the value.
        ASSERT_NEAR(wanted, curve->Evaluate(time, nullptr), 2e-5) << time.GetSecondDouble();
    }
}

TEST_F(ValueFilters, AClampedCurveIsTheCurveCutOffAtTheLimits)
{
    ForEachPairOfHeldKinds([](const RefCurve& pCurve) {
        // Keys of steps beyond a limit go.
        if (Interpolation(pCurve, 1) != kRefConstant && Interpolation(pCurve, 2) != kRefConstant) {
            ExpectClamped(*ToGlissa(pCurve), 0.25f, 2.0f);
            ExpectClamped(*ToGlissa(pCurve), -0.5f, 2.2f);
        }
    });
    // Both extremes of a segment are beyond a limit.
    ExpectClamped(*MakeCurve({{0.0, 0.0f, 12.0f, 12.0f}, {3.0, 0.5f}}), -1.0f, 1.0f);
}

// The end of a long curve is put aside on the way: the beginning knows nothing of it, and its
// values are not checked again.
TEST_F(ValueFilters, TheLengthOfACurveDoesNotShowInItsBeginning)
{
    RefCurve source = MuseumRecording(3000);
    const CurveHandle curve = ToGlissa(source);
    const KTime wrong = curve->KeyGetTime(2990);
    curve->KeySetValue(2990, NAN);
    HostListener listener;
    auto& manager = GlissaInvalidKeyManager::TheOne();
    ASSERT_TRUE(manager.Register(eInvalidKeyFound, &listener, kHear, 0));
    source.keys.resize(400);
    const CurveHandle beginning = ToGlissa(source);
    GlissaFilterClamp filter;
    Limit(filter, 150.0, 170.0);
    EXPECT_TRUE(filter.Apply(*curve));
    EXPECT_TRUE(filter.Apply(*beginning));
    manager.Unregister(eInvalidKeyFound, &listener, kHear);
    EXPECT_EQ(0, listener.mCalls);
    EXPECT_TRUE(std::isnan(curve->Evaluate(wrong, nullptr)));
    const int same = beginning->KeyGetCount() - 10;
    ASSERT_GT(same, 50);
    for (int i = 0; i < same; ++i) {
        ASSERT_TRUE(HasSameKey(*curve, i, *beginning, i)) << i;
    }
}

TEST_F(ValueFilters, AClampAnswersWhetherKeysCameOrWent)
{
    constexpr char kUnchanged[] = "ClampFilter, No key were changed by filter.";
    GlissaFilterClamp filter;
    const CurveHandle line =
        MakeCurve({{0.0, 0.0f, 0.0f, 0.0f, kRefLinear}, {1.0, 2.0f, 0.0f, 0.0f, kRefLinear}});
    EXPECT_FALSE(filter.Apply(*line));
    EXPECT_STREQ(kUnchanged, filter.GetLastErrorString());
    Limit(filter, 2.0, 0.5);
    EXPECT_TRUE(filter.Apply(*line));
    EXPECT_EQ("0.25:0.5 1:2 ", KeysOf(*line));
    EXPECT_EQ(2.0, filter.GetCeil());
    EXPECT_EQ(GlissaFilterClamp::kSwapped, filter.GetLastErrorID());
    // A span that starts behind the first key leaves the key before it.
    line->KeySetValue(0, -4.0f);
    filter.SetStartTime(Seconds(0.5));
    EXPECT_TRUE(filter.Apply(*line));
    EXPECT_EQ("0.25:-4 0.8125:0.5 1:2 ", KeysOf(*line));
    // A key on the limit that leads beyond it holds, which is no change.
    const CurveHandle peak = MakeCurve({{0.0, 2.0f, 1.0f, -1.0f}, {1.0, 2.0f}});
    peak->SetValue(1.0f);
    filter.SetStartTime(kFromStart);
    EXPECT_FALSE(filter.Apply(*peak));
    EXPECT_EQ(eInterpolationConstant, peak->KeyGetInterpolation(0));
    EXPECT_STREQ(kUnchanged, filter.GetLastErrorString());
    const CurveHandle empty = MakeCurve({});
    empty->SetValue(3.0f);
    filter.SetFloor(NAN);
    EXPECT_FALSE(filter.ApplyFloorClamping(*empty));
    filter.SetFloor(0.5);
    EXPECT_TRUE(filter.ApplyCeilClamping(*empty));
    EXPECT_FALSE(filter.ApplyFloorClamping(*empty));
    EXPECT_EQ(2.0f, empty->GetValue());
}

TEST_F(ValueFilters, ACurveWithoutKeysIsLeftAlone)
{
    const CurveHandle empty = MakeCurve({});
    empty->SetValue(3.0f);
    GlissaFilterInverse inverse;
    EXPECT_TRUE(inverse.Apply(*empty));
    GlissaFilterScale scale;
    EXPECT_FALSE(scale.Apply(*empty));
    EXPECT_STREQ("FilterScale, No key were changed by filter.", scale.GetLastErrorString());
    scale.SetScale(2.0);
    EXPECT_TRUE(scale.Apply(*empty));
    EXPECT_EQ(3.0f, empty->GetValue());
    GlissaFilter_TestTemplate skeleton;
    EXPECT_FALSE(skeleton.Apply(*empty));
    EXPECT_STREQ("No key to be filtered.", skeleton.GetLastErrorString());
    // The default value changes whatever the span.
    const CurveHandle curve = MakeCurve({{0.0, 1.0f}, {1.0, 2.0f}, {2.0, 3.0f}});
    curve->SetValue(7.0f);
    inverse.SetStartTime(Seconds(2));
    EXPECT_TRUE(inverse.Apply(*curve));
    EXPECT_EQ("0:1 1:2 2:97 ", KeysOf(*curve));
    EXPECT_EQ(93.0f, curve->GetValue());
    EXPECT_FALSE(skeleton.Apply(*curve));
    EXPECT_EQ(eFilterUnchanged, skeleton.GetLastErrorID());
}

TEST_F(ValueFilters, AScaledCurveIsTheMultipleOfTheCurve)
{
    ForEachPairOfHeldKinds([](const RefCurve& pCurve) {
        constexpr std::uint32_t kUnbroken = kRefCubic | kRefUser;
        if (Interpolation(pCurve, 1) != kRefCubic || Interpolation(pCurve, 2) != kRefCubic ||
            pCurve.keys[1].flags == kUnbroken || pCurve.keys[2].flags == kUnbroken) {
            return;  // only slopes of cubic keys, and one for both sides of a plain user key
        }
        const CurveHandle before = ToGlissa(pCurve);
        const CurveHandle curve = ToGlissa(pCurve);
        GlissaFilterScale filter;
        filter.SetScale(-3.0);
        filter.SetApplyTangent(true);
        EXPECT_TRUE(filter.Apply(*curve));
        for (int i = 0; i <= 60; ++i) {
            const KTime time = Seconds(i / 20.0);
            ASSERT_NEAR(-3.0f * before->Evaluate(time, nullptr), curve->Evaluate(time, nullptr),
                        2e-5)
                << time.GetSecondDouble();
        }
    });
}
}  // namespace
