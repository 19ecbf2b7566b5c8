// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Filters that repair rotations. Orientations are compared as matrices in long double.

#include "glissa/filter/unroll.h"
#include "glissa/filter/unroll_dof.h"
#include "tests/support/curve_test.h"
#include "tests/support/filter_rows.h"
#include "tests/support/node_stubs.h"
#include "tests/support/random_curve.h"
#include "tests/support/ref_rotation.h"

#include <array>
#include <cmath>
#include <limits>
#include <set>

namespace
{
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
using Angles = std::array<double, 3>;

/// Keys a tenth of a second apart.
NodePtr MakeRotation(const std::vector<Angles>& pKeys, int pOrder = 0)
{
    NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    node->SetRotationOrder(pOrder);
    for (std::size_t i = 0; i < pKeys.size(); ++i) {
        for (int axis = 0; axis < 3; ++axis) {
            node->Get(axis)->FCurveGet()->KeyAppendFast(
                Seconds(0.1 * static_cast<double>(i)),
                static_cast<float>(pKeys[i][static_cast<std::size_t>(axis)]));
        }
    }
    return node;
}

/// A random walk that often passes lock and wraps at half a turn.
std::vector<Angles> RandomKeys(Random& pRandom, int pCount)
{
    std::vector<Angles> keys;
    Angles angles = {100 * pRandom.Signed(), 100 * pRandom.Signed(), 100 * pRandom.Signed()};
    for (int i = 0; i < pCount; ++i) {
        for (double& each : angles) {
            each = std::remainder(each + 60 * pRandom.Signed(), 360.0);
        }
        keys.push_back(angles);
        keys.back()[1] = pRandom.Below(9) == 0 ? 90.0 : angles[1];
    }
    return keys;
}

Angles AnglesAt(GlissaNode& pNode, KTime pTime)
{
    Angles angles;
    pNode.GeneralEvaluate(angles.data(), pTime);
    return angles;
}

/// Degrees between the orientations of two nodes of one order.
double DistanceAt(GlissaNode& pLeft, GlissaNode& pRight, KTime pTime)
{
    const int order = pLeft.GetRotationOrder();
    return RefDistance(RefRotation::OfAngles(AnglesAt(pLeft, pTime).data(), order),
                       RefRotation::OfAngles(AnglesAt(pRight, pTime).data(), order));
}

/// The largest distance at the keys of the first one.
double DistanceAtKeys(GlissaNode& pLeft, GlissaNode& pRight)
{
    double distance = 0.0;
    for (int axis = 0; axis < 3; ++axis) {
        const Glissa& curve = *pLeft.Get(axis)->FCurveGet();
        for (int i = 0; i < curve.KeyGetCount(); ++i) {
            distance = std::max(distance, DistanceAt(pLeft, pRight, curve.KeyGetTime(i)));
        }
    }
    return distance;
}

std::string KeysOf(GlissaNode& pNode, int pAxis)
{
    return KeysOf(*pNode.Get(pAxis)->FCurveGet());
}

using RotationRepair = CurveTest;

TEST_F(RotationRepair, UnrollKeepsEachOrientationAndTurnsByLessThanHalfATurn)
{
    for (int seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        Random random(static_cast<std::uint64_t>(seed));
        const NodePtr node = MakeRotation(RandomKeys(random, 20), seed % 6);
        const NodePtr before(node->Clone(false));
        GlissaFilterUnroll filter;
        ASSERT_TRUE(filter.Apply(*node, false));
        EXPECT_LT(DistanceAtKeys(*before, *node), 1e-4);
        for (int i = 0; i + 1 < 20; ++i) {
            // Half a turn and a right angle at most, as the nearer form.
            const Angles from = AnglesAt(*node, Seconds(0.1 * i));
            const Angles to = AnglesAt(*node, Seconds(0.1 * (i + 1)));
            EXPECT_LE(std::hypot(to[0] - from[0], to[1] - from[1], to[2] - from[2]), 270.0);
        }
        const NodePtr once(node->Clone(false));
        EditCheck check(*node->Get(0)->FCurveGet());
        ASSERT_TRUE(filter.Apply(*node, false));
        for (int axis = 0; axis < 3; ++axis) {
            EXPECT_EQ(KeysOf(*once, axis), KeysOf(*node, axis)) << "a second application";
        }
        EXPECT_TRUE(check.Heard().empty());
    }
}

// Only keys in the span are written, the keys after it follow by whole turns.
TEST_F(RotationRepair, UnrollRunsOnPastHalfATurnWithinTheSpan)
{
    const std::vector<Angles> keys = {{170, 0, 0}, {-170, 0, 0}, {-150, 0, 0}, {170, 0, 0}};
    const struct
    {
        KTime start, stop;
        const char* expected;
    } rows[] = {
        {kFromStart, kToEnd, "0:170 0.1:190 0.2:210 0.3:170 "},
        {kFromStart, Seconds(0.2), "0:170 0.1:190 0.2:210 0.3:530 "},
        {Seconds(0.1), kToEnd, "0:170 0.1:-170 0.2:-150 0.3:-190 "},
        {Seconds(0.1), Seconds(0.1), "0:170 0.1:-170 0.2:-150 0.3:170 "},
        {Seconds(5), kToEnd, "0:170 0.1:-170 0.2:-150 0.3:170 "},
        {kFromStart, Seconds(-5), "0:170 0.1:-170 0.2:-150 0.3:170 "},
    };
    for (const auto& row : rows) {
        const NodePtr node = MakeRotation(keys);
        GlissaFilterUnroll filter;
        filter.SetStartTime(row.start);
        filter.SetStopTime(row.stop);
        EXPECT_TRUE(filter.Apply(*node, false));
        EXPECT_EQ(row.expected, KeysOf(*node, 0));
    }
}

TEST_F(RotationRepair, UnrollOfThreeCurvesGivesThemBackAndReadsKeysATickApart)
{
    const NodePtr node = MakeRotation({{170, 0, 0}, {-170, 0, 0}});
    Glissa* curves[3];
    for (int axis = 0; axis < 3; ++axis) {
        curves[axis] = node->Get(axis)->FCurveGet();
    }
    curves[1]->KeyAppendFast(Seconds(0.1) + KTime(1), 370.0f);
    curves[2]->KeyAppendFast(Seconds(0.1) + KTime(2), 0.0f);
    GlissaFilterUnroll filter;
    EXPECT_TRUE(filter.Apply(curves, 3));
    EXPECT_EQ("0:170 0.1:190 0.1:190 0.1:190 ", KeysOf(*node, 0));
    EXPECT_EQ("0:0 0.1:0 0.1:10 0.1:10 ", KeysOf(*node, 1));
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(curves[axis], node->Get(axis)->FCurveGet());
        EXPECT_EQ(node->Get(axis), curves[axis]->GetOwner());
    }
    EXPECT_FALSE(filter.Apply(curves, 2));
    Glissa* twice[] = {curves[0], curves[1], curves[0]};
    EXPECT_FALSE(filter.Apply(twice, 3));
    EXPECT_EQ(node->Get(0), curves[0]->GetOwner());
}

