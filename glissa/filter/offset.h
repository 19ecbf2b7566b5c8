// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/curve_filter.h"

/// Adds a number to the default value and to the keys of the span. The default value changes
/// whatever the span; a curve without keys is left alone.
class GLISSA_API GlissaFilterOffset : public KClassFrame<GlissaFilterOffset, GlissaCurveFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterOffset";

    GlissaFilterOffset();
    void Reset() override;

    /// In the unit of the curve, 0 by default, which is refused.
    double GetOffset() const { return mOffset; }
    void SetOffset(double pOffset) { mOffset = pOffset; }

private:
    EGlissaFilterAnswer Examine(Glissa& pCurve) override;
    bool Change(Glissa& pCurve) override;

    double mOffset;
};

extern template class KClassFrame<GlissaFilterOffset, GlissaCurveFilter>;
