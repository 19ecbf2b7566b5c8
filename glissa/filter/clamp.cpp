// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A pass for each limit: first the keys on the limit are added, segment by segment, then the keys
// beyond it go, from the last one to the first. Each piece of a segment between its extremes
// crosses the limit once at most.

#include "glissa/filter/clamp.h"

#include "glissa/curve/bezier.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/filter/add_in_segment.h"
#include "glissa/utils/held_sides.h"
#include "glissa/utils/key_rewrite.h"
#include "glissa/utils/parked_keys.h"
#include "glissa/utils/span_edits.h"

#include <algorithm>
#include <cmath>
#include <vector>

template class KClassFrame<GlissaFilterClamp, GlissaCurveFilter>;

namespace
{
const char* const kUnchangedText = "ClampFilter, No key were changed by filter.";
const char* const kErrors[] = {"No key", "Left unchanged", "Ceiling and Floor values were swapped"};

bool IsBetween(double pValue, double pLow, double pHigh)
{
    return (pLow < pValue && pValue < pHigh) || (pHigh < pValue && pValue < pLow);
}

bool IsLinear(const Glissa& pCurve, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    return pCurve.KeyGetInterpolation(pIndex) == eInterpolationLinear;
}

// Of a key at a time.
int IndexOf(Glissa& pCurve, KTime pTime)
{
    return static_cast<int>(pCurve.KeyFind(pTime, nullptr));
}

// Segments of other tangent modes are left alone.
bool IsNamedCubic(const Glissa& pCurve, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    switch (pCurve.KeyGetTangeantMode(pIndex, false)) {
    case eTangentAuto:
    case eTangentAutoBreak:
    case eTangentUser:
    case eTangentUserBreak:
    case eTangentTCB:
        return pCurve.KeyGetInterpolation(pIndex) == eInterpolationCubic;
    default:
        return false;
    }
}

/// The times at which a cubic segment begins, turns and ends.
struct Turns
{
    Turns(Glissa& pCurve, int pIndex);

    KTime times[4];
    int count = 0;

private:
    void Add(double pS);

    double mRightWeight;
    double mLeftWeight;
    KTime mFrom;
    KTime mTo;
};

// The derivative of the value axis is a quadratic in the parameter, whose roots are the parameters
// of the extremes; the time axis gives their times.
Turns::Turns(Glissa& pCurve, int pIndex)
    : mRightWeight(pCurve.KeyGetRightTangeantWeight(pIndex)),
      mLeftWeight(pCurve.KeyGetLeftTangeantWeight(pIndex + 1)),
      mFrom(pCurve.KeyGetTime(pIndex)),
      mTo(pCurve.KeyGetTime(pIndex + 1))
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex + 1 < pCurve.KeyGetCount());
    const double seconds = (mTo - mFrom).GetSecondDouble();
    const double v0 = pCurve.KeyGetValue(pIndex);
    const double v3 = pCurve.KeyGetValue(pIndex + 1);
    const double v1 = v0 + pCurve.KeyGetRightDerivative(pIndex) * seconds * mRightWeight;
    const double v2 = v3 - pCurve.KeyGetLeftDerivative(pIndex + 1) * seconds * mLeftWeight;
    const double a = v3 - 3.0 * v2 + 3.0 * v1 - v0;
    const double b = 2.0 * (v2 - 2.0 * v1 + v0);
    const double c = v1 - v0;
    times[count++] = mFrom;
    // Both forms of the quadratic formula, each where it does not cancel. The first one holds for
    // a = 0 too.
    const double discriminant = b * b - 4.0 * a * c;
    if (discriminant >= 0.0) {
        const double q = -0.5 * (b + std::copysign(std::sqrt(discriminant), b));
        const double roots[] = {c / q, q / a};
        Add(std::min(roots[0], roots[1]));
        Add(std::max(roots[0], roots[1]));
    }
    times[count++] = mTo;
}

void Turns::Add(double pS)
{
    const double t = CubicPoint(0.0, mRightWeight, 1.0 - mLeftWeight, 1.0, pS);
    if (!(pS > 0.0 && pS < 1.0 && t < 1.0)) {
        return;
    }
    const KTime time =
        mFrom + KTime(static_cast<std::int64_t>(t * static_cast<double>((mTo - mFrom).Get())));
    if (times[count - 1] < time && time < mTo) {
        times[count++] = time;
    }
}

