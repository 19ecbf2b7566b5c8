// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/corvekit/math/exact_rotation.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

bool IsNear(const KgeRVector& pLeft, const KgeRVector& pRight, double pBound)
{
    return (pLeft - pRight).Length() <= pBound;
}

TEST(RotationOrder, MatricesAreThoseOfTheThreeTurnsAndGiveTheAnglesBack)
{
    // A sine or cosine is off by at most 1.3 epsilons: one of at most pi / 4 for the radians, half
    // of one for the function. An element is at most a product of three and a product of two of
    // them: 5 * 1.3, three roundings of the products and one of the sum at half an epsilon.
    const double elementBound = 8.5;
    // A matrix worn by two products carries the error of three, and of the products 2.5 each.
    const double wornBound = 3 * elementBound + 2 * 2.5;
    // Reading angles, an element's error is magnified by at most 8 in each of the two outer angles,
    // and three angles of up to pi are each rounded as a result, in the factor and as a product.
    const auto rebuiltBound = [](double pElementBound) {
        return pElementBound + 2 * 8 * pElementBound + 3 * 1.5 * 3.1416;
    };
    // In lock, elements up to the tolerance are replaced by others up to the tolerance.
    const double lockBound = rebuiltBound(wornBound) + 2 * kGimbalTolerance / DBL_EPSILON;

    AngleSource source(20260701);
    int locked = 0;
    for (int i = 0; i < 100000; ++i) {
        const KgeRVector angles = source.Angles();
        for (int number = 0; number < kRotationOrderCount; ++number) {
            const KVdRotationOrder order(number);
            const auto trace = [&] {
                return ::testing::Message() << "seed 20260701, round " << i << ", order " << number;
            };
            KgeRMatrix m;
            order.V2M(m, angles);
            ASSERT_LE(EpsilonsApart(m, RefRotation::OfAngles(angles.Data(), number)), elementBound)
                << trace();
            ASSERT_LE(EpsilonsApart(m * m.Transpose(), KgeRMatrix()), 30.0) << trace();

            if (i % 2 == 1) {
                // Small elements of a product have large roundings: what makes reading hard.
                const KgeRMatrix turn(angles + KgeRVector(37, 53, 71));
                m = turn * (turn.Transpose() * m);
            }
            KgeRVector read;
            order.M2V(read, m);
            for (int axis = 0; axis < 3; ++axis) {
                ASSERT_LE(std::fabs(read[axis]), axis == order.GetAxes()[1] ? 90.0 : 180.0);
            }
            KgeRMatrix rebuilt;
            order.V2M(rebuilt, read);
            const double apart = EpsilonsApart(rebuilt, m);
            const double cosine = std::hypot(m(order.GetAxes()[0], order.GetAxes()[0]),
                                             m(order.GetAxes()[1], order.GetAxes()[0]));
            if (cosine > kGimbalTolerance) {
                ASSERT_LE(apart, rebuiltBound(i % 2 == 1 ? wornBound : elementBound)) << trace();
            } else {
                ++locked;
                ASSERT_EQ(0.0, read[order.GetAxes()[2]]) << trace();
                ASSERT_LE(apart, lockBound) << trace();
            }
        }
    }
    EXPECT_GT(locked, 10000);
}

TEST(RotationOrder, RightAnglesAreExactBothWays)
{
    for (int i = 0; i < kRotationOrderCount * 9 * 9 * 9; ++i) {
        const KVdRotationOrder order(i / 729);
        const KgeRVector angles(90.0 * (i % 9 - 4), 90.0 * (i / 9 % 9 - 4),
                                90.0 * (i / 81 % 9 - 4));
        SCOPED_TRACE(i);
        KgeRMatrix m;
        order.V2M(m, angles);
        for (int element = 0; element < 9; ++element) {
            const double value = std::fabs(m(element / 3, element % 3));
            ASSERT_TRUE(value == 0.0 || value == 1.0) << value;
        }
        KgeRVector read;
        order.M2V(read, m);
        for (const int axis : {0, 1, 2}) {
            ASSERT_EQ(0.0, std::fmod(read[axis], 90.0)) << read[axis];
            ASSERT_GT(read[axis], -180.0);  // half a turn is 180
            ASSERT_FALSE(read[axis] == 0.0 && std::signbit(read[axis]));
        }
        KgeRMatrix rebuilt;
        order.V2M(rebuilt, read);
        ASSERT_EQ(m, rebuilt);
        order.V2M(rebuilt, angles + KgeRVector(-360e6, 720, 3600e9));
        ASSERT_EQ(m, rebuilt);  // whole turns change nothing
    }
    // Angles too large to count their quarter turns.
    EXPECT_EQ(KgeRMatrix(std::fmod(1e20, 360.0), 0, 0), KgeRMatrix(1e20, 0, 0));
}

// What the limits of one case are, and the search that knows nothing of how V2VRef finds its way.
struct LimitCase
{
    bool enableMin[3] = {}, enableMax[3] = {};
    double min[3] = {}, max[3] = {};

    bool Hold(int pAxis, double pAngle) const
    {
        return !(enableMin[pAxis] && pAngle < min[pAxis]) &&
               !(enableMax[pAxis] && pAngle > max[pAxis]);
    }
};

