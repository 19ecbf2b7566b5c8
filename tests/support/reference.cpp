// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/reference.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace
{
constexpr long double kTicksPerSecond = KTime::kTicksPerSecond;
constexpr RefWide kLeast = std::numeric_limits<std::int64_t>::min();
constexpr RefWide kGreatest = std::numeric_limits<std::int64_t>::max();

RefPlace PlaceAt(int pKey)
{
    return {static_cast<double>(pKey), pKey, 0.0L};
}

RefNumber ValueOf(const Glissa& pCurve, int pKey)
{
    const auto value = static_cast<long double>(pCurve.KeyGetValue(pKey));
    return {value, std::fabs(value)};
}

// A time outside the keys of a curve of two keys or more, counted away from the nearest key.
struct Outside
{
    bool isBefore;
    RefWide ticks;
    RefWide span;
    unsigned mode;
    unsigned long count;  // of repetitions
};

Outside OutsideOf(const Glissa& pCurve, std::int64_t pTime)
{
    const RefWide first = pCurve.KeyGetTime(0).Get();
    const RefWide last = pCurve.KeyGetTime(pCurve.KeyGetCount() - 1).Get();
    if (pTime < first) {
        return {true, first - pTime, last - first, pCurve.GetPreExtrapolation(),
                pCurve.GetPreExtrapolationCount()};
    }
    return {false, pTime - last, last - first, pCurve.GetPostExtrapolation(),
            pCurve.GetPostExtrapolationCount()};
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

RefPlace RefKeyFind(const Glissa& pCurve, std::int64_t pTime)
{
    const int count = pCurve.KeyGetCount();
    int above = 0;
    for (int end = count; above < end;) {
        const int middle = above + (end - above) / 2;
        pCurve.KeyGetTime(middle).Get() <= pTime ? above = middle + 1 : end = middle;
    }
    if (above == 0) {
        return count == 0 ? RefPlace{} : RefPlace{-0.5, -1, 0.5L};
    }
    const int key = above - 1;
    const RefWide from = pCurve.KeyGetTime(key).Get();
    if (from == pTime) {
        return PlaceAt(key);
    }
    if (above == count) {
        return {count - 0.5, key, 0.5L};
    }
    const RefWide way = pTime - from;
    const RefWide gap = pCurve.KeyGetTime(above).Get() - from;
    const double index = key + static_cast<double>(way) / static_cast<double>(gap);
    if (index != std::floor(index)) {
        return {index, key, way / gap};
    }
    // A whole index is that of a key only; evaluation takes the key all the same.
    RefPlace place = PlaceAt(static_cast<int>(index));
    place.index = std::nextafter(index, index == key ? key + 1.0 : key);
    return place;
}

RefPlace RefKeyFindAll(const Glissa& pCurve, std::int64_t pTime)
{
    const int count = pCurve.KeyGetCount();
    if (count == 0 ||
        (pTime >= pCurve.KeyGetTime(0).Get() && pTime <= pCurve.KeyGetTime(count - 1).Get())) {
        return RefKeyFind(pCurve, pTime);
    }
    const Outside outside = OutsideOf(pCurve, pTime);
    const RefWide first = pCurve.KeyGetTime(0).Get();
    const RefWide last = first + outside.span;
    RefWide held = outside.span * outside.count;  // from here on the end key holds
    if (!outside.isBefore) {
        held = std::min(held, kGreatest - last);
    } else if (first - held < kLeast) {
        // A repetition that the range of times cuts off is not begun.
        held = RefMultiple(first - kLeast, outside.span) - outside.span;
    }
    if (outside.mode == kRefHold || outside.ticks >= held) {
        return PlaceAt(outside.isBefore ? 0 : count - 1);
    }
    const RefWide whole = RefMultiple(outside.ticks, outside.span);
    const RefWide rest = outside.ticks - whole;
    const bool isMirrored =
        outside.mode == kRefMirror && std::fmod(whole / outside.span, 2.0L) == 0.0L;
    switch (outside.mode) {
    case kRefRepeat:
    case kRefRelativeRepeat:
    case kRefMirror:
        return RefKeyFind(pCurve, static_cast<std::int64_t>(
                                      outside.isBefore == isMirrored ? first + rest : last - rest));
    default:
        return RefKeyFind(pCurve, pTime);
    }
}

RefSegment RefSegmentAt(Glissa& pCurve, int pIndex)
{
    const RefWide from = pCurve.KeyGetTime(pIndex).Get();
    const long double seconds = (pCurve.KeyGetTime(pIndex + 1).Get() - from) / kTicksPerSecond;
    const bool weighted = pCurve.KeyGetTangeantWeightMode(pIndex) != eWeightNone;
    const long double third = 1.0L / 3.0L;
    const long double wr = weighted ? pCurve.KeyGetRightTangeantWeight(pIndex) : third;
    const long double wl = weighted ? pCurve.KeyGetLeftTangeantWeight(pIndex + 1) : third;
    const long double v0 = pCurve.KeyGetValue(pIndex);
    const long double v3 = pCurve.KeyGetValue(pIndex + 1);
    const long double right = seconds * wr * pCurve.KeyGetRightDerivative(pIndex);
    const long double left = seconds * wl * pCurve.KeyGetLeftDerivative(pIndex + 1);
    RefSegment segment = {{v0, v0 + right, v3 - left, v3},
                          {0.0L, wr, 1.0L - wl, 1.0L},
                          seconds,
                          std::max(std::fabs(right), std::fabs(left)),
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

RefNumber RefEvaluate(Glissa& pCurve, std::int64_t pTime)
{
    const int count = pCurve.KeyGetCount();
    const RefPlace place = RefKeyFindAll(pCurve, pTime);
    if (count == 0) {
        return {pCurve.GetValue(), std::fabs(pCurve.GetValue())};
    }
    const Outside outside = OutsideOf(pCurve, pTime);
    const auto isExtrapolated = [&](unsigned pMode) {
        return count > 1 && outside.ticks > 0 && outside.mode == pMode;
    };
    const long double sign = outside.isBefore ? -1.0L : 1.0L;
    const int end = outside.isBefore ? 0 : count - 1;
    if (isExtrapolated(kRefKeepSlope)) {
        const RefWide run = outside.count == 0xFFFFFFFFu
                                ? outside.ticks
                                : std::min(outside.ticks, outside.span * outside.count);
        const long double slope =
            outside.isBefore ? pCurve.KeyGetRightDerivative(end) : pCurve.KeyGetLeftDerivative(end);
        const RefNumber value = ValueOf(pCurve, end);
        const long double rise = run / kTicksPerSecond * slope;
        return {value.value + sign * rise, std::max(value.largest, std::fabs(rise))};
    }
    RefNumber value = ValueOf(pCurve, std::max(place.key, 0));
    if (place.key >= 0 && place.fraction != 0.0L && place.key + 1 < count) {
        const RefNumber next = ValueOf(pCurve, place.key + 1);
        switch (pCurve.KeyGetInterpolation(place.key)) {
        case eInterpolationConstant:
            value = pCurve.KeyGetConstantMode(place.key) == eConstantNext ? next : value;
            break;
        case eInterpolationLinear:
            value = {value.value + (next.value - value.value) * place.fraction,
                     std::max(value.largest, next.largest)};
            break;
        case eInterpolationCubic: {
            const RefSegment segment = RefSegmentAt(pCurve, place.key);
            value = {RefValueOf(segment, RefSolve(segment, place.fraction)), segment.largest};
            break;
        }
        default:
            value = {};
        }
    }
    if (isExtrapolated(kRefRelativeRepeat)) {
        // Each repetition continues where the one before ended.
        const RefWide begun = RefMultiple(outside.ticks, outside.span) / outside.span + 1;
        const long double rise = ValueOf(pCurve, count - 1).value - ValueOf(pCurve, 0).value;
        const long double shift = std::min<RefWide>(begun, outside.count) * rise;
        value = {value.value + sign * shift, std::max(value.largest, std::fabs(shift))};
    }
    return value;
}
