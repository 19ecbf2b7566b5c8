// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Search, extrapolation and segments. The slopes at keys stand in reference_slopes.cpp.

#include "tests/support/reference.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace
{
constexpr long double kTicksPerSecond = 141120000.0L;
constexpr std::uint32_t kWithoutEnd = 0xFFFFFFFFu;

std::int64_t ToTime(RefWide pTicks)
{
    const RefWide least = std::numeric_limits<std::int64_t>::min();
    const RefWide greatest = std::numeric_limits<std::int64_t>::max();
    return static_cast<std::int64_t>(std::clamp(pTicks, least, greatest));
}

// Differences of 64-bit times have 65 bits with their sign and fit the 64-bit mantissa.
long double Difference(std::int64_t pTo, std::int64_t pFrom)
{
    return static_cast<long double>(static_cast<RefWide>(pTo) - pFrom);
}

RefPlace PlaceAt(int pKey)
{
    return {static_cast<double>(pKey), pKey, 0.0L};
}

RefNumber Plain(long double pValue)
{
    return {pValue, std::fabs(pValue)};
}

RefNumber ValueOf(const RefKey& pKey)
{
    return Plain(static_cast<long double>(pKey.value));
}

bool Weighted(const RefKey& pKey)
{
    return (pKey.flags & (kRefWeightRight | kRefWeightNextLeft)) != 0;
}

long double WeightFrom(std::uint32_t pField)
{
    const auto stored = static_cast<std::int16_t>(static_cast<std::uint16_t>(pField));
    return static_cast<long double>(static_cast<float>(stored) / 9999.0f);
}

// The right weight needs a handle of its own kind to hang on: a TCB key has none.
long double RightWeight(const RefKey& pKey)
{
    const bool own = (pKey.flags & 0xF) == kRefCustom ||
                     ((pKey.flags & 0xF) == kRefCubic && (pKey.flags & 0xD00) != 0);
    return (pKey.flags & kRefWeightRight) != 0 && own ? WeightFrom(pKey.slot2 & 0xFFFF)
                                                      : static_cast<long double>(0.33333334f);
}

long double NextLeftWeight(const RefKey& pKey)
{
    return (pKey.flags & kRefWeightNextLeft) != 0 ? WeightFrom(pKey.slot2 >> 16)
                                                  : static_cast<long double>(0.33333334f);
}

// Where a time outside the keys falls when the curve repeats: how many whole spans away, and the
// rest of the way, both counted away from the keys.
struct Distance
{
    RefWide spans;
    RefWide rest;
};

Distance Measure(RefWide pAway, RefWide pSpan)
{
    return {pAway / pSpan, pAway % pSpan};
}

RefPlace FindBefore(const RefCurve& pCurve, std::int64_t pTime)
{
    const RefWide first = pCurve.keys.front().time;
    const RefWide last = pCurve.keys.back().time;
    const RefWide span = last - first;
    RefWide limit = first - span * pCurve.preCount;
    if (limit < std::numeric_limits<std::int64_t>::min()) {
        // A repetition that the range of times cuts off is not begun.
        limit = first - span * ((first - std::numeric_limits<std::int64_t>::min()) / span - 1);
    }
    if (pCurve.pre == kRefHold || limit >= pTime) {
        return PlaceAt(0);
    }
    const Distance away = Measure(first - pTime, span);
    switch (pCurve.pre) {
    case kRefRepeat:
    case kRefRelativeRepeat:
        return RefKeyFind(pCurve, ToTime(last - away.rest));
    case kRefMirror:
        return RefKeyFind(pCurve,
                          ToTime(away.spans % 2 == 0 ? first + away.rest : last - away.rest));
    default:
        return RefKeyFind(pCurve, pTime);
    }
}

RefPlace FindAfter(const RefCurve& pCurve, std::int64_t pTime)
{
    const RefWide first = pCurve.keys.front().time;
    const RefWide last = pCurve.keys.back().time;
    const RefWide span = last - first;
    const int end = pCurve.Count() - 1;
    if (pCurve.post == kRefHold || ToTime(last + span * pCurve.postCount) <= pTime) {
        return PlaceAt(end);
    }
    const Distance away = Measure(pTime - last, span);
    switch (pCurve.post) {
    case kRefRepeat:
    case kRefRelativeRepeat:
        return RefKeyFind(pCurve, ToTime(first + away.rest));
    case kRefMirror:
        return RefKeyFind(pCurve,
                          ToTime(away.spans % 2 == 0 ? last - away.rest : first + away.rest));
    default:
        return RefKeyFind(pCurve, pTime);
    }
}

// The straight line beyond an end: pAway ticks from the key, at most pCount spans.
RefNumber AlongSlope(float pValue, const RefNumber& pSlope, RefWide pAway, RefWide pSpan,
                     std::uint32_t pCount, int pSign)
{
    const RefWide run = pCount == kWithoutEnd ? pAway : std::min(pAway, pSpan * pCount);
    const long double seconds = static_cast<long double>(run) / kTicksPerSecond;
    return {static_cast<long double>(pValue) +
                static_cast<long double>(pSign) * seconds * pSlope.value,
            std::max(std::fabs(static_cast<long double>(pValue)), seconds * pSlope.largest)};
}

// A repetition that goes on where the last one ended.
RefNumber Shifted(const RefNumber& pValue, const RefCurve& pCurve, RefWide pAway, RefWide pSpan,
                  std::uint32_t pCount, int pSign)
{
    const long double delta = static_cast<long double>(pCurve.keys.back().value) -
                              static_cast<long double>(pCurve.keys.front().value);
    const RefWide spans = std::min<RefWide>(pAway / pSpan + 1, pCount);
    const long double shift = static_cast<long double>(spans) * delta;
    return {pValue.value + static_cast<long double>(pSign) * shift,
            std::max(pValue.largest, std::fabs(shift))};
}
}  // namespace

