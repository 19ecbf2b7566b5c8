// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Filters that repair rotations. Orientations are compared as matrices in long double.

#include "corvekit/math/rotation_order.h"
#include "glissa/filter/gimble_killer.h"
#include "glissa/filter/gimble_killer2.h"
#include "glissa/filter/roll.h"
#include "glissa/filter/unroll.h"
#include "glissa/filter/unroll_dof.h"
#include "tests/support/curve_test.h"
#include "tests/support/filter_rows.h"
#include "tests/support/node_stubs.h"
#include "tests/support/random_curve.h"
#include "tests/support/ref_rotation.h"

#include <array>
#include <cmath>
#include <deque>
#include <functional>
#include <limits>

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

/// The largest distance in degrees at the keys of X of the first one.
double DistanceAtKeys(GlissaNode& pLeft, GlissaNode& pRight)
{
    double distance = 0.0;
    const Glissa& curve = *pLeft.Get(0)->FCurveGet();
    for (int i = 0; i < curve.KeyGetCount(); ++i) {
        const KTime time = curve.KeyGetTime(i);
        distance = std::max(distance,
                            RefDistance(OrientationAt(pLeft, time), OrientationAt(pRight, time)));
    }
    return distance;
}

std::array<Glissa*, 3> CurvesOf(GlissaNode& pNode)
{
    return {pNode.Get(0)->FCurveGet(), pNode.Get(1)->FCurveGet(), pNode.Get(2)->FCurveGet()};
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
            KgeRVector way;
            for (int axis = 0; axis < 3; ++axis) {
                const Glissa& curve = *node->Get(axis)->FCurveGet();
                way[axis] = curve.KeyGetValue(i + 1) - curve.KeyGetValue(i);
            }
            EXPECT_LE(way.Length(), 270.0);
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

TEST_F(RotationRepair, KeysBecomeTheAnglesThatAFilterPrefers)
{
    using Unroll = GlissaFilterUnroll;
    using Killer2 = GlissaFilterGimbleKiller2;
    const std::vector<Angles> wraps = {{170, 0, 0}, {-170, 0, 0}, {-150, 0, 0}, {170, 0, 0}};
    const std::vector<Angles> noNumber = {{170, 0, 0}, {kNaN, 0, 0}, {-170, 0, 0}};
    // The second key is far from the first one as angles and near it as a rotation; the third is
    // next to the second one as it is, and next to the first one in its other form.
    const std::vector<Angles> poor = {{0, 85, 0}, {60, 85, 60}, {140, 91, 140}};
    const std::vector<Angles> wide = {{0, 0, 0}, {20, 100, 10}, {350, 0, 0}};
    // Keys 2 and 3 are a zone; key 4 is brought next to key 1, and key 5 follows, also beyond a
    // span.
    const std::vector<Angles> zone = {{0, 80, 0},     {0, 85, 0},     {60, 85, 60},
                                      {120, 85, 120}, {120, 80, 120}, {125, 75, 120}};
    const auto limited = std::make_shared<GlissaFilterUnrollDof>();
    limited->SetEnableMaxY(true);
    limited->SetMaxFreedom(180.0, 90.0, 180.0);
    const auto unroll = [](KTime pStart, KTime pStop) {
        return InSpan(With<Unroll>(), pStart, pStop);
    };
    const auto byQuality = [](bool pTests) {
        return With<Unroll>(std::pair(&Unroll::SetTestForPath, pTests),
                            std::pair(&Unroll::SetQualityTolerance, 0.1));
    };
    const auto killer = [](double pStart, double pStop) {
        return InSpan(With<GlissaFilterGimbleKiller>(), Seconds(pStart), Seconds(pStop));
    };
    const struct
    {
        FilterPtr filter;
        const std::vector<Angles>& keys;
        int axis;
        const char* expected;
    } rows[] = {
        // Only keys in the span are written, the keys after it follow by whole turns.
        {unroll(kFromStart, kToEnd), wraps, 0, "0:170 0.1:190 0.2:210 0.3:170 "},
        {unroll(kFromStart, Seconds(0.2)), wraps, 0, "0:170 0.1:190 0.2:210 0.3:530 "},
        {unroll(Seconds(0.1), kToEnd), wraps, 0, "0:170 0.1:-170 0.2:-150 0.3:-190 "},
        {unroll(Seconds(0.1), Seconds(0.1)), wraps, 0, "0:170 0.1:-170 0.2:-150 0.3:170 "},
        {unroll(Seconds(5), kToEnd), wraps, 0, "0:170 0.1:-170 0.2:-150 0.3:170 "},
        {unroll(kFromStart, Seconds(-5)), wraps, 0, "0:170 0.1:-170 0.2:-150 0.3:170 "},
        {unroll(kFromStart, kToEnd), noNumber, 0, "0:170 0.1:nan 0.2:190 "},
        {byQuality(false), poor, 1, "0:85 0.1:85 0.2:91 "},
        {byQuality(true), poor, 1, "0:85 0.1:85 0.2:89 "},
        {With<GlissaFilterUnrollDof>(), wide, 0, "0:0 0.1:20 0.2:-10 "},
        {With<GlissaFilterUnrollDof>(), wide, 1, "0:0 0.1:100 0.2:0 "},
        {limited, wide, 0, "0:0 0.1:-160 0.2:-10 "},
        {limited, wide, 1, "0:0 0.1:80 0.2:0 "},
        {killer(5.0, 6.0), wide, 1, "0:0 0.1:100 0.2:0 "},
        {killer(-2.0, -1.0), wide, 1, "0:0 0.1:100 0.2:0 "},
        {killer(0.15, 0.05), wide, 1, "0:0 0.1:100 0.2:0 "},
        {With<Killer2>(), zone, 1, "0:80 0.1:85 0.2:85 0.3:85 0.4:100 0.5:105 "},
        {InSpan(With<Killer2>(), kFromStart, Seconds(0.3)), zone, 1,
         "0:80 0.1:85 0.2:85 0.3:85 0.4:100 0.5:105 "},
        {With<Killer2>(std::pair(&Killer2::SetInterpolationQualityTolerance, 0.0)), zone, 1,
         "0:80 0.1:85 0.2:85 0.3:85 0.4:80 0.5:75 "},
    };
    for (const auto& row : rows) {
        const NodePtr node = MakeRotation(row.keys);
        const NodePtr before(node->Clone(false));
        EXPECT_TRUE(row.filter->Apply(*node, false));
        EXPECT_EQ(row.expected, KeysOf(*node, row.axis));
        EXPECT_LT(DistanceAtKeys(*before, *node), 1e-4);
    }
    const GlissaFilterUnroll filter;
    EXPECT_LT(filter.InterpolationQualityFactor({0, 85, 0}, {60, 85, 60}), 0.1);
    EXPECT_EQ(100.0, filter.InterpolationQualityFactor({1, 2, 3}, {1, 2, 3}));
    EXPECT_EQ(100.0, filter.InterpolationQualityFactor({1, 2, 3}, {1, kNaN, 3}));
    EXPECT_NEAR(1.0, filter.InterpolationQualityFactor({1, 0, 0}, {1.000001, 0, 0}), 1e-6);
    EXPECT_NEAR(18.0 * 18.0 / (342.0 * 342.0),
                filter.InterpolationQualityFactor({-160, 0, 0}, {182, 0, 0}), 1e-9);
}

TEST_F(RotationRepair, UnrollOfThreeCurvesGivesThemBackAndReadsKeysATickApart)
{
    const NodePtr node = MakeRotation({{170, 0, 0}, {-170, 0, 0}});
    std::array<Glissa*, 3> curves = CurvesOf(*node);
    curves[1]->KeyAppendFast(Seconds(0.1) + KTime(1), 370.0f);
    curves[2]->KeyAppendFast(Seconds(0.1) + KTime(2), 0.0f);
    GlissaFilterUnroll filter;
    EXPECT_TRUE(filter.Apply(curves.data(), 3));
    EXPECT_EQ("0:170 0.1:190 0.1:190 0.1:190 ", KeysOf(*node, 0));
    EXPECT_EQ("0:0 0.1:0 0.1:10 0.1:10 ", KeysOf(*node, 1));
    EXPECT_EQ(CurvesOf(*node), curves);
    for (Glissa* const curve : curves) {
        EXPECT_EQ(curve, curve->GetOwner()->FCurveGet());
    }
    EXPECT_FALSE(filter.Apply(curves.data(), 2));
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
    std::array<Glissa*, 3> curves = CurvesOf(*node);
    EXPECT_TRUE(GlissaFilterUnroll().Apply(curves.data(), 3));
    EXPECT_EQ("0:0 0.1:170 ", KeysOf(*node, 0));
    EXPECT_EQ("0:0 0.1:170 ", KeysOf(*node, 1));
    EXPECT_EQ("0:0 0.1:170 ", KeysOf(*node, 2));
    curves[2]->KeySetValue(1, 890.0f);
    EXPECT_TRUE(GlissaFilterUnroll().Apply(*node, false));
    EXPECT_EQ("0:0 0.1:170 ", KeysOf(*node, 2));
}

/// The largest distance in degrees of the rotations between two times from the shortest turn
/// between them.
double StrayOf(GlissaNode& pNode, KTime pFrom, KTime pTo)
{
    const RefRotation from = OrientationAt(pNode, pFrom);
    const RefRotation turn = OrientationAt(pNode, pTo) * from.Inverse();
    std::vector<RefRotation> arc;
    for (int i = 0; i <= 32; ++i) {
        arc.push_back(turn.Part(i / 32.0) * from);
    }
    double stray = 0.0;
    for (int i = 1; i < 16; ++i) {
        const RefRotation sample = OrientationAt(pNode, pFrom + (pTo - pFrom) * i / 16);
        double nearest = 180.0;
        for (const RefRotation& each : arc) {
            nearest = std::min(nearest, RefDistance(each, sample));
        }
        stray = std::max(stray, nearest);
    }
    return stray;
}

TEST_F(RotationRepair, GimbalKillersKeepTheKeysAndFollowTheShortestTurn)
{
    for (int seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(static_cast<std::uint64_t>(seed));
        const NodePtr before = MakeRotation(RandomKeys(random, 8), seed % 6);
        const NodePtr unrolled(before->Clone(false));
        ASSERT_TRUE(GlissaFilterUnroll().Apply(*unrolled, false));
        const NodePtr node(before->Clone(false));
        ASSERT_TRUE(GlissaFilterGimbleKiller().Apply(*node, false));
        EXPECT_LT(DistanceAtKeys(*before, *node), 1e-4);
        for (int i = 0; i + 1 < 8; ++i) {
            const double was = StrayOf(*unrolled, Seconds(0.1 * i), Seconds(0.1 * (i + 1)));
            const double is = StrayOf(*node, Seconds(0.1 * i), Seconds(0.1 * (i + 1)));
            EXPECT_LT(is, was + 0.5) << "key " << i;
        }
        const NodePtr zoned(before->Clone(false));
        ASSERT_TRUE(GlissaFilterGimbleKiller2().Apply(*zoned, false));
        EXPECT_LT(DistanceAtKeys(*before, *zoned), 1e-4);
    }
}

// A key between two from 8.66 degrees on, where they are 1/1200 of a second apart or more.
TEST_F(RotationRepair, GimbalKillerPutsKeysWhereAnglesAreFarApart)
{
    const struct
    {
        double degrees;
        double seconds;
        int keys;
    } rows[] = {
        {6, 1, 2},          {8.66, 1, 2},        {8.661, 1, 3}, {9, 1 / 1201.0, 2},
        {9, 1 / 1199.0, 3}, {170, 1 / 2000., 2}, {90, 1, 16},   {170, 1e9, 28},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.degrees * row.seconds);
        const CurveHandle x = MakeCurve({{0, 0}, {row.seconds, static_cast<float>(row.degrees)}});
        const CurveHandle y = MakeCurve({});
        const CurveHandle z = MakeCurve({});
        Glissa* curves[] = {x.get(), y.get(), z.get()};
        EXPECT_TRUE(GlissaFilterGimbleKiller().Apply(curves, 3));
        EXPECT_EQ(row.keys, x->KeyGetCount());
        EXPECT_EQ(row.keys, z->KeyGetCount());
        if (row.keys == 3) {
            EXPECT_NEAR(row.seconds / 2, x->KeyGetTime(1).GetSecondDouble(), 1e-8);
            EXPECT_NEAR(row.degrees / 2, x->KeyGetValue(1), 1e-5);
        }
    }
}

