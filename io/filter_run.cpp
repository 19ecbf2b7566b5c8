// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/filter_run.h"

#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/node/node.h"
#include "glissa/utils/utils.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace
{
struct DestroyCurve
{
    void operator()(Glissa* pCurve) const { pCurve->Destroy(0); }
};
using OwnedCurve = std::unique_ptr<Glissa, DestroyCurve>;

// A curve before the filter, to compare it with and to put it back.
OwnedCurve Duplicate(const Glissa& pCurve)
{
    OwnedCurve copy(GlissaCreate());
    copy->CopyFrom(pCurve, true);
    return copy;
}

KTime TimeOf(Glissa& pCurve, int pIndex)
{
    return pIndex < pCurve.KeyGetCount() ? pCurve.KeyGetTime(pIndex) : KTime::Infinite();
}

// Fills in the largest distance of two curves within a span: a walk over the key times of both, in
// order.
void Compare(Glissa& pBefore, Glissa& pAfter, const FilterTimes& pTimes, FilterResult& pResult)
{
    int hintBefore = 0;
    int hintAfter = 0;
    const auto look = [&](KTime pTime) {
        if (pTime < pTimes.mStart || pTime > pTimes.mStop) {
            return;
        }
        const double change = std::fabs(double{pAfter.Evaluate(pTime, &hintAfter)} -
                                        double{pBefore.Evaluate(pTime, &hintBefore)});
        if (change > pResult.mLargestChange) {
            pResult.mLargestChange = change;
            pResult.mWhen = pTime;
        }
    };
    KTime last = KTime::Infinite();
    for (int i = 0, j = 0; i < pBefore.KeyGetCount() || j < pAfter.KeyGetCount();) {
        const KTime before = TimeOf(pBefore, i);
        const KTime after = TimeOf(pAfter, j);
        const KTime time = before < after ? before : after;
        i += before == time ? 1 : 0;
        j += after == time ? 1 : 0;
        if (last != KTime::Infinite()) {
            look(last + (time - last) / 2);
        }
        look(time);
        last = time;
    }
}

bool IsBetweenKeys(Glissa& pCurve, KTime pTime)
{
    const int count = pCurve.KeyGetCount();
    return count > 0 && pTime > pCurve.KeyGetTime(0) && pTime < pCurve.KeyGetTime(count - 1);
}

int IndexAt(Glissa& pCurve, KTime pTime)
{
    const int index = static_cast<int>(std::lround(pCurve.KeyFind(pTime, nullptr)));
    return index >= 0 && index < pCurve.KeyGetCount() && pCurve.KeyGetTime(index) == pTime ? index
                                                                                           : -1;
}

// A key at a time, with the value that the curve has there.
int AddKeyAt(Glissa& pCurve, KTime pTime)
{
    if (IsBetweenKeys(pCurve, pTime)) {
        pCurve.KeyInsert(pTime);
    } else if (IndexAt(pCurve, pTime) < 0) {
        // Beyond the keys: a clamp removes those at the ends as well.
        GlissaKey key;
        key.SetValue(pCurve.Evaluate(pTime, nullptr));
        key.SetInterpolation(eInterpolationConstant);
        return pCurve.KeyAdd(pTime, key);
    }
    return IndexAt(pCurve, pTime);
}

// Makes the slopes of a key its own, whatever its neighbours become.
void FixSlopes(Glissa& pCurve, int pIndex)
{
    const float left = pCurve.KeyGetLeftDerivative(pIndex);
    const float right = pCurve.KeyGetRightDerivative(pIndex);
    if (pCurve.KeyGetInterpolation(pIndex) == eInterpolationCubic) {
        pCurve.KeySetTangeantMode(pIndex, eTangentUserBreak);
        pCurve.KeySetRightDerivative(pIndex, right);
    }
    if (pIndex > 0 && pCurve.KeyGetInterpolation(pIndex - 1) == eInterpolationCubic) {
        pCurve.KeySetLeftDerivative(pIndex, left);
    }
}

// Puts the curve before a filter back outside the span: the filtered curve gets keys at the ends of
// the span and changes to the old one within a tick.
void KeepOutside(Glissa& pBefore, Glissa& pCurve, const FilterTimes& pTimes)
{
    const KTime tick(1);
    const OwnedCurve whole = Duplicate(pBefore);
    const bool hasStart = IsBetweenKeys(pBefore, pTimes.mStart);
    const bool hasStop = IsBetweenKeys(pBefore, pTimes.mStop);
    const OwnedCurve inside = Duplicate(pCurve);
    if (hasStart) {
        FixSlopes(*whole, AddKeyAt(*whole, pTimes.mStart - tick));
        FixSlopes(*inside, AddKeyAt(*inside, pTimes.mStart));
    }
    if (hasStop) {
        FixSlopes(*whole, AddKeyAt(*whole, pTimes.mStop + tick));
        FixSlopes(*inside, AddKeyAt(*inside, pTimes.mStop));
    }
    const KeyModifyBracket bracket(pCurve);
    pCurve.CopyFrom(*whole, true);
    pCurve.KeyClear();
    const auto append = [&pCurve](Glissa& pSource, KTime pFirst, KTime pLast) {
        for (int i = 0; i < pSource.KeyGetCount(); ++i) {
            const KTime time = pSource.KeyGetTime(i);
            if (time >= pFirst && time <= pLast) {
                pCurve.KeyAppend(time, &pSource, i);
            }
        }
    };
    if (hasStart) {
        append(*whole, KTime::MinusInfinite(), pTimes.mStart - tick);
    }
    append(*inside, hasStart ? pTimes.mStart : KTime::MinusInfinite(),
           hasStop ? pTimes.mStop : KTime::Infinite());
    if (hasStop) {
        append(*whole, pTimes.mStop + tick, KTime::Infinite());
    }
}

bool IsOutside(Glissa& pCurve, const FilterTimes& pTimes)
{
    const int count = pCurve.KeyGetCount();
    return count > 0 &&
           (pCurve.KeyGetTime(count - 1) < pTimes.mStart || pCurve.KeyGetTime(0) > pTimes.mStop);
}

// Whether the last error says no more than that there was nothing to do.
bool IsHarmless(const KError& pError)
{
    KError general = pError;
    general.SetLastErrorID(pError.GetLastErrorID());
    const std::string text = general.GetLastErrorString();
    return text == "No key" || text == "Left unchanged";
}

// The error of a filter that did not say yes.
FilterOutcome OutcomeOf(GlissaFilter& pFilter)
{
    return pFilter.GetLastErrorID() == KError::kNone || IsHarmless(pFilter.GetError())
               ? FilterOutcome::unchanged
               : FilterOutcome::refused;
}

// What became of a curve that the filter was applied to.
void Finish(Glissa& pBefore, Glissa& pCurve, GlissaFilter& pFilter, FilterResult& pResult)
{
    Compare(pBefore, pCurve, {}, pResult);
    const bool changed =
        pResult.mLargestChange > 0.0 || !GlissaUtils::CompareCurve(&pBefore, &pCurve);
    pResult.mOutcome = changed ? FilterOutcome::changed : OutcomeOf(pFilter);
    pResult.mMessage = pFilter.GetLastErrorString();
    pResult.mKeysAfter = pCurve.KeyGetCount();
}

FilterResult ResultFor(const FilterChannel& pChannel)
{
    FilterResult result;
    result.mName = pChannel.mName;
    result.mKeysBefore = result.mKeysAfter = pChannel.mCurve->KeyGetCount();
    return result;
}

FilterResult RunOnCurve(GlissaFilter& pFilter, const FilterEntry& pEntry,
                        const FilterChannel& pChannel, const FilterTimes& pTimes)
{
    FilterResult result = ResultFor(pChannel);
    Glissa& curve = *pChannel.mCurve;
    if (curve.IsLocked() || IsOutside(curve, pTimes)) {
        result.mOutcome = curve.IsLocked() ? FilterOutcome::locked : FilterOutcome::outside;
        return result;
    }
    const OwnedCurve before = Duplicate(curve);
    const bool limited = pTimes.IsLimited() && curve.KeyGetCount() > 0;
    pEntry.mScope == FilterScope::leaf ? pFilter.Apply(*pChannel.mLeaf, false)
                                       : pFilter.Apply(curve);
    if (limited && pEntry.mSpan == FilterSpan::outward &&
        !GlissaUtils::CompareCurve(before.get(), &curve)) {
        FilterResult inside;
        KeepOutside(*before, curve, pTimes);
        Compare(*before, curve, pTimes, inside);
        if (inside.mLargestChange == 0.0) {
            curve.CopyFrom(*before, true);
        }
    }
    if (limited && curve.KeyGetCount() > 0) {
        // No time shows the default value while there are keys, and a span does not reach it.
        curve.SetValue(before->GetValue());
    }
    Finish(*before, curve, pFilter, result);
    return result;
}

std::vector<FilterResult> RunOnNode(GlissaFilter& pFilter, const FilterTarget& pTarget)
{
    std::vector<FilterResult> results;
    std::vector<OwnedCurve> before;
    for (const FilterChannel& each : pTarget.mChannels) {
        results.push_back(ResultFor(each));
        before.push_back(Duplicate(*each.mCurve));
    }
    pFilter.Apply(*pTarget.mNode, false);
    for (std::size_t i = 0; i < results.size(); ++i) {
        Glissa& curve = *pTarget.mChannels[i].mCurve;
        if (curve.IsLocked()) {
            results[i].mOutcome = FilterOutcome::locked;
        } else {
            Finish(*before[i], curve, pFilter, results[i]);
        }
    }
    return results;
}
}  // namespace

