// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The curve is sampled, with straight lines in front and behind in which each pass settles, and
// filtered. The keys of the result are put together in a curve of their own, since taking keys out
// of a curve and adding others one by one would cost the square of their number.

#include "glissa/filter/butterworth.h"

#include "corvekit/object/data_type.h"
#include "glissa/curve/curve.h"
#include "glissa/filter/init_property.h"
#include "glissa/filter/left_side.h"
#include "glissa/settings/settings.h"
#include "glissa/utils/sample_grid.h"
#include "glissa/utils/scratch_curve.h"
#include "glissa/utils/utils.h"

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

void GlissaFilterButterworth::LowPass(std::vector<double>& pSamples)
{
    double coefficients[6][10];
    double memory[3][10];
    int sectionCount = 0;
    double delay = 0.0;
    const int order = static_cast<int>(std::clamp(mOrderOfFilter.GetValue(), 0.0, 18.0));
    ComputeFilterCoefficients(mCutOffFreq, 1.0 / mInternalRate, order, coefficients, &sectionCount,
                              &delay);
    const auto pass = [&](auto pBegin, auto pEnd) {
        InitFilterMemory(0.0, coefficients, sectionCount, memory);
        const double base = *pBegin;
        for (auto i = pBegin; i != pEnd; ++i) {
            ButterworthFilter(&*i, *i - base, sectionCount, coefficients, memory);
            *i += base;
        }
    };
    pass(pSamples.begin(), pSamples.end());
    pass(pSamples.rbegin(), pSamples.rend());
}

bool GlissaFilterButterworth::Change(Glissa& pCurve)
{
    const Plan plan = PlanFor(pCurve);
    std::vector<double> samples = SamplesOf(pCurve, plan);
    LowPass(samples);

    const int count = pCurve.KeyGetCount();
    const int body = static_cast<int>(plan.BodyPeriods());
    const ScratchCurve work(GlissaCreate());
    work->CopyFrom(pCurve, false);
    work->InitBuffers(body + 1, false);
    int key = 0;
    for (; key < count && pCurve.KeyGetTime(key) < plan.start; ++key) {
        work->KeyAppend(pCurve.KeyGetTime(key), &pCurve, key);
    }
    for (int i = 0; i <= body; ++i) {
        const double value = samples[static_cast<std::size_t>(kLead + i)];
        work->KeyAppendFast(plan.start + plan.period * i, static_cast<float>(value));
    }
    while (key < count && pCurve.KeyGetTime(key) <= plan.stop) {
        ++key;
    }
    // The left side of the key behind was stored in a key that is gone.
    const int behind = work->KeyGetCount();
    for (int i = key; i < count; ++i) {
        work->KeyAppend(pCurve.KeyGetTime(i), &pCurve, i);
    }
    if (key < count) {
        PutBackLeftSide(*work, behind, pCurve.KeyGetLeftDerivativeInfo(key));
    }
    GlissaUtils::Resample(*work, plan.samplePeriod, plan.outerStart, plan.outerStop, mKeysOnFrame);
    work->SetValue(pCurve.GetValue());  // that of its last key, when none was left for a moment
    pCurve.CopyFrom(*work, true);
    return true;
}
