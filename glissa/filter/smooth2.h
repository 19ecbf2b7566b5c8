// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/math/vector.h"
#include "glissa/filter/filter.h"

/// Smooths three curves together, as one point that moves in space. Each key follows the motion
/// around it: a step from the smoothed position before it, as long as the estimated speed allows.
///
/// The speed at a key is the mean of the curve behind it less the mean of the smoothed curve before
/// it, each over half of the window. The smoothed point lags behind a steady motion by a constant
/// distance, 0.12 units at 100 units a second with the defaults.
///
/// The curves get the union of their keys within the span, cubic with automatic tangents. Near an
/// end of the span that lies inside the curves the change fades in or out over half the window.
/// Works on three curves or on a node of type KDataTypeLclTranslation alone.
class GLISSA_API GlissaFilterSmooth2 : public KClassFrame<GlissaFilterSmooth2, GlissaFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterSmooth2";
    static constexpr int kMostSamples = 100000;

    GlissaFilterSmooth2();
    void Reset() override;

    /// False with error 3: a single curve is no motion in space.
    bool Apply(Glissa& pCurve) override;
    /// Other than three curves give error 3. Locked curves are read and not written.
    bool Apply(Glissa** pCurves, int pCount) override;
    /// The three children of a translation; any other node gives error 2. Nodes below it are not
    /// reached, whatever pRecursive.
    bool Apply(GlissaNode& pNode, bool pRecursive) override;

    /// How much longer than the estimated motion a step may be, 1.5 by default.
    double GetFactor() { return mFactor; }
    void SetFactor(double pFactor) { mFactor = pFactor; }
    /// The window, 8 frames of a 30th of a second by default. One tick changes nothing.
    KTime GetWidth() { return mWidth; }
    /// Stores the absolute value, and 1 tick for 0.
    void SetWidth(KTime pWidth);
    /// The samples in the window, 8 by default; odd numbers are rounded down, 2 at least. More than
    /// kMostSamples are refused with the second error.
    int GetSampleCount() { return mSampleCount; }
    /// Stores the absolute value, and 2 for 0.
    void SetSampleCount(int pCount);

    // The steps of an application. Apply has work curves of its own.

    /// Makes synchronised copies of three curves, and three empty curves for the result, which a
    /// copy of the filter does not take over. Curves without keys do not count for the span.
    ///
    /// pStart, pStop  out: the times of all keys, within the span of the filter.
    void PrepareForFiltering(Glissa** pCurves, KTime& pStart, KTime& pStop);
    /// Puts the result into the curves that are not locked and ends what a preparation made.
    void CleanUpAfterFiltering(Glissa** pCurves);
    /// One step of the smoothed point, from the position of the key before.
    ///
    /// pG         in: the position of the key. out: the smoothed one
    /// pPrevious  in: the smoothed position of the key before. out: that of this one
    /// pT         the estimated velocity, units a second; 0 keeps the position before
    /// pElapsed   seconds since the key before
    void DampGT(KgeTVector& pG, KgeTVector& pPrevious, KgeTVector& pT, double pElapsed,
                double pFactor);

private:
    /// The copies of three curves and the curves for the result, ended with the object. A copy of
    /// it has none.
    struct WorkCurves
    {
        WorkCurves() = default;
        WorkCurves(const WorkCurves&) {}
        WorkCurves& operator=(const WorkCurves&) { return *this; }
        ~WorkCurves() { Release(); }
        void Release();

        Glissa* mCopies[3] = {};
        Glissa* mResults[3] = {};
    };
    void Prepare(WorkCurves& pWork, Glissa** pCurves, KTime& pStart, KTime& pStop);
    void SmoothKeys(const WorkCurves& pWork, KTime pStart, KTime pStop);

    WorkCurves mPrepared;
    double mFactor;
    KTime mWidth;
    int mSampleCount;
};

extern template class KClassFrame<GlissaFilterSmooth2, GlissaFilter>;
