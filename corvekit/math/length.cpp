// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Lengths: the sum of the squares in twice the precision, its root, and one step of Newton with the
// exact square of the root. Numbers of an unusual size are scaled by a power of two first.

#include "corvekit/math/double_double.h"
#include "corvekit/math/elementary.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{
// The square of the leading 26 bits, which is exact, and what the rest adds to it.
DoubleDouble SquareOf(double pX)
{
    const DoubleDouble x = Split(pX);
    return {x.high * x.high, (pX + x.high) * x.low};
}

// pX is the largest of the three, none below 0, with a square in the range of doubles. A square
// that is lost below it has no part in the sum.
DoubleDouble RootOfSquares(double pX, double pY, double pZ)
{
    const DoubleDouble x = SquareOf(pX);
    const DoubleDouble y = SquareOf(pY);
    const DoubleDouble z = SquareOf(pZ);
    const DoubleDouble xy = FastTwoSum(x.high, y.high);
    const DoubleDouble xyz = FastTwoSum(xy.high, z.high);
    const DoubleDouble sum = FastTwoSum(xyz.high, (xyz.low + xy.low) + (x.low + (y.low + z.low)));
    const double root = std::sqrt(sum.high);
    const DoubleDouble square = SquareOf(root);
    return {root, (((sum.high - square.high) - square.low) + sum.low) * 0.5 / root};
}
}  // namespace

double KgeLength(double pX, double pY)
{
    return KgeLength(pX, pY, 0.0);
}

double KgeLength(double pX, double pY, double pZ)
{
    const double first = std::fabs(pX);
    const double second = std::fabs(pY);
    const double third = std::fabs(pZ);
    const double larger = std::max(first, second);
    const double x = std::max(larger, third);
    const double y = std::min(second, first);
    const double z = std::min(third, larger);
    if (x > 0x1p-400 && x < 0x1p400 && y <= x && z <= x) {
        const DoubleDouble root = RootOfSquares(x, y, z);
        return root.high + root.low;
    }
    if (std::isinf(x) || std::isinf(y) || std::isinf(z)) {
        return std::numeric_limits<double>::infinity();
    }
    if (x == 0.0 || !(y <= x && z <= x)) {
        return x + y + z;
    }
    const int exponent = std::ilogb(x);
    return ScaledOnce(RootOfSquares(std::scalbn(x, -exponent), std::scalbn(y, -exponent),
                                    std::scalbn(z, -exponent)),
                      exponent);
}
