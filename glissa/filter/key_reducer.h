// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/curve_filter.h"

/// Rebuilds a curve from few cubic keys. A cubic with the slopes of the curve at both ends is
/// fitted to the span and split at the key that it misses most, until it passes within the
/// precision of every old key (Schneider 1990, "An Algorithm for Automatically Fitting Digitized
/// Curves", with slopes that are given).
///
/// Only the old keys are tested, not the curve between them, and the new keys are all cubic: a
/// stepped curve becomes a smooth one. The precision is in the unit of the curve, so one for
/// degrees is rarely one for a scale.
///
/// The new keys are those at the splits, with their values, and the two keys that bracket the span.
/// Keys outside stay, and the curve there. A key whose value is not a number is dropped.
///
/// Cost: each key of the span is evaluated once for each level of the subdivision, some 2 log2 of
/// the number of keys that are left; at worst, where every split is next to an end, once for each
/// of them.
class GLISSA_API GlissaFilterKeyReducer
    : public KClassFrame<GlissaFilterKeyReducer, GlissaCurveFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterKeyReducer";

    GlissaFilterKeyReducer();
    void Reset() override;

    using GlissaCurveFilter::Apply;
    /// As for any filter, and with key sync the curves then get keys at each other's times, by a
    /// GlissaFilterKeySync with the same span. One curve is not synchronised.
    bool Apply(Glissa** pCurves, int pCount) override;
    /// Likewise, for the curves that GlissaFilterKeySync finds in the node, where it has two
    /// children at least.
    bool Apply(GlissaNode& pNode, bool pRecursive) override;

    /// How far the new curve may be from an old key, in the unit of the curve; 1 by default. The
    /// sign does not matter.
    double GetPrecision() const { return mPrecision; }
    void SetPrecision(double pPrecision) { mPrecision = pPrecision; }

    /// Off by default.
    bool GetKeySync() const { return mKeySync; }
    void SetKeySync(bool pSync) { mKeySync = pSync; }

    // The steps, for hosts that fit curves of their own.

    /// Fits the keys of pSource that bracket a span: adds the new keys to pResult, which has none.
    /// pSource has keys at both ends of the span or beyond them. False for a span without length.
    bool KeyReducer(Glissa& pSource, Glissa& pResult, KTime pStart, KTime pStop);
    /// Splits the segment of pResult from the source key pFirst to the source key pLast until it is
    /// within the precision of those between. Keys of pResult are at both. False where that was so
    /// from the start.
    bool Subdivise(Glissa& pSource, Glissa& pResult, int pFirst, int pLast);
    /// The largest square of the distance of pResult from a source key, from pFirst up to, but
    /// without, pLast, and in pWorstKey the first key that has it. pWorstKey is left alone where
    /// the result is 0.
    double FindMaxError(Glissa& pSource, Glissa& pResult, int pFirst, int pLast, int& pWorstKey);

private:
    EGlissaFilterAnswer Examine(Glissa& pCurve) override;
    bool Change(Glissa& pCurve) override;

    KTime FirstTime(Glissa& pCurve);
    KTime LastTime(Glissa& pCurve);
    bool Split(Glissa& pSource, Glissa& pResult, int pFirst, int pLast, int pBehind, int& pSplit);

    double mPrecision;
    int mDepth = 0;  // nesting of splits while a curve is reduced
    bool mKeySync = false;
};

extern template class KClassFrame<GlissaFilterKeyReducer, GlissaCurveFilter>;
