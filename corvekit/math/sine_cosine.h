// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: sine and cosine of an angle in degrees, in two lanes.
#pragma once

// The angle is written as 90 n + k + r with whole n and k and r from -0.5 to 0.5, all without
// rounding. Sine and cosine of k are in a table, in twice the precision, together with their slopes
// S' and C' per degree. The two sums
//     sin(k + r) = S + S' r + (S' (sin r - r) + S (cos r - 1)),  and the same for the cosine
// are the two lanes; sin r and cos r are polynomials. The leading 26 bits of the slope times the
// leading 26 of r are exact, so that everything that is rounded before the last addition is below
// 2^-6 of the result: the error is below 0.51 units in the last place. The method is that of Gal
// (1986) with equally spaced points: a table of accurate values and a short polynomial between
// them.

#include "corvekit/math/double_double.h"
#include "corvekit/math/elementary.h"
#include "corvekit/math/two_lanes.h"

#include <array>
#include <cmath>

namespace sine_cosine
{
/// Of a whole number of degrees: pairs of sine and cosine, each number as a sum of two.
struct alignas(64) Row
{
    double value[2];
    double valueLow[2];
    double slope[2];  // per degree, 26 bits
    double slopeLow[2];
};

inline constexpr int kReach = 45;
extern const std::array<Row, 2 * kReach + 1> kRows;

// Coefficients of sin(r)/r - 1 and cos(r) - 1 in powers of r^2, r in degrees: the Taylor series,
// whose next terms are below 1e-21.
inline constexpr double kSquare = (kRadiansPerDegree * kRadiansPerDegree).high;
alignas(16) inline constexpr double kTerms[3][2] = {
    {-kSquare / 6.0, -kSquare / 2.0},
    {kSquare * kSquare / 120.0, kSquare* kSquare / 24.0},
    {-kSquare * kSquare * kSquare / 5040.0, -kSquare* kSquare* kSquare / 720.0}};

// The signs of sine and cosine in the four quadrants, after the swap in the odd ones.
alignas(16) inline constexpr double kSigns[4][2] = {{1, 1}, {1, -1}, {-1, -1}, {-1, 1}};

// Beyond this, an angle is reduced by whole turns first.
inline constexpr double kLargest = 1e9;
// Below this, r degrees are too small for the splitting of r.
inline constexpr double kSmallest = 0x1p-20;

/// The sine of at most kSmallest degrees.
double SineOfFewDegrees(double pAngle);

template <typename Lanes>
KgeSineCosine Of(double pAngle)
{
    double angle = pAngle;
    if (!(std::fabs(angle) <= kLargest)) {
        angle = std::fmod(angle, 360.0);
        if (std::isnan(angle)) {
            return {angle, angle};
        }
    }
    constexpr double kWhole = RoundingTo(0);
    const double quarterSum = angle * (1.0 / 90.0) + kWhole;
    const double middle = angle - 90.0 * (quarterSum - kWhole);
    const double degreeSum = middle + kWhole;
    const int degree = RoundedNumber(degreeSum);
    const double r = middle - (degreeSum - kWhole);

    constexpr double kSplit = RoundingTo(27);
    const double high = (r + kSplit) - kSplit;
    const double low = r - high;
    const double z = r * r;
    const Lanes squares = Lanes::Of(z);
    const Lanes sums = Lanes::Load(kTerms[0]) +
                       squares * (Lanes::Load(kTerms[1]) + squares * Lanes::Load(kTerms[2]));
    alignas(16) double parts[2];  // (sin(r)/r - 1) / r^2, (cos(r) - 1) / r^2
    sums.Store(parts);
    const double cubic = r * z * parts[0];  // sin(r) - r, in degrees

    const Row& row = kRows[static_cast<std::size_t>(degree + kReach)];
    const Lanes value = Lanes::Load(row.value);
    const Lanes slope = Lanes::Load(row.slope);
    const Lanes step = slope * Lanes::Of(high);
    const Lanes sum = value + step;
    const Lanes error = step - (sum - value);
    const Lanes rest = Lanes::Load(row.valueLow) +
                       Lanes::Load(row.slopeLow) * Lanes::Of(r + cubic) +
                       slope * Lanes::Of(low + cubic) + value * Lanes::Of(z * parts[1]);
    Lanes result = sum + (error + rest);

    if (degree == 0 && r != 0.0 && std::fabs(r) < kSmallest) {
        result.Store(parts);
        result = Lanes::Of(SineOfFewDegrees(r), parts[1]);
    }
    const unsigned quadrant = static_cast<unsigned>(RoundedNumber(quarterSum)) & 3u;
    result = (quadrant & 1u) != 0 ? result.Swapped() : result;
    // As sinPi and cosPi of IEEE 754: a sine of 0 has the sign of the angle, a cosine of 0 is +0.
    result = result.Signed(Lanes::Load(kSigns[quadrant])) + Lanes::Of(0.0);
    result.Store(parts);
    return {parts[0] == 0.0 ? std::copysign(0.0, angle) : parts[0], parts[1]};
}
}  // namespace sine_cosine
