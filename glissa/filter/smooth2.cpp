// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Three curves are copied and given the same key times. Key after key goes through DampGT into
// three curves of their own, which then replace the span.

#include "glissa/filter/smooth2.h"

#include "corvekit/event/operation.h"
#include "corvekit/object/data_type.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/filter/key_sync.h"
#include "glissa/filter/magnitude.h"
#include "glissa/node/node.h"
#include "glissa/utils/span_edits.h"

#include <algorithm>
#include <cmath>

template class KClassFrame<GlissaFilterSmooth2, GlissaFilter>;

namespace
{
constexpr int kAxes = 3;
const char* const kErrors[] = {"No key", "Left unchanged", "Not a translation", "No 3 curves"};

enum Error
{
    kNotATranslation = 2,
    kNoThreeCurves = 3,
};

KgeTVector ValuesOfKey(Glissa* const* pCurves, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0);
    return KgeTVector(pCurves[0]->KeyGetValue(pIndex), pCurves[1]->KeyGetValue(pIndex),
                      pCurves[2]->KeyGetValue(pIndex));
}

// Puts the smoothed keys into the curves that are not locked.
void ReplaceSpans(Glissa* const* pCurves, Glissa* const* pResults)
{
    if (!pResults[0] || pResults[0]->KeyGetCount() == 0) {
        return;
    }
    const KTime first = pResults[0]->KeyGetTime(0);
    const KTime last = pResults[0]->KeyGetTime(pResults[0]->KeyGetCount() - 1);
    for (int i = 0; i < kAxes; ++i) {
        if (!pCurves[i]->IsLocked()) {
            const KeyModifyBracket bracket(*pCurves[i]);
            ReplaceSpan(*pCurves[i], *pResults[i], first, last, false);
        }
    }
}

/// Three curves sampled together.
class Sampler
{
public:
    explicit Sampler(Glissa* const* pCurves) : mCurves(pCurves) {}

    /// The sum of samples from a time on, one each step.
    KgeTVector Sum(KTime pFrom, KTime pStep, int pCount)
    {
        KgeTVector sum;
        for (int i = 0; i < pCount; ++i, pFrom += pStep) {
            for (int axis = 0; axis < kAxes; ++axis) {
                sum[axis] += mCurves[axis]->Evaluate(pFrom, &mHints[axis]);
            }
        }
        return sum;
    }

private:
    Glissa* const* mCurves;
    int mHints[kAxes] = {};
};
}  // namespace

GlissaFilterSmooth2::GlissaFilterSmooth2() : KClassFrame("FCurve Smooth2", kErrors, 4)
{
    GlissaFilterSmooth2::Reset();
}

void GlissaFilterSmooth2::Reset()
{
    mFactor = 1.5;
    mWidth = KTime(KTime::kTicksPerSecond * 8 / 30);
    mSampleCount = 8;
    GlissaFilter::Reset();
}

void GlissaFilterSmooth2::SetWidth(KTime pWidth)
{
    mWidth = std::max(Magnitude(pWidth), KTime(1));
}

void GlissaFilterSmooth2::SetSampleCount(int pCount)
{
    mSampleCount = pCount == 0 ? 2 : Magnitude(pCount);
}

void GlissaFilterSmooth2::PrepareForFiltering(Glissa** pCurves, KTime& pStart, KTime& pStop)
{
    Prepare(mPrepared, pCurves, pStart, pStop);
}

void GlissaFilterSmooth2::CleanUpAfterFiltering(Glissa** pCurves)
{
    ReplaceSpans(pCurves, mPrepared.mResults);
    mPrepared.Release();
}

void GlissaFilterSmooth2::Prepare(WorkCurves& pWork, Glissa** pCurves, KTime& pStart, KTime& pStop)
{
    pWork.Release();
    KTime first = KTime::Infinite();
    KTime last = KTime::MinusInfinite();
    for (int i = 0; i < kAxes; ++i) {
        const int count = pCurves[i]->KeyGetCount();
        if (count > 0) {
            first = std::min(first, pCurves[i]->KeyGetTime(0));
            last = std::max(last, pCurves[i]->KeyGetTime(count - 1));
        }
        pWork.mCopies[i] = pCurves[i]->Copy();
        pWork.mResults[i] = GlissaCreate();
    }
    const bool hasKeys = first <= last;
    pStart = hasKeys ? std::max(first, GetStartTime()) : GetStartTime();
    pStop = hasKeys ? std::min(last, GetStopTime()) : GetStopTime();

    GlissaFilterKeySync sync;
    if (sync.NeedApply(pWork.mCopies, kAxes)) {
        sync.Apply(pWork.mCopies, kAxes);
    }
    for (Glissa* result : pWork.mResults) {
        result->ResizeKeyBuffer(pWork.mCopies[0]->KeyGetCount(), false);
        result->KeyModifyBegin();
    }
}

void GlissaFilterSmooth2::WorkCurves::Release()
{
    for (int i = 0; i < kAxes; ++i) {
        for (Glissa** curve : {&mCopies[i], &mResults[i]}) {
            if (*curve) {
                (*curve)->Destroy();
                *curve = nullptr;
            }
        }
    }
}

