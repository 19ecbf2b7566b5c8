// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Samples of a curve as keys. What differs between the forms is the key made of a sample.

#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/utils/sample_grid.h"
#include "glissa/utils/scratch_curve.h"
#include "glissa/utils/span_edits.h"
#include "glissa/utils/utils.h"

#include <algorithm>

namespace
{
GlissaKey MakeKey(KTime pTime, float pValue, unsigned pInterpolation, unsigned pTangentMode)
{
    GlissaKey key;
    key.Set(pTime, pValue, pInterpolation, pTangentMode, 0.0f, 0.0f, eWeightNone,
            kGlissaDefaultWeight, kGlissaDefaultWeight, 0.0f, 0.0f);
    return key;
}

bool IsCubicUser(const GlissaKey& pKey)
{
    const unsigned kind = pKey.GetTangeantMode(false);
    return pKey.GetInterpolation() == eInterpolationCubic &&
           (kind == eTangentUser || kind == eTangentUserBreak);
}

// Puts a key behind the last one. Keys of the default shape share its block, other keys that of an
// equal one before them.
void Append(Glissa& pResult, const GlissaKey& pKey)
{
    const int count = pResult.KeyGetCount();
    if (*GlissaDefaultKeyAttr == pKey.GetAttributes()) {
        pResult.KeyAppendFast(pKey.GetTime(), pKey.GetValue());
    } else if (count > 0 && *pResult.InternalPriKeyAttrGetPtr(count - 1) == pKey.GetAttributes()) {
        pResult.KeyAppend(pKey.GetTime(), &pResult, count - 1);
        pResult.KeySetValue(count, pKey.GetValue());
    } else {
        pResult.KeySet(count, pKey);
    }
}

// Replaces the keys of a curve by pAppendKey of each sample time.
template <typename AppendKey>
void FillWithSamples(Glissa& pResult, KTime pStart, KTime pStop, KTime pPeriod, bool pAddStop,
                     AppendKey&& pAppendKey)
{
    const SampleGrid grid(pStart, pStop, pPeriod);
    if (!(pStart < pStop) || grid.count == 0) {
        return;
    }
    const bool hasExtra = pAddStop && !grid.endsOnStop;
    const KeyModifyBracket bracket(pResult);
    pResult.KeyClear();
    pResult.ResizeKeyBuffer(grid.count + (hasExtra ? 1 : 0), false);
    KTime time = pStart;
    for (int i = 0; i < grid.count; ++i) {
        pAppendKey(time);
        time += pPeriod;
    }
    if (hasExtra) {
        pAppendKey(pStop);
    }
    // Not all ways to append a key post it.
    pResult.CallbackAddEvent(kGlissaEventAdded, 0);
    pResult.CallbackAddEvent(kGlissaEventAdded, pResult.KeyGetCount() - 1);
}

// The key of a sample with the kind that the curve has there.
GlissaKey KeyOfSource(Glissa& pSource, KTime pTime, int& pHint)
{
    const double place = pSource.KeyFind(pTime, &pHint);
    const float value = pSource.Evaluate(pTime, &pHint);
    if (place < 0.0 || place > pSource.KeyGetCount() - 1) {
        return MakeKey(pTime, value, eInterpolationCubic, eTangentAuto);
    }
    const int index = static_cast<int>(place);
    const unsigned interpolation = pSource.KeyGetInterpolation(index);
    const bool isCubic = interpolation == eInterpolationCubic;
    unsigned mode = pSource.KeyGetTangeantMode(index, isCubic);
    if (isCubic && pSource.KeyGetTangeantMode(index, false) == eTangentTCB) {
        mode = (mode & ~GlissaKeyAttributes::kTangentKindMask) | eTangentAuto;
    }
    GlissaKey key = MakeKey(pTime, value, interpolation, mode);
    if (IsCubicUser(key)) {
        key.SetDataDouble(eDataRightSlope, pSource.EvaluateRightDerivative(pTime, &pHint));
        key.SetDataDouble(eDataNextLeftSlope, pSource.EvaluateLeftDerivative(pTime, &pHint));
    }
    return key;
}
}  // namespace

void GlissaUtils::Resample(Glissa& pSource, Glissa& pResult, const KTime& pStart,
                           const KTime& pStop, const KTime& pPeriod, unsigned pInterpolation,
                           unsigned pTangentMode, bool pAddStop)
{
    const CurveToRead source(pSource, pResult);
    GlissaKey key = MakeKey(KTime(), 0.0f, pInterpolation, pTangentMode);
    int hint = 0;
    FillWithSamples(pResult, pStart, pStop, pPeriod, pAddStop, [&](KTime pTime) {
        key.SetTime(pTime);
        key.SetValue(source.Get().Evaluate(pTime, &hint));
        Append(pResult, key);
    });
}

// Slot 1 of a key is the left slope of the sample behind it, where that one has slopes.
void GlissaUtils::Resample(Glissa& pSource, Glissa& pResult, const KTime& pStart,
                           const KTime& pStop, const KTime& pPeriod, bool pAddStop)
{
    const CurveToRead source(pSource, pResult);
    int hint = 0;
    FillWithSamples(pResult, pStart, pStop, pPeriod, pAddStop, [&](KTime pTime) {
        const GlissaKey key = KeyOfSource(source.Get(), pTime, hint);
        const int before = pResult.KeyGetCount() - 1;
        Append(pResult, key);
        if (before >= 0 && pResult.KeyGetInterpolation(before) == eInterpolationCubic) {
            const bool takesSlope = IsCubicUser(key);
            pResult.KeySetDataDouble(before, eDataNextLeftSlope,
                                     takesSlope ? key.GetDataDouble(eDataNextLeftSlope) : 0.0f);
        }
    });
}

void GlissaUtils::Resample(Glissa& pCurve, KTime pPeriod, KTime pStart, KTime pStop, bool pAlign)
{
    if (!(pStart < pStop) || pPeriod < KTime(1)) {
        return;
    }
    const int last = pCurve.KeyGetCount() - 1;
    if (pStart == KTime::MinusInfinite()) {
        pStart = last >= 0 ? pCurve.KeyGetTime(0) : KTime();
    }
    if (pStop == KTime::Infinite()) {
        pStop = last >= 0 ? pCurve.KeyGetTime(last) : pStart;
    }
    KTime time = pAlign ? AlignedStart(pStart, pPeriod) : pStart;
    const SampleGrid grid(time, pStop, pPeriod);
    if (!(time < pStop) || grid.count == 0) {
        return;
    }
    const ScratchCurve samples(GlissaCreate());
    samples->InitBuffers(grid.count, false);
    int hint = 0;
    for (int i = 0; i < grid.count; ++i) {
        samples->KeyAppendFast(time, pCurve.Evaluate(time, &hint));
        time += pPeriod;
    }
    ReplaceSpan(pCurve, *samples, pStart, pStop, true);
}
