// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/curve_filter.h"

/// Moves the keys of the span to the nearest multiples of a period. Their number and order stay: a
/// key that would reach or pass another one stays off the grid, and so does one whose next key is
/// nearer to the multiple than itself. The last key of a curve does not move up.
class GLISSA_API GlissaFilterKeysOnFrame
    : public KClassFrame<GlissaFilterKeysOnFrame, GlissaCurveFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterKeysOnFrame";

    /// The span of a fresh filter is the instant 0: set it, or call Reset, which leaves the period.
    GlissaFilterKeysOnFrame();

    /// Ticks; one frame of the default time mode at first. A period below a tick is refused without
    /// an error.
    virtual void SetPeriod(const KTime& pPeriod);

private:
    EGlissaFilterAnswer Examine(Glissa& pCurve) override;
    bool Change(Glissa& pCurve) override;
    int FirstKey(Glissa& pCurve) const;
    int LastKey(Glissa& pCurve) const;
    bool FindFrame(Glissa& pCurve, int pIndex, KTime& pTarget) const;

    KTime mPeriod;
};

extern template class KClassFrame<GlissaFilterKeysOnFrame, GlissaCurveFilter>;