// Whether the segment behind a key crosses a value where there is time for a key.
bool HasCrossing(Glissa& pCurve, int pIndex, double pValue)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex + 1 < pCurve.KeyGetCount());
    if (pCurve.KeyGetTime(pIndex + 1) - pCurve.KeyGetTime(pIndex) <= KTime(1)) {
        return false;
    }
    if (IsLinear(pCurve, pIndex)) {
        return IsBetween(pValue, pCurve.KeyGetValue(pIndex), pCurve.KeyGetValue(pIndex + 1));
    }
    if (!IsNamedCubic(pCurve, pIndex)) {
        return false;
    }
    const Turns turns(pCurve, pIndex);
    int hint = pIndex;
    bool crosses = false;
    for (int i = 1; i < turns.count && !crosses; ++i) {
        crosses = IsBetween(pValue, pCurve.Evaluate(turns.times[i - 1], &hint),
                            pCurve.Evaluate(turns.times[i], &hint));
    }
    return crosses;
}
}  // namespace

/// The keys of the span. Counted from both ends, so that they stay the same while keys between them
/// come and go.
struct GlissaFilterClamp::Range
{
    /// pWithin  keys outside are left out, whatever the span.
    Range(const GlissaFilterClamp& pFilter, Glissa& pCurve,
          KTimeSpan pWithin = {KTime::MinusInfinite(), KTime::Infinite()})
    {
        const int count = pCurve.KeyGetCount();
        if (count > 0) {
            int last = pFilter.GetStopKey(pCurve);
            first = pFilter.GetStartKey(pCurve);
            // A span that starts inside the curve leaves the key before it.
            firstToTake = first + (pFilter.GetStartTime() > pCurve.KeyGetTime(0) ? 1 : 0);
            while (first < count && pCurve.KeyGetTime(first) < pWithin.GetStart()) {
                ++first;
            }
            while (last >= 0 && pCurve.KeyGetTime(last) > pWithin.GetStop()) {
                --last;
            }
            behind = count - 1 - last;
            firstToTake = std::max(firstToTake, first);
        }
    }
    int Last(const Glissa& pCurve) const { return pCurve.KeyGetCount() - 1 - behind; }
    KTimeSpan Times(const Glissa& pCurve) const
    {
        return pCurve.KeyGetCount() > 0
                   ? KTimeSpan(pCurve.KeyGetTime(first), pCurve.KeyGetTime(Last(pCurve)))
                   : KTimeSpan();
    }

    int first = 0;
    int firstToTake = 0;
    int behind = 0;
};

/// A key that becomes constant, with its attributes before that, or after.
struct GlissaFilterClamp::Held
{
    KTime time;
    KPriFCurveKeyAttr attributes;
};

/// One limit, as the float that a key can hold, and the side that is beyond it.
struct GlissaFilterClamp::Limit
{
    Limit(double pValue, bool pIsCeil) : value(static_cast<float>(pValue)), isCeil(pIsCeil)
    {
        // Beyond the floats no key is beyond a limit, or every key is.
        isUsable = std::isfinite(pValue) && (std::isfinite(value) || (value > 0.0) == pIsCeil);
    }

    bool IsBeyond(double pValue) const { return isCeil ? pValue > value : pValue < value; }
    // Whether the clamp takes a key out.
    bool Takes(const Glissa& pCurve, int pIndex) const
    {
        const unsigned kind = pCurve.KeyGetInterpolation(pIndex);
        return (kind == eInterpolationConstant || kind == eInterpolationLinear ||
                kind == eInterpolationCubic) &&
               IsBeyond(pCurve.KeyGetValue(pIndex));
    }
    // Whether it makes a key on the limit constant: the segment behind the key leads beyond the
    // limit, or comes back from there to the next key on it.
    bool Holds(Glissa& pCurve, int pIndex) const
    {
        if (pCurve.KeyGetInterpolation(pIndex) != eInterpolationCubic ||
            pCurve.KeyGetValue(pIndex) != value) {
            return false;
        }
        const double side = isCeil ? 1.0 : -1.0;
        const int next = pIndex + 1;
        return side * pCurve.KeyGetRightDerivative(pIndex) > 0.0 ||
               (next < pCurve.KeyGetCount() && pCurve.KeyGetValue(next) == value &&
                side * pCurve.KeyGetLeftDerivative(next) < 0.0);
    }

    double value;
    bool isCeil;
    bool isUsable;
};

GlissaFilterClamp::GlissaFilterClamp() : KClassFrame("ClampFilter", kErrors, 3)
{
    GlissaFilterClamp::Reset();
}

void GlissaFilterClamp::Reset()
{
    mApplyCeil = false;
    mCeil = 1.0;
    mApplyFloor = false;
    mFloor = 0.0;
    mTolerance = 1e-5;
    GlissaFilter::Reset();
}