std::vector<AngleJump> FindAngleJumps(const std::vector<FilterTarget>& pTargets)
{
    constexpr float kHalfTurn = 180.0f;
    std::vector<AngleJump> jumps;
    for (const FilterTarget& target : pTargets) {
        for (const FilterChannel& each : target.mChannels) {
            const GlissaNode* const parent = each.mLeaf->GetParent();
            if (!parent || parent->GetDataType() != KDataTypeLclRotation) {
                continue;
            }
            for (int i = 1; i < each.mCurve->KeyGetCount(); ++i) {
                const float step = each.mCurve->KeyGetValue(i) - each.mCurve->KeyGetValue(i - 1);
                if (std::fabs(step) > kHalfTurn) {
                    jumps.push_back({each.mName, each.mCurve->KeyGetTime(i)});
                    break;
                }
            }
        }
    }
    return jumps;
}

std::int64_t CountKeys(const std::vector<FilterTarget>& pTargets)
{
    std::int64_t keys = 0;
    for (const FilterTarget& target : pTargets) {
        for (const FilterChannel& each : target.mChannels) {
            keys += each.mCurve->KeyGetCount();
        }
    }
    return keys;
}

std::vector<FilterResult> RunFilter(const FilterSetup& pSetup,
                                    const std::vector<FilterTarget>& pTargets,
                                    const FilterTimes& pTimes, KTime pFrame,
                                    const FilterProgress& pProgress)
{
    const FilterEntry& entry = pSetup.GetEntry();
    std::int64_t done = 0;
    const auto report = [&](std::int64_t pKeys) {
        if (pProgress) {
            pProgress(done + pKeys);
        }
    };
    // A filter of its own for each curve or node: the errors and the span that some filters keep
    // would reach the next one.
    const auto make = [&] {
        std::unique_ptr<GlissaFilter> filter = pSetup.Make(pFrame, report);
        // These change values one by one: the whole curve is filtered, so that the tangents at the
        // ends of the span follow changed keys on both sides, and put back outside the span.
        if (entry.mSpan == FilterSpan::inward) {
            entry.mSetSpan(*filter, pTimes.mStart, pTimes.mStop);
        }
        return filter;
    };
    std::vector<FilterResult> results;
    for (const FilterTarget& target : pTargets) {
        if (entry.mScope == FilterScope::vector) {
            std::vector<FilterResult> found = RunOnNode(*make(), target);
            for (FilterResult& each : found) {
                done += each.mKeysBefore;
                results.push_back(std::move(each));
            }
            report(0);
            continue;
        }
        for (const FilterChannel& channel : target.mChannels) {
            results.push_back(RunOnCurve(*make(), entry, channel, pTimes));
            done += results.back().mKeysBefore;
            report(0);
        }
    }
    return results;
}
