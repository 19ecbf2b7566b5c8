// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/filter_run.h"

#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/node/node.h"
#include "glissa/settings/settings.h"
#include "glissa/utils/utils.h"
#include "io/filter_compare.h"
#include "io/owned_curve.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string_view>
#include <utility>

namespace
{
constexpr int kAxes = 3;

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

// Gives a key with automatic tangents slopes of its own.
void SetSlopes(Glissa& pCurve, int pIndex, float pLeft, float pRight)
{
    if (pCurve.KeyGetInterpolation(pIndex) != eInterpolationCubic ||
        (pCurve.KeyGetTangeantMode(pIndex, false) & eTangentAuto) == 0) {
        return;
    }
    pCurve.KeySetTangeantMode(pIndex, eTangentUserBreak);
    pCurve.KeySetRightDerivative(pIndex, pRight);
    if (pIndex > 0 && pCurve.KeyGetInterpolation(pIndex - 1) == eInterpolationCubic) {
        pCurve.KeySetLeftDerivative(pIndex, pLeft);
    }
}

// New keys at the ends of a span would follow the keys outside it, which may be near in time and
// far away: a reference pose before the first frame of the motion. They get the slopes of a curve
// that has no other keys than those of the span, and on the outer side those that were there.
void PartSlopes(Glissa& pBefore, Glissa& pCurve, const FilterTimes& pTimes)
{
    const OwnedCurve inside = Duplicate(pCurve);
    inside->KeyClear();
    int first = -1;
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        const KTime time = pCurve.KeyGetTime(i);
        if (time >= pTimes.mStart && time <= pTimes.mStop) {
            first = first < 0 ? i : first;
            inside->KeyAppend(time, &pCurve, i);
        }
    }
    const int count = inside->KeyGetCount();
    if (count < 2) {
        return;
    }
    const KeyModifyBracket bracket(pCurve);
    const int last = first + count - 1;
    if (first > 0) {
        SetSlopes(pCurve, first, pBefore.EvaluateLeftDerivative(pCurve.KeyGetTime(first), nullptr),
                  inside->KeyGetRightDerivative(0));
    }
    if (last < pCurve.KeyGetCount() - 1) {
        SetSlopes(pCurve, last, inside->KeyGetLeftDerivative(count - 1),
                  pBefore.EvaluateRightDerivative(pCurve.KeyGetTime(last), nullptr));
    }
}

bool IsOutside(Glissa& pCurve, const FilterTimes& pTimes)
{
    const int count = pCurve.KeyGetCount();
    return count > 0 &&
           (pCurve.KeyGetTime(count - 1) < pTimes.mStart || pCurve.KeyGetTime(0) > pTimes.mStop);
}

// The text of the last error without the name of the class before it.
std::string_view ReasonOf(const GlissaFilter& pFilter)
{
    const std::string_view text = pFilter.GetLastErrorString();
    const std::size_t end = std::min(text.find(", "), text.find(". "));
    return end < text.size() ? text.substr(end + 2) : text;
}

// The error of a filter that changed nothing. It is judged by its text: some classes refuse their
// parameters under the id that others have for "nothing changed".
FilterOutcome OutcomeOf(const GlissaFilter& pFilter)
{
    constexpr std::string_view kNothingToDo[] = {"No key to be filtered.", "No keys.",
                                                 "No key were changed by filter."};
    const bool isRefused = pFilter.GetLastErrorID() != KError::kNone &&
                           std::find(std::begin(kNothingToDo), std::end(kNothingToDo),
                                     ReasonOf(pFilter)) == std::end(kNothingToDo);
    return isRefused ? FilterOutcome::refused : FilterOutcome::unchanged;
}

void SetChange(const LargestChange& pChange, FilterResult& pResult)
{
    pResult.mLargestChange = pChange.mSize;
    pResult.mWhen = pChange.mWhen;
}