void RefKey::SetWeights(int pRight, int pNextLeft)
{
    slot2 = static_cast<std::uint16_t>(pRight) |
            static_cast<std::uint32_t>(static_cast<std::uint16_t>(pNextLeft)) << 16;
}

void RefKey::SetBias(float pBias)
{
    slot2 = std::bit_cast<std::uint32_t>(pBias);
}

float RefKey::Bias() const
{
    return std::bit_cast<float>(slot2);
}

RefPlace RefKeyFind(const RefCurve& pCurve, std::int64_t pTime)
{
    const auto& keys = pCurve.keys;
    if (keys.empty()) {
        return {};
    }
    const auto above = std::upper_bound(
        keys.begin(), keys.end(), pTime,
        [](std::int64_t pLeft, const RefKey& pRight) { return pLeft < pRight.time; });
    if (above == keys.begin()) {
        return {-0.5, -1, 0.5L};
    }
    const int key = static_cast<int>(above - keys.begin()) - 1;
    const auto& below = keys[static_cast<std::size_t>(key)];
    if (below.time == pTime) {
        return PlaceAt(key);
    }
    if (above == keys.end()) {
        return {static_cast<double>(pCurve.Count()) - 0.5, key, 0.5L};
    }
    const long double way = Difference(pTime, below.time);
    const long double gap = Difference(above->time, below.time);
    const double index = key + static_cast<double>(way) / static_cast<double>(gap);
    if (index == std::floor(index)) {
        return PlaceAt(static_cast<int>(index));
    }
    return {index, key, way / gap};
}

int RefHintAfter(const RefCurve& pCurve, std::int64_t pTime, int pHint)
{
    if (pCurve.keys.empty()) {
        return pHint;
    }
    const auto time = [&pCurve](int pIndex) {
        return pCurve.keys[static_cast<std::size_t>(pIndex)].time;
    };
    const int count = pCurve.Count();
    int i = std::clamp(pHint, 0, count - 1);
    if (pTime > time(i)) {
        while (i < count - 1 && time(i + 1) < pTime) {
            ++i;
        }
        return i + 1;
    }
    if (pTime < time(i)) {
        while (i > 0 && time(i - 1) > pTime) {
            --i;
        }
        return std::max(i - 1, 0);
    }
    return i;
}