TEST_F(RotationRepair, NoValueOfAKeyMakesKeysWithoutEnd)
{
    const double inf = std::numeric_limits<double>::infinity();
    for (const double value : {1e30, -3e38, 4e9, inf, -inf, kNaN}) {
        for (const bool syncs : {true, false}) {
            const NodePtr node = MakeRotation({{0, 0, 0}, {1, value, 3}, {value, 170, 170}});
            node->Get(2)->FCurveGet()->KeyRemove(1);
            node->Get(0)->FCurveGet()->KeyAppendFast(Seconds(1e10), 20.0f);
            GlissaFilterGimbleKiller killer;
            killer.SetApplyKeySyncFilter(syncs);
            EXPECT_TRUE(killer.Apply(*node, false));
            EXPECT_LT(node->Get(0)->FCurveGet()->KeyGetCount(), 300);
            EXPECT_EQ(node->Get(0)->FCurveGet()->KeyGetCount(),
                      node->Get(2)->FCurveGet()->KeyGetCount());
            EXPECT_TRUE(GlissaFilterGimbleKiller2().Apply(*node, false));
            EXPECT_TRUE(GlissaFilterUnroll().Apply(*node, false));
            GlissaFilterRoll().Apply(*node, false);
        }
    }
}

TEST_F(RotationRepair, RollFoldsEachKeyAndHoldsTheStep)
{
    const NodePtr node = MakeRotation({{150, 0, 0}, {170, 0, -180}, {190, 0, 180}, {210, 0, 0}});
    EXPECT_TRUE(GlissaFilterRoll().Apply(*node, false));
    EXPECT_EQ("0:150 0.1:170 0.2:-170 0.3:-150 ", KeysOf(*node, 0));
    EXPECT_EQ("0:0 0.1:-180 0.2:180 0.3:0 ", KeysOf(*node, 2));
    const unsigned kinds[] = {eInterpolationLinear, eInterpolationConstant, eInterpolationLinear,
                              eInterpolationCubic};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(kinds[i], node->Get(0)->FCurveGet()->KeyGetInterpolation(i)) << i;
        EXPECT_EQ(eInterpolationCubic, node->Get(1)->FCurveGet()->KeyGetInterpolation(i)) << i;
    }
    for (int seed = 0; seed < 100; ++seed) {
        SCOPED_TRACE(seed);
        Random random(static_cast<std::uint64_t>(seed));
        const NodePtr rolled = MakeRotation(RandomKeys(random, 20), seed % 6);
        rolled->Get(0)->FCurveGet()->KeySetValue(5, 200.0f);
        const NodePtr before(rolled->Clone(false));
        GlissaFilterRoll filter;
        ASSERT_TRUE(filter.Apply(*rolled, false));
        EXPECT_LT(DistanceAtKeys(*before, *rolled), 1e-4);
        const int middle = KmEulerAxis[seed % 6][1];
        for (int i = 0; i < 20; ++i) {
            for (int axis = 0; axis < 3; ++axis) {
                EXPECT_LE(std::fabs(rolled->Get(axis)->FCurveGet()->KeyGetValue(i)),
                          axis == middle ? 90.0f : 180.0f);
            }
        }
        EXPECT_FALSE(filter.Apply(*rolled, false));
        EXPECT_EQ(eFilterUnchanged, filter.GetLastErrorID());
    }
}