// What became of a curve that the filter was applied to.
void Finish(Glissa& pBefore, Glissa& pCurve, GlissaFilter& pFilter, FilterResult& pResult)
{
    SetChange(CompareCurves(pBefore, pCurve, {}), pResult);
    const bool changed =
        pResult.mLargestChange > 0.0 || !GlissaUtils::CompareCurve(&pBefore, &pCurve);
    pResult.mOutcome = changed ? FilterOutcome::changed : OutcomeOf(pFilter);
    if (pResult.mOutcome != FilterOutcome::unchanged) {
        pResult.mMessage = ReasonOf(pFilter);
    }
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
    if (pEntry.MakesKeys() && curve.KeyGetCount() < 2) {
        result.mMessage = "fewer than two keys";
        return result;
    }
    const OwnedCurve before = Duplicate(curve);
    const bool limited = pTimes.IsLimited() && curve.KeyGetCount() > 0;
    pEntry.mScope == FilterScope::leaf ? pFilter.Apply(*pChannel.mLeaf, false)
                                       : pFilter.Apply(curve);
    if (limited && pEntry.mSpan == FilterSpan::outward &&
        !GlissaUtils::CompareCurve(before.get(), &curve)) {
        KeepOutside(*before, curve, pTimes);
        if (CompareCurves(*before, curve, pTimes).mSize == 0.0) {
            curve.CopyFrom(*before, true);
        }
    }
    if (limited && pEntry.MakesKeys() && !GlissaUtils::CompareCurve(before.get(), &curve)) {
        PartSlopes(*before, curve, pTimes);
    }
    if (limited && curve.KeyGetCount() > 0) {
        // No time shows the default value while there are keys, and a span does not reach it.
        curve.SetValue(before->GetValue());
    }
    Finish(*before, curve, pFilter, result);
    return result;
}

// Sets the plot period of the process, above 0, until its end.
class PlotPeriod
{
public:
    explicit PlotPeriod(KTime pPeriod) : mBefore(GLISSA_GetPlotPeriod())
    {
        if (pPeriod > KTime()) {
            GLISSA_SetPlotPeriod(pPeriod);
        }
    }
    ~PlotPeriod() { GLISSA_SetPlotPeriod(mBefore); }
    PlotPeriod(const PlotPeriod&) = delete;
    PlotPeriod& operator=(const PlotPeriod&) = delete;

private:
    KTime mBefore;
};

std::vector<FilterResult> RunOnNode(GlissaFilter& pFilter, const FilterEntry& pEntry,
                                    const FilterTarget& pTarget, const FilterTimes& pTimes,
                                    KTime pFrame)
{
    std::vector<FilterResult> results;
    std::vector<OwnedCurve> before;
    bool isOutside = true;
    for (const FilterChannel& each : pTarget.mChannels) {
        results.push_back(ResultFor(each));
        before.push_back(Duplicate(*each.mCurve));
        isOutside = isOutside && IsOutside(*each.mCurve, pTimes);
    }
    if (isOutside) {
        for (FilterResult& each : results) {
            each.mOutcome = FilterOutcome::outside;
        }
        return results;
    }
    {
        const PlotPeriod period(pEntry.mAtPlotPeriod ? pFrame : KTime());
        pFilter.Apply(*pTarget.mNode, false);
    }
    for (std::size_t i = 0; i < results.size(); ++i) {
        Glissa& curve = *pTarget.mChannels[i].mCurve;
        if (curve.IsLocked()) {
            results[i].mOutcome = FilterOutcome::locked;
        } else {
            if (pTimes.IsLimited() && (pEntry.MakesKeys() || pEntry.mAtPlotPeriod) &&
                !GlissaUtils::CompareCurve(before[i].get(), &curve)) {
                PartSlopes(*before[i], curve, pTimes);
            }
            Finish(*before[i], curve, pFilter, results[i]);
        }
    }
    const bool isByOrientation = pEntry.mByOrientation != nullptr;
    if (IsRotation(pTarget) &&
        (pEntry.mScope == FilterScope::rotation || pEntry.mTurn || isByOrientation)) {
        std::vector<Glissa*> from;
        std::vector<Glissa*> to;
        for (std::size_t i = 0; i < results.size(); ++i) {
            from.push_back(before[i].get());
            to.push_back(pTarget.mChannels[i].mCurve);
        }
        const KgeRMatrix turn = pEntry.mTurn ? pEntry.mTurn(pFilter) : KgeRMatrix();
        const LargestChange change =
            CompareRotations(from, to, pTarget.mNode->GetRotationOrder(), turn);
        for (FilterResult& each : results) {
            const bool isChanged = each.mOutcome == FilterOutcome::changed;
            SetChange(isChanged ? change : LargestChange(), each);
            if (isChanged && change.mSize > 0.0 && pEntry.mTurn) {
                each.mMessage = "apart from the turn";
            } else if (isChanged && isByOrientation) {
                each.mMessage = "by orientation";
            }
        }
    }
    return results;
}

float StepBefore(Glissa& pCurve, int pIndex)
{
    return std::fabs(pCurve.KeyGetValue(pIndex) - pCurve.KeyGetValue(pIndex - 1));
}