GlissaFilterClamp::Limit GlissaFilterClamp::Ceil() const
{
    return Limit(mCeil, true);
}

GlissaFilterClamp::Limit GlissaFilterClamp::Floor() const
{
    return Limit(mFloor, false);
}

EGlissaFilterAnswer GlissaFilterClamp::Examine(Glissa& pCurve)
{
    const bool isUsable = (!mApplyCeil || Ceil().isUsable) && (!mApplyFloor || Floor().isUsable);
    if (isUsable && mApplyCeil && mApplyFloor && mFloor > mCeil) {
        std::swap(mFloor, mCeil);
        Refuse(
            kSwapped,
            "ClampFilter, Ceiling and Floor were swapped because Floor was greater than Ceiling");
    }
    const Range range(*this, pCurve);
    if (!isUsable || !((mApplyCeil && HasWork(pCurve, Ceil(), range)) ||
                       (mApplyFloor && HasWork(pCurve, Floor(), range)))) {
        return RefuseCurve(eFilterUnchanged, kUnchangedText);
    }
    return eFilterChanges;
}

bool GlissaFilterClamp::Change(Glissa& pCurve)
{
    // Keys that were only made constant do not count.
    return ApplyLimits(pCurve, mApplyCeil, mApplyFloor) || Refuse(eFilterUnchanged, kUnchangedText);
}

bool GlissaFilterClamp::ApplyCeilClamping(Glissa& pCurve)
{
    return ApplyOne(pCurve, true);
}

bool GlissaFilterClamp::ApplyFloorClamping(Glissa& pCurve)
{
    return ApplyOne(pCurve, false);
}

bool GlissaFilterClamp::ApplyOne(Glissa& pCurve, bool pIsCeil)
{
    const Limit limit = pIsCeil ? Ceil() : Floor();
    if (pCurve.IsLocked()) {
        return false;
    }
    if (!limit.isUsable) {
        return Refuse(eFilterUnchanged, kUnchangedText);
    }
    return HasWork(pCurve, limit, Range(*this, pCurve)) && ApplyLimits(pCurve, pIsCeil, !pIsCeil);
}

bool GlissaFilterClamp::ApplyLimits(Glissa& pCurve, bool pCeil, bool pFloor)
{
    const KeyModifyBracket bracket(pCurve);
    KeyRewrite rewrite(pCurve);
    Glissa& work = rewrite.Work();
    std::vector<Held> held;
    const Range range(*this, work);
    const KTimeSpan within = range.Times(work);
    bool changed = pCeil && ApplyClamping(work, Ceil(), range, held);
    // The keys that now bracket the span, but none that did not do so before.
    changed = (pFloor && ApplyClamping(work, Floor(), Range(*this, work, within), held)) || changed;
    // A change of the interpolation is reported to the host, before and after, with its own curve.
    for (Held& each : held) {
        const int index = IndexOf(work, each.time);
        const KPriFCurveKeyAttr after = work.KeyGet(index).GetKeyAttr();
        work.KeyAttrSet(index, std::exchange(each.attributes, after));
    }
    rewrite.Commit();
    for (const Held& each : held) {
        pCurve.KeySetInterpolation(IndexOf(pCurve, each.time), eInterpolationConstant);
        pCurve.KeyAttrSet(IndexOf(pCurve, each.time), each.attributes);
    }
    return changed;
}

bool GlissaFilterClamp::HasWork(Glissa& pCurve, const Limit& pLimit, const Range& pRange)
{
    if (pLimit.IsBeyond(pCurve.GetValue())) {
        return true;
    }
    const int count = pCurve.KeyGetCount();
    for (int i = pRange.first; i <= pRange.Last(pCurve); ++i) {
        if (i >= pRange.firstToTake && (pLimit.Takes(pCurve, i) || pLimit.Holds(pCurve, i))) {
            return true;
        }
        if (i + 1 < count && HasCrossing(pCurve, i, pLimit.value)) {
            return true;
        }
    }
    return false;
}

