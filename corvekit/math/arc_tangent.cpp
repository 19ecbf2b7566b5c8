// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Arc tangent and arc cosine in degrees. The smaller over the larger of two sides is t = c + d,
// with c the nearest multiple of 1/64. The angle is the series of Taylor at c,
//     atan(c + d) = T + A1 d + A2 d^2 + ... + A8 d^8,
// whose coefficients are in a table: the value T in twice the precision, the slope A1 as 26 bits
// and the rest. t is found as a number of 27 places, the rest of whose division is exact, and the
// correction that follows from it: A1 times the leading part of d is exact too. What is rounded
// before the last addition is below 2^-6 of the result. Tables of accurate values with short series
// between them: Gal (1986).

#include "corvekit/math/double_double.h"
#include "corvekit/math/elementary.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace
{
constexpr int kSteps = 64;
constexpr int kDegree = 8;

struct alignas(32) Row
{
    double value;
    double valueLow;
    double slope;  // 26 bits
    double slopeLow;
    double term[kDegree + 1];  // of d^2 and up; 0 and 1 are unused
};

// The arc tangent of c up to 1 in radians: Euler's series, the sum of (2^2n (n!)^2 / (2n + 1)!) q^n
// c / (1 + c^2) with q = c^2 / (1 + c^2), whose terms fall at least by half.
constexpr DoubleDouble ArcTangentOf(DoubleDouble pC)
{
    const DoubleDouble one = {1.0, 0.0};
    const DoubleDouble q = pC * pC / (one + pC * pC);
    DoubleDouble term = pC / (one + pC * pC);
    DoubleDouble sum = term;
    // At c = 1 a term is half of the one before. Later terms do not change the sum either, and a
    // compiler limits the steps of a constant expression.
    for (int n = 1; n < 110; ++n) {
        term = term * q * DoubleDouble{2.0 * n, 0.0} / DoubleDouble{2.0 * n + 1.0, 0.0};
        const DoubleDouble next = sum + term;
        if (next.high == sum.high && next.low == sum.low) {
            break;
        }
        sum = next;
    }
    return sum;
}

// The slope 1 / (1 + (c + d)^2) has a series in d whose terms follow from the two before:
// f(n) (1 + c^2) = -2 c f(n-1) - f(n-2). The terms of the arc tangent are f(n - 1) / n.
constexpr Row MakeRow(int pIndex)
{
    const double c = static_cast<double>(pIndex) / kSteps;
    const DoubleDouble square = {1.0 + c * c, 0.0};  // exact
    const DoubleDouble value = ArcTangentOf({c, 0.0}) * kDegreesPerRadian;
    DoubleDouble slopes[kDegree] = {kDegreesPerRadian / square};
    Row row{};
    for (int n = 1; n < kDegree; ++n) {
        const DoubleDouble before = n > 1 ? slopes[n - 2] : DoubleDouble{};
        slopes[n] = -(DoubleDouble{2.0 * c, 0.0} * slopes[n - 1] + before) / square;
        row.term[n + 1] = slopes[n].high / (n + 1);
    }
    row.value = value.high;
    row.valueLow = value.low;
    row.slope = Split(slopes[0].high).high;
    row.slopeLow = Split(slopes[0].high).low + slopes[0].low;
    return row;
}

constexpr std::array<Row, kSteps + 1> MakeRows()
{
    std::array<Row, kSteps + 1> rows{};
    for (int i = 0; i <= kSteps; ++i) {
        rows[static_cast<std::size_t>(i)] = MakeRow(i);
    }
    return rows;
}

constexpr std::array<Row, kSteps + 1> kRows = MakeRows();

// The angle of an octant: base + sign * atan(smaller / larger), the first for a larger cosine above
// 0.
constexpr double kBase[4] = {0.0, 180.0, 90.0, 90.0};
constexpr double kSign[4] = {1.0, -1.0, -1.0, 1.0};

// Ratios below this are too small for the splitting of t.
constexpr double kSmallestRatio = 0x1p-20;
// Larger sides within these limits, and what is computed of them, are in the range of doubles.
constexpr double kLeast = 0x1p-480;
constexpr double kGreatest = 0x1p480;

// base + sign * atan(b / a) in degrees for b from 2^-20 a to a, a + aLow and b + bLow being the
// sides.
inline double AngleOf(double pB, double pBLow, double pA, double pALow, int pOctant)
{
    constexpr double kSplit = RoundingTo(27);
    constexpr double kIndex = RoundingTo(6);
    const double inverse = 1.0 / pA;
    const double t = (pB * inverse + kSplit) - kSplit;
    const DoubleDouble a = Split(pA);
    const double rest = ((pB - t * a.high) - t * a.low) + (pBLow - t * pALow);
    const double low = rest * inverse;

    const double indexSum = t + kIndex;
    const Row& row = kRows[static_cast<std::size_t>(RoundedNumber(indexSum))];
    const double high = t - (indexSum - kIndex);
    const double d = high + low;
    const double square = d * d;
    const double* const term = row.term;
    const double series =
        (term[2] + d * term[3]) +
        square * ((term[4] + d * term[5]) + square * ((term[6] + d * term[7]) + square * term[8]));

    const double sign = kSign[pOctant];
    const DoubleDouble value = FastTwoSum(kBase[pOctant], sign * row.value);
    const DoubleDouble sum = FastTwoSum(value.high, sign * (row.slope * high));
    const double lows = row.valueLow + (row.slopeLow * d + row.slope * low) + square * series;
    return sum.high + (sum.low + (value.low + sign * lows));
}

// The same for b below 2^-20 a, both between 1 and 2 before pExponent, the power of two by which b
// is to be scaled: t - t^3 / 3.
double SmallAngleOf(DoubleDouble pB, double pA, int pExponent, int pOctant)
{
    DoubleDouble t = pB / DoubleDouble{pA, 0.0};
    const double scaled = std::scalbn(t.high, pExponent);
    t.low -= t.high * (scaled * scaled / 3.0);
    const double angle = ScaledOnce(t * kDegreesPerRadian, pExponent);
    return kBase[pOctant] + kSign[pOctant] * angle;
}

// Zeros, infinities, NaN, and sides whose size or ratio is out of the ordinary; of sides not below
// 0.
double UnusualAngleOf(double pB, double pA, int pOctant)
{
    if (std::isnan(pA) || std::isnan(pB)) {
        return pA + pB;
    }
    if (pB == 0.0) {
        return kBase[pOctant];
    }
    if (std::isinf(pA)) {
        return std::isinf(pB) ? kBase[pOctant] + kSign[pOctant] * 45.0 : kBase[pOctant];
    }
    const int exponentA = std::ilogb(pA);
    const int exponentB = std::ilogb(pB);
    const double a = std::scalbn(pA, -exponentA);
    const double b = std::scalbn(pB, -exponentA);
    return b > kSmallestRatio * a ? AngleOf(b, 0.0, a, 0.0, pOctant)
                                  : SmallAngleOf({std::scalbn(pB, -exponentB), 0.0}, a,
                                                 exponentB - exponentA, pOctant);
}
}  // namespace

