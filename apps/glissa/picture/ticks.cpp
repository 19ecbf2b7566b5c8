// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/picture/ticks.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace
{
// Labels beyond these limits have an exponent.
constexpr int kMostDecimals = 6;
constexpr double kGreatestPlain = 1e7;

double PowerOfTen(int pExponent)
{
    return std::pow(10.0, pExponent);
}

// A tick as one product or quotient of two exact numbers if possible, so that 3 * 0.1 is 0.3.
double TickAt(double pIndex, int pMantissa, int pExponent)
{
    return pExponent < 0 ? pIndex * pMantissa / PowerOfTen(-pExponent)
                         : pIndex * pMantissa * PowerOfTen(pExponent);
}
}  // namespace

Ticks ChooseTicks(double pLow, double pHigh, int pMost, double pLeastStep)
{
    Ticks ticks;
    const double range = pHigh - pLow;
    const double reach = std::max(std::fabs(pLow), std::fabs(pHigh));
    if (!std::isfinite(range) || range <= 0.0 || pMost < 1 || range < reach * 1e-12 ||
        range < 1e-290) {
        return ticks;
    }

    // The step is at least range / pMost. The search starts a power of ten lower, as the logarithm
    // is rounded.
    int exponent = static_cast<int>(std::floor(std::log10(range / pMost))) - 1;
    for (;; ++exponent) {
        for (const int mantissa : {1, 2, 5}) {
            const double step = TickAt(1.0, mantissa, exponent);
            if (step < pLeastStep) {
                continue;
            }
            // Includes ticks that are outside the range only by a rounding.
            const double slack = 1e-9;
            const double first = std::ceil(pLow / step - slack);
            const double last = std::floor(pHigh / step + slack);
            if (last - first + 1.0 > pMost) {
                continue;
            }
            ticks.step = step;
            ticks.exponent = exponent;
            for (double index = first; index <= last; index += 1.0) {
                ticks.at.push_back(TickAt(index, mantissa, exponent) + 0.0);
            }
            return ticks;
        }
    }
}

std::string TickLabel(const Ticks& pTicks, double pValue)
{
    std::string text;
    if (pValue == 0.0) {
        return "0";
    }
    const double reach = pTicks.at.empty()
                             ? std::fabs(pValue)
                             : std::max(std::fabs(pTicks.at.front()), std::fabs(pTicks.at.back()));
    const int decimals = std::max(0, -pTicks.exponent);
    if (reach < kGreatestPlain && decimals <= kMostDecimals) {
        text = fmt::format("{:.{}f}", pValue, decimals);
    } else {
        // Digits from the first one of the greatest tick to that of the step.
        const int first = static_cast<int>(std::floor(std::log10(reach) + 1e-9));
        text = fmt::format("{:.{}e}", pValue, std::clamp(first - pTicks.exponent, 0, 15));
    }
    if (text.front() == '-') {
        text.replace(0, 1, "\u2212");
    }
    return text;
}
