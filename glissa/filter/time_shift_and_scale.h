// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/curve_filter.h"

/// Moves all keys in time and then stretches the curve around 0 s. The span of the filter is not
/// used. Stored slopes stay values per second: a stretched curve keeps its shape at automatic
/// tangents alone.
class GLISSA_API GlissaFilterTimeShiftAndScale
    : public KClassFrame<GlissaFilterTimeShiftAndScale, GlissaCurveFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterTimeShiftAndScale";

    /// Reset leaves shift and scale alone.
    GlissaFilterTimeShiftAndScale();

    /// Ticks, 0 by default. A shift that would move a key out of the range of times is refused with
    /// the third error.
    virtual KTime& GetShift();
    virtual void SetShift(const KTime& pShift);
    /// The factor, 1 by default. One at or below 0 has no effect; one that would move a key out of
    /// the range of times is refused. Keys stay a tick apart at least.
    virtual double GetScale();
    virtual void SetScale(double pScale);

private:
    EGlissaFilterAnswer Examine(Glissa& pCurve) override;
    bool Change(Glissa& pCurve) override;
    bool HasScale() const { return mScale > 0.0 && mScale != 1.0; }
    bool CanMove(KTime pTime, int pKeyCount) const;
    KTime Moved(KTime pTime) const;

    KTime mShift;
    double mScale = 1.0;
};

extern template class KClassFrame<GlissaFilterTimeShiftAndScale, GlissaCurveFilter>;
