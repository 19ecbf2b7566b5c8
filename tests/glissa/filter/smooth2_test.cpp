// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/smooth2.h"
#include "tests/support/node_stubs.h"
#include "tests/support/span_test.h"

#include <climits>
#include <cmath>

namespace
{
using Smooth2 = SpanTest;

// The point before, its distance 5 along (3, 4, 0), and a velocity at right angles, along it,
// against it, and none.
TEST_F(Smooth2, AStepIsLimitedBySpeedAndTurnsWithTheMotion)
{
    const struct
    {
        KgeTVector velocity;
        double elapsed;
        KgeTVector expected;
    } rows[] = {
        {{0, 0, 10}, 1.0, {1 + 1.5, 2 + 2, 3 + 5}},  // half of the way, half of the motion
        {{6, 8, 0}, 1.0, {1 + 3, 2 + 4, 3}},         // all of the way
        {{3, 4, 0}, 0.5, {1 + 2.625, 2 + 3.5, 3}},   // 0.75 of the way, 0.25 of the motion
        {{-6, -8, 0}, 1.0, {1 - 6, 2 - 8, 3}},       // the motion alone
        {{0, 0, 0}, 1.0, {1, 2, 3}},
    };
    GlissaFilterSmooth2 filter;
    for (const auto& row : rows) {
        KgeTVector position(4, 6, 3);
        KgeTVector previous(1, 2, 3);
        KgeTVector velocity = row.velocity;
        filter.DampGT(position, previous, velocity, row.elapsed, 1.5);
        EXPECT_NEAR(0.0, (position - row.expected).Length(), 1e-12) << row.velocity[2];
        EXPECT_EQ(previous, position);
    }
}

TEST_F(Smooth2, ASteadyMotionLagsByAConstantAndCurvesShareTheirKeys)
{
    const NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
    GlissaFilterSmooth2 filter;
    EXPECT_FALSE(filter.Apply(*node, false));
    EXPECT_STREQ("FCurveSmooth2, No keys.", filter.GetLastErrorString());
    Glissa* curves[3];
    for (int axis = 0; axis < 3; ++axis) {
        curves[axis] = node->Get(axis)->FCurveGet();
    }
    curves[0]->SetValue(7.0f);
    for (int i = 0; i <= 120; ++i) {
        curves[0]->KeyAppendFast(Seconds(i / 30.0), static_cast<float>(i * 100.0 / 30.0));
    }
    curves[0]->KeySetSelected(60, true);
    curves[2]->KeyAppendFast(Seconds(2.0), 5.0f);
    filter.SetStartTime(Seconds(1.0));
    filter.SetStopTime(Seconds(3.5));
    ASSERT_TRUE(filter.Apply(*node, false));
    EXPECT_EQ(121, curves[0]->KeyGetCount());
    EXPECT_EQ(7.0f, curves[0]->GetValue());
    EXPECT_TRUE(curves[0]->KeyGetSelected(60));
    EXPECT_EQ(76, curves[1]->KeyGetCount());  // those of the span
    for (int i = 0; i <= 120; ++i) {
        const double lag = i * 100.0 / 30.0 - curves[0]->KeyGetValue(i);
        if (i <= 30 || i >= 105) {
            EXPECT_EQ(static_cast<float>(i * 100.0 / 30.0), curves[0]->KeyGetValue(i)) << i;
        } else if (i > 60 && i < 100) {
            EXPECT_NEAR(0.12, lag, 0.005) << i;
        }
    }
}

TEST_F(Smooth2, RefusalsNameTheirReason)
{
    const NodePtr pair = MakeWide(2);
    const NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
    Glissa* curves[3];
    for (int axis = 0; axis < 3; ++axis) {
        curves[axis] = node->Get(axis)->FCurveGet();
        curves[axis]->KeyAppendFast(Seconds(axis), 1.0f);
    }
    GlissaFilterSmooth2 filter;
    EXPECT_FALSE(filter.Apply(*pair, true));
    EXPECT_EQ(2, filter.GetLastErrorID());
    EXPECT_FALSE(filter.Apply(*curves[0]));
    EXPECT_EQ(3, filter.GetLastErrorID());
    filter.SetStartTime(Seconds(2.0));
    EXPECT_FALSE(filter.Apply(curves, 3));
    EXPECT_STREQ("FCurveSmooth2, Invalid Time Span.", filter.GetLastErrorString());
    filter.Reset();
    filter.SetFactor(std::nan(""));
    EXPECT_FALSE(filter.Apply(curves, 3));
    EXPECT_EQ(1, filter.GetLastErrorID());
    filter.Reset();
    filter.SetSampleCount(1 << 30);
    EXPECT_FALSE(filter.Apply(curves, 3));
    filter.Reset();
    filter.SetWidth(KTime());
    EXPECT_EQ(KTime(1), filter.GetWidth());
    EXPECT_TRUE(filter.Apply(curves, 3));
    EXPECT_EQ("1:1 ", KeysOf(*curves[1]));
    filter.SetSampleCount(INT_MIN);
    EXPECT_EQ(INT_MAX, filter.GetSampleCount());
}
}  // namespace
