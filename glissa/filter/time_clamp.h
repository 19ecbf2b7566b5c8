// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/curve_filter.h"

/// Removes the keys between two times; keys on them stay, and so do those outside. The span of the
/// filter is not used.
class GLISSA_API GlissaFilterTimeClamp
    : public KClassFrame<GlissaFilterTimeClamp, GlissaCurveFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterTimeClamp";
    /// The third error: neither time bounds anything.
    static constexpr int kInvalidInterval = 2;

    GlissaFilterTimeClamp();
    void Reset() override;

    /// Whether each time bounds what is removed, on by default. At least one has to, and not be
    /// infinite.
    bool GetApplyMinClamp() const { return mApplyMin; }
    void SetApplyMinClamp(bool pApply) { mApplyMin = pApply; }
    bool GetApplyMaxClamp() const { return mApplyMax; }
    void SetApplyMaxClamp(bool pApply) { mApplyMax = pApply; }
    /// MinusInfinite() and Infinite() by default.
    KTime GetMin() const { return mMin; }
    void SetMin(const KTime& pMin) { mMin = pMin; }
    KTime GetMax() const { return mMax; }
    void SetMax(const KTime& pMax) { mMax = pMax; }

private:
    EGlissaFilterAnswer Examine(Glissa& pCurve) override;
    bool Change(Glissa& pCurve) override;
    KTime From() const { return mApplyMin ? mMin : KTime::MinusInfinite(); }
    KTime To() const { return mApplyMax ? mMax : KTime::Infinite(); }

    bool mApplyMin;
    KTime mMin;
    bool mApplyMax;
    KTime mMax;
};

extern template class KClassFrame<GlissaFilterTimeClamp, GlissaCurveFilter>;
