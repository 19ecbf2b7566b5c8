// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

// Rotations of the library against those of ref_rotation.h, and angles to test them with.

#include "corvekit/math/rotation_order.h"
#include "tests/support/ref_rotation.h"

#include <cfloat>
#include <cmath>
#include <numbers>
#include <random>

/// The largest difference between two elements, in epsilons.
inline double EpsilonsApart(const KgeRMatrix& pMatrix, const RefRotation& pExact)
{
    long double largest = 0;
    for (int i = 0; i < 9; ++i) {
        const long double difference = std::fabs(pMatrix(i / 3, i % 3) - pExact.m[i / 3][i % 3]);
        largest = difference <= largest ? largest : difference;  // NaN counts
    }
    return static_cast<double>(largest / DBL_EPSILON);
}

inline double EpsilonsApart(const KgeRMatrix& pLeft, const KgeRMatrix& pRight)
{
    RefRotation right;
    for (int i = 0; i < 9; ++i) {
        right.m[i / 3][i % 3] = pRight(i / 3, i % 3);
    }
    return EpsilonsApart(pLeft, right);
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
