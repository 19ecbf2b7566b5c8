// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include <array>
#include <cmath>
#include <numbers>

/// A rotation as a matrix in long double, from its definition and without the library: turns about
/// an axis by the formula of Rodrigues, one after the other.
struct RefRotation
{
    using Axis = std::array<long double, 3>;
    static constexpr long double kDegrees = 180.0L / std::numbers::pi_v<long double>;

    long double m[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

    static RefRotation OfTurn(const Axis& pUnitAxis, long double pDegrees)
    {
        const long double radians = std::fmod(pDegrees, 360.0L) / kDegrees;
        const long double s = std::sin(radians);
        const long double c = std::cos(radians);
        const Axis& a = pUnitAxis;
        const long double cross[3][3] = {{0, -a[2], a[1]}, {a[2], 0, -a[0]}, {-a[1], a[0], 0}};
        RefRotation turn;
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = 0; j < 3; ++j) {
                turn.m[i][j] = (i == j ? c : 0) + s * cross[i][j] + (1 - c) * a[i] * a[j];
            }
        }
        return turn;
    }

    /// Angles in degrees; orders 0 to 5 are XYZ XZY YZX YXZ ZXY ZYX, the first axis turning first.
    static RefRotation OfAngles(const double* pAngles, int pOrder)
    {
        constexpr int kAxes[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 2, 0},
                                     {1, 0, 2}, {2, 0, 1}, {2, 1, 0}};
        RefRotation r;
        for (const int axis : kAxes[pOrder]) {
            Axis unit{};
            unit[static_cast<std::size_t>(axis)] = 1;
            r = OfTurn(unit, pAngles[axis]) * r;
        }
        return r;
    }

    RefRotation Inverse() const
    {
        RefRotation r;
        for (int i = 0; i < 9; ++i) {
            r.m[i / 3][i % 3] = m[i % 3][i / 3];
        }
        return r;
    }

    /// The shortest turn in degrees, and its axis where pAxis is not null.
    long double Angle(Axis* pAxis = nullptr) const
    {
        // By the antisymmetric part; near a half turn the axis is read from the symmetric one.
        Axis axis = {m[2][1] - m[1][2], m[0][2] - m[2][0], m[1][0] - m[0][1]};
        const long double sine = std::hypot(axis[0], axis[1], axis[2]);
        const long double angle = std::atan2(sine, m[0][0] + m[1][1] + m[2][2] - 1);
        if (pAxis && angle > 3.0L) {
            std::size_t most = 0;
            for (std::size_t i = 1; i < 3; ++i) {
                most = m[i][i] > m[most][most] ? i : most;
            }
            const long double sign = axis[most] < 0 ? -1 : 1;
            for (std::size_t i = 0; i < 3; ++i) {
                axis[i] = (m[i][most] + m[most][i]) / 2 - (i == most ? std::cos(angle) : 0);
            }
            const long double length = sign * std::hypot(axis[0], axis[1], axis[2]);
            *pAxis = {axis[0] / length, axis[1] / length, axis[2] / length};
        } else if (pAxis && sine > 0) {
            *pAxis = {axis[0] / sine, axis[1] / sine, axis[2] / sine};
        }
        return angle * kDegrees;
    }

    /// A part of the shortest turn, or a multiple of it.
    RefRotation Part(double pShare) const
    {
        Axis axis = {1, 0, 0};
        const long double angle = Angle(&axis);
        return OfTurn(axis, angle * pShare);
    }

    friend RefRotation operator*(const RefRotation& pLeft, const RefRotation& pRight)
    {
        RefRotation r;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                r.m[i][j] = pLeft.m[i][0] * pRight.m[0][j] + pLeft.m[i][1] * pRight.m[1][j] +
                            pLeft.m[i][2] * pRight.m[2][j];
            }
        }
        return r;
    }
};

/// Degrees between two rotations.
inline double RefDistance(const RefRotation& pLeft, const RefRotation& pRight)
{
    return static_cast<double>((pLeft.Inverse() * pRight).Angle());
}
