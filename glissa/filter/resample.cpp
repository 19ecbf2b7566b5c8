// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/resample.h"

#include "glissa/curve/curve.h"
#include "glissa/utils/sample_grid.h"
#include "glissa/utils/scratch_curve.h"
#include "glissa/utils/utils.h"

#include <limits>

template class KClassFrame<GlissaFilterResample, GlissaCurveFilter>;

namespace
{
const char* const kErrors[] = {"Bad Period", "Bad Interval"};
}  // namespace

GlissaFilterResample::GlissaFilterResample() : KClassFrame("FCurve Resample", kErrors, 2)
{
    GlissaFilterResample::Reset();
}

void GlissaFilterResample::Reset()
{
    mKeysOnFrame = false;
    mPeriod = KTime::GetOneFrameValue(eTimeModeDefault);
    mIntelligentMode = false;
    GlissaFilter::Reset();
}

void GlissaFilterResample::SetKeysOnFrame(bool pKeysOnFrame)
{
    mKeysOnFrame = pKeysOnFrame;
}

bool GlissaFilterResample::GetKeysOnFrame()
{
    return mKeysOnFrame;
}

KTime GlissaFilterResample::GetPeriodTime()
{
    return mPeriod;
}

void GlissaFilterResample::SetPeriodTime(const KTime& pPeriod)
{
    mPeriod = pPeriod;
}

// The span with the end keys in place of open ends, its start on the grid where that is wanted. The
// period is a tick at least.
KTimeSpan GlissaFilterResample::SampledSpan(const Glissa& pCurve) const
{
    const int count = pCurve.KeyGetCount();
    KTime start = GetStartTime();
    KTime stop = GetStopTime();
    if (start == KTime::MinusInfinite() && count > 0) {
        start = pCurve.KeyGetTime(0);
    }
    if (stop == KTime::Infinite() && count > 0) {
        stop = pCurve.KeyGetTime(count - 1);
    }
    const KTime rest(start.Get() % mPeriod.Get());
    if (mKeysOnFrame && rest != KTime() && start - rest > KTime()) {
        start = start - rest + mPeriod;
    }
    return {start, stop};
}

EGlissaFilterAnswer GlissaFilterResample::Examine(Glissa& pCurve)
{
    if (mPeriod < KTime(1)) {
        return RefuseCurve(kBadPeriod, "Bad Period");
    }
    const KTimeSpan span = SampledSpan(pCurve);
    if (span.GetStart() <= KTime::MinusInfinite() || span.GetStop() == KTime::Infinite() ||
        span.GetStop() <= span.GetStart()) {
        return RefuseCurve(kBadInterval, "Bad Interval");
    }
    const int samples = SampleGrid(span.GetStart(), span.GetStop(), mPeriod).count;
    if (samples == 0 || samples > std::numeric_limits<int>::max() - 1 - pCurve.KeyGetCount()) {
        return RefuseCurve(kBadPeriod, "Bad Period");
    }
    return eFilterChanges;
}

bool GlissaFilterResample::Change(Glissa& pCurve)
{
    const KTimeSpan span = SampledSpan(pCurve);
    const ScratchCurve part(GlissaCreate());
    part->CopyFrom(pCurve, false);
    if (mIntelligentMode) {
        GlissaUtils::Resample(pCurve, *part, span.GetStart(), span.GetStop(), mPeriod, true);
    } else {
        GlissaUtils::Resample(pCurve, *part, span.GetStart(), span.GetStop(), mPeriod,
                              eInterpolationCubic, eTangentAuto, true);
    }
    GlissaUtils::Merge(pCurve, *part, pCurve);
    return true;
}
