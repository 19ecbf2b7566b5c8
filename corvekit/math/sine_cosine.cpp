// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/math/sine_cosine.h"

namespace sine_cosine
{
namespace
{
// The Taylor series in twice the precision, at compile time. pPower is 1 for the sine, 0 for the
// cosine.
constexpr DoubleDouble Series(int pDegrees, int pPower)
{
    const DoubleDouble x = DoubleDouble{static_cast<double>(pDegrees), 0.0} * kRadiansPerDegree;
    const DoubleDouble square = -(x * x);
    DoubleDouble term = pPower == 0 ? DoubleDouble{1.0, 0.0} : x;
    DoubleDouble sum = term;
    for (int n = pPower + 2; n < 30; n += 2) {
        term = term * square / DoubleDouble{static_cast<double>(n * (n - 1)), 0.0};
        sum = sum + term;
    }
    return sum;
}

constexpr std::array<Row, 2 * kReach + 1> MakeRows()
{
    std::array<Row, 2 * kReach + 1> rows{};
    for (int i = 0; i <= 2 * kReach; ++i) {
        const DoubleDouble values[2] = {Series(i - kReach, 1), Series(i - kReach, 0)};
        const DoubleDouble slopes[2] = {values[1] * kRadiansPerDegree,
                                        -values[0] * kRadiansPerDegree};
        Row& row = rows[static_cast<std::size_t>(i)];
        for (int lane = 0; lane < 2; ++lane) {
            row.value[lane] = values[lane].high;
            row.valueLow[lane] = values[lane].low;
            row.slope[lane] = Split(slopes[lane].high).high;
            row.slopeLow[lane] = Split(slopes[lane].high).low + slopes[lane].low;
        }
    }
    return rows;
}
}  // namespace

constexpr std::array<Row, 2 * kReach + 1> kRows = MakeRows();

double SineOfFewDegrees(double pAngle)
{
    // sin x = x - x^3 / 6. Numbers near the least double are scaled up, so that the error of the
    // product does not get lost.
    const bool isTiny = std::fabs(pAngle) < 0x1p-900;
    const double angle = isTiny ? pAngle * 0x1p+1000 : pAngle;
    const DoubleDouble x = DoubleDouble{angle, 0.0} * kRadiansPerDegree;
    return isTiny ? ScaledOnce(x, -1000) : x.high + (x.low - x.high * x.high * x.high / 6.0);
}
}  // namespace sine_cosine

KgeSineCosine KgeSinCos(double pDegrees)
{
    return sine_cosine::Of<TwoLanes>(pDegrees);
}

void KgeSinCos(const double (&pDegrees)[3], KgeSineCosine (&pResult)[3])
{
    for (int i = 0; i < 3; ++i) {
        pResult[i] = sine_cosine::Of<TwoLanes>(pDegrees[i]);
    }
}
