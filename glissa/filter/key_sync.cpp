// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The times of all curves first, then each curve by itself: a key that is added to one curve has
// the time of a key of another, so that it adds no time.

#include "glissa/filter/key_sync.h"

#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/node/node.h"
#include "glissa/utils/held_end.h"
#include "glissa/utils/key_feed.h"
#include "glissa/utils/key_rewrite.h"
#include "glissa/utils/plain_insertion.h"

#include <algorithm>
#include <deque>

template class KClassFrame<GlissaFilterKeySync, GlissaFilter>;

namespace
{
const char* const kErrors[] = {"No key",         "Left unchanged",  "Multiple key count",
                               "Unsynched keys", "Too many curves", nullptr};
constexpr int kMostChildrenAsked = 19;
constexpr KTime kTick(1);

// Whether a curve has a key at each time.
bool HasKeys(const Glissa& pCurve, const std::vector<KTime>& pTimes)
{
    const int count = pCurve.KeyGetCount();
    int index = 0;
    return std::all_of(pTimes.begin(), pTimes.end(), [&](KTime pTime) {
        while (index < count && pCurve.KeyGetTime(index) < pTime) {
            ++index;
        }
        return index < count && pCurve.KeyGetTime(index) == pTime;
    });
}

// Adds a key outside the keys of a curve. Where that holds its end value, it does so up to the key.
void AddOutside(Glissa& pCurve, KTime pTime, float pValue, bool pIsHeld)
{
    const int count = pCurve.KeyGetCount();
    const bool isBehind = count > 0 && pTime > pCurve.KeyGetTime(0);
    const int end = isBehind ? count - 1 : 0;
    const float inside =
        isBehind ? pCurve.KeyGetLeftDerivative(end) : pCurve.KeyGetRightDerivative(end);
    int hint = end;
    pCurve.CandidateSet(pTime, pValue);
    pCurve.KeyInsert(pTime, &hint);
    const int index = isBehind ? end + 1 : 0;
    if (pIsHeld) {
        HoldEndUpTo(pCurve, index, isBehind, inside);
    }
    pCurve.KeySetValue(index, pValue);
}

// Puts the keys of the times that are missing into a curve, with the values that it had there.
void AddKeys(Glissa& pCurve, const std::vector<KTime>& pTimes)
{
    const int count = pCurve.KeyGetCount();
    const bool holdsFirst = count > 0 && HoldsEnd(pCurve, false);
    const bool holdsLast = count > 0 && HoldsEnd(pCurve, true);
    KeyRewrite rewrite = KeyRewrite::WithoutKeys(pCurve);
    Glissa& work = rewrite.Work();
    work.InitBuffers(count + static_cast<int>(pTimes.size()), false);
    KeyFeed feed(pCurve, work);
    int hintBefore = 0;
    for (const KTime time : pTimes) {
        const int index = feed.BringUpTo(time);
        const float value = pCurve.Evaluate(time, &hintBefore);
        if (index < work.KeyGetCount() && work.KeyGetTime(index) == time) {
            work.KeySetValue(index, value);
        } else if (index == 0 || index == work.KeyGetCount()) {
            AddOutside(work, time, value, index == 0 ? holdsFirst : holdsLast);
        } else if (!InsertPlainKey(work, index - 1, time, value)) {
            // Slopes are held for the value that the key gets: between secants that differ by a
            // rounding, another rounding would turn the curve.
            int hint = index;
            work.CandidateSet(time, value);
            work.KeyInsert(time, &hint);
            if (work.KeyGetTime(hint) == time) {
                work.KeySetValue(hint, value);
            }
        }
    }
    feed.BringRest();
    rewrite.Commit();
}

// A key that is there takes its own value again.
void PostValues(Glissa& pCurve, const std::vector<KTime>& pTimes)
{
    int index = 0;
    for (const KTime time : pTimes) {
        while (pCurve.KeyGetTime(index) != time) {
            ++index;
        }
        pCurve.CallbackAddEvent(kGlissaEventValue, index);
    }
}
}  // namespace

GlissaFilterKeySync::GlissaFilterKeySync() : KClassFrame("FCurve Key Synchronizer", kErrors, 6)
{
    GlissaFilter::Reset();
}

bool GlissaFilterKeySync::RefuseSingleCurve()
{
    return Refuse(eFilterUnchanged, "KeySyncFilter, No key were changed by filter.");
}

