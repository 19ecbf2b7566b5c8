// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The curve is sampled, with straight lines in front and behind in which each pass settles, and
// filtered. Keys are taken from the samples and put into the curve all at once.

#include "glissa/filter/butterworth.h"

#include "corvekit/object/data_type.h"
#include "glissa/curve/curve.h"
#include "glissa/filter/init_property.h"
#include "glissa/settings/settings.h"
#include "glissa/utils/sample_grid.h"
#include "glissa/utils/scratch_curve.h"
#include "glissa/utils/span_edits.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <vector>

template class KClassFrame<GlissaFilterButterworth, GlissaCurveFilter>;

namespace
{
const char* const kErrors[] = {"Bad Sampling Rate", "Bad Interval"};

enum Error
{
    kBadSamplingRate = 0,
    kBadInterval = 1,
};

constexpr int kLead = 250;  // samples in front of the span, and behind it

bool IsInfinite(KTime pTime)
{
    return pTime == KTime::MinusInfinite() || pTime == KTime::Infinite();
}

// Less than a tick for a rate that is no number, negative or too high.
KTime PeriodOf(double pRate)
{
    return KTime::FromSeconds(1.0 / pRate);
}

// The samples as a curve, for keys that lie between them.
ScratchCurve CurveOf(const std::vector<double>& pSamples, KTime pStart, KTime pPeriod)
{
    CORVEKIT_ASSERT(pPeriod > KTime());
    ScratchCurve curve(GlissaCreate());
    const auto lead = static_cast<std::size_t>(kLead);
    // With two samples of the lead-out: the last key of the result may lie behind the last sample
    // of the span, on a segment that needs a neighbour for its slope.
    curve->InitBuffers(static_cast<int>(pSamples.size()) - 2 * kLead + 2, false);
    for (std::size_t i = lead; i < pSamples.size() - lead + 2; ++i, pStart += pPeriod) {
        curve->KeyAppendFast(pStart, static_cast<float>(pSamples[i]));
    }
    return curve;
}
}  // namespace

/// What an application does.
struct GlissaFilterButterworth::Plan
{
    KTime outerStart;  // the span
    KTime outerStop;
    KTime start;  // what is filtered of it
    KTime stop;
    KTime period;        // between internal samples
    KTime samplePeriod;  // between keys

    std::int64_t BodyPeriods() const { return ((stop - start) / period).Get(); }
};

GlissaFilterButterworth::GlissaFilterButterworth() : KClassFrame("FCurve Butterworth", kErrors, 2)
{
    InitProperties();
    GlissaFilterButterworth::Reset();
}

GlissaFilterButterworth::GlissaFilterButterworth(const GlissaFilterButterworth& pOther)
    : KClassFrame(pOther),
      mStart(pOther.mStart),
      mStop(pOther.mStop),
      mCutOffFreq(pOther.mCutOffFreq),
      mSamplingRate(pOther.mSamplingRate),
      mKeysOnFrame(pOther.mKeysOnFrame),
      mOrderOfFilter(pOther.mOrderOfFilter),
      mInternalRate(pOther.mInternalRate)
{
    InitProperties();
}

GlissaFilterButterworth&
GlissaFilterButterworth::operator=(const GlissaFilterButterworth&) = default;

void GlissaFilterButterworth::Reset()
{
    mStart = KTime::MinusInfinite();
    mStop = KTime::Infinite();
    mCutOffFreq = 7.0;
    mSamplingRate = 1.0 / KTime::GetOneFrameValue(eTimeModeDefault).GetSecondDouble();
    mKeysOnFrame = true;
    mOrderOfFilter = 4.0;
    mInternalRate = GLISSA_GetButterworthFilterInternalRate();
    GlissaFilter::Reset();
}

void GlissaFilterButterworth::InitProperties()
{
    StartInit(this);
    StopInit(this);
    CutOffFreqInit(this);
    SamplingRateInit(this);
    KeysOnFrameInit(this);
    OrderOfFilterInit(this);
    InternalRateInit(this);
}

void GlissaFilterButterworth::StartInit(KObject* pFilter)
{
    static const KPropertyInfo info("Start", KDataTypeTime);
    InitProperty(pFilter, static_cast<GlissaFilterButterworth*>(pFilter)->mStart, info);
}

void GlissaFilterButterworth::StopInit(KObject* pFilter)
{
    static const KPropertyInfo info("Stop", KDataTypeTime);
    InitProperty(pFilter, static_cast<GlissaFilterButterworth*>(pFilter)->mStop, info);
}

void GlissaFilterButterworth::CutOffFreqInit(KObject* pFilter)
{
    static const KPropertyInfo info("CutOffFreq", KDataTypeNumber);
    InitProperty(pFilter, static_cast<GlissaFilterButterworth*>(pFilter)->mCutOffFreq, info);
}

void GlissaFilterButterworth::SamplingRateInit(KObject* pFilter)
{
    static const KPropertyInfo info("SamplingRate", KDataTypeNumber);
    InitProperty(pFilter, static_cast<GlissaFilterButterworth*>(pFilter)->mSamplingRate, info);
}

void GlissaFilterButterworth::KeysOnFrameInit(KObject* pFilter)
{
    static const KPropertyInfo info("KeysOnFrame", KDataTypeBool);
    InitProperty(pFilter, static_cast<GlissaFilterButterworth*>(pFilter)->mKeysOnFrame, info);
}

void GlissaFilterButterworth::OrderOfFilterInit(KObject* pFilter)
{
    static const KPropertyInfo info("OrderOfFilter", KDataTypeNumber);
    InitProperty(pFilter, static_cast<GlissaFilterButterworth*>(pFilter)->mOrderOfFilter, info);
}