bool GlissaFilterClamp::ApplyClamping(Glissa& pWork, const Limit& pLimit, const Range& pRange,
                                      std::vector<Held>& pHeld)
{
    if (!HasWork(pWork, pLimit, pRange)) {
        return false;
    }
    bool changed = false;
    int last = pRange.Last(pWork);
    {
        ParkedKeys parked(pWork);
        // Asked before a key is taken out: automatic slopes follow the keys that are left.
        std::vector<int> toHold;
        for (int i = pRange.first; i <= last; ++i) {
            parked.WorkAt(i);
            const int before = last;
            changed = AddCrossings(pWork, i, last, pLimit) || changed;
            for (const int end = i + last - before; i <= end; ++i) {
                if (pLimit.Holds(pWork, i)) {
                    toHold.push_back(i);
                }
            }
            --i;
        }
        for (int i = last; i >= pRange.firstToTake; --i) {
            parked.WorkAt(i);
            if (pLimit.Takes(pWork, i)) {
                RemoveKeys(pWork, {i, i});
                changed = true;
            } else if (std::binary_search(toHold.begin(), toHold.end(), i)) {
                pHeld.push_back({pWork.KeyGetTime(i), pWork.KeyGet(i).GetKeyAttr()});
                MakeConstant(pWork, i);
            }
        }
        parked.BringAllBack();
    }
    if (pLimit.IsBeyond(pWork.GetValue())) {
        pWork.SetValue(static_cast<float>(pLimit.value));
        changed = true;
    }
    return changed;
}

// The keys on the limit in the segment behind a key. pLast grows with them.
bool GlissaFilterClamp::AddCrossings(Glissa& pCurve, int pIndex, int& pLast, const Limit& pLimit)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex <= pLast && pIndex < pCurve.KeyGetCount());
    if (pIndex + 1 >= pCurve.KeyGetCount()) {
        return false;
    }
    if (IsNamedCubic(pCurve, pIndex)) {
        const Turns turns(pCurve, pIndex);
        bool added = false;
        for (int k = 1; k < turns.count; ++k) {
            added = AddIntersectionKey(pCurve, pIndex, pLast, turns.times[k - 1], turns.times[k],
                                       pLimit.value) ||
                    added;
        }
        return added;
    }
    const double v0 = pCurve.KeyGetValue(pIndex);
    const double v1 = pCurve.KeyGetValue(pIndex + 1);
    if (!IsLinear(pCurve, pIndex) || !IsBetween(pLimit.value, v0, v1)) {
        return false;
    }
    const KTime from = pCurve.KeyGetTime(pIndex);
    const KTime to = pCurve.KeyGetTime(pIndex + 1);
    const double seconds = (to - from).GetSecondDouble() * ((pLimit.value - v0) / (v1 - v0));
    const KTime time = from + KTime::FromSeconds(seconds);
    if (!(from < time && time < to)) {
        return false;
    }
    GlissaKey key;
    key.Set(time, static_cast<float>(pLimit.value), eInterpolationLinear, eTangentAuto, 0.0f, 0.0f,
            eWeightNone, kGlissaDefaultWeight, kGlissaDefaultWeight, 0.0f, 0.0f);
    AddInSegment(pCurve, pIndex, key);
    ++pLast;
    return true;
}

bool GlissaFilterClamp::AddIntersectionKey(Glissa& pCurve, int& pIndex, int& pStopIndex,
                                           KTime pFrom, KTime pTo, double pValue)
{
    int hint = pIndex;
    if (pCurve.IsLocked() || pIndex < 0 || pIndex + 1 >= pCurve.KeyGetCount() ||
        !IsBetween(pValue, pCurve.Evaluate(pFrom, &hint), pCurve.Evaluate(pTo, &hint))) {
        return false;
    }
    KTime time;
    FindIntersectionTime(pCurve, time, pFrom, pTo, pValue);
    if (!(pCurve.KeyGetTime(pIndex) < time && time < pCurve.KeyGetTime(pIndex + 1))) {
        return false;
    }
    const KeyModifyBracket bracket(pCurve);
    GlissaKey key;
    key.Set(time, static_cast<float>(pValue), eInterpolationCubic, eTangentUserBreak,
            pCurve.EvaluateRightDerivative(time, &hint), pCurve.KeyGetLeftDerivative(pIndex + 1),
            eWeightNone, kGlissaDefaultWeight, kGlissaDefaultWeight, 0.0f, 0.0f);
    AddInSegment(pCurve, pIndex, key);
    ++pIndex;
    ++pStopIndex;
    return true;
}

bool GlissaFilterClamp::FindIntersectionTime(Glissa& pCurve, KTime& pResult, KTime pFrom, KTime pTo,
                                             double pValue)
{
    int hint = 0;
    const bool isRising = pCurve.Evaluate(pTo, &hint) > pCurve.Evaluate(pFrom, &hint);
    for (KTime a = pFrom, b = pTo;;) {
        pResult = a + (b - a) / 2;
        const double value = pCurve.Evaluate(pResult, &hint);
        if (!(pValue - mTolerance > value) && !(value > mTolerance + pValue)) {
            return true;
        }
        if (b - a <= KTime(1)) {
            return false;
        }
        (isRising ? pValue > value : value > pValue) ? a = pResult : b = pResult;
    }
}
