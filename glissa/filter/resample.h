// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/curve_filter.h"

/// Replaces the keys of the span by keys at even distances, the last one at the stop in every case.
/// The curve outside the span keeps its values; where it has no keys, an unbounded span is refused.
class GLISSA_API GlissaFilterResample : public KClassFrame<GlissaFilterResample, GlissaCurveFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterResample";
    /// The errors: a period below a tick, or one that asks for more keys than an int counts; a span
    /// that is open or empty.
    static constexpr int kBadPeriod = 0;
    static constexpr int kBadInterval = 1;

    GlissaFilterResample();
    void Reset() override;

    /// Off by default: the first key lies at the start. On, at the next multiple of the period,
    /// unless the start lies below the first one above 0.
    virtual void SetKeysOnFrame(bool pKeysOnFrame);
    virtual bool GetKeysOnFrame();
    /// Ticks; one frame of the default time mode at the last Reset.
    virtual KTime GetPeriodTime();
    virtual void SetPeriodTime(const KTime& pPeriod);
    /// Off by default: all keys are cubic with automatic tangents. On, each is of the kind that the
    /// curve has there, with its slopes; weights and TCB tangents are not kept.
    bool GetIntelligentMode() const { return mIntelligentMode; }
    void SetIntelligentMode(bool pIntelligentMode) { mIntelligentMode = pIntelligentMode; }

private:
    EGlissaFilterAnswer Examine(Glissa& pCurve) override;
    bool Change(Glissa& pCurve) override;
    KTimeSpan SampledSpan(const Glissa& pCurve) const;

    bool mKeysOnFrame;
    KTime mPeriod;
    bool mIntelligentMode;
};

extern template class KClassFrame<GlissaFilterResample, GlissaCurveFilter>;
