// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/curve_filter.h"

#include <vector>

/// Smooths a curve by a normalised Gaussian, without delay. Keys keep their times and kinds; the
/// value of each key of the span becomes the weighted mean of the curve around it.
///
/// A wave of frequency f keeps the share exp(-2 (pi f d)^2) of its amplitude, where d is the
/// standard deviation: a half at 0.187 / d hertz. Constant curves stay the same and straight lines
/// stay straight.
///
/// In front of the first key and behind the last one the curve continues as its mirror image, so
/// it arrives flat at both ends: a curve that ends with a slope of s moves there by up to
/// 0.8 s d towards its inside. A span that ends five deviations before leaves such an end alone.
/// Extrapolation is not looked at.
///
/// Where an end of the span is inside the curve, the change grows from nothing to all over three
/// deviations, so that the curve has no step there.
///
/// Slopes of user tangents become the same weighted mean of the slopes around the key, which is the
/// slope of the smoothed curve; weights stay. Automatic and TCB tangents follow the new values,
/// also those of the keys next to the span.
///
/// Each value is the mean of 1 + 2 ceil(5 d r) samples, r a second. Where keys lie a whole number
/// of sample periods apart, samples are shared, and a key costs as many evaluations as there are
/// sample periods to the next key; otherwise each key has samples of its own.
///
/// A rotation node is smoothed by its orientations, whatever its rotation order: each becomes the
/// weighted mean of the unit quaternions around it, each taken with the sign that is nearer to the
/// one of the key. The direction of that sum is near to the mean that Markley, Cheng, Crassidis and
/// Oshman define (Averaging Quaternions, Journal of Guidance, Control, and Dynamics 30, 2007), and
/// equal to it in the limit of orientations that are alike. It changes with the motion when that is
/// turned as a whole. The angles are next to the old ones. The three curves get keys at the same
/// times, in the span; slopes of user tangents become those of the smoothed orientations. With a
/// turn of more than half a turn within a deviation no mean means anything.
class GLISSA_API GlissaFilterGaussian : public KClassFrame<GlissaFilterGaussian, GlissaCurveFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterGaussian";

    GlissaFilterGaussian();
    void Reset() override;

    using GlissaCurveFilter::Apply;
    /// A rotation node of three curves is smoothed by its orientations; other nodes as GlissaFilter
    /// does it. False, without an error, for a locked rotation and one with a locked child; with
    /// the error of a curve where that would be refused.
    bool Apply(GlissaNode& pNode, bool pRecursive) override;

    /// In seconds, above 0; one frame of the default time mode by default. Values out of range, or
    /// more than 10000 samples a deviation, are refused with the third error.
    double GetStandardDeviation() const { return mStandardDeviation; }
    void SetStandardDeviation(double pSeconds) { mStandardDeviation = pSeconds; }
    /// Samples of the curve a second; four a frame of the default time mode by default. Fewer than
    /// one a deviation leave the curve nearly as it is.
    double GetSamplingRate() const { return mSamplingRate; }
    void SetSamplingRate(double pRate) { mSamplingRate = pRate; }

private:
    EGlissaFilterAnswer Examine(Glissa& pCurve) override;
    bool Change(Glissa& pCurve) override;
    bool SmoothOrientations(GlissaNode& pNode, Glissa** pCurves);
    /// The text of the third error, or null.
    const char* FindFault() const;
    KTime SamplePeriod() const;
    double DeviationInSamples() const;
    std::vector<double> Weights() const;

    static constexpr int kParameter = 2;

    double mStandardDeviation;
    double mSamplingRate;
};

extern template class KClassFrame<GlissaFilterGaussian, GlissaCurveFilter>;
