// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/object/property.h"
#include "glissa/filter/curve_filter.h"

#include <vector>

/// A low-pass without delay: the curve is sampled, a Butterworth filter runs over the samples
/// forward and backward, and the result becomes keys at a sampling rate.
///
/// The parameters are properties, found by name (KObject::FastFindPropertyByName):
///
///     "Start", "Stop"   KTime   the span; unbounded by default. Those of SetStartTime and
///                               SetStopTime are not read.
///     "CutOffFreq"      double  hertz, 7 by default, below half of the internal rate
///     "SamplingRate"    double  keys a second, one a frame by default
///     "KeysOnFrame"     bool    whether the first key moves up to a whole sample, true by default
///     "OrderOfFilter"   double  4 by default, truncated, 0 to 18
///     "InternalRate"    double  samples a second, GLISSA_GetButterworthFilterInternalRate by
///                               default
///
/// Two passes square the response: the cut-off is the point of half the amplitude (-6 dB), and
/// 0.89 of it that of -3 dB with order 4. The first and the last key of the span keep their values,
/// one sample period on each side is not filtered, and keys between the last sample and the stop
/// go. All keys of the span become cubic with automatic tangents. Angles are unrolled before: a
/// jump of 360 degrees is filtered like any other.
///
/// Method: bilinear transform of the analogue prototype into second-order sections, filtered in
/// both directions (Oppenheim and Schafer, Discrete-Time Signal Processing). Each pass filters the
/// difference to its first sample, so a constant stays the same to the bit.
class GLISSA_API GlissaFilterButterworth
    : public KClassFrame<GlissaFilterButterworth, GlissaCurveFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterButterworth";
    static constexpr int kGreatestOrder = 18;

    GlissaFilterButterworth();
    /// A copy has properties of its own with the same values.
    GlissaFilterButterworth(const GlissaFilterButterworth& pOther);
    GlissaFilterButterworth& operator=(const GlissaFilterButterworth& pOther);
    /// Also reads anew the settings that defaults come from.
    void Reset() override;

    // The cascade. Sections count from 1: column k of each array is section k, column 0 and row 0
    // are not used. Rows of coefficients: 1 a1, 2 a2, 3 b1, 4 b2, 5 gain, of the section
    //
    //     w[n] = x[n] + a1 w[n-1] + a2 w[n-2]
    //     y[n] = gain (w[n] + b1 w[n-1] + b2 w[n-2])
    //
    // Rows of memory: 1 w[n-1], 2 w[n-2].

    /// Sections for an order, which is cut to 0 to kGreatestOrder.
    ///
    /// pCutOff        hertz, at which one pass has -3 dB
    /// pPeriod        seconds between samples
    /// pCoefficients  out, six rows
    /// pSectionCount  out, half of the order, rounded up
    /// pDelaySum      out, seconds: how far one pass delays slow changes
    void ComputeFilterCoefficients(double pCutOff, double pPeriod, int pOrder,
                                   double (*pCoefficients)[10], int* pSectionCount,
                                   double* pDelaySum);
    /// Sets the memory (out, three rows) to that after an endless input of one value.
    void InitFilterMemory(double pInput, double (*pCoefficients)[10], int pSectionCount,
                          double (*pMemory)[10]);
    /// Filters one sample. Without sections the output is the input.
    void ButterworthFilter(double* pOutput, double pInput, int pSectionCount,
                           double (*pCoefficients)[10], double (*pMemory)[10]);

    // Each names a property, without accessors, and puts it into the list of the filter that has
    // it.

    static void StartInit(KObject* pFilter);
    static void StopInit(KObject* pFilter);
    static void CutOffFreqInit(KObject* pFilter);
    static void SamplingRateInit(KObject* pFilter);
    static void KeysOnFrameInit(KObject* pFilter);
    static void OrderOfFilterInit(KObject* pFilter);
    static void InternalRateInit(KObject* pFilter);

private:
    struct Plan;

    EGlissaFilterAnswer Examine(Glissa& pCurve) override;
    bool Change(Glissa& pCurve) override;
    void InitProperties();
    Plan PlanFor(Glissa& pCurve) const;
    static std::vector<double> SamplesOf(Glissa& pCurve, const Plan& pPlan);
    void LowPass(std::vector<double>& pSamples);

    KPropertyTemplate<KTime> mStart;
    KPropertyTemplate<KTime> mStop;
    KPropertyTemplate<double> mCutOffFreq;
    KPropertyTemplate<double> mSamplingRate;
    KPropertyTemplate<bool> mKeysOnFrame;
    KPropertyTemplate<double> mOrderOfFilter;
    KPropertyTemplate<double> mInternalRate;
};

extern template class KClassFrame<GlissaFilterButterworth, GlissaCurveFilter>;
