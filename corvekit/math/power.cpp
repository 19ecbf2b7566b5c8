// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Powers and the exponential function, by tables of accurate values with short series between them
// (Tang, "Table-driven implementation of the exponential function", 1989, and "of the logarithm
// function", 1990).
//
// The logarithm has an error below 2^-66 of its size, as the sum of two doubles: x = 2^e m, m c = 1
// + r with a c of 8 bits from the table, so that r is exact, and log x = e log 2 - log c + log(1 +
// r). Times an exponent it is at most 745, where it matters, so that a power is off by 2^-56 of its
// size before it is rounded.

#include "corvekit/math/double_double.h"
#include "corvekit/math/elementary.h"

#include <array>
#include <cmath>
#include <limits>

namespace
{
constexpr DoubleDouble kLogarithmOf2 = {0x1.62e42fefa39efp-1, 0x1.abc9e3b39803fp-56};
// In parts whose first times a whole number of 20 bits is exact.
constexpr double kLogarithmOf2Head = Split(kLogarithmOf2.high).high;
constexpr double kLogarithmOf2Tail = Split(kLogarithmOf2.high).low + kLogarithmOf2.low;

constexpr int kPartBits = 7;
constexpr int kParts = 1 << kPartBits;
constexpr int kMantissaBits = 52;

struct LogarithmRow
{
    double inverse = 1.0;   // c
    DoubleDouble negative;  // -log c
};

// m is from 0.6875 to 1.375, in parts of 2^-8 below 1 and 2^-7 above.
constexpr std::uint64_t kLeastMantissa = std::bit_cast<std::uint64_t>(0.6875);

// log c = 2 atanh s with s = (c - 1) / (c + 1), below 0.19.
constexpr DoubleDouble LogarithmOf(double pC)
{
    const DoubleDouble s = DoubleDouble{pC - 1.0, 0.0} / DoubleDouble{pC + 1.0, 0.0};
    DoubleDouble power = s + s;
    DoubleDouble sum = power;
    for (int n = 3; n < 50; n += 2) {
        power = power * (s * s);
        sum = sum + power / DoubleDouble{static_cast<double>(n), 0.0};
    }
    return sum;
}

// c is the multiple of 2^-7 next to the inverse of the middle of a part; 1 on both sides of 1, so
// that logarithms near 0 keep all their digits.
constexpr std::array<LogarithmRow, kParts> MakeLogarithmRows()
{
    std::array<LogarithmRow, kParts> rows{};
    for (std::uint64_t i = 0; i < kParts; ++i) {
        constexpr int kShift = kMantissaBits - kPartBits;
        const auto middle = std::bit_cast<double>(kLeastMantissa + (i << kShift) +
                                                  (std::uint64_t{1} << (kShift - 1)));
        constexpr double kRound = RoundingTo(7);
        LogarithmRow& row = rows[static_cast<std::size_t>(i)];
        row.inverse = (1.0 / middle + kRound) - kRound;
        row.negative = -LogarithmOf(row.inverse);
    }
    return rows;
}

// 2^(i/128).
constexpr std::array<DoubleDouble, kParts> MakePowers()
{
    std::array<DoubleDouble, kParts> powers{};
    for (int i = 0; i < kParts; ++i) {
        const DoubleDouble x = kLogarithmOf2 * DoubleDouble{i / static_cast<double>(kParts), 0.0};
        DoubleDouble term = {1.0, 0.0};
        DoubleDouble& sum = powers[static_cast<std::size_t>(i)];
        sum = term;
        for (int n = 1; n < 28; ++n) {
            term = term * x / DoubleDouble{static_cast<double>(n), 0.0};
            sum = sum + term;
        }
    }
    return powers;
}

constexpr std::array<LogarithmRow, kParts> kLogarithms = MakeLogarithmRows();
constexpr std::array<DoubleDouble, kParts> kPowers = MakePowers();

// Of a finite number above 0.
DoubleDouble Logarithm(double pX)
{
    const bool isSubnormal = pX < std::numeric_limits<double>::min();
    const auto bits = std::bit_cast<std::uint64_t>(isSubnormal ? pX * 0x1p54 : pX);
    const std::uint64_t above = bits - kLeastMantissa;
    const auto exponent = static_cast<std::int64_t>(above) >> kMantissaBits;
    const auto m = std::bit_cast<double>(bits - (above >> kMantissaBits << kMantissaBits));
    const LogarithmRow& row = kLogarithms[above >> (kMantissaBits - kPartBits) & (kParts - 1)];

    // Both parts are exact, and the first is a multiple of the last place of the second.
    const DoubleDouble parts = Split(m);
    const DoubleDouble r = FastTwoSum(parts.high * row.inverse - 1.0, parts.low * row.inverse);
    const double x = r.high;
    const double head = Split(x).high;
    const double z = x * x;
    const double series =
        (1.0 / 3.0 - x * (1.0 / 4.0)) +
        z * ((1.0 / 5.0 - x * (1.0 / 6.0)) +
             z * ((1.0 / 7.0 - x * (1.0 / 8.0)) + z * (1.0 / 9.0 - x * (1.0 / 10.0))));
    const DoubleDouble near = FastTwoSum(x, -0.5 * (head * head));  // log(1 + r) but for the lows
    const double nearLow = r.low - 0.5 * ((x + head) * (x - head)) - x * r.low + x * z * series;

    // Each sum adds something smaller, unless what is there is 0.
    const auto e = static_cast<double>(exponent - (isSubnormal ? 54 : 0));
    const DoubleDouble first = FastTwoSum(e * kLogarithmOf2Head, row.negative.high);
    const DoubleDouble sum = FastTwoSum(first.high, near.high);
    return FastTwoSum(sum.high, sum.low + (first.low + (near.low + (nearLow + row.negative.low +
                                                                    e * kLogarithmOf2Tail))));
}

// e to the power of a sum of two doubles, the low one below 2^-14.
double Exponential(double pHigh, double pLow)
{
    if (!(pHigh < 710.0)) {
        return pHigh + std::numeric_limits<double>::infinity();  // NaN remains
    }
    if (pHigh < -746.0) {
        return 0.0;
    }
    // high = n log 2 / 128 + r.
    constexpr double kWhole = RoundingTo(0);
    const double sum = pHigh * (kParts / kLogarithmOf2.high) + kWhole;
    const double n = sum - kWhole;
    const double r =
        ((pHigh - n * (kLogarithmOf2Head / kParts)) - n * (kLogarithmOf2Tail / kParts)) + pLow;
    const double square = r * r;
    const double series =
        r + square * ((0.5 + r * (1.0 / 6.0)) +
                      square * ((1.0 / 24.0 + r * (1.0 / 120.0)) + square * (1.0 / 720.0)));

    const std::int32_t steps = RoundedNumber(sum);
    const DoubleDouble power = kPowers[static_cast<std::size_t>(steps & (kParts - 1))];
    const DoubleDouble result = {power.high, power.low + power.high * series};
    const int exponent = steps >> kPartBits;
    if (exponent > -1000 && exponent < 1000) {
        return (result.high + result.low) *
               std::bit_cast<double>(static_cast<std::uint64_t>(1023 + exponent) << kMantissaBits);
    }
    return ScaledOnce(result, exponent);
}

bool IsOdd(double pNumber)
{
    return std::fabs(std::fmod(pNumber, 2.0)) == 1.0;
}

// The power of the size of a base.
double PowerOfSize(double pSize, double pExponent)
{
    if (pSize == 1.0) {
        return 1.0;
    }
    if (pSize == 0.0 || std::isinf(pSize)) {
        return (pSize == 0.0) == (pExponent < 0.0) ? std::numeric_limits<double>::infinity() : 0.0;
    }
    if (std::isinf(pExponent)) {
        return (pSize < 1.0) == (pExponent < 0.0) ? std::numeric_limits<double>::infinity() : 0.0;
    }
    const DoubleDouble logarithm = Logarithm(pSize);
    const double product = pExponent * logarithm.high;
    if (!(std::fabs(product) < 1000.0 && std::fabs(product) > 0x1p-60)) {
        return Exponential(product, 0.0);
    }
    // The product of the leading 26 bits of each is exact.
    const DoubleDouble x = Split(pExponent);
    const DoubleDouble y = Split(logarithm.high);
    return Exponential(x.high * y.high, x.low * y.high + pExponent * (y.low + logarithm.low));
}
}  // namespace

double KgePower(double pBase, double pExponent)
{
    if (pExponent == 0.0 || pBase == 1.0) {
        return 1.0;  // of NaN too
    }
    if (std::isnan(pBase) || std::isnan(pExponent)) {
        return pBase + pExponent;
    }
    const double power = PowerOfSize(std::fabs(pBase), pExponent);
    if (!std::signbit(pBase)) {
        return power;
    }
    if (IsOdd(pExponent)) {
        return -power;
    }
    // Only whole exponents, to which the infinities count, have powers of a finite number below 0.
    const bool isWhole = pExponent == std::floor(pExponent);
    return isWhole || pBase == 0.0 || std::isinf(pBase) ? power
                                                        : std::numeric_limits<double>::quiet_NaN();
}

double KgeExponential(double pExponent)
{
    return Exponential(pExponent, 0.0);
}
