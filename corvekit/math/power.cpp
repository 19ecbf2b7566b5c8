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
    DoubleDouble negative;  // -log c, the high part a multiple of 2^-42
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
        const DoubleDouble negative = -LogarithmOf(row.inverse);
        constexpr double kRoundPart = RoundingTo(42);
        const double high = (negative.high + kRoundPart) - kRoundPart;
        row.negative = {high, (negative.high - high) + negative.low};
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

// A number rounded to 26 bits, and the rest: Split in less time. Rounded, not cut: so the head of
// a number next to 1 is 1, and the squares of small logarithms need no head.
DoubleDouble Halves(double pX)
{
    constexpr std::uint64_t kLow = 0x7FFFFFF;
    const double head =
        std::bit_cast<double>((std::bit_cast<std::uint64_t>(pX) + (kLow / 2 + 1)) & ~kLow);
    return {head, pX - head};
}

// The logarithm of a normal number above 0, given by its bits. The low part is below 2^-15 of the
// high one.
DoubleDouble LogarithmOfBits(std::uint64_t pBits)
{
    const std::uint64_t above = pBits - kLeastMantissa;
    const auto exponent = static_cast<std::int64_t>(above) >> kMantissaBits;
    const auto m = std::bit_cast<double>(pBits - (above >> kMantissaBits << kMantissaBits));
    const LogarithmRow& row = kLogarithms[above >> (kMantissaBits - kPartBits) & (kParts - 1)];

    // All exact: r is a multiple of 2^-60 below 2^-7, and its head a multiple of 2^-33.
    const DoubleDouble parts = Halves(m);
    const double head = parts.high * row.inverse - 1.0;
    const double rest = parts.low * row.inverse;
    const double r = head + rest;
    const double square = r * r;
    const double series =
        (1.0 / 3.0 - r * (1.0 / 4.0)) +
        square *
            ((1.0 / 5.0 - r * (1.0 / 6.0)) +
             square * ((1.0 / 7.0 - r * (1.0 / 8.0)) + square * (1.0 / 9.0 - r * (1.0 / 10.0))));

    // The first sum is exact: a multiple of 2^-42 below 2^10. It is 0 or above the size of r, and
    // the sum with r is above that of the square.
    const auto e = static_cast<double>(exponent);
    const double whole = e * kLogarithmOf2Head + row.negative.high;
    const DoubleDouble sum = FastTwoSum(whole, r);
    const DoubleDouble near = FastTwoSum(sum.high, -0.5 * (head * head));
    const double lows = (sum.low + near.low) + (row.negative.low + e * kLogarithmOf2Tail) +
                        (square * r * series - 0.5 * (rest * (r + head)));
    return {near.high, lows};
}

struct Scaled
{
    DoubleDouble number;  // near 1
    int exponent;         // of the power of two
};

// e to the power of a sum of two doubles, the high one below 1000 in size and the low one below
// 2^-9.
Scaled ScaledExponential(double pHigh, double pLow)
{
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
    const DoubleDouble& power = kPowers[static_cast<std::size_t>(steps & (kParts - 1))];
    return {{power.high, power.low + power.high * series}, steps >> kPartBits};
}

// The exponential of a number below this in size, and its power of two, are normal numbers.
constexpr double kOrdinaryLogarithm = 690.0;

double OrdinaryExponential(double pHigh, double pLow)
{
    const Scaled scaled = ScaledExponential(pHigh, pLow);
    return (scaled.number.high + scaled.number.low) *
           std::bit_cast<double>(static_cast<std::uint64_t>(1023 + scaled.exponent)
                                 << kMantissaBits);
}

double Exponential(double pHigh, double pLow)
{
    if (std::fabs(pHigh) < kOrdinaryLogarithm) {
        return OrdinaryExponential(pHigh, pLow);
    }
    if (!(pHigh < 710.0)) {
        return pHigh + std::numeric_limits<double>::infinity();  // NaN remains
    }
    if (pHigh < -746.0) {
        return 0.0;
    }
    const Scaled scaled = ScaledExponential(pHigh, pLow);
    return ScaledOnce(scaled.number, scaled.exponent);
}

bool IsOdd(double pNumber)
{
    return std::fabs(std::fmod(pNumber, 2.0)) == 1.0;
}

// A product of two numbers as the sum of two, the first of which is exact.
DoubleDouble ProductOf(double pExponent, DoubleDouble pLogarithm)
{
    const DoubleDouble x = Halves(pExponent);
    const DoubleDouble y = Halves(pLogarithm.high);
    return {x.high * y.high, x.low * y.high + pExponent * (y.low + pLogarithm.low)};
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
    const bool isSubnormal = pSize < std::numeric_limits<double>::min();
    DoubleDouble logarithm =
        LogarithmOfBits(std::bit_cast<std::uint64_t>(isSubnormal ? pSize * 0x1p54 : pSize));
    logarithm = FastTwoSum(logarithm.high, logarithm.low);
    if (isSubnormal) {
        logarithm = logarithm + -(kLogarithmOf2 * DoubleDouble{54.0, 0.0});
    }
    const double product = pExponent * logarithm.high;
    if (!(std::fabs(product) < 1000.0 && std::fabs(product) > 0x1p-60)) {
        return Exponential(product, 0.0);
    }
    const DoubleDouble sum = ProductOf(pExponent, logarithm);
    return Exponential(sum.high, sum.low);
}

double UnusualPower(double pBase, double pExponent)
{
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
}  // namespace

double KgePower(double pBase, double pExponent)
{
    if (pExponent == 0.0 || pBase == 1.0) {
        return 1.0;  // of NaN too
    }
    if (pExponent == 1.0) {
        return pBase;
    }
    if (pExponent == 0.5 && pBase > 0.0) {
        return std::sqrt(pBase);
    }
    constexpr auto kLeast = std::bit_cast<std::uint64_t>(std::numeric_limits<double>::min());
    constexpr auto kEnd = std::bit_cast<std::uint64_t>(std::numeric_limits<double>::infinity());
    const auto bits = std::bit_cast<std::uint64_t>(pBase);
    if (bits - kLeast < kEnd - kLeast) {  // normal numbers above 0
        const DoubleDouble logarithm = LogarithmOfBits(bits);
        const double product = std::fabs(pExponent * logarithm.high);
        // A greater product has too large a low part, and a smaller one needs none.
        if (product < 64.0 && product > 0x1p-60) {
            const DoubleDouble sum = ProductOf(pExponent, logarithm);
            return OrdinaryExponential(sum.high, sum.low);
        }
    }
    return UnusualPower(pBase, pExponent);
}

double KgeExponential(double pExponent)
{
    return Exponential(pExponent, 0.0);
}
