// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: sums and products with their rounding errors, and numbers of twice the precision.
#pragma once

// Exact as long as nothing overflows, no product falls below 2^-969, doubles are rounded to nearest
// and the compiler contracts nothing into fused operations. Usable at compile time: the tables of
// the elementary functions are made of these.

#include <bit>
#include <cstdint>

/// A number as the sum of two doubles, the low one at most half a unit in the last place of the
/// high one: some 106 bits. The operations on pairs are accurate to a few units of 2^-104.
struct DoubleDouble
{
    double high = 0.0;
    double low = 0.0;
};

/// Added to a double of smaller size and subtracted again, rounds it to a multiple of 2^-pPlaces,
/// halves to even: sums this large have that spacing. The low bits of the sum hold the multiple, in
/// two's complement.
constexpr double RoundingTo(int pPlaces)
{
    return std::bit_cast<double>(static_cast<std::uint64_t>(1023 + 52 - pPlaces) << 52) * 1.5;
}

/// The whole number in the low bits of a sum with RoundingTo.
constexpr std::int32_t RoundedNumber(double pSum)
{
    return static_cast<std::int32_t>(
        static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(pSum) & 0xFFFFFFFFu));
}

/// a + b and its error, for |a| not below |b| or a = 0 (Dekker 1971).
constexpr DoubleDouble FastTwoSum(double pA, double pB)
{
    const double sum = pA + pB;
    return {sum, pB - (sum - pA)};
}

/// a + b and its error (Knuth, The Art of Computer Programming 2, 4.2.2).
constexpr DoubleDouble TwoSum(double pA, double pB)
{
    const double sum = pA + pB;
    const double b = sum - pA;
    return {sum, (pA - (sum - b)) + (pB - b)};
}

/// The leading 26 bits of a number and the rest (Veltkamp 1968). For |a| below 2^996.
constexpr DoubleDouble Split(double pA)
{
    const double shifted = pA * 134217729.0;  // 2^27 + 1
    const double high = shifted - (shifted - pA);
    return {high, pA - high};
}

/// a * b and its error (Dekker 1971).
constexpr DoubleDouble TwoProduct(double pA, double pB)
{
    const DoubleDouble a = Split(pA);
    const DoubleDouble b = Split(pB);
    const double product = pA * pB;
    return {product,
            ((a.high * b.high - product) + a.high * b.low + a.low * b.high) + a.low * b.low};
}

constexpr DoubleDouble operator-(DoubleDouble pA)
{
    return {-pA.high, -pA.low};
}

constexpr DoubleDouble operator+(DoubleDouble pA, DoubleDouble pB)
{
    const DoubleDouble high = TwoSum(pA.high, pB.high);
    const DoubleDouble low = TwoSum(pA.low, pB.low);
    const DoubleDouble sum = FastTwoSum(high.high, high.low + low.high);
    return FastTwoSum(sum.high, sum.low + low.low);
}

constexpr DoubleDouble operator*(DoubleDouble pA, DoubleDouble pB)
{
    const DoubleDouble product = TwoProduct(pA.high, pB.high);
    return FastTwoSum(product.high, product.low + (pA.high * pB.low + pA.low * pB.high));
}

constexpr DoubleDouble operator/(DoubleDouble pA, DoubleDouble pB)
{
    const double first = pA.high / pB.high;
    const DoubleDouble rest = pA + -(DoubleDouble{first, 0.0} * pB);
    const double second = rest.high / pB.high;
    const DoubleDouble last = rest + -(DoubleDouble{second, 0.0} * pB);
    return FastTwoSum(first, second) + DoubleDouble{last.high / pB.high, 0.0};
}

inline constexpr DoubleDouble kPi = {0x1.921fb54442d18p+1, 0x1.1a62633145c07p-53};
inline constexpr DoubleDouble kRadiansPerDegree = kPi / DoubleDouble{180.0, 0.0};
inline constexpr DoubleDouble kDegreesPerRadian = DoubleDouble{180.0, 0.0} / kPi;

/// (high + low) * 2^exponent with one rounding, results below the normal range included. The sum is
/// 0 or between 2^-100 and 2^100 in size.
double ScaledOnce(DoubleDouble pNumber, int pExponent);
