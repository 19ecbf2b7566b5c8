// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/curve_filter.h"

/// Multiplies the default value and the keys of the span. The default value changes whatever the
/// span; a curve without keys is left alone.
class GLISSA_API GlissaFilterScale : public KClassFrame<GlissaFilterScale, GlissaCurveFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterScale";

    GlissaFilterScale();
    void Reset() override;

    /// The factor, 0 by default. 0 and 1 are refused.
    double GetScale() const { return mScale; }
    void SetScale(double pScale) { mScale = pScale; }
    /// Whether the slopes of automatic and user tangents are multiplied as well; off by default.
    bool GetApplyTangent() const { return mApplyTangent; }
    void SetApplyTangent(bool pApply) { mApplyTangent = pApply; }

private:
    EGlissaFilterAnswer Examine(Glissa& pCurve) override;
    bool Change(Glissa& pCurve) override;

    double mScale;
    bool mApplyTangent;
};

extern template class KClassFrame<GlissaFilterScale, GlissaCurveFilter>;
