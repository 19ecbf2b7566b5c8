// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/math/double_double.h"

#include "corvekit/assert.h"

#include <cmath>

double ScaledOnce(DoubleDouble pNumber, int pExponent)
{
    const double sum = pNumber.high + pNumber.low;
    CORVEKIT_ASSERT(sum == 0.0 || (std::fabs(sum) > 0x1p-100 && std::fabs(sum) < 0x1p100));
    const int places =
        1074 + pExponent;  // the result is a multiple of 2^-1074: the sum of 2^-places
    if (sum == 0.0 || places - 52 >= 100 || places - 52 + std::ilogb(sum) >= 0) {
        return std::scalbn(sum, pExponent);
    }
    if (places < -101) {
        return std::copysign(0.0, sum);
    }
    // Added to a number with this spacing, the sum is rounded to it.
    const double large = std::copysign(std::scalbn(1.0, 52 - places), sum);
    const DoubleDouble rounded = FastTwoSum(large, pNumber.high);
    const double nearest = (rounded.high + (rounded.low + pNumber.low)) - large;
    return std::copysign(std::scalbn(nearest, pExponent), sum);
}