bool IsAngle(const FilterChannel& pChannel)
{
    const GlissaNode* const parent = pChannel.mLeaf->GetParent();
    return parent && parent->GetDataType() == KDataTypeLclRotation;
}

// The names of the curves of rotations that a test chooses.
template <typename Test>
std::vector<std::string> ChooseRotations(const std::vector<FilterTarget>& pTargets, Test pTest)
{
    std::vector<std::string> names;
    for (const FilterTarget& target : pTargets) {
        for (const FilterChannel& each : target.mChannels) {
            if (IsAngle(each) && pTest(*each.mCurve)) {
                names.push_back(each.mName);
            }
        }
    }
    return names;
}
}  // namespace

bool IsRotation(const FilterTarget& pTarget)
{
    return pTarget.mNode && pTarget.mNode->IsRotationLayerType() &&
           pTarget.mChannels.size() == kAxes;
}

AngleJumps FindAngleJumps(const std::vector<FilterTarget>& pTargets, const FilterTimes& pTimes,
                          KTime pFrame)
{
    AngleJumps jumps;
    for (const FilterTarget& target : pTargets) {
        for (const FilterChannel& each : target.mChannels) {
            if (IsAngle(each)) {
                jumps.Look(*each.mCurve, each.mName, pFrame, pTimes.mStart, pTimes.mStop);
            }
        }
    }
    return jumps;
}

std::vector<std::string> FindReferencePose(const std::vector<FilterTarget>& pTargets,
                                           const FilterTimes& pTimes)
{
    constexpr float kLeastStep = 5.0f;
    constexpr float kTimesOthers = 3.0f;
    return ChooseRotations(pTargets, [&](Glissa& pCurve) {
        if (pCurve.KeyGetCount() < 3 || pCurve.KeyGetTime(0) < pTimes.mStart ||
            pCurve.KeyGetTime(1) > pTimes.mStop) {
            return false;
        }
        float others = 0.0f;
        for (int i = 2; i < pCurve.KeyGetCount(); ++i) {
            others = std::max(others, StepBefore(pCurve, i));
        }
        return StepBefore(pCurve, 1) > std::max(kTimesOthers * others, kLeastStep);
    });
}

double CountSamples(const FilterSetup& pSetup, const std::vector<FilterTarget>& pTargets,
                    const FilterTimes& pTimes, KTime pFrame)
{
    double longest = 0.0;
    double sum = 0.0;
    for (const FilterTarget& target : pTargets) {
        for (const FilterChannel& each : target.mChannels) {
            Glissa& curve = *each.mCurve;
            if (const int count = curve.KeyGetCount(); count > 1) {
                const KTime first = std::max(pTimes.mStart, curve.KeyGetTime(0));
                const KTime last = std::min(pTimes.mStop, curve.KeyGetTime(count - 1));
                const double seconds = std::max((last - first).GetSecondDouble(), 0.0);
                longest = std::max(longest, seconds);
                sum += seconds;
            }
        }
    }
    const FilterEntry& entry = pSetup.GetEntry();
    double samples =
        pSetup.UsesPlotPeriod() && pFrame > KTime() ? sum / pFrame.GetSecondDouble() : 0.0;
    for (const FilterParameter& each : entry.mParameters) {
        if (each.mDensity != FilterDensity::none) {
            const std::vector<double>* const given = pSetup.Get(each);
            const double number = given ? given->front() : entry.DefaultOf(each, pFrame);
            const double rate = each.mUnit[0] == 's' ? 1.0 / number : number;
            samples =
                std::max(samples, rate * (each.mDensity == FilterDensity::keys ? sum : longest));
        }
    }
    return samples;
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
    const bool isByOrientation = pSetup.IsByOrientation();
    std::vector<FilterResult> results;
    for (const FilterTarget& target : pTargets) {
        if (entry.mScope == FilterScope::rotation && !IsRotation(target)) {
            continue;
        }
        if (entry.NeedsNode() || (isByOrientation && IsRotation(target))) {
            std::vector<FilterResult> found = RunOnNode(*make(), entry, target, pTimes, pFrame);
            for (FilterResult& each : found) {
                done += each.mKeysBefore;
                results.push_back(std::move(each));
            }
            report(0);
            continue;
        }
        for (const FilterChannel& channel : target.mChannels) {
            results.push_back(RunOnCurve(*make(), entry, channel, pTimes));
            FilterResult& result = results.back();
            if (isByOrientation && result.mOutcome == FilterOutcome::changed && IsAngle(channel)) {
                result.mMessage = "this angle by itself";
            }
            done += results.back().mKeysBefore;
            report(0);
        }
    }
    return results;
}