// The least squared distance over both forms and 60 turns of each angle, infinite if none holds.
double BruteDistance(const KgeRVector& pIn, const KgeRVector& pReference, const int (&pAxes)[3],
                     const LimitCase& pLimits, bool pFlipped)
{
    double sum = 0.0;
    for (int place = 0; place < 3; ++place) {
        const int axis = pAxes[place];
        const double angle = !pFlipped    ? pIn[axis]
                             : place == 1 ? 180.0 - pIn[axis]
                                          : pIn[axis] + 180.0;
        double least = kInfinity;
        for (int turn = -30; turn <= 30; ++turn) {
            const double turned = angle + 360.0 * turn;
            if (pLimits.Hold(axis, turned)) {
                least = std::min(least, (turned - pReference[axis]) * (turned - pReference[axis]));
            }
        }
        sum += least;
    }
    return sum;
}

LimitCase RandomLimits(AngleSource& pSource, const KgeRVector& pReference)
{
    LimitCase limits;
    for (int axis = 0; axis < 3; ++axis) {
        limits.enableMin[axis] = pSource.Whole(0, 1) == 1;
        limits.enableMax[axis] = pSource.Whole(0, 1) == 1;
        limits.min[axis] = pReference[axis] + pSource.Uniform(-500, 100);
        limits.max[axis] = limits.min[axis] + pSource.Uniform(-30, 700);
    }
    return limits;
}

TEST(NearestAngles, NoOtherFormOrTurnInsideTheLimitsIsNearer)
{
    AngleSource source(7);
    const LimitCase unlimited;
    int flips = 0, outside = 0;
    for (int i = 0; i < 50000; ++i) {
        SCOPED_TRACE(i);
        const KVdRotationOrder order(i % kRotationOrderCount);
        const auto& axes = order.GetAxes();
        const KgeRVector in(source.Uniform(-900, 900), source.Uniform(-900, 900),
                            source.Uniform(-900, 900));
        const KgeRVector reference(source.Uniform(-900, 900), source.Uniform(-900, 900),
                                   source.Uniform(-900, 900));
        const bool isLimited = i % 2 == 1;
        LimitCase limits = isLimited ? RandomLimits(source, reference) : unlimited;

        KgeRVector out = in;  // in place, as filters call it
        const bool flipped = isLimited ? order.V2VRef(out, out, reference, limits.enableMin,
                                                      limits.min, limits.enableMax, limits.max)
                                       : order.V2VRef(out, out, reference);
        double direct = BruteDistance(in, reference, axes, limits, false);
        double other = BruteDistance(in, reference, axes, limits, true);
        if (std::min(direct, other) == kInfinity) {
            ++outside;
            direct = BruteDistance(in, reference, axes, unlimited, false);
            other = BruteDistance(in, reference, axes, unlimited, true);
        } else {
            for (int axis = 0; axis < 3; ++axis) {
                ASSERT_TRUE(limits.Hold(axis, out[axis]));
            }
        }
        ASSERT_NEAR(std::min(direct, other), (out - reference).SquareLength(), 1e-8);
        ASSERT_EQ(other < direct, flipped);
        flips += flipped ? 1 : 0;

        // Adding 180 or 360 to an angle below 2048 rounds by at most half a step of 2^-42 degrees,
        // 2e-15 radians or 9 epsilons, once for the form and once for the turns, in three angles.
        KgeRMatrix before, after;
        order.V2M(before, in);
        order.V2M(after, out);
        ASSERT_LE(EpsilonsApart(before, after), 3 * 2 * 9 + 2 * 8.5);
    }
    EXPECT_GT(flips, 5000);
    EXPECT_GT(outside, 1000);
}

TEST(NearestAngles, TiesAndLimitsByHand)
{
    const struct
    {
        const char* why;
        int order;
        KgeRVector in, reference, expected;
        bool flipped;
        double minX = -kInfinity, maxX = kInfinity;
    } cases[] = {
        {"both forms equally far: as given", 0, {0, 0, 0}, {90, 90, 90}, {0, 0, 0}, false},
        {"the form about Y", 1, {10, 20, 30}, {-170, -160, 150}, {-170, -160, 150}, true},
        {"half a turn away stays", 0, {0, 0, 0}, {180, 0, 0}, {0, 0, 0}, false},
        {"lock shares equally", 0, {30, 90, 0}, {0, 90, 0}, {15, 90, -15}, false},
        {"lock at -90", 0, {30, -90, 0}, {0, -90, 0}, {15, -90, 15}, false},
        {"lock of an odd order", 1, {30, 0, 90}, {0, 0, 90}, {15, 15, 90}, false},
        {"lock goes the short way", 0, {170, 90, -170}, {0, 90, 0}, {-10, 90, 10}, false},
        {"nothing fits", 0, {10, 0, 0}, {350, 0, 0}, {370, 0, 0}, false, 50, 60},
        {"crossed limits hold nothing", 0, {10, 90, 0}, {350, 90, 0}, {360, 90, -10}, false, 9, -9},
        {"a limit out of reach is none", 0, {10, 0, 0}, {350, 0, 0}, {370, 0, 0}, false, 1e20},
        {"NaN limits nothing", 0, {10, 0, 0}, {350, 0, 0}, {370, 0, 0}, false, kNaN, kNaN},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.why);
        const bool enable[3] = {true, false, false};
        const double min[3] = {each.minX, 0, 0};
        const double max[3] = {each.maxX, 0, 0};
        KgeRVector out = each.reference;  // written over the reference
        EXPECT_EQ(each.flipped,
                  KVdRotationOrder(each.order).V2VRef(out, each.in, out, enable, min, enable, max));
        EXPECT_TRUE(IsNear(each.expected, out, 1e-13)) << out[0] << ' ' << out[1] << ' ' << out[2];
    }
}
}  // namespace