// The slopes of user tangents run the other way where the middle angle does.
TEST_F(RotationRepair, AMirroredAngleTakesItsSlopesAlong)
{
    const NodePtr node = MakeRotation({{0, 80, 0}, {180, 85, 180}, {180, 80, 180}});
    Glissa& y = *node->Get(1)->FCurveGet();
    for (int i = 0; i < 3; ++i) {
        y.KeySetTangeantMode(i, eTangentUser);
        node->Get(0)->FCurveGet()->KeySetInterpolation(i, eInterpolationLinear);
        node->Get(2)->FCurveGet()->KeySetInterpolation(i, eInterpolationLinear);
    }
    y.KeySetRightDerivative(1, 7.0f);
    y.KeySetLeftDerivative(2, -3.0f);
    const NodePtr before(node->Clone(false));
    EXPECT_TRUE(GlissaFilterUnroll().Apply(*node, false));
    EXPECT_EQ("0:80 0.1:95 0.2:100 ", KeysOf(*node, 1));
    EXPECT_EQ(-7.0f, y.KeyGetRightDerivative(1));
    EXPECT_EQ(3.0f, y.KeyGetLeftDerivative(2));
    EXPECT_LT(
        RefDistance(OrientationAt(*before, Seconds(0.16)), OrientationAt(*node, Seconds(0.16))),
        1e-3);
}

