// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/curve_filter.h"

/// Turns values over: a value v becomes the top range less v. The default value changes whatever
/// the span, and tangents stay as they are, so that stored slopes then run the wrong way.
class GLISSA_API GlissaFilterInverse : public KClassFrame<GlissaFilterInverse, GlissaCurveFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterInverse";

    GlissaFilterInverse();
    void Reset() override;

    /// The value that 0 becomes, in the unit of the curve, 100 by default. One that is not finite
    /// is refused without an error.
    double GetTopRange() const { return mTopRange; }
    void SetTopRange(double pTopRange) { mTopRange = pTopRange; }

private:
    EGlissaFilterAnswer Examine(Glissa& pCurve) override;
    bool Change(Glissa& pCurve) override;

    double mTopRange;
};

extern template class KClassFrame<GlissaFilterInverse, GlissaCurveFilter>;
