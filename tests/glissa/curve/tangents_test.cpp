// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/edit_check.h"
#include "tests/support/museum.h"
#include "tests/support/random_curve.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>

namespace
{
CurveHandle MakeCurve(const std::vector<std::uint32_t>& pFlags)
{
    RefCurve curve;
    const float values[] = {0.0f, 4.0f, 3.0f, 7.0f, 7.5f};
    for (std::size_t i = 0; i < pFlags.size(); ++i) {
        curve.keys.push_back(
            {static_cast<std::int64_t>(i) * KTime::kTicksPerSecond, values[i], pFlags[i]});
    }
    return ToGlissa(curve);
}

using Forward = void (*)(double&, const double&, const double&, const double&);
using Inverse = void (*)(double&, double&, const double&, const double&);
constexpr struct
{
    Forward slope;
    Inverse parameter;
} kSides[] = {{GLISSA_ComputeLeftBezierFromAuto, GLISSA_ComputeLeftAutoFromBezier},
              {GLISSA_ComputeRightBezierFromAuto, GLISSA_ComputeRightAutoFromBezier}};

TEST(CurveTangents, ParametersComeBackFromTheirSlopes)
{
    Random random(11);
    for (int round = 0; round < 20000; ++round) {
        const double size = random.Scale(-4, round % 4 < 2 ? 12 : 50);
        const double toLeft = size * random.Signed();
        const double toRight = round % 8 == 0 ? toLeft : size * random.Signed();
        const double parameter = random.Signed() * (round % 2 == 0 ? 500.0 : 4000.0);
        for (const auto& side : kSides) {
            double slope = 0.0;
            double back = 0.0;
            double again = 0.0;
            side.slope(slope, parameter, toLeft, toRight);
            const double asked = slope;
            side.parameter(back, slope, toLeft, toRight);
            side.slope(again, back, toLeft, toRight);
            // The slope returns to within roundings of the largest term, the parabola's 1000 P(a),
            // and what counts as zero.
            const double largest = 3.0 * size + 1000.0 + std::fabs(asked);
            ASSERT_NEAR(asked, again, 1e-5 + 64 * DBL_EPSILON * largest)
                << toLeft << " " << toRight << " " << parameter << " round " << round;
            if (toLeft == toRight) {
                double same = toLeft;
                side.parameter(back, same, toLeft, toRight);
                ASSERT_EQ(0.0, back);
            } else if (std::fabs(toLeft - toRight) > 1e-2 && std::fabs(asked) > 1e-5) {
                ASSERT_NEAR(parameter, back, 1e-7 * (1.0 + size));
            }
        }
    }
    double tiny = 9e-6;
    double parameter = 0.0;
    GLISSA_ComputeLeftAutoFromBezier(parameter, tiny, -1.0, 1.0);
    EXPECT_EQ(0.0, tiny);
    EXPECT_EQ(0.0, parameter);
}

TEST(CurveTangents, TensionContinuityAndBiasComeBackFromTheirSlopes)
{
    Random random(5);
    for (int round = 0; round < 2000; ++round) {
        const CurveHandle curve = MakeCurve({kRefCubic | kRefTcb, 0x208, 0x208});
        for (int i = 0; i < 3; ++i) {
            curve->KeySetValue(i, static_cast<float>(100.0 * random.Signed()));
        }
        const float t = static_cast<float>(0.9 * random.Signed());
        const float c = static_cast<float>(random.Signed());
        const float b = static_cast<float>(random.Signed());
        curve->KeySetTCB(1, curve->KeyGetTime(1), curve->KeyGetValue(1), t, c, b);
        const float left = curve->KeyGetLeftDerivative(1);
        const float right = curve->KeyGetRightDerivative(1);
        double tension = t;
        double continuity = 0.0;
        double bias = 0.0;
        GLISSA_ComputeTCBFromBezierForKey(tension, continuity, bias, left, right, curve.get(), 1);
        EXPECT_EQ(t, tension);
        // Another way where the secants nearly agree and the parameters are ill determined: the
        // parameters found have the slopes that were asked for.
        curve->KeySetTCB(1, curve->KeyGetTime(1), curve->KeyGetValue(1),
                         static_cast<float>(tension), static_cast<float>(continuity),
                         static_cast<float>(bias));
        const double scale = 400.0 * (1.0 + std::fabs(bias)) * (1.0 + std::fabs(continuity));
        ASSERT_NEAR(left, curve->KeyGetLeftDerivative(1), 8 * FLT_EPSILON * scale) << round;
        ASSERT_NEAR(right, curve->KeyGetRightDerivative(1), 8 * FLT_EPSILON * scale) << round;
        const double toLeft = curve->KeyGetValue(1) - curve->KeyGetValue(0);
        const double toRight = curve->KeyGetValue(2) - curve->KeyGetValue(1);
        const double determined = std::min(std::fabs(toLeft - toRight),
                                           std::fabs((toLeft + toRight) * b + toLeft - toRight));
        if (determined > 10.0) {
            ASSERT_NEAR(b, bias, 1e-3);
            ASSERT_NEAR(c, continuity, 1e-3);
        }
    }
}

// Each kind of change: what it posts, and that a second time it posts nothing.
TEST(CurveTangents, SettersPostTheirChangeOnce)
{
    const struct
    {
        std::uint32_t kind;
        void (*set)(Glissa&, int);
        int type;
    } cases[] = {
        {0x108, [](Glissa& c, int i) { c.KeySetInterpolation(i, 4); }, 0x18010},
        {0x2, [](Glissa& c, int i) { c.KeySetConstantMode(i, 0x100); }, 0x88010},
        {0x108, [](Glissa& c, int i) { c.KeySetTangeantMode(i, 0x1100); }, 0x28010},
        {0x108, [](Glissa& c, int i) { c.KeySetBreak(i, true); }, 0x48010},
        {0x108, [](Glissa& c, int i) { c.KeySetTangeantVisibility(i, 0x100000); }, 0x100},
        {0x108, [](Glissa& c, int i) { c.KeySetTangeantWeightMode(i, ~0u, 0x1000000); }, 0x408010},
        {0x108, [](Glissa& c, int i) { c.KeySetTangeantVelocityMode(i, ~0u, ~0u); }, 0x208010},
        {0x108, [](Glissa& c, int i) { c.KeySetSelected(i, true); }, 0x100},
        {0x108, [](Glissa& c, int i) { c.KeySetMarkedForManipulation(i, true); }, 0},
        {0x108, [](Glissa& c, int i) { c.KeySetCustomIndex(i, 0x200); }, 0},  // no type
        {0x408, [](Glissa& c, int i) { c.KeySetRightTangeantWeight(i, 0.5f); }, 0x408010},
        {0x208, [](Glissa& c, int i) { c.KeySetRightTangeantWeight(i, 0.5f); }, 0x2408010},
        {0x108, [](Glissa& c, int i) { c.KeySetRightTangeantVelocity(i, 2.0f); }, 0x208010},
        {0x4, [](Glissa& c, int i) { c.KeySetRightTangeantVelocity(i, 2.0f); }, 0},
    };
    const auto expect = [](std::uint32_t pKind, const auto& pSet, int pType) {
        const CurveHandle curve = MakeCurve({0x104, pKind, 0x308, pKind, 0x108});
        EditCheck edit(*curve);
        pSet(*curve, 1);
        EXPECT_EQ(pType, edit.Folded().type);
        EXPECT_EQ(pType == 0 ? -1 : 1, edit.Folded().first);
        EXPECT_EQ("", edit.Verify());
        const std::size_t heard = edit.Heard().size();
        pSet(*curve, 1);
        EXPECT_EQ(heard, edit.Heard().size());
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(&each - cases);
        expect(each.kind, each.set, each.type);
    }
    constexpr int kSlope = 0x808010, kWeight = 0x408010, kVelocity = 0x208010, kOther = 0x8010;
    const struct
    {
        std::uint32_t kind;
        int types[6];
    } slots[] = {
        {0x108, {kSlope, kSlope, kWeight, kWeight, kOther, kOther}},
        {0xC08, {kSlope, kSlope, kWeight, kWeight, kVelocity, kVelocity}},
        {0x208, {0x1008010, 0x4008010, 0x2008010, kOther, kOther, kOther}},
        {0x004, {kOther, kOther, kOther, kOther, kOther, kOther}},
    };
    for (const auto& each : slots) {
        for (int i = 0; i < 6; ++i) {
            SCOPED_TRACE(testing::Message() << each.kind << " " << i);
            const auto data = static_cast<EGlissaDataIndex>(i);
            const auto set = [&](Glissa& c, int k) { c.KeySetDataDouble(k, data, 0.75f); };
            expect(each.kind, set, each.types[i]);
        }
    }
}

// A side takes a slope, a parameter, a handle or another side's all, wherever it has one.
TEST(CurveTangents, WhatASideIsGivenItHas)
{
    const std::uint32_t kinds[] = {0x108, 0x908, 0x408, 0xC08};
    for (const std::uint32_t before : kinds) {
        for (const std::uint32_t kind : {0x108u, 0x908u, 0x408u, 0xC08u, 0x104u, 0x402u}) {
            for (const float slope : {-40.0f, -1.0f, 0.0f, 0.5f, 9.0f, 300.0f}) {
                SCOPED_TRACE(testing::Message()
                             << std::hex << before << " " << kind << " " << slope);
                const bool isUserBeforeStep = (before & 0x400) != 0 && (kind & 8) == 0;
                const float bound = 4e-4f * (1.0f + std::fabs(slope));
                const CurveHandle curve = MakeCurve({0x108, before, kind, 0x108});
                EditCheck edit(*curve);
                curve->KeySetLeftDerivative(2, slope);
                EXPECT_NEAR(slope, curve->KeyGetLeftDerivative(2), bound);
                if (kind == 0x408) {
                    EXPECT_EQ(slope, curve->KeyGetRightDerivative(2));
                }
                curve->KeySetRightDerivative(1, slope);
                EXPECT_NEAR(slope, curve->KeyGetRightDerivative(1), bound);
                const GlissaTangeantInfo side = curve->KeyGetLeftDerivativeInfo(2);
                curve->KeySetLeftAuto(2, 25.0f);
                if (!isUserBeforeStep) {
                    EXPECT_NEAR(25.0f, curve->KeyGetLeftAuto(2, true), 1e-3f);
                }
                curve->KeySetRightAuto(1, 25.0f);
                EXPECT_NEAR(25.0f, curve->KeyGetRightAuto(1, true), 1e-3f);
                curve->KeySetLeftBezierTangeant(2, slope);
                EXPECT_NEAR(slope, curve->KeyGetLeftBezierTangeant(2), bound);
                curve->KeySetRightBezierTangeant(1, slope);
                EXPECT_NEAR(slope, curve->KeyGetRightBezierTangeant(1), bound);
                curve->KeySetLeftTangeantWeight(2, 0.9f);
                curve->KeySetRightTangeantWeight(1, 0.25f);
                EXPECT_NEAR(0.25f, curve->KeyGetRightTangeantWeight(1), 1e-4f);
                EXPECT_NEAR(0.9f, curve->KeyGetLeftTangeantWeight(2), 1e-4f);
                for (const bool force : {false, true}) {
                    curve->KeySetLeftDerivativeInfo(2, side, force);
                    const GlissaTangeantInfo now = curve->KeyGetLeftDerivativeInfo(2);
                    EXPECT_NEAR(side.mDerivative, now.mDerivative, bound);
                    EXPECT_EQ(side.mIsWeighted, now.mIsWeighted);
                    EXPECT_EQ(side.mWeight, now.mWeight);
                }
                EXPECT_EQ("", edit.Verify());
            }
        }
    }
}

TEST(CurveTangents, SidesThatAreNotThereAreLeftAlone)
{
    using Setter = void (Glissa::*)(int, float);
    using Switch = void (Glissa::*)(int, bool);
    const GlissaTangeantInfo side = {3.0f, 0.5f, 1.0f, 40.0f, true, true};
    for (const std::uint32_t kind : {0x408u, 0xC08u, 0x108u, 0x208u}) {
        const CurveHandle curve = MakeCurve({kind, kind});
        EditCheck edit(*curve);
        for (const int i : {-7, -1, 0, 3, 90}) {
            for (const Setter set :
                 {&Glissa::KeySetLeftDerivative, &Glissa::KeySetLeftAuto,
                  &Glissa::KeySetLeftBezierTangeant, &Glissa::KeySetLeftTangeantWeight,
                  &Glissa::KeySetLeftTangeantVelocity}) {
                (curve.get()->*set)(i, 0.25f);
            }
            for (const Switch set : {&Glissa::KeySetLeftTangeantWeightedMode,
                                     &Glissa::KeySetLeftTangeantVelocityMode}) {
                (curve.get()->*set)(i, true);
            }
            curve->KeySetLeftDerivativeInfo(i, side, true);
        }
        for (const int i : {-7, -1, 1, 2, 90}) {
            for (const Setter set :
                 {&Glissa::KeySetRightDerivative, &Glissa::KeySetRightBezierTangeant,
                  &Glissa::KeySetRightTangeantWeight, &Glissa::KeySetRightTangeantVelocity}) {
                (curve.get()->*set)(i, 0.25f);
            }
        }
        EXPECT_TRUE(edit.Heard().empty()) << kind;
        EXPECT_EQ("", edit.Verify());
    }
    // Slots of a TCB key hold its parameters, not sides.
    const CurveHandle curve = MakeCurve({0x208, 0x208, 0xC08});
    EditCheck edit(*curve);
    curve->KeySetLeftDerivative(2, 1.0f);
    curve->KeySetLeftDerivativeInfo(1, side, true);
    curve->KeySetRightDerivativeInfo(1, side, true);
    EXPECT_TRUE(edit.Heard().empty());
    // The last key keeps a parameter for the day when a key follows it.
    curve->KeySetTangeantMode(2, eTangentAuto);
    curve->KeySetRightDerivativeInfo(2, side, false);
    EXPECT_EQ(40.0f, curve->KeyGetRightAuto(2, false));
    EXPECT_EQ(0.0f, curve->KeyGetLeftAuto(-1, false));
    const CurveHandle empty(GlissaCreate());
    EXPECT_EQ(0.0f, empty->KeyGetLeftAuto(0, true));
    EXPECT_EQ(0.0f, empty->KeyGetLeftBezierTangeant(0) + empty->KeyGetRightBezierTangeant(0));
}

// From every kind to every kind, on all keys and on one: both slopes of every key stay, where its
// new kind can hold them.
TEST(CurveTangents, AChangeOfKindKeepsTheShape)
{
    for (const std::uint32_t from : {0x108u, 0x908u, 0x408u, 0xC08u, 0x208u, 0x2108u, 0x6108u}) {
        for (const unsigned to :
             {eTangentAuto, eTangentAutoBreak, eTangentUser, eTangentUserBreak}) {
            for (const bool selectedOnly : {false, true}) {
                SCOPED_TRACE(testing::Message() << std::hex << from << " " << to << selectedOnly);
                const CurveHandle curve = MakeCurve({from, from, from, from, from});
                curve->KeySetRightDerivative(1, 5.0f);
                curve->KeySetLeftDerivative(3, -2.0f);
                curve->KeySetSelected(2, true);
                std::vector<float> slopes;
                for (int i = 0; i < 5; ++i) {
                    slopes.push_back(curve->KeyGetLeftDerivative(i));
                    slopes.push_back(curve->KeyGetRightDerivative(i));
                }
                EditCheck edit(*curve);
                curve->KeyTangeantSetMode(selectedOnly, to);
                EXPECT_EQ("", edit.Verify());
                EXPECT_EQ((from & 0xF00) == to ? 0u : 1u, edit.Heard().size());
                EXPECT_EQ(to, curve->KeyGetTangeantMode(2, false));
                for (int i = 0; i < 5; ++i) {
                    const auto at = static_cast<std::size_t>(2 * i);
                    const bool isOneSlope = curve->KeyGetTangeantMode(i, false) == eTangentUser;
                    const bool isCorner = std::fabs(slopes[at] - slopes[at + 1]) > 1e-3f;
                    const bool isBehindTcb =
                        i > 0 && curve->KeyGetTangeantMode(i - 1, false) == eTangentTCB;
                    if (!(isOneSlope && isCorner)) {
                        if (!isBehindTcb) {
                            EXPECT_NEAR(slopes[at], curve->KeyGetLeftDerivative(i), 2e-3f) << i;
                        }
                        EXPECT_NEAR(slopes[at + 1], curve->KeyGetRightDerivative(i), 2e-3f) << i;
                    }
                }
            }
        }
    }
    const CurveHandle curve = MakeCurve({0x108, 0x308108, 0x108});
    EditCheck edit(*curve);
    curve->KeyTangeantSetInterpolation(false, eInterpolationCustom);  // no type is there
    EXPECT_TRUE(edit.Heard().empty());
    curve->KeyTangeantSetInterpolation(false, eInterpolationLinear);
    EXPECT_EQ(0u, curve->KeyGetTangeantVisibility(1));
    EXPECT_EQ("", edit.Verify());
}
}  // namespace
