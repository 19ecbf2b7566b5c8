// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

// The second road of the rotation tests: turns about an axis by the formula of Rodrigues, composed
// in long double, without any of the library's own formulas.

#include "corvekit/math/rotation_order.h"

#include <array>
#include <cfloat>
#include <cmath>
#include <numbers>
#include <random>

using ExactMatrix = std::array<std::array<long double, 3>, 3>;  // rows

inline ExactMatrix ExactTurn(const std::array<long double, 3>& pUnitAxis, long double pDegrees)
{
    const long double radians =
        std::fmod(pDegrees, 360.0L) * (std::numbers::pi_v<long double> / 180.0L);
    const long double s = std::sin(radians);
    const long double c = std::cos(radians);
    const auto& a = pUnitAxis;
    const ExactMatrix cross = {{{0, -a[2], a[1]}, {a[2], 0, -a[0]}, {-a[1], a[0], 0}}};
    ExactMatrix turn;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            turn[i][j] = (i == j ? c : 0) + s * cross[i][j] + (1 - c) * a[i] * a[j];
        }
    }
    return turn;
}

inline ExactMatrix ExactProduct(const ExactMatrix& pLeft, const ExactMatrix& pRight)
{
    ExactMatrix product{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            for (std::size_t k = 0; k < 3; ++k) {
                product[i][j] += pLeft[i][k] * pRight[k][j];
            }
        }
    }
    return product;
}

inline ExactMatrix ExactEuler(const KgeRVector& pAngles, int pOrder)
{
    ExactMatrix result = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    for (const int axis : KmEulerAxis[pOrder]) {
        std::array<long double, 3> unit{};
        unit[static_cast<std::size_t>(axis)] = 1;
        result = ExactProduct(ExactTurn(unit, pAngles[axis]), result);
    }
    return result;
}

/// The largest difference between two elements, in epsilons.
inline double EpsilonsApart(const KgeRMatrix& pMatrix, const ExactMatrix& pExact)
{
    long double largest = 0;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            const long double exact =
                pExact[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
            const long double difference = std::fabs(pMatrix(row, column) - exact);
            largest = difference <= largest ? largest : difference;  // NaN counts
        }
    }
    return static_cast<double>(largest / DBL_EPSILON);
}

inline double EpsilonsApart(const KgeRMatrix& pLeft, const KgeRMatrix& pRight)
{
    ExactMatrix exact{};
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            exact[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)] =
                pRight(row, column);
        }
    }
    return EpsilonsApart(pLeft, exact);
}

/// Angles as animation has them, and as it breaks: anything, right angles, and closely beside.
class AngleSource
{
public:
    explicit AngleSource(unsigned pSeed) : mRandom(pSeed) {}

    double Uniform(double pLeast, double pGreatest)
    {
        return std::uniform_real_distribution<double>(pLeast, pGreatest)(mRandom);
    }
    int Whole(int pLeast, int pGreatest)
    {
        return std::uniform_int_distribution<int>(pLeast, pGreatest)(mRandom);
    }
    double Angle()
    {
        const int kind = Whole(0, 3);
        if (kind < 2) {
            return Uniform(-900.0, 900.0);
        }
        const double right = 90.0 * Whole(-10, 10);
        return kind == 2 ? right : right + std::pow(10.0, Uniform(-16.0, 0.0)) * Whole(-1, 1);
    }
    KgeRVector Angles() { return KgeRVector(Angle(), Angle(), Angle()); }
    KgeTVector Direction()
    {
        KgeTVector direction;
        do {
            direction.Init(Uniform(-1, 1), Uniform(-1, 1), Uniform(-1, 1));
        } while (direction.Length() > 1.0 || direction.Length() < 0.1);
        direction.Normalize();
        return direction;
    }

private:
    std::mt19937_64 mRandom;
};
