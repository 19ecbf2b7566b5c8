// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/corvekit/math/exact_rotation.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

KgeQuaternion RandomRotation(AngleSource& pSource)
{
    KgeQuaternion q(pSource.Uniform(-1, 1), pSource.Uniform(-1, 1), pSource.Uniform(-1, 1),
                    pSource.Uniform(-1, 1));
    q.Normalize();
    return q;
}

// Bounds of this file, in epsilons: a quaternion product is off by at most 4 (sums of four rounded
// products, each component below 1); a matrix from a unit quaternion by at most 6 an element; a
// quaternion from a matrix by at most 8, since the root is taken of 1 or more, plus what the
// matrix was off.
constexpr double kProductBound = 4;
constexpr double kMatrixBound = 6;
constexpr double kBackBound = 8 + kMatrixBound;

TEST(Quaternion, IsTheRotationOfItsMatrixWhateverItsLength)
{
    AngleSource source(3);
    int largest[4] = {};
    for (int i = 0; i < 100000; ++i) {
        SCOPED_TRACE(i);
        KgeQuaternion q = RandomRotation(source);
        if (i % 3 == 0) {
            q[i % 4] *= 1e-9;  // half turns and turns in the coordinate planes
            q.Normalize();
        }
        const long double sine = std::hypot(q[0], q[1], q[2]);
        const RefRotation exact =
            RefRotation::OfTurn({q[0] / sine, q[1] / sine, q[2] / sine},
                                2 * std::atan2(sine, static_cast<long double>(q[3])) * 180 /
                                    std::numbers::pi_v<long double>);
        // The second road knows the sine as a double: a relative half epsilon in each of two axis
        // components, and two in the angle.
        const KgeRMatrix m(q);
        ASSERT_LE(EpsilonsApart(m, exact), kMatrixBound + 4);
        for (const double length : {-3.0, 1e-159, 1e-200, 1e200}) {
            ASSERT_LE(EpsilonsApart(KgeRMatrix(q * length), m), 2 * kMatrixBound);
        }
        const KgeQuaternion before(0.5, -0.5, 0.5, 0.5);
        ASSERT_LE(EpsilonsApart(KgeRMatrix(q * before), m * KgeRMatrix(before)),
                  4 * kProductBound + 4 * kMatrixBound);
        const KgeQuaternion back(m);
        ASSERT_LE(1.0 - std::fabs(back.Dot(q)), kBackBound * DBL_EPSILON);
        ASSERT_LE((back - (back.Dot(q) < 0 ? -q : q)).Length(), kBackBound * DBL_EPSILON);
        for (int c = 0; c < 4; ++c) {
            largest[c] += std::fabs(q[c]) > 0.9 ? 1 : 0;
        }
    }
    for (const int count : largest) {
        EXPECT_GT(count, 1000);  // every branch was taken
    }
    EXPECT_EQ(KgeRMatrix(), KgeRMatrix(KgeQuaternion(0, 0, 0, 0)));
    EXPECT_EQ(KgeQuaternion(1, 0, 0, 0), KgeQuaternion(KgeRMatrix(180, 0, 0)));
    // A product turns by its right side first: i j = k.
    EXPECT_EQ(KgeQuaternion(0, 0, 1, 0), KgeQuaternion(1, 0, 0, 0) * KgeQuaternion(0, 1, 0, 0));
    KgeQuaternion least(0, 5e-324, 0, 5e-324);
    least.Normalize();
    EXPECT_NEAR(1.0, least.Length(), DBL_EPSILON);
}

TEST(Slerp, CoversTheShortWayAtAnEvenPace)
{
    AngleSource source(9);
    for (int i = 0; i < 50000; ++i) {
        SCOPED_TRACE(i);
        const KgeQuaternion a = RandomRotation(source);
        KgeQuaternion b = RandomRotation(source);
        if (i % 4 == 0) {
            b = a + std::pow(10.0, source.Uniform(-8, -1)) * b;
            b.Normalize();
        }
        const double t = source.Uniform(0, 1);
        const KgeQuaternion end = a.Dot(b) < 0 ? -b : b;
        EXPECT_LE((KgeSlerp(a, b, 0) - a).Length(), 2 * DBL_EPSILON);
        EXPECT_LE((KgeSlerp(a, b, 1) - end).Length(), 2 * DBL_EPSILON);

        // Angles from chords, which stay sharp where an arc cosine does not. A blend along the
        // chord, up to a distance of sqrt(2e-6), misses the even pace and the length by less than
        // the cube and an eighth of the square of that.
        const KgeQuaternion s = KgeSlerp(a, b, t);
        const bool isStraight = 1.0 - std::fabs(a.Dot(b)) <= 1e-6;
        const auto angle = [](const KgeQuaternion& p, const KgeQuaternion& q) {
            return 2.0 * std::atan2((p - q).Length(), (p + q).Length());
        };
        const double whole = angle(a, end);
        ASSERT_NEAR(1.0, s.Length(), isStraight ? 2.6e-7 : 1e-12);
        ASSERT_NEAR(t * whole, angle(a, s), isStraight ? 3e-9 : 1e-12);
        ASSERT_NEAR((1 - t) * whole, angle(s, end), isStraight ? 3e-9 : 1e-12);
    }
}

TEST(PositionToPosition, IsTheShortestRotationThatTurnsOneDirectionToTheOther)
{
    AngleSource source(13);
    for (int i = 0; i < 100000; ++i) {
        SCOPED_TRACE(i);
        const KgeTVector u = source.Direction();
        KgeTVector v = source.Direction();
        if (i % 2 == 1) {
            // Nearly parallel, nearly opposite, and exactly so.
            const double step = i % 8 == 1 ? 0.0 : std::pow(10.0, source.Uniform(-18, -1));
            v = (i % 4 == 1 ? u : -u) + step * v;
            v.Normalize();
        }
        KgeQuaternion q;
        GetQuaternionFromPositionToPosition(q, u * std::pow(10.0, source.Uniform(-200, 200)),
                                            v * std::pow(10.0, source.Uniform(-200, 200)));
        // The two directions and the two half lengths are each off by 2, the axis by 3, twice for
        // the angle of a rotation, and the matrix by its own.
        ASSERT_LE((KgeRMatrix(q) * u - v).Length(), (2 * 10 + 2 * kMatrixBound) * DBL_EPSILON);
        ASSERT_NEAR(1.0, q.Length(), 2 * DBL_EPSILON);
        ASSERT_GE(q[3], 0.0);
        // Shortest: about an axis across both directions.
        const KgeTVector axis(q.Data());
        ASSERT_LE(std::fabs(axis.Dot(u)), 8 * axis.Length() * DBL_EPSILON);
        ASSERT_LE(std::fabs(axis.Dot(v)), 8 * axis.Length() * DBL_EPSILON);
    }

    const struct
    {
        KgeTVector from, to;
        KgeQuaternion expected;
    } cases[] = {
        {{2, 0, 0}, {-1, 0, 0}, {0, 1, 0, 0}},
        {{0, 0, 1}, {0, 0, -5}, {1, 0, 0, 0}},
        {{0, 0, 0}, {1, 0, 0}, {0, 0, 0, 1}},
        {{kNaN, 0, 0}, {1, 0, 0}, {0, 0, 0, 1}},
    };
    for (const auto& each : cases) {
        KgeQuaternion q(9, 9, 9, 9);
        GetQuaternionFromPositionToPosition(q, each.from, each.to);
        EXPECT_LE((q - each.expected).Length(), DBL_EPSILON) << &each - cases;
    }
}
}  // namespace