TEST_F(RotationRepair, AnApplicationIsOneEventACurveAndNoneOnALockedOne)
{
    StubLayer locked;
    locked.mLocked = true;
    const Filters filters = {With<GlissaFilterUnroll>(), With<GlissaFilterUnrollDof>(),
                             With<GlissaFilterGimbleKiller>(), With<GlissaFilterGimbleKiller2>(),
                             With<GlissaFilterRoll>()};
    for (std::size_t i = 0; i < 4 * filters.size(); ++i) {
        SCOPED_TRACE(i);
        GlissaFilter& filter = *filters[i / 4];
        const bool isLocked = i % 4 > 1;
        const NodePtr node = MakeRotation({{0, 0, 0}, {200, 170, 200}, {10, 10, 400}});
        node->Get(2)->FCurveGet()->KeyRemove(1);
        node->Get(0)->FCurveGet()->SetValue(40.0f);
        node->Get(1)->SetLayerInfo(GlissaLayerInfo(0, isLocked ? &locked : nullptr));
        const NodePtr before(node->Clone(false));
        std::array<Glissa*, 3> curves = CurvesOf(*node);
        std::deque<EditCheck> checks;
        for (Glissa* const curve : curves) {
            checks.emplace_back(*curve);
        }
        const bool refuses = isLocked && i / 4 > 1;
        EXPECT_EQ(!refuses,
                  i % 2 == 0 ? filter.Apply(*node, true) : filter.Apply(curves.data(), 3));
        EXPECT_EQ(KError::kNone, filter.GetLastErrorID());
        for (int axis = 0; axis < 3; ++axis) {
            const bool stays = refuses || (isLocked && axis == 1);
            EXPECT_EQ(stays ? 0u : 1u, checks[static_cast<std::size_t>(axis)].Heard().size());
            EXPECT_EQ(stays, KeysOf(*before, axis) == KeysOf(*node, axis)) << axis;
            EXPECT_EQ(axis == 0 ? 40.0f : 0.0f, node->Get(axis)->FCurveGet()->GetValue());
        }
    }
}