bool GlissaFilterKeySync::NeedApply(Glissa&)
{
    return RefuseSingleCurve();
}

bool GlissaFilterKeySync::Apply(Glissa&)
{
    return RefuseSingleCurve();
}

bool GlissaFilterKeySync::FindCurves(GlissaNode& pNode, std::vector<Glissa*>& pCurves)
{
    for (int i = 0; i < pNode.GetCount(); ++i) {
        pCurves.push_back(pNode.Get(i)->FCurveGet());
        if (!pCurves.back()) {
            return Refuse(kNoCurve, "Node doesn't contain FCurve.");
        }
    }
    return true;
}

bool GlissaFilterKeySync::NeedApply(GlissaNode& pNode, bool)
{
    if (pNode.GetCount() > kMostChildrenAsked) {
        return Refuse(kTooManyCurves,
                      "KeySyncFilter, Curve count is too mush. No support above 20 curves..");
    }
    std::vector<Glissa*> curves;
    return FindCurves(pNode, curves) && NeedApply(curves.data(), static_cast<int>(curves.size()));
}

bool GlissaFilterKeySync::Apply(GlissaNode& pNode, bool)
{
    std::vector<Glissa*> curves;
    return FindCurves(pNode, curves) && Apply(curves.data(), static_cast<int>(curves.size()));
}

bool GlissaFilterKeySync::NeedApply(Glissa** pCurves, int pCount)
{
    const int keys = pCount > 0 ? pCurves[0]->KeyGetCount() : 0;
    for (int i = 1; i < pCount; ++i) {
        if (pCurves[i]->KeyGetCount() != keys) {
            Refuse(kKeyCount,
                   "KeySyncFilter, Key count is different in the Curves to be filtered.");
            return true;
        }
    }
    for (int key = 0; key < keys; ++key) {
        for (int i = 1; i < pCount; ++i) {
            if (pCurves[i]->KeyGetTime(key) != pCurves[0]->KeyGetTime(key)) {
                Refuse(kUnsynched, "KeySyncFilter, keys are not synchronized.");
                return true;
            }
        }
    }
    return false;
}

// The times of the keys in the span, in order. A time a tick behind the one before is left out.
std::vector<KTime> GlissaFilterKeySync::TimesOf(Glissa** pCurves, int pCount) const
{
    const KTime start = std::max(GetStartTime(), KTime::MinusInfinite() + kTick);
    const KTime stop = std::min(GetStopTime(), KTime::Infinite() - kTick);
    std::vector<KTime> times;
    for (int i = 0; i < pCount; ++i) {
        const auto had = static_cast<std::ptrdiff_t>(times.size());
        const int keys = pCurves[i]->KeyGetCount();
        for (int key = 0; key < keys; ++key) {
            const KTime time = pCurves[i]->KeyGetTime(key);
            if (time >= start && time <= stop) {
                times.push_back(time);
            }
        }
        // Most curves that belong together have the same times.
        if (std::equal(times.begin(), times.begin() + had, times.begin() + had, times.end())) {
            times.resize(static_cast<std::size_t>(had));
            continue;
        }
        std::inplace_merge(times.begin(), times.begin() + had, times.end());
        times.erase(std::unique(times.begin(), times.end()), times.end());
    }
    std::size_t kept = 0;
    for (const KTime time : times) {
        if (kept == 0 || time - times[kept - 1] > kTick) {
            times[kept++] = time;
        }
    }
    times.resize(kept);
    return times;
}

bool GlissaFilterKeySync::Apply(Glissa** pCurves, int pCount)
{
    if (pCount < 2) {
        return RefuseSingleCurve();
    }
    const std::vector<KTime> times = TimesOf(pCurves, pCount);
    if (times.empty()) {
        return true;
    }
    // A listener of one curve may destroy another one: all are called when all curves are done.
    const KOperation operation;
    std::deque<KeyModifyBracket> brackets;
    for (int i = 0; i < pCount; ++i) {
        if (!pCurves[i]->IsLocked()) {
            brackets.emplace_back(*pCurves[i]);
            if (!HasKeys(*pCurves[i], times)) {
                AddKeys(*pCurves[i], times);
            }
            PostValues(*pCurves[i], times);
        }
    }
    while (!brackets.empty()) {
        brackets.pop_front();  // events are sent in the order of the curves
    }
    return true;
}