double KgeArcTangent(double pSine, double pCosine)
{
    const double x = std::fabs(pCosine);
    const double y = std::fabs(pSine);
    const int octant = 2 * static_cast<int>(y > x) + static_cast<int>(std::signbit(pCosine));
    // Of a number and NaN, each of these is its first: one of the two is then NaN.
    const double a = std::max(x, y);
    const double b = std::min(y, x);
    const double angle = a > kLeast && a < kGreatest && b > kSmallestRatio * a
                             ? AngleOf(b, 0.0, a, 0.0, octant)
                             : UnusualAngleOf(b, a, octant);
    return std::copysign(angle, pSine);
}

double KgeArcCosine(double pCosine)
{
    const double x = std::fabs(pCosine);
    if (!(x <= 1.0)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    // The sine is the root of 1 - x^2, in twice the precision by one step of Newton.
    const DoubleDouble square = x < 0x1p-100 ? DoubleDouble{} : TwoProduct(x, x);
    DoubleDouble rest = FastTwoSum(1.0, -square.high);
    rest = FastTwoSum(rest.high, rest.low - square.low);
    const double root = std::sqrt(rest.high);
    if (root == 0.0) {
        return kBase[std::signbit(pCosine) ? 1 : 0];
    }
    const DoubleDouble rootSquare = TwoProduct(root, root);
    const double rootLow =
        ((rest.high - rootSquare.high) - rootSquare.low + rest.low) / (2.0 * root);
    const int octant = (root > x ? 2 : 0) + (std::signbit(pCosine) ? 1 : 0);
    if (root > x) {
        return x > kSmallestRatio ? AngleOf(x, 0.0, root, rootLow, octant)
                                  : UnusualAngleOf(x, root, octant);
    }
    if (root > kSmallestRatio) {
        return AngleOf(root, rootLow, x, 0.0, octant);
    }
    const int exponent = std::ilogb(root);
    return SmallAngleOf({std::scalbn(root, -exponent), std::scalbn(rootLow, -exponent)}, x,
                        exponent, octant);
}
