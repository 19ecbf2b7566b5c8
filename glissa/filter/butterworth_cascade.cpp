// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The sections of the Butterworth filter: their coefficients, and samples through them.

#include "glissa/filter/butterworth.h"

#include "corvekit/math/elementary.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace
{
// Ten digits, and not all of a double: results stay those of this value.
constexpr double kPi = 3.1415926535;
constexpr double kDegreesPerRadian = 180.0 / std::numbers::pi;

enum Coefficient
{
    kA1 = 1,
    kA2,
    kB1,
    kB2,
    kGain,
};

/// A section with its memory, to be kept in registers.
struct Section
{
    Section(const double (*pCoefficients)[10], int pSection)
        : a1(pCoefficients[kA1][pSection]),
          a2(pCoefficients[kA2][pSection]),
          b1(pCoefficients[kB1][pSection]),
          b2(pCoefficients[kB2][pSection]),
          gain(pCoefficients[kGain][pSection])
    {}

    double operator()(double pInput)
    {
        const double w = pInput + w1 * a1 + w2 * a2;
        const double output = (w + w1 * b1 + w2 * b2) * gain;
        w2 = w1;
        w1 = w;
        return output;
    }

    double a1, a2, b1, b2, gain;
    double w1 = 0.0;
    double w2 = 0.0;
};

// All samples through the sections, two at a time: each waits for its own last sample, so two cost
// hardly more than one. The pass starts at rest, on the difference to its first sample.
template <typename Iterator>
void Pass(Iterator pBegin, Iterator pEnd, const double (*pCoefficients)[10], int pSectionCount)
{
    const double base = *pBegin;
    std::for_each(pBegin, pEnd, [base](double& pSample) { pSample -= base; });
    int k = 1;
    for (; k < pSectionCount; k += 2) {
        Section first(pCoefficients, k);
        Section second(pCoefficients, k + 1);
        for (Iterator i = pBegin; i != pEnd; ++i) {
            *i = second(first(*i));
        }
    }
    if (k == pSectionCount) {
        Section last(pCoefficients, k);
        for (Iterator i = pBegin; i != pEnd; ++i) {
            *i = last(*i);
        }
    }
    std::for_each(pBegin, pEnd, [base](double& pSample) { pSample += base; });
}
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
    const KgeSineCosine turn = KgeSinCos(angle * kDegreesPerRadian);
    const double wc = turn.sine / turn.cosine;
    const double wc2 = wc * wc;
    const bool isOdd = order % 2 != 0;
    const int pairs = order / 2;
    double(*const c)[10] = pCoefficients;
    *pSectionCount = pairs + (isOdd ? 1 : 0);
    *pDelaySum = 0.0;
    for (int k = 1; k <= pairs; ++k) {
        const double angleOfPair = (k - (isOdd ? 0.0 : 0.5)) * kPi / order;
        const double q = KgeSinCos(angleOfPair * kDegreesPerRadian).cosine * wc;
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
    double x = pInput;
    for (int k = 1; k <= pSectionCount; ++k) {
        Section section(pCoefficients, k);
        section.w1 = pMemory[1][k];
        section.w2 = pMemory[2][k];
        x = section(x);
        pMemory[1][k] = section.w1;
        pMemory[2][k] = section.w2;
    }
    *pOutput = x;
}

void GlissaFilterButterworth::LowPass(std::vector<double>& pSamples)
{
    double coefficients[6][10];
    int sectionCount = 0;
    double delay = 0.0;
    const double order = std::clamp(mOrderOfFilter.GetValue(), 0.0, double{kGreatestOrder});
    ComputeFilterCoefficients(mCutOffFreq, 1.0 / mInternalRate, static_cast<int>(order),
                              coefficients, &sectionCount, &delay);
    Pass(pSamples.begin(), pSamples.end(), coefficients, sectionCount);
    Pass(pSamples.rbegin(), pSamples.rend(), coefficients, sectionCount);
}
