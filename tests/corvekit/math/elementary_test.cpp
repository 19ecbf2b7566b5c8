// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Special values of the elementary functions, and what holds to the bit.

#include "corvekit/math/elementary.h"
#include "corvekit/math/sine_cosine.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace
{
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kLeast = std::numeric_limits<double>::denorm_min();

double Sine(double pX, double)
{
    return KgeSinCos(pX).sine;
}
double Cosine(double pX, double)
{
    return KgeSinCos(pX).cosine;
}
double ArcCosine(double pX, double)
{
    return KgeArcCosine(pX);
}
double Exponential(double pX, double)
{
    return KgeExponential(pX);
}
double Length(double pX, double pY)
{
    return KgeLength(pX, 0.0, pY);
}

TEST(Elementary, SpecialValuesAreThoseOfTheStandard)
{
    const struct
    {
        double (*function)(double, double);
        double x, y, expected;
    } rows[] = {
        {Sine, 0.0, 0, 0.0},
        {Sine, -0.0, 0, -0.0},
        {Sine, -450.0, 0, -1.0},
        {Sine, kInf, 0, kNaN},
        {Sine, 60 * kLeast, 0, kLeast},
        {Cosine, -270.0, 0, 0.0},
        {Cosine, 60.0, 0, 0.5},
        {KgeArcTangent, -0.0, -0.0, -180.0},
        {KgeArcTangent, 1.0, -0.0, 90.0},
        {KgeArcTangent, kInf, -kInf, 135.0},
        {KgeArcTangent, -1.0, kInf, -0.0},
        {KgeArcTangent, kNaN, kInf, kNaN},
        {ArcCosine, -1.0, 0, 180.0},
        {ArcCosine, -0.0, 0, 90.0},
        {ArcCosine, 1.0 + 0x1p-52, 0, kNaN},
        {KgePower, kNaN, 0.0, 1.0},
        {KgePower, 1.0, kNaN, 1.0},
        {KgePower, -0.0, -3.0, -kInf},
        {KgePower, -2.0, 3.0, -8.0},
        {KgePower, -2.0, 0.5, kNaN},
        {KgePower, -0.0, 0.5, 0.0},
        {KgePower, kInf, 0.5, kInf},
        {KgePower, -1.0, kInf, 1.0},
        {KgePower, 0.5, -kInf, kInf},
        {KgePower, -kInf, -1.0, -0.0},
        {KgePower, 2.0, -1074.0, kLeast},
        {Exponential, 0.0, 0, 1.0},
        {Exponential, -kInf, 0, 0.0},
        {Exponential, 709.79, 0, kInf},
        {Length, kNaN, -kInf, kInf},
        {Length, kNaN, 1.0, kNaN},
        {Length, 3 * kLeast, 4 * kLeast, 5 * kLeast},
    };
    for (const auto& row : rows) {
        const double result = row.function(row.x, row.y);
        EXPECT_TRUE(std::isnan(row.expected)
                        ? std::isnan(result)
                        : result == row.expected &&
                              std::signbit(result) == std::signbit(row.expected))
            << "row " << &row - rows << ": " << result;
    }
}

TEST(Elementary, LanesAndWholeTurnsChangeNoBit)
{
    std::mt19937_64 random(2);
    std::uniform_int_distribution<int> whole(-400, 400);
    std::uniform_real_distribution<double> part(-1.0, 1.0);
    for (int i = 0; i < 100000; ++i) {
        // Multiples of 2^-36 to which whole turns can be added exactly, and angles of any size.
        const double angle =
            whole(random) + std::ldexp(std::round(std::ldexp(part(random), 36)), -36);
        const double any = std::ldexp(part(random), whole(random));
        for (const double each : {angle, any}) {
            const KgeSineCosine lanes = sine_cosine::Of<TwoLanes>(each);
            const KgeSineCosine scalar = sine_cosine::Of<ScalarLanes>(each);
            ASSERT_EQ(std::bit_cast<std::uint64_t>(lanes.sine),
                      std::bit_cast<std::uint64_t>(scalar.sine))
                << each;
            ASSERT_EQ(std::bit_cast<std::uint64_t>(lanes.cosine),
                      std::bit_cast<std::uint64_t>(scalar.cosine))
                << each;
        }
        const KgeSineCosine one = KgeSinCos(angle);
        KgeSineCosine turned[3];
        KgeSinCos({angle + 360.0, angle - 720.0, angle + 36000.0}, turned);
        for (const KgeSineCosine& each : turned) {
            ASSERT_TRUE(each.sine == one.sine && each.cosine == one.cosine) << angle;
        }
    }
}
}  // namespace
