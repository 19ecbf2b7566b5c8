// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/math/rotation_order.h"
#include "glissa/filter/euler_to_quat.h"
#include "glissa/filter/quat_to_euler.h"
#include "glissa/filter/smooth.h"
#include "tests/support/curve_test.h"
#include "tests/support/node_stubs.h"

#include <cmath>
#include <random>

namespace
{
using RotationForm = CurveTest;

const KTime kFrame = KTime::GetOneFrameValue(eTimeMode30);

// A rotation of cubic curves from 0 to 2 s, which passes gimbal lock now and then.
NodePtr MakeRotation(std::mt19937_64& pRandom)
{
    NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    for (int axis = 0; axis < 3; ++axis) {
        float value = 0.0f;
        for (int key = 0; key <= 8; ++key) {
            value += std::uniform_real_distribution<float>(-90.0f, 90.0f)(pRandom);
            node->Get(axis)->FCurveGet()->KeyAppendFast(Seconds(0.25 * key), value);
        }
        node->Get(axis)->FCurveGet()->SetValue(40.0f);
    }
    return node;
}

// In degrees, at some frames.
double LargestTurn(GlissaNode& pFrom, GlissaNode& pTo, int pFirst, int pLast)
{
    double largest = 0.0;
    for (int frame = pFirst; frame <= pLast; ++frame) {
        largest = std::fmax(largest, RefDistance(OrientationAt(pFrom, kFrame * frame),
                                                 OrientationAt(pTo, kFrame * frame)));
    }
    return largest;
}

// By the turn about its axis.
RefRotation OfQuaternion(const double* pParts)
{
    const long double length = std::hypot(pParts[0], pParts[1], pParts[2]);
    const long double turn = 2 * std::atan2(length, static_cast<long double>(pParts[3]));
    return RefRotation::OfTurn({pParts[0] / length, pParts[1] / length, pParts[2] / length},
                               turn * RefRotation::kDegrees);
}

TEST_F(RotationForm, ARotationIsTheSameAsQuaternionsAndAsAnglesAgain)
{
    std::mt19937_64 random(20260104);
    for (int i = 0; i < 40; ++i) {
        SCOPED_TRACE(i);
        const NodePtr node = MakeRotation(random);
        const NodePtr before(node->Clone(false));
        GlissaFilterEulerToQuat there;
        there.SetFramePeriod(kFrame);
        ASSERT_TRUE(there.Apply(*node, true));
        ASSERT_EQ(61, node->Get(3)->FCurveGet()->KeyGetCount());
        double last[4] = {0.0, 0.0, 0.0, 1.0};
        for (int frame = 0; frame <= 60; ++frame) {
            double parts[4];
            double dot = 0.0;
            for (int part = 0; part < 4; ++part) {
                parts[part] = node->Get(part)->FCurveGet()->KeyGetValue(frame);
                dot += parts[part] * last[part];
                last[part] = parts[part];
            }
            EXPECT_LE(0.0, dot) << frame;
            const RefRotation was = OrientationAt(*before, kFrame * frame);
            EXPECT_GT(2e-5, RefDistance(was, OfQuaternion(parts)));
        }
        // A quaternion of another length is the same rotation.
        for (int part = 0; part < 4; ++part) {
            node->Get(part)->FCurveGet()->KeyScaleValue(false, 0.25f);
        }
        GlissaFilterQuatToEuler back;
        back.SetFramePeriod(kFrame);
        ASSERT_TRUE(back.Apply(*node, true));
        ASSERT_EQ(3, node->GetCount());
        EXPECT_GT(1e-3, LargestTurn(*before, *node, 0, 60));
        for (int axis = 0; axis < 3; ++axis) {
            EXPECT_NEAR(40.0f, node->Get(axis)->FCurveGet()->GetValue(), 1e-4);
        }
    }
}

TEST_F(RotationForm, WhatIsRefusedAndWhatStays)
{
    std::mt19937_64 random(20260105);
    const NodePtr node = MakeRotation(random);
    const NodePtr vector = MakeChannel(KDataTypeLclTranslation, "T");
    Glissa& x = *node->Get(0)->FCurveGet();
    const std::string keys = KeysOf(x);
    GlissaFilterEulerToQuat there;
    GlissaFilterQuatToEuler back;
    EXPECT_EQ(KTime(5880000), there.GetFramePeriod());
    there.SetFramePeriod(KTime());
    const struct
    {
        GlissaFilter& filter;
        GlissaNode* node;
        const char* text;
    } refusals[] = {
        {there, nullptr, "EulerToQuat, This filters works only on FCurveNodes."},
        {back, nullptr, "QuatToEuler, No key were changed by filter."},
        {back, node.get(), "QuatToEuler, Not a quaternion node."},
        {there, vector.get(), "EulerToQuat, Node is not a Euler node."},
        {there, node.get(), "EulerToQuat, The frame period is out of range."},
    };
    for (const auto& row : refusals) {
        EXPECT_FALSE(row.node ? row.filter.Apply(*row.node, true) : row.filter.Apply(x));
        EXPECT_STREQ(row.text, row.filter.GetLastErrorString());
    }
    EXPECT_EQ(3, node->GetCount());

    // An instant: nothing is sampled, but the node gets its fourth child.
    there.SetStopTime(x.KeyGetTime(0));
    back.SetStopTime(x.KeyGetTime(0));
    EXPECT_TRUE(there.Apply(*node, true) && back.Apply(*node, true));
    EXPECT_EQ(4, node->GetCount());
    EXPECT_EQ(keys, KeysOf(x));

    // A second W does not hide the first one. A locked layer ends the walk along the layers.
    StubLayer layers[2];
    layers[0].mLocked = true;
    node->SetMultiLayer(true);
    GlissaNode* const locked = node->CreateLayerAt(GlissaLayerInfo(1, &layers[0]));
    GlissaNode* const open = node->CreateLayerAt(GlissaLayerInfo(2, &layers[1]));
    const int children = open->GetCount();
    there.Reset();
    EXPECT_TRUE(there.Apply(*node, true));
    EXPECT_EQ(5, node->GetCount());
    EXPECT_LT(0, node->Get(3)->FCurveGet()->KeyGetCount());
    EXPECT_EQ(0, node->Get(4)->FCurveGet()->KeyGetCount());
    EXPECT_EQ(children, locked->GetCount());
    EXPECT_EQ(children, open->GetCount());
    layers[0].mLocked = false;
    EXPECT_TRUE(there.Apply(*node, true));
    EXPECT_EQ(children + 1, open->GetCount());
}

// A motion with a key at each frame is smoothed to the same orientations whatever order its angles
// are in, and keeps what it was at the ends of the span and outside.
TEST_F(RotationForm, SmoothingARotationDoesNotDependOnItsOrder)
{
    std::mt19937_64 random(20260107);
    for (int order = 0; order < 6; ++order) {
        SCOPED_TRACE(order);
        const NodePtr motion = MakeRotation(random);
        const NodePtr nodes[] = {MakeChannel(KDataTypeLclRotation, "R"),
                                 MakeChannel(KDataTypeLclRotation, "R")};
        nodes[1]->SetRotationOrder(order);
        for (int frame = 0; frame <= 60; ++frame) {
            KgeRVector angles;
            motion->Evaluate(angles.Data(), kFrame * frame);
            for (const NodePtr& node : nodes) {
                KgeRMatrix matrix;
                KVdRotationOrder().V2M(matrix, angles);
                KgeRVector own;
                KVdRotationOrder(node->GetRotationOrder()).M2V(own, matrix);
                node->KeyAppendWithCheckForContinuousRotation(kFrame * frame, own.Data());
            }
        }
        GlissaFilterSmooth filter;
        filter.SetStartTime(kFrame * 10);
        const KTime stop = kFrame * 50 + kFrame / 2;
        filter.SetStopTime(stop);
        const RefRotation atStop = OrientationAt(*nodes[1], stop);
        EXPECT_TRUE(filter.Apply(*nodes[0], true) && filter.Apply(*nodes[1], true));
        EXPECT_GT(1e-3, LargestTurn(*nodes[0], *nodes[1], 0, 60));
        EXPECT_GT(1e-3, LargestTurn(*motion, *nodes[1], 0, 10));
        EXPECT_LT(0.1, LargestTurn(*motion, *nodes[1], 11, 50));
        EXPECT_GT(1e-3, LargestTurn(*motion, *nodes[1], 51, 60));
        EXPECT_GT(1e-3, RefDistance(atStop, OrientationAt(*nodes[1], stop)));
        EXPECT_EQ(order, nodes[1]->GetRotationOrder());
        filter.SetStopTime(Seconds(9.0));
        EXPECT_TRUE(filter.Apply(*nodes[0], true));
        const Glissa& curve = *nodes[0]->Get(0)->FCurveGet();
        EXPECT_EQ(kFrame * 60, curve.KeyGetTime(curve.KeyGetCount() - 1));
    }
}
}  // namespace