void GlissaFilterButterworth::InternalRateInit(KObject* pFilter)
{
    static const KPropertyInfo info("InternalRate", KDataTypeNumber);
    InitProperty(pFilter, static_cast<GlissaFilterButterworth*>(pFilter)->mInternalRate, info);
}

GlissaFilterButterworth::Plan GlissaFilterButterworth::PlanFor(Glissa& pCurve) const
{
    Plan plan{};
    plan.period = PeriodOf(mInternalRate);
    plan.samplePeriod = PeriodOf(mSamplingRate);
    const KTime first = pCurve.KeyGetTime(0);
    const KTime last = pCurve.KeyGetTime(pCurve.KeyGetCount() - 1);
    plan.outerStart = IsInfinite(mStart) ? first : mStart.GetValue();
    plan.outerStop = IsInfinite(mStop) ? last : mStop.GetValue();
    const KTime start =
        mKeysOnFrame ? AlignedStart(plan.outerStart, plan.samplePeriod) : plan.outerStart;
    plan.start = start + plan.samplePeriod;
    plan.stop = plan.outerStop - plan.samplePeriod;
    return plan;
}

EGlissaFilterAnswer GlissaFilterButterworth::Examine(Glissa& pCurve)
{
    if (!(mSamplingRate > 0.0)) {
        return RefuseCurve(kBadSamplingRate, "Bad Sampling Rate");
    }
    if (pCurve.KeyGetCount() < 2) {
        return RefuseCurve(kBadInterval, "Bad Interval");
    }
    if (PeriodOf(mSamplingRate) < KTime(1) || PeriodOf(mInternalRate) < KTime(1)) {
        return RefuseCurve(kBadSamplingRate, "Bad Sampling Rate");
    }
    if (!(mCutOffFreq > 0.0 && mCutOffFreq < 0.5 * mInternalRate)) {
        return RefuseCurve(kBadSamplingRate,
                           "The cut-off is not between 0 and half of the internal rate");
    }
    if (!std::isfinite(mOrderOfFilter)) {
        return RefuseCurve(kBadInterval, "The order is not finite");
    }
    const Plan plan = PlanFor(pCurve);
    if (plan.start >= plan.stop) {
        return RefuseCurve(kBadInterval, "Bad Interval");
    }
    constexpr std::int64_t kMost = std::numeric_limits<int>::max() - 3 * kLead;
    if (plan.BodyPeriods() > kMost ||
        SampleGrid(plan.outerStart, plan.outerStop, plan.samplePeriod).count == 0) {
        return RefuseCurve(kBadSamplingRate, "Bad Sampling Rate");
    }
    return eFilterChanges;
}

// From kLead in front of the start to kLead behind the last whole period. The leads are straight
// lines that meet the curve.
std::vector<double> GlissaFilterButterworth::SamplesOf(Glissa& pCurve, const Plan& pPlan)
{
    const auto body = static_cast<std::size_t>(pPlan.BodyPeriods());
    const auto lead = static_cast<std::size_t>(kLead);
    const KTime period = pPlan.period;
    int hint = 0;
    const auto at = [&](KTime pTime) -> double { return pCurve.Evaluate(pTime, &hint); };
    std::vector<double> samples(body + 2 * lead + 1);

    const double first = at(pPlan.start);
    const double rise = pPlan.start - period < pCurve.KeyGetTime(0)
                            ? at(pPlan.start + period) - first
                            : first - at(pPlan.start - period);
    for (std::size_t i = 0; i < lead; ++i) {
        samples[i] = static_cast<double>(i) * rise + (first - kLead * rise);
    }
    KTime time = pPlan.start;
    for (std::size_t i = lead; i <= lead + body; ++i, time += period) {
        samples[i] = at(time);
    }
    const double last = at(pPlan.stop);
    const double fall = pPlan.stop + period > pCurve.KeyGetTime(pCurve.KeyGetCount() - 1)
                            ? last - at(pPlan.stop - period)
                            : at(pPlan.stop + period) - last;
    for (std::size_t i = lead + body + 1; i < samples.size(); ++i) {
        samples[i] =
            static_cast<double>(i) * fall + (last - static_cast<double>(body + lead) * fall);
    }
    return samples;
}

bool GlissaFilterButterworth::Change(Glissa& pCurve)
{
    const Plan plan = PlanFor(pCurve);
    std::vector<double> samples = SamplesOf(pCurve, plan);
    LowPass(samples);

    const bool isDecimated = (plan.samplePeriod.Get() % plan.period.Get()) == 0;
    const auto stride = static_cast<std::size_t>((plan.samplePeriod / plan.period).Get());
    const ScratchCurve between = isDecimated ? nullptr : CurveOf(samples, plan.start, plan.period);
    const ScratchCurve keys(GlissaCreate());
    KTime time = plan.start - plan.samplePeriod;
    const int count = SampleGrid(time, plan.outerStop, plan.samplePeriod).count;
    keys->InitBuffers(count, false);
    int hint = 0;
    int hintBetween = 0;
    auto sample = static_cast<std::size_t>(kLead);
    for (int i = 0; i < count; ++i, time += plan.samplePeriod) {
        float value = 0.0f;
        if (time < plan.start || time > plan.stop) {
            value = pCurve.Evaluate(time, &hint);
        } else if (between) {
            value = between->Evaluate(time, &hintBetween);
        } else {
            value = static_cast<float>(samples[sample]);
            sample += stride;
        }
        keys->KeyAppendFast(time, value);
    }
    ReplaceSpan(pCurve, *keys, plan.outerStart, plan.outerStop, true);
    return true;
}