RefPlace RefKeyFindAll(const RefCurve& pCurve, std::int64_t pTime)
{
    if (pCurve.keys.empty()) {
        return {};
    }
    if (pTime < pCurve.keys.front().time) {
        return FindBefore(pCurve, pTime);
    }
    if (pTime > pCurve.keys.back().time) {
        return FindAfter(pCurve, pTime);
    }
    return RefKeyFind(pCurve, pTime);
}

RefSegment RefSegmentAt(const RefCurve& pCurve, int pIndex)
{
    const auto& from = pCurve.keys[static_cast<std::size_t>(pIndex)];
    const auto& to = pCurve.keys[static_cast<std::size_t>(pIndex + 1)];
    const long double seconds = Difference(to.time, from.time) / kTicksPerSecond;
    const RefNumber right = RefKeyRightDerivative(pCurve, pIndex);
    const RefNumber left = RefKeyLeftDerivative(pCurve, pIndex + 1);
    const bool weighted = Weighted(from);
    const long double wr = weighted ? RightWeight(from) : 1.0L / 3.0L;
    const long double wl = weighted ? NextLeftWeight(from) : 1.0L / 3.0L;
    const long double v0 = static_cast<long double>(from.value);
    const long double v3 = static_cast<long double>(to.value);
    RefSegment segment = {{v0, v0 + right.value * seconds * wr, v3 - left.value * seconds * wl, v3},
                          {0.0L, wr, 1.0L - wl, 1.0L},
                          seconds,
                          std::max(right.largest * seconds * wr, left.largest * seconds * wl),
                          weighted};
    for (const long double point : segment.value) {
        segment.largest = std::max(segment.largest, std::fabs(point));
    }
    return segment;
}

long double RefBezier(const long double (&pPoints)[4], long double pParameter)
{
    const long double s = pParameter;
    const long double r = 1.0L - s;
    return r * r * r * pPoints[0] + 3.0L * r * r * s * pPoints[1] + 3.0L * r * s * s * pPoints[2] +
           s * s * s * pPoints[3];
}

long double RefBezierDerivative(const long double (&pPoints)[4], long double pParameter)
{
    const long double s = pParameter;
    const long double r = 1.0L - s;
    return 3.0L * (r * r * (pPoints[1] - pPoints[0]) + 2.0L * r * s * (pPoints[2] - pPoints[1]) +
                   s * s * (pPoints[3] - pPoints[2]));
}

long double RefSolve(const RefSegment& pSegment, long double pTime)
{
    if (!pSegment.weighted) {
        return pTime;
    }
    // Newton's steps within a bracket, and halving where a step would leave it: the slope of the
    // axis can be all but zero. The end is a bracket that no long double divides.
    long double low = 0.0L;
    long double high = 1.0L;
    long double at = pTime;
    while (true) {
        const long double missed = RefBezier(pSegment.time, at) - pTime;
        if (missed == 0.0L) {
            return at;
        }
        (missed < 0.0L ? low : high) = at;
        const long double next = at - missed / RefBezierDerivative(pSegment.time, at);
        const long double middle = low + (high - low) / 2.0L;
        if (middle <= low || middle >= high || next == at) {
            return at;
        }
        at = next > low && next < high ? next : middle;
    }
}

long double RefValueOf(const RefSegment& pSegment, long double pParameter)
{
    return RefBezier(pSegment.value, pParameter);
}

long double RefSlopeOf(const RefSegment& pSegment, long double pParameter)
{
    const long double time =
        pSegment.weighted ? RefBezierDerivative(pSegment.time, pParameter) : 1.0L;
    return RefBezierDerivative(pSegment.value, pParameter) / (time * pSegment.seconds);
}