// A second form of the rotation would need all three curves.
TEST_F(RotationRepair, WhileACurveIsLockedUnrollTakesWholeTurnsFromTheOthers)
{
    const LockModeScope mode(eLockModeProperty);
    StubLayer layer;
    layer.mLocked = true;
    const NodePtr node = MakeRotation({{0, 0, 0}, {170, 170, 530}});
    node->Get(0)->SetLayerInfo(GlissaLayerInfo(0, &layer));
    Glissa* curves[3];
    for (int axis = 0; axis < 3; ++axis) {
        curves[axis] = node->Get(axis)->FCurveGet();
    }
    EXPECT_TRUE(GlissaFilterUnroll().Apply(curves, 3));
    EXPECT_EQ("0:0 0.1:170 ", KeysOf(*node, 0));
    EXPECT_EQ("0:0 0.1:170 ", KeysOf(*node, 1));
    EXPECT_EQ("0:0 0.1:170 ", KeysOf(*node, 2));
    curves[2]->KeySetValue(1, 890.0f);
    EXPECT_TRUE(GlissaFilterUnroll().Apply(*node, false));
    EXPECT_EQ("0:0 0.1:170 ", KeysOf(*node, 2));
}

// The second key is far from the first one as angles and near it as a rotation; the third is next
// to the second one as it is, and next to the first one in its other form.
TEST_F(RotationRepair, OfPoorQualityAKeyIsWrittenAndIsNoReference)
{
    const std::vector<Angles> keys = {{0, 85, 0}, {60, 85, 60}, {140, 91, 140}};
    for (const bool tests : {false, true}) {
        const NodePtr node = MakeRotation(keys);
        GlissaFilterUnroll filter;
        filter.SetTestForPath(tests);
        filter.SetQualityTolerance(0.1);
        EXPECT_LT(filter.InterpolationQualityFactor({0, 85, 0}, {60, 85, 60}), 0.1);
        EXPECT_TRUE(filter.Apply(*node, false));
        EXPECT_EQ(tests ? "0:85 0.1:85 0.2:89 " : "0:85 0.1:85 0.2:91 ", KeysOf(*node, 1));
    }
    GlissaFilterUnroll filter;
    EXPECT_EQ(100.0, filter.InterpolationQualityFactor({1, 2, 3}, {1, 2, 3}));
    EXPECT_NEAR(1.0, filter.InterpolationQualityFactor({1, 0, 0}, {1.000001, 0, 0}), 1e-6);
    EXPECT_NEAR(18.0 * 18.0 / (342.0 * 342.0),
                filter.InterpolationQualityFactor({-160, 0, 0}, {182, 0, 0}), 1e-9);
}

TEST_F(RotationRepair, LimitsChooseAmongTheFormsOfARotation)
{
    GlissaFilterUnrollDof filter;
    const NodePtr plain = MakeRotation({{0, 0, 0}, {20, 100, 10}, {350, 0, 0}});
    EXPECT_TRUE(filter.Apply(*plain, false));
    EXPECT_EQ("0:0 0.1:20 0.2:-10 ", KeysOf(*plain, 0));
    EXPECT_EQ("0:0 0.1:100 0.2:0 ", KeysOf(*plain, 1));
    filter.SetEnableMaxY(true);
    filter.SetMaxFreedom(180.0, 90.0, 180.0);
    const NodePtr limited = MakeRotation({{0, 0, 0}, {20, 100, 10}, {350, 0, 0}});
    EXPECT_TRUE(filter.Apply(*limited, false));
    EXPECT_EQ("0:0 0.1:-160 0.2:-10 ", KeysOf(*limited, 0));
    EXPECT_EQ("0:0 0.1:80 0.2:0 ", KeysOf(*limited, 1));
    EXPECT_LT(DistanceAtKeys(*plain, *limited), 1e-4);
}
}  // namespace
