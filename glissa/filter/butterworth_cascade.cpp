// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The sections of the Butterworth filter: their coefficients, and one sample through all of them.

#include "glissa/filter/butterworth.h"

#include <algorithm>
#include <cmath>

namespace
{
// Ten digits, and not all of a double: results stay those of this value.
constexpr double kPi = 3.1415926535;

enum Coefficient
{
    kA1 = 1,
    kA2,
    kB1,
    kB2,
    kGain,
};
}  // namespace

void GlissaFilterButterworth::ComputeFilterCoefficients(double pCutOff, double pPeriod, int pOrder,
                                                        double (*pCoefficients)[10],
                                                        int* pSectionCount, double* pDelaySum)
{
    const int order = std::clamp(pOrder, 0, kGreatestOrder);
    double angle = pPeriod * kPi * pCutOff;
    if (std::fabs(angle) > 2.0 * kPi) {
        angle -= 2.0 * std::trunc(angle * 0.5 / kPi) * kPi;
    }
    const double wc = std::tan(angle);
    const double wc2 = wc * wc;
    const bool isOdd = order % 2 != 0;
    const int pairs = order / 2;
    double(*const c)[10] = pCoefficients;
    *pSectionCount = pairs + (isOdd ? 1 : 0);
    *pDelaySum = 0.0;
    for (int k = 1; k <= pairs; ++k) {
        const double q = std::cos((k - (isOdd ? 0.0 : 0.5)) * kPi / order) * wc;
        const double d = 2.0 * q + 1.0 + wc2;
        c[kA1][k] = (wc2 - 1.0) * -2.0 / d;
        c[kA2][k] = -(1.0 - 2.0 * q + wc2) / d;
        c[kB1][k] = 2.0;
        c[kB2][k] = 1.0;
        c[kGain][k] = wc2 / d;
        *pDelaySum += q * pPeriod / wc2;
    }
    if (isOdd) {
        const int k = *pSectionCount;
        c[kA1][k] = (1.0 - wc) / (wc + 1.0);
        c[kA2][k] = 0.0;
        c[kB1][k] = 1.0;
        c[kB2][k] = 0.0;
        c[kGain][k] = wc / (wc + 1.0);
        *pDelaySum += pPeriod / (2.0 * wc);
    }
}

void GlissaFilterButterworth::InitFilterMemory(double pInput, double (*pCoefficients)[10],
                                               int pSectionCount, double (*pMemory)[10])
{
    double(*const c)[10] = pCoefficients;
    double x = pInput;
    for (int k = 1; k <= pSectionCount; ++k) {
        const double w = x / (1.0 - c[kA1][k] - c[kA2][k]);
        pMemory[1][k] = pMemory[2][k] = w;
        x = (x + w * (c[kA1][k] + c[kA2][k] + c[kB1][k] + c[kB2][k])) * c[kGain][k];
    }
}

void GlissaFilterButterworth::ButterworthFilter(double* pOutput, double pInput, int pSectionCount,
                                                double (*pCoefficients)[10], double (*pMemory)[10])
{
    double(*const c)[10] = pCoefficients;
    double x = pInput;
    for (int k = 1; k <= pSectionCount; ++k) {
        const double w1 = pMemory[1][k];
        const double w2 = pMemory[2][k];
        const double w = x + w1 * c[kA1][k] + w2 * c[kA2][k];
        x = (w + w1 * c[kB1][k] + w2 * c[kB2][k]) * c[kGain][k];
        pMemory[2][k] = w1;
        pMemory[1][k] = w;
    }
    *pOutput = x;
}
