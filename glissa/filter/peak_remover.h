// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/curve_filter.h"

/// Finds keys that stick out and puts them on the straight line between their neighbours.
///
/// The slopes from a key to the keys around it, as far as the time tolerance reaches, have a least
/// and a greatest one; their difference is the spread of the key. A key is wild where its squared
/// spread is above the mean of all squared spreads times the value tolerance, and a peak where the
/// two slopes also differ in sign. A peak goes to the line between the nearest keys on both sides
/// that are not wild. This is repeated up to 20 times, until there is no peak.
///
/// Every key of the span becomes cubic with an automatic tangent, peak or not. A peak at the first
/// or the last key of the span stays. A stop on a key leaves that key out.
///
/// Cost: the keys of the span times the keys in reach of each, times the rounds.
class GLISSA_API GlissaFilterPeakRemover
    : public KClassFrame<GlissaFilterPeakRemover, GlissaCurveFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterPeakRemover";

    GlissaFilterPeakRemover();
    void Reset() override;

    /// How far a key looks, 3 by default: keys are out of reach from the square root of this times
    /// the root mean square distance of neighbouring keys.
    double GetTimeTolerance() const { return mTimeTolerance; }
    void SetTimeTolerance(double pTolerance) { mTimeTolerance = pTolerance; }
    /// How many times the mean squared spread a wild key exceeds, 3 by default.
    double GetValueTolerance() const { return mValueTolerance; }
    void SetValueTolerance(double pTolerance) { mValueTolerance = pTolerance; }

    /// One round over the keys pFirst to pLast - 1 of a source. True when it found no peak, one at
    /// the first or the last key included.
    ///
    /// pResult  a curve with keys for all of these, which become those of the source without peaks:
    ///          cubic, automatic, posted as 0x2010 and 0x4010.
    bool PeakRemovalStep(Glissa& pSource, Glissa& pResult, int pFirst, int pLast);

private:
    EGlissaFilterAnswer Examine(Glissa& pCurve) override;
    bool Change(Glissa& pCurve) override;

    double mTimeTolerance;
    double mValueTolerance;
};

extern template class KClassFrame<GlissaFilterPeakRemover, GlissaCurveFilter>;
