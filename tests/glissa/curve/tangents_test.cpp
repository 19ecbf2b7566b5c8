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
        {0x108,
         [](Glissa& c, int i) {
             c.KeyAttrSet(i, {{0x408, {1.0f}}, 0});
         },
         0xE010},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(&each - cases);
        const CurveHandle curve = MakeCurve({0x104, each.kind, 0x308, each.kind, 0x108});
        EditCheck edit(*curve);
        each.set(*curve, 1);
        EXPECT_EQ(each.type, edit.Folded().type);
        EXPECT_EQ(each.type == 0 ? -1 : 1, edit.Folded().first);
        EXPECT_EQ("", edit.Verify());
        const std::size_t heard = edit.Heard().size();
        each.set(*curve, 1);
        EXPECT_EQ(heard, edit.Heard().size());
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
    const GlissaTangeantInfo side = {3.0f, 0.5f, 1.0f, 40.0f, true, true};
    for (const std::uint32_t kind : {0x408u, 0xC08u, 0x108u, 0x208u}) {
        const CurveHandle curve = MakeCurve({kind, kind});
        EditCheck edit(*curve);
        for (const int left : {-7, 0, 3, 90}) {
            const int right = left == 0 ? 1 : left;
            curve->KeySetLeftDerivative(left, 0.25f);
            curve->KeySetLeftAuto(left, 0.25f);
            curve->KeySetLeftBezierTangeant(left, 0.25f);
            curve->KeySetLeftTangeantWeight(left, 0.25f);
            curve->KeySetLeftTangeantVelocityMode(left, true);
            curve->KeySetLeftDerivativeInfo(left, side, true);
            curve->KeySetRightDerivative(right, 0.25f);
            curve->KeySetRightBezierTangeant(right, 0.25f);
            curve->KeySetRightTangeantWeight(right, 0.25f);
        }
        EXPECT_TRUE(edit.Heard().empty()) << kind;
        EXPECT_EQ("", edit.Verify());
    }
    // The last key keeps a parameter for the day when a key follows it.
    const CurveHandle curve = MakeCurve({0x108, 0x108});
    curve->KeySetRightDerivativeInfo(1, side, false);
    EXPECT_EQ(40.0f, curve->KeyGetRightAuto(1, false));
    const CurveHandle empty(GlissaCreate());
    EXPECT_EQ(0.0f, empty->KeyGetLeftAuto(0, true) + empty->KeyGetLeftBezierTangeant(0));
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
    curve->KeyTangeantSetInterpolation(false, eInterpolationLinear);
    EXPECT_EQ(0u, curve->KeyGetTangeantVisibility(1));
}
}  // namespace
