// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/curve_filter.h"

/// Replaces the value of each key by a weighted mean of the curve in a window around it. The first
/// key of the span and the last two keep their values. Within half a window of the last key but
/// one the change fades out; within half a window of a first key that is not the curve's first one
/// it fades in.
///
/// The window is no usual low-pass: its rim weighs more than its middle, 12 times as much with 8
/// samples. A wave of 0.75, 1 or 1.25 times the width of the window comes out inverted, at -0.56,
/// -0.44 and -0.15 of its amplitude, and a spike becomes two. The samples lie half a step too
/// early, so each run also delays the curve by an 18th of the width. GlissaFilterGaussian does
/// neither.
///
/// Cost: an evaluation for each sample of each key.
class GLISSA_API GlissaFilterSmooth : public KClassFrame<GlissaFilterSmooth, GlissaCurveFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterSmooth";
    static constexpr int kMostSamples = 100000;

    GlissaFilterSmooth();
    void Reset() override;

    using GlissaCurveFilter::Apply;
    /// A node "R" or "Lcl Rotation" with three children is a rotation, and with GetUseQuaternion
    /// smoothed as quaternions; other nodes as GlissaFilter does it. False for a locked node or
    /// child and for a rotation without keys. An unbounded start or stop becomes that of the first
    /// rotation, and stays so after the call: in a tree, later nodes are smoothed within it. A
    /// rotation is left alone, with true, where the start does not lie before the stop.
    ///
    /// A rotation smoothed as quaternions gets keys at the plot period in the span, and more where
    /// the angles change much faster than the rotation; those at the ends of the span keep their
    /// orientation. Its layers stay. Error 0 for a node without three curves of a rotation and for
    /// a plot period below a tick. Without GetUseQuaternion the three angles are smoothed one by
    /// one.
    bool Apply(GlissaNode& pNode, bool pRecursive) override;

    /// The window, 4 plot periods by default. Up to one tick changes nothing.
    KTime GetWidth() { return mWidth; }
    /// Stores the absolute value.
    void SetWidth(KTime pWidth);
    /// The samples in the window are one more than this, 8 by default. More than kMostSamples are
    /// refused with error 0.
    int GetSampleCount() { return mSampleCount; }
    /// Stores the absolute value.
    void SetSampleCount(int pCount);
    bool GetUseQuaternion() { return mUseQuaternion; }
    void SetUseQuaternion(bool pUse) { mUseQuaternion = pUse; }

    // Kept for hosts; nothing here reads them.

    KTime GetFramePeriod() { return mFramePeriod; }
    void SetFramePeriod(const KTime& pPeriod) { mFramePeriod = pPeriod; }
    bool GetApplyGimbleKiller() { return mApplyGimbleKiller; }
    void SetApplyGimbleKiller(bool pApply) { mApplyGimbleKiller = pApply; }
    bool GetApplyUnroller() { return mApplyUnroller; }
    void SetApplyUnroller(bool pApply) { mApplyUnroller = pApply; }
    bool GetApplyKeyReducer() { return mApplyKeyReducer; }
    void SetApplyKeyReducer(bool pApply) { mApplyKeyReducer = pApply; }
    /// Do nothing.
    void EulerToQuat(Glissa* const* pEuler, Glissa* const* pQuaternion);
    void QuatToEuler(Glissa* const* pQuaternion, Glissa* const* pEuler);

private:
    EGlissaFilterAnswer Examine(Glissa& pCurve) override;
    bool Change(Glissa& pCurve) override;
    bool SmoothAsQuaternions(GlissaNode& pNode);

    KTime mWidth;
    int mSampleCount;
    KTime mFramePeriod;
    bool mApplyGimbleKiller;
    bool mApplyUnroller;
    bool mApplyKeyReducer;
    bool mUseQuaternion;
};

extern template class KClassFrame<GlissaFilterSmooth, GlissaCurveFilter>;
