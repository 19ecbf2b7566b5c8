// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Lengths: the sum of the squares in twice the precision, its root, and one step of Newton with the
// exact square of the root. In units of the power of two at or below the largest number, each
// number is split into a head, a multiple of 2^-24, and a rest. The squares of the heads, their
// sum, and its difference to the square of the head of the root are multiples of 2^-48 below 2^4,
// so that they are exact. Numbers of an unusual size are scaled by a power of two first.

#include "corvekit/math/double_double.h"
#include "corvekit/math/elementary.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{
// Added to a number and subtracted again, leaves its head.
double SplitFor(double pLargest)
{
    constexpr std::uint64_t kExponent = std::uint64_t{0x7FF} << 52;
    const std::uint64_t power = std::bit_cast<std::uint64_t>(pLargest) & kExponent;
    return std::bit_cast<double>(power + std::bit_cast<std::uint64_t>(RoundingTo(24)) -
                                 std::bit_cast<std::uint64_t>(1.0));
}

// The square of the head of a number, and what the rest adds to it.
DoubleDouble SquareOf(double pX, double pSplit)
{
    const double head = (pX + pSplit) - pSplit;
    return {head * head, (pX + head) * (pX - head)};
}

DoubleDouble RootOf(DoubleDouble pSum, double pSplit)
{
    const double root = std::sqrt(pSum.high + pSum.low);
    const DoubleDouble square = SquareOf(root, pSplit);
    return {root, ((pSum.high - square.high) + (pSum.low - square.low)) * (0.5 / root)};
}

// None below 0, and pLargest with a square in the range of doubles. A square that is lost below it
// has no part in the sum.
DoubleDouble RootOfSquares(double pX, double pY, double pLargest)
{
    const double split = SplitFor(pLargest);
    const DoubleDouble x = SquareOf(pX, split);
    const DoubleDouble y = SquareOf(pY, split);
    return RootOf({x.high + y.high, x.low + y.low}, split);
}

DoubleDouble RootOfSquares(double pX, double pY, double pZ, double pLargest)
{
    const double split = SplitFor(pLargest);
    const DoubleDouble x = SquareOf(pX, split);
    const DoubleDouble y = SquareOf(pY, split);
    const DoubleDouble z = SquareOf(pZ, split);
    return RootOf({x.high + y.high + z.high, x.low + y.low + z.low}, split);
}

// The squares of numbers up to this and their sum are in the range of doubles, with all their
// places.
bool IsOrdinary(double pLargest)
{
    return pLargest > 0x1p-400 && pLargest < 0x1p400;
}

// Infinities, NaN, zeros, and numbers of an unusual size; none below 0.
double UnusualLength(double pX, double pY, double pZ)
{
    if (std::isinf(pX) || std::isinf(pY) || std::isinf(pZ)) {
        return std::numeric_limits<double>::infinity();
    }
    const double largest = std::max({pX, pY, pZ});
    if (std::isnan(pX + pY + pZ) || largest == 0.0) {
        return pX + pY + pZ;
    }
    const int exponent = std::ilogb(largest);
    return ScaledOnce(RootOfSquares(std::scalbn(pX, -exponent), std::scalbn(pY, -exponent),
                                    std::scalbn(pZ, -exponent), std::scalbn(largest, -exponent)),
                      exponent);
}
}  // namespace

double KgeLength(double pX, double pY)
{
    const double x = std::fabs(pX);
    const double y = std::fabs(pY);
    const double largest = std::max(x, y);
    if (IsOrdinary(largest)) {  // NaN next to it is a length of NaN
        const DoubleDouble root = RootOfSquares(x, y, largest);
        return root.high + root.low;
    }
    return UnusualLength(x, y, 0.0);
}

double KgeLength(double pX, double pY, double pZ)
{
    const double x = std::fabs(pX);
    const double y = std::fabs(pY);
    const double z = std::fabs(pZ);
    const double largest = std::max(std::max(x, y), z);
    if (IsOrdinary(largest)) {
        const DoubleDouble root = RootOfSquares(x, y, z, largest);
        return root.high + root.low;
    }
    return UnusualLength(x, y, z);
}