RefNumber RefEvaluateAt(const RefCurve& pCurve, const RefPlace& pPlace)
{
    if (pCurve.keys.empty()) {
        return Plain(static_cast<long double>(pCurve.value));
    }
    if (pCurve.Count() == 1) {
        return ValueOf(pCurve.keys[0]);
    }
    // Outside the keys, where no extrapolation led back, the end keys hold.
    if (pPlace.key < 0) {
        return ValueOf(pCurve.keys.front());
    }
    const RefKey& from = pCurve.keys[static_cast<std::size_t>(pPlace.key)];
    if (pPlace.fraction == 0.0L || pPlace.key + 1 == pCurve.Count()) {
        return ValueOf(from);
    }
    const RefKey& to = pCurve.keys[static_cast<std::size_t>(pPlace.key) + 1];
    const long double v0 = static_cast<long double>(from.value);
    const long double v1 = static_cast<long double>(to.value);
    switch (from.flags & 0xF) {
    case kRefConstant:
        return ValueOf((from.flags & kRefConstantNext) != 0 ? to : from);
    case kRefLinear:
        return {v0 + (v1 - v0) * pPlace.fraction, std::max(std::fabs(v0), std::fabs(v1))};
    case kRefCubic: {
        const RefSegment segment = RefSegmentAt(pCurve, pPlace.key);
        return {RefValueOf(segment, RefSolve(segment, pPlace.fraction)), segment.largest};
    }
    default:
        return {};
    }
}

RefNumber RefEvaluate(const RefCurve& pCurve, std::int64_t pTime)
{
    const int count = pCurve.Count();
    if (count < 2) {
        return RefEvaluateAt(pCurve, RefKeyFindAll(pCurve, pTime));
    }
    const RefKey& head = pCurve.keys.front();
    const RefKey& tail = pCurve.keys.back();
    const RefWide span = static_cast<RefWide>(tail.time) - head.time;
    const RefWide before = static_cast<RefWide>(head.time) - pTime;
    const RefWide after = static_cast<RefWide>(pTime) - tail.time;
    if (before > 0 && pCurve.pre == kRefKeepSlope) {
        return AlongSlope(head.value, RefKeyRightDerivative(pCurve, 0), before, span,
                          pCurve.preCount, -1);
    }
    if (after > 0 && pCurve.post == kRefKeepSlope) {
        return AlongSlope(tail.value, RefKeyLeftDerivative(pCurve, count - 1), after, span,
                          pCurve.postCount, 1);
    }
    const RefNumber value = RefEvaluateAt(pCurve, RefKeyFindAll(pCurve, pTime));
    if (before > 0 && pCurve.pre == kRefRelativeRepeat) {
        return Shifted(value, pCurve, before, span, pCurve.preCount, -1);
    }
    if (after > 0 && pCurve.post == kRefRelativeRepeat) {
        return Shifted(value, pCurve, after, span, pCurve.postCount, 1);
    }
    return value;
}

RefNumber RefLeftDerivative(const RefCurve& pCurve, std::int64_t pTime)
{
    const int count = pCurve.Count();
    if (count < 2) {
        return {};
    }
    const RefPlace place = RefKeyFind(pCurve, pTime);
    if (place.key < 0) {
        return {};
    }
    if (place.fraction == 0.0L) {
        return RefKeyLeftDerivative(pCurve, place.key);
    }
    if (place.key + 1 >= count) {
        return {};
    }
    const auto at = static_cast<std::size_t>(place.key);
    switch (pCurve.keys[at].flags & 0xF) {
    case kRefLinear:
        return RefKeyRightDerivative(pCurve, place.key);
    case kRefCubic: {
        const RefSegment segment = RefSegmentAt(pCurve, place.key);
        return {RefSlopeOf(segment, RefSolve(segment, place.fraction)),
                3.0L * segment.largest / segment.seconds};
    }
    default:
        return {};
    }
}

RefNumber RefRightDerivative(const RefCurve& pCurve, std::int64_t pTime)
{
    const int count = pCurve.Count();
    const RefPlace place = RefKeyFind(pCurve, pTime);
    if (count >= 2 && place.key >= 0 && place.fraction == 0.0L) {
        return RefKeyRightDerivative(pCurve, place.key);
    }
    return RefLeftDerivative(pCurve, pTime);
}