// Written to afterwards, the filter would be found by the address sanitizer.
TEST_F(RotationRepair, AListenerMayDestroyTheFilter)
{
    Filters filters = {With<GlissaFilterUnroll>(), With<GlissaFilterGimbleKiller>(),
                       With<GlissaFilterGimbleKiller2>(), With<GlissaFilterRoll>()};
    for (FilterPtr& filter : filters) {
        const NodePtr node = MakeRotation({{0, 0, 0}, {200, 170, 200}, {10, 10, 400}}, 3);
        node->Get(0)->FCurveGet()->CallbackRegister(
            [](Glissa*, GlissaEvent*, void* pFilter) { static_cast<FilterPtr*>(pFilter)->reset(); },
            &filter);
        EXPECT_TRUE(filter->Apply(*node, true));
        EXPECT_EQ(nullptr, filter);
    }
}

TEST_F(RotationRepair, WhatIsNoRotationOrHasNoKeysIsRefusedWithAText)
{
    using Form = std::function<bool(GlissaFilter&)>;
    const NodePtr empty = MakeRotation({});
    const NodePtr single = MakeRotation({{400, 0, 0}});
    const NodePtr vector = MakeChannel(KDataTypeLclTranslation, "T");
    const NodePtr wide = MakeWide(4, eLayerTypeRotation);
    const NodePtr nameless = MakeWide(3, eLayerTypeRotation);
    const CurveHandle curve = PlainCurve(2);
    Glissa* two[] = {curve.get(), curve.get()};
    const Form alone = [&](GlissaFilter& pFilter) { return pFilter.Apply(*curve); };
    const Form pair = [&](GlissaFilter& pFilter) { return pFilter.Apply(two, 2); };
    const auto to = [](const NodePtr& pNode) -> Form {
        return [&pNode](GlissaFilter& pFilter) { return pFilter.Apply(*pNode, true); };
    };
    using Unroll = GlissaFilterUnroll;
    using Dof = GlissaFilterUnrollDof;
    using Killer = GlissaFilterGimbleKiller;
    using Killer2 = GlissaFilterGimbleKiller2;
    using Roll = GlissaFilterRoll;
    const char* const need = "Unroll Filter, Works only on rotation CurveNodes.";
    const char* const three = "FilterRoll, You need 3 rotation curves.";
    const struct
    {
        FilterPtr filter;
        Form form;
        int id;
        const char* text;
    } rows[] = {
        {With<Unroll>(), alone, 2, need},
        {With<Dof>(), pair, 2, need},
        {With<Unroll>(), to(vector), 2, need},
        {With<Dof>(), to(nameless), 2, need},
        {With<Unroll>(), to(empty), 0, "Unroll Filter, No key to be filtered."},
        {With<Unroll>(std::pair(&Unroll::SetQualityTolerance, kNaN)), to(single), 1,
         "Unroll Filter, The quality tolerance is not finite."},
        {With<Killer>(), alone, 2, "Not 3 curve"},
        {With<Killer>(), pair, 2, "Need 3 Glissa to apply a gimble killer filter."},
        {With<Killer>(), to(wide), 2, "Gimble Killer. ioCurveNode does not have 3 childs."},
        {With<Killer>(), to(vector), 3, "Gimble Killer. Not a Rotation node!"},
        {With<Killer>(), to(nameless), 2, "Not 3 curve"},
        {With<Killer>(), to(empty), 0, "No key"},
        {With<Killer2>(), alone, 2,
         "GimbleKiller2. One curve cannot be filtered, you need 3 curves!."},
        {With<Killer2>(), pair, 2, "GimbleKiller2. Curve count is not 3."},
        {With<Killer2>(), to(vector), 3, "Gimble Killer2. Not a Rotation node!"},
        {With<Killer2>(), to(empty), 0, "GimbleKiller2, No key to be filtered."},
        {With<Killer2>(), to(single), 1, "GimbleKiller2, No key were changed by filter."},
        {With<Roll>(), alone, 2, three},
        {With<Roll>(), pair, 2, three},
        {With<Roll>(), to(vector), 2, three},
        {With<Roll>(), to(empty), 0, "FilterRoll, No key to be filtered."},
        {With<Roll>(std::pair(&Roll::SetStartTime, kToEnd)), to(single), 4,
         "FilterRoll. StartTime is after StopTime."},
        {With<Roll>(std::pair(&Roll::SetKeyRateMode, EKeyRateMode(2))), to(single), 3,
         "FilterRoll, Unexpected Key Rate Mode"},
    };
    EXPECT_TRUE(Unroll().Apply(*single, false) && Killer().Apply(*single, false));
    for (const auto& row : rows) {
        EXPECT_FALSE(row.form(*row.filter)) << row.text;
        EXPECT_EQ(row.id, row.filter->GetLastErrorID()) << row.text;
        EXPECT_STREQ(row.text, row.filter->GetLastErrorString());
    }
    EXPECT_EQ("0:400 ", KeysOf(*single, 0));
}
}  // namespace