void GlissaFilterSmooth2::DampGT(KgeTVector& pG, KgeTVector& pPrevious, KgeTVector& pT,
                                 double pElapsed, double pFactor)
{
    const KgeTVector way = pG - pPrevious;
    const double speed = pT.Length();
    const double distance = way.Length();
    if (distance > 0.0 && speed > 0.0) {
        const double cosine = pT.Dot(way) / speed / distance;
        const double limit = speed * pFactor * pElapsed;
        const double share = (cosine + 1.0) * std::min(distance, limit) / distance * 0.5;
        pPrevious += share * way + (1.0 - share) * pElapsed * pT;
    }
    pG = pPrevious;
}

bool GlissaFilterSmooth2::Apply(Glissa&)
{
    return Refuse(kNoThreeCurves, "FCurveSmooth2, This filter only works on 3 curves.");
}

bool GlissaFilterSmooth2::Apply(GlissaNode& pNode, bool)
{
    if (pNode.GetDataType() != KDataTypeLclTranslation || pNode.GetCount() != kAxes) {
        return Refuse(kNotATranslation, "FCurveSmooth2, No translation. No key to be filtered.");
    }
    Glissa* curves[kAxes];
    for (int i = 0; i < kAxes; ++i) {
        curves[i] = pNode.Get(i)->FCurveGet();
        if (!curves[i]) {
            return Refuse(kNoThreeCurves, "FCurveSmooth2, You need 3 curves.");
        }
    }
    return Apply(curves, kAxes);
}

bool GlissaFilterSmooth2::Apply(Glissa** pCurves, int pCount)
{
    if (pCount != kAxes) {
        return Refuse(kNoThreeCurves, "FCurveSmooth2, You need 3 curves.");
    }
    if (!std::isfinite(mFactor)) {
        return Refuse(eFilterUnchanged, "FCurveSmooth2, The factor is not finite.");
    }
    if (mSampleCount > kMostSamples) {
        return Refuse(eFilterUnchanged, "FCurveSmooth2, The window has more than 100000 samples.");
    }
    const KOperation operation;
    KTime start;
    KTime stop;
    WorkCurves work;
    Prepare(work, pCurves, start, stop);
    if (!(start < stop)) {
        return Refuse(eFilterNoKey, "FCurveSmooth2, Invalid Time Span.");
    }
    if (work.mCopies[0]->KeyGetCount() == 0) {
        return Refuse(eFilterNoKey, "FCurveSmooth2, No keys.");
    }
    if (mWidth / 2 > KTime()) {
        SmoothKeys(work, start, stop);
    }
    ReplaceSpans(pCurves, work.mResults);
    return true;
}

// The first key of the span is taken over; it is where the smoothed point starts.
void GlissaFilterSmooth2::SmoothKeys(const WorkCurves& pWork, KTime pStart, KTime pStop)
{
    const Glissa& times = *pWork.mCopies[0];
    const KTime halfWidth = mWidth / 2;
    const int half = std::max(mSampleCount / 2, 1);
    const int first = static_cast<int>(pWork.mCopies[0]->KeyFind(pStart, nullptr));
    const int last = static_cast<int>(std::floor(pWork.mCopies[0]->KeyFind(pStop, nullptr)));
    const bool fadesIn = pStart > times.KeyGetTime(0);
    const bool fadesOut = pStop < times.KeyGetTime(times.KeyGetCount() - 1);
    Sampler past(pWork.mResults);
    Sampler future(pWork.mCopies);

    KgeTVector smoothed = ValuesOfKey(pWork.mCopies, first);
    for (int i = first; i <= last; ++i) {
        const KTime time = times.KeyGetTime(i);
        KgeTVector position = ValuesOfKey(pWork.mCopies, i);
        if (i > first) {
            const KgeTVector raw = position;
            const KTime from = std::max(time - halfWidth, pStart);
            const KTime to = std::min(time + halfWidth, pStop);
            const KTime stepBack = (time - from) / half;
            const KTime stepOn = (to - time) / half;
            const KgeTVector rise =
                future.Sum(time + stepOn, stepOn, half) - past.Sum(from, stepBack, half);
            KgeTVector velocity =
                rise * (2.0 / (to - from).GetSecondDouble()) * (1.0 / (2.0 * half));
            const double elapsed = (time - times.KeyGetTime(i - 1)).GetSecondDouble();
            smoothed = ValuesOfKey(pWork.mResults, i - 1 - first);
            DampGT(position, smoothed, velocity, elapsed, mFactor);
            const auto fade = [&](KTime pDistance) {
                const double share = pDistance.GetSecondDouble() / halfWidth.GetSecondDouble();
                position = share * position + (1.0 - share) * raw;
            };
            if (fadesIn && halfWidth > time - pStart) {
                fade(time - pStart);
            }
            if (fadesOut && halfWidth > pStop - time) {
                fade(pStop - time);
            }
        }
        for (int axis = 0; axis < kAxes; ++axis) {
            const int key =
                pWork.mResults[axis]->KeyAppendFast(time, static_cast<float>(position[axis]));
            if (pWork.mCopies[axis]->KeyGetSelected(i)) {
                pWork.mResults[axis]->KeySetSelected(key, true);
            }
        }
    }
}
