// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/corvekit/math/exact_rotation.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(Vector, NormalizeReachesTheEndsOfTheRange)
{
    for (const double scale : {1.0, 1e-170, 1e300, 1e-310}) {
        KgeTVector v(2 * scale, -3 * scale, 6 * scale);
        v.Normalize();
        EXPECT_LE((v - KgeTVector(2, -3, 6) / 7.0).Length(), scale < 1e-300 ? 1e-12 : 1e-15);
    }
    for (const KgeTVector& kept : {KgeTVector(), KgeTVector(INFINITY, 1, 2)}) {
        KgeTVector v = kept;
        EXPECT_EQ(kept.Length(), v.Normalize());
        EXPECT_EQ(kept, v);
    }
}

TEST(Power, TurnsTheSameAxisByAMultipleOfTheShortWay)
{
    // The quaternion of a matrix is off by some 14 epsilons and its sine is at least 4.5e-3 where
    // the angle counts, of which the angle takes a direct share and the axis one over the sine.
    const double bound = 2 * 14 / 4.5e-3;
    AngleSource source(17);
    for (int i = 0; i < 60000; ++i) {
        SCOPED_TRACE(i);
        const KgeTVector axis = source.Direction();
        double angle = source.Uniform(0.6, 180.0);
        if (i % 3 == 0) {
            angle = 180.0 - std::pow(10.0, source.Uniform(-12, 0));
        }
        const double half = angle * std::numbers::pi / 360.0;
        const KgeTVector v = axis * std::sin(half);
        // Both signs of the quaternion are one rotation.
        const double sign = i % 2 == 0 ? 1.0 : -1.0;
        const KgeRMatrix m(sign * KgeQuaternion(v[0], v[1], v[2], std::cos(half)));
        for (const double exponent : {0.0, 1.0, -1.0, 0.5, 1e-3, 2.0, 3.7}) {
            const double allowed = exponent == 1.0 || exponent == -1.0 ? 60.0 : bound;
            const long double length = std::hypot(axis[0], axis[1], axis[2]);
            const RefRotation exact =
                RefRotation::OfTurn({axis[0] / length, axis[1] / length, axis[2] / length},
                                    static_cast<long double>(angle) * exponent);
            ASSERT_LE(EpsilonsApart(m.Power(exponent), exact), allowed) << exponent;
        }
        const KgeRMatrix root = m.Power(0.5);
        ASSERT_LE(EpsilonsApart(root * root, m), 60.0);
    }
}

TEST(Power, ASmallRotationStaysWhole)
{
    const KgeRMatrix small(0.4, 0, 0);
    EXPECT_LE(EpsilonsApart(small.Power(1.1e-6), small), 4.0);
    EXPECT_EQ(KgeRMatrix(), small.Power(1e-6));
    EXPECT_LE(EpsilonsApart(KgeRMatrix(0.6, 0, 0).Power(0.5), KgeRMatrix(0.3, 0, 0)), 4.0);
}

TEST(RotationMatrix, OrthonormalizeMendsWearAndAnswersParallelAxes)
{
    KgeRMatrix worn(20, 30, 40);
    const KgeRMatrix fresh = worn;
    worn.SetAxis(0, worn.GetAxis(0) * 1.5);
    worn.SetAxis(1, worn.GetAxis(1) + 0.1 * worn.GetAxis(0));
    worn.SetAxis(2, KgeTVector(7, kNaN, 7));  // follows from the others
    worn.Orthonormalize();
    EXPECT_LE(EpsilonsApart(worn, fresh), 8.0);
    worn.SetAxis(1, worn.GetAxis(0));
    worn.Orthonormalize();
    EXPECT_EQ(KgeRMatrix(), worn);
}

TEST(AffineMatrix, IsScaledThenTurnedThenMovedAndComesApartAgain)
{
    // By hand: (1, 2, 3) is scaled to (2, 6, 12), turned about X to (2, -12, 6), moved.
    const KgeTVector t(10, 20, 30);
    const KgeSVector s(2, 3, 4);
    EXPECT_EQ(KgeTVector(12, 8, 36), KgeAMatrix(t, KgeRVector(90, 0, 0), s) * KgeTVector(1, 2, 3));

    AngleSource source(19);
    for (int i = 0; i < 10000; ++i) {
        SCOPED_TRACE(i);
        const double sign = i % 2 == 0 ? 1.0 : -1.0;
        const KgeSVector scale(sign * source.Uniform(0.1, 9), sign * source.Uniform(0.1, 9),
                               sign * source.Uniform(0.1, 9));
        const KgeRVector angles(source.Uniform(-180, 180), source.Uniform(-89, 89),
                                source.Uniform(-180, 180));
        const KgeAMatrix m(t, angles, scale);
        EXPECT_EQ(t, KgeTVector(m));
        // An axis is a column of a rotation, 8.5 off at most, times a scale below 9.
        ASSERT_LE((KgeSVector(m) - scale).Length(), 9 * 3 * 10 * DBL_EPSILON);
        ASSERT_LE(EpsilonsApart(KgeRMatrix(m), KgeRMatrix(angles)), 3 * 8.5);
    }
}

TEST(AffineMatrix, TheInverseUndoesItsMatrixFromBothSides)
{
    AngleSource source(23);
    for (int i = 0; i < 20000; ++i) {
        SCOPED_TRACE(i);
        KgeAMatrix m;
        for (int element = 0; element < 12; ++element) {
            m(element % 3, element / 3) = source.Uniform(-1, 1);
        }
        if (std::fabs(m.Determinant()) < 1e-3) {
            continue;
        }
        bool singular = true;
        const KgeAMatrix inverse = m.Inverse(&singular);
        ASSERT_FALSE(singular);
        // Elements up to 1 and 2 / determinant: each identity element sums three products whose
        // factors are off by a few epsilons of the inverse's size, and again for the translation.
        const double bound = 100 * 2 / std::fabs(m.Determinant()) * DBL_EPSILON;
        for (const KgeAMatrix& each : {m * inverse, inverse * m}) {
            for (int column = 0; column < 4; ++column) {
                ASSERT_LE((each.GetAxis(column) - KgeAMatrix().GetAxis(column)).Length(), bound);
            }
        }
    }

    // Determinants far beyond the range of doubles.
    for (const double scale : {1e-150, 1e150, 0.25}) {
        const KgeAMatrix m(KgeTVector(scale, 0, 0), KgeRVector(90, 0, 0),
                           KgeSVector(scale, scale, scale));
        const KgeTVector back = m.Inverse() * (m * KgeTVector(3, 4, 5));
        EXPECT_LE((back - KgeTVector(3, 4, 5)).Length(), 1e-14) << scale;
    }
    for (const double bad : {kNaN, static_cast<double>(INFINITY)}) {
        KgeAMatrix m;
        m(1, 1) = bad;
        bool singular = false;
        EXPECT_EQ(KgeAMatrix(), m.Inverse(&singular));
        EXPECT_TRUE(singular);
    }
}
}  // namespace
