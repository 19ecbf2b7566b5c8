// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Filters that smooth; table_test.cpp has what they make of small curves.

#include "corvekit/math/rotation_order.h"
#include "glissa/filter/gaussian.h"
#include "glissa/filter/peak_remover.h"
#include "glissa/filter/smooth.h"
#include "glissa/filter/smooth2.h"
#include "tests/support/curve_test.h"
#include "tests/support/node_stubs.h"
#include "tests/support/random_curve.h"
#include "tests/support/ref_rotation.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace
{
using Smoothing = CurveTest;

GlissaFilterGaussian WithDeviation(double pSeconds, double pRate)
{
    GlissaFilterGaussian filter;
    filter.SetStandardDeviation(pSeconds);
    filter.SetSamplingRate(pRate);
    return filter;
}

// Keys at odd times, so that each has samples of its own. A wave of frequency f keeps the share
// exp(-2 (pi f d)^2), in its values and in the slopes of user tangents. Behind the start of the
// span the change grows over three deviations.
TEST_F(Smoothing, AWaveKeepsItsPhaseAndALineStaysStraight)
{
    constexpr double kDeviation = 0.04;
    constexpr double kTurn = 2.0 * 3.14159265358979 * 3.0;  // 3 Hz
    Random random(5);
    std::vector<UserKey> keys;
    for (double time = -1.0; time < 1.0; time += 0.012 + 0.004 * random.Signed()) {
        keys.push_back({time, static_cast<float>(std::sin(kTurn * time) + 5.0 * time),
                        static_cast<float>(kTurn * std::cos(kTurn * time) + 5.0), 0.0f,
                        kRefCubic | kRefUser});
    }
    for (std::size_t i = 0; i + 1 < keys.size(); ++i) {
        keys[i].nextLeft = keys[i + 1].right;
    }
    const CurveHandle curve = MakeCurve(keys);
    GlissaFilterGaussian filter = WithDeviation(kDeviation, 300.0);
    filter.SetStartTime(Seconds(-0.5));
    ASSERT_TRUE(filter.Apply(*curve));
    const double loss = 1.0 - std::exp(-0.5 * kTurn * kTurn * kDeviation * kDeviation);
    for (int i = 0; i < curve->KeyGetCount(); ++i) {
        const double time = curve->KeyGetTime(i).GetSecondDouble();
        if (std::fabs(time) < 0.75) {
            const double u = std::clamp((time + 0.5) / (3.0 * kDeviation), 0.0, 1.0);
            const double share = 1.0 - loss * u * u * (3.0 - 2.0 * u);
            EXPECT_NEAR(share * std::sin(kTurn * time) + 5.0 * time, curve->KeyGetValue(i), 2e-5);
            const double slope = share * kTurn * std::cos(kTurn * time) + 5.0 -
                                 loss * 2.0 * u * (1.0 - u) / kDeviation * std::sin(kTurn * time);
            EXPECT_NEAR(slope, curve->KeyGetRightDerivative(i), 2e-3);
            EXPECT_NEAR(slope, curve->KeyGetLeftDerivative(i), 2e-3);
        }
    }
}

// A deviation of next to nothing moves nothing, corners included, and a constant is one to the bit.
TEST_F(Smoothing, WhatHasNothingToSmoothStaysAsItIs)
{
    for (const MuseumPiece& piece : Museum()) {
        const CurveHandle curve = ToGlissa(piece.curve);
        const CurveHandle before(curve->Copy());
        WithDeviation(1e-9, 120.0).Apply(*curve);
        for (int i = 0; i < curve->KeyGetCount(); ++i) {
            ASSERT_TRUE(HasSameKey(*before, i, *curve, i)) << piece.name << " key " << i;
        }
    }
    const CurveHandle constant = MakeCurve({{0.0, 0.1f}, {0.3, 0.1f}, {1.0, 0.1f}, {1.7, 0.1f}});
    EXPECT_TRUE(WithDeviation(0.7, 113.0).Apply(*constant));
    EXPECT_EQ("0:0.1 0.3:0.1 1:0.1 1.7:0.1 ", KeysOf(*constant));
}

constexpr double kPi = 3.14159265358979;

KTime Frame(int pFrame)
{
    return KTime::GetOneFrameValue(eTimeMode30) * pFrame;
}

// A rotation in an order with a key at each of 90 frames, and with the slopes of user tangents.
template <typename Motion>
NodePtr MakeRotation(int pOrder, const Motion& pMotion)
{
    NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    node->SetRotationOrder(pOrder);
    for (int frame = 0; frame <= 90; ++frame) {
        KgeRVector angles;
        KVdRotationOrder(pOrder).M2V(angles, pMotion(frame / 30.0));
        node->KeyAppendWithCheckForContinuousRotation(Frame(frame), angles.Data());
    }
    for (int axis = 0; axis < 3; ++axis) {
        Glissa& curve = *node->Get(axis)->FCurveGet();
        for (int frame = 0; frame <= 90; ++frame) {
            const float slope = curve.KeyGetRightDerivative(frame);
            curve.KeySetTangeantMode(frame, eTangentUserBreak);
            curve.KeySetLeftDerivative(frame, slope);
            curve.KeySetRightDerivative(frame, slope);
        }
    }
    return node;
}

RefRotation OrientationAt(GlissaNode& pNode, int pFrame)
{
    double angles[3];
    pNode.Evaluate(angles, Frame(pFrame));
    return RefRotation::OfAngles(angles, pNode.GetRotationOrder());
}

// A wave about an axis keeps the share of its frequency. Any motion is smoothed alike in all orders
// and after a constant turn. Slopes are those of the result, and nothing moves that is still.
TEST_F(Smoothing, ARotationIsSmoothedByItsOrientationsInEveryOrder)
{
    Random random(20260108);
    const auto any = [&random](double pLargest) {
        return KgeRVector(pLargest * random.Signed(), pLargest * random.Signed(),
                          pLargest * random.Signed());
    };
    GlissaFilterGaussian filter = WithDeviation(2.0 / 30.0, 30.0);
    const double share = std::exp(-2.0 * std::pow(kPi * 1.5 * 2.0 / 30.0, 2.0));
    for (int order = 0; order < 6; ++order) {
        SCOPED_TRACE(order);
        const KgeRVector angles = any(180.0);
        const KgeRMatrix turn(angles);
        KgeRVector axis = any(1.0);
        axis *= 1.0 / axis.Length();
        const auto wave = [&](double pTime) {
            const double half = 5.0 * kPi / 180.0 * std::sin(2.0 * kPi * 1.5 * pTime);
            const KgeRVector part = axis * std::sin(half);
            return turn * KgeRMatrix(KgeQuaternion(part[0], part[1], part[2], std::cos(half)));
        };
        const KgeRVector swing = any(70.0);
        const KgeRVector offset = any(180.0);
        const auto swings = [&](double pTime) {
            return KgeRMatrix(swing * std::sin(5.0 * pTime)) * KgeRMatrix(offset * pTime);
        };
        const NodePtr waving = MakeRotation(order, wave);
        const NodePtr plain = MakeRotation(0, swings);
        const NodePtr turned = MakeRotation(order, [&](double t) { return turn * swings(t); });
        const NodePtr still = MakeRotation(order, [&](double) { return turn; });
        const std::string before = KeysOf(*still->Get(1)->FCurveGet());
        for (GlissaNode* const each : {plain.get(), turned.get(), still.get(), waving.get()}) {
            EXPECT_TRUE(filter.Apply(*each, false));
        }
        EXPECT_EQ(before, KeysOf(*still->Get(1)->FCurveGet()));
        const RefRotation ref = RefRotation::OfAngles(angles.Data(), 0);
        for (int frame = 0; frame <= 90; ++frame) {
            EXPECT_GT(1e-3, RefDistance(ref * OrientationAt(*plain, frame),
                                        OrientationAt(*turned, frame)));
            if (frame >= 20 && frame <= 70) {
                const double degrees = 10.0 * share * std::sin(2.0 * kPi * 1.5 * frame / 30.0);
                const RefRotation smoothed =
                    ref * RefRotation::OfTurn({axis[0], axis[1], axis[2]}, degrees);
                EXPECT_GT(0.02, RefDistance(smoothed, OrientationAt(*waving, frame))) << frame;
                for (int i = 0; i < 3; ++i) {
                    Glissa& curve = *waving->Get(i)->FCurveGet();
                    const double slope =
                        15.0 * (curve.KeyGetValue(frame + 1) - curve.KeyGetValue(frame - 1));
                    EXPECT_NEAR(slope, curve.KeyGetRightDerivative(frame), 0.8) << frame;
                }
            }
        }
    }
}

TEST_F(Smoothing, ARotationNodeIsNotSmoothedAngleByAngleUnlessAskedTo)
{
    const NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    GlissaFilterSmooth filter;
    EXPECT_FALSE(filter.Apply(*node, true));  // nothing to smooth
    for (int i = 0; i < 3; ++i) {
        for (int key = 0; key < 8; ++key) {
            node->Get(i)->FCurveGet()->KeyAppendFast(Seconds(0.1 * key),
                                                     static_cast<float>(key * key));
        }
    }
    EXPECT_EQ(KError::kNone, filter.GetLastErrorID());
    filter.SetSampleCount(INT_MAX);
    EXPECT_FALSE(filter.Apply(*node, true));
    EXPECT_EQ(0, filter.GetLastErrorID());
    EXPECT_EQ(KTime::MinusInfinite(), filter.GetStartTime());  // a refusal keeps the span
    EXPECT_EQ(KTime::Infinite(), filter.GetStopTime());
    EXPECT_EQ(1.0f, node->Get(2)->FCurveGet()->KeyGetValue(1));
    filter.SetStartTime(Seconds(0.1));
    filter.SetStopTime(filter.GetStartTime());
    EXPECT_TRUE(filter.Apply(*node, true));  // an empty span
    filter.Reset();
    filter.SetUseQuaternion(false);
    EXPECT_TRUE(filter.Apply(*node, true));
    EXPECT_NE(1.0f, node->Get(2)->FCurveGet()->KeyGetValue(1));
    filter.SetSampleCount(INT_MIN);
    filter.SetWidth(KTime(INT64_MIN));
    EXPECT_EQ(INT_MAX, filter.GetSampleCount());
    EXPECT_EQ(KTime(INT64_MAX), filter.GetWidth());
}

// The point before, its distance 5 along (3, 4, 0), and a velocity at right angles, along it,
// against it, and none.
TEST_F(Smoothing, AStepIsLimitedBySpeedAndTurnsWithTheMotion)
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

TEST_F(Smoothing, ASteadyMotionLagsByAConstantAndCurvesShareTheirKeys)
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

TEST_F(Smoothing, RefusalsNameTheirReason)
{
    const NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
    Glissa* curves[3];
    for (int axis = 0; axis < 3; ++axis) {
        curves[axis] = node->Get(axis)->FCurveGet();
        curves[axis]->KeyAppendFast(Seconds(axis), 1.0f);
    }
    GlissaFilterSmooth2 filter;
    const auto expectRefusal = [&filter](bool pAnswer, int pId) {
        EXPECT_FALSE(pAnswer);
        EXPECT_EQ(pId, filter.GetLastErrorID());
        filter.Reset();
    };
    expectRefusal(filter.Apply(*MakeWide(2), true), 2);
    expectRefusal(filter.Apply(*curves[0]), 3);
    filter.SetStartTime(Seconds(2.0));
    expectRefusal(filter.Apply(curves, 3), 0);
    filter.SetFactor(std::nan(""));
    expectRefusal(filter.Apply(curves, 3), 1);
    filter.SetSampleCount(INT_MIN);  // stored as the greatest number
    expectRefusal(filter.Apply(curves, 3), 1);
    filter.SetWidth(KTime());  // stored as a tick, which changes nothing
    EXPECT_TRUE(filter.Apply(curves, 3));
    EXPECT_EQ("1:1 ", KeysOf(*curves[1]));
}

TEST_F(Smoothing, AStopOnAKeyLeavesItOutWithItsTangent)
{
    const CurveHandle curve =
        MakeCurve({{-1, 0, 7, 300}, {0, 0, 7}, {1, 9, 7}, {2, 0, 7, 5}, {3, 0, 7}, {4, 0, 7}});
    GlissaFilterPeakRemover filter;
    filter.SetValueTolerance(1.0);
    filter.SetStartTime(Seconds(0.0));
    filter.SetStopTime(Seconds(3.0));
    ASSERT_TRUE(filter.Apply(*curve));
    EXPECT_EQ("-1:0 0:0 1:0 2:0 3:0 4:0 ", KeysOf(*curve));
    EXPECT_EQ(7.0f, curve->KeyGetRightDerivative(0));
    EXPECT_TRUE(curve->IsKeyInterpolationPureCubicAuto(1));
    EXPECT_EQ(5.0f, curve->KeyGetLeftDerivative(4));
    EXPECT_EQ(7.0f, curve->KeyGetRightDerivative(4));
}
}  // namespace
