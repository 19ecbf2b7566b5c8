// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/reference.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace
{
constexpr long double kTicksPerSecond = KTime::kTicksPerSecond;

RefPlace PlaceAt(int pKey)
{
    return {static_cast<double>(pKey), pKey, 0.0L};
}

RefNumber ValueOf(const Glissa& pCurve, int pKey)
{
    const auto value = static_cast<long double>(pCurve.KeyGetValue(pKey));
    return {value, std::fabs(value)};
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
    const RefPlace place = RefKeyFind(pCurve, pTime);
    const RefNumber value = ValueOf(pCurve, place.key);
    if (place.fraction == 0.0L) {
        return value;
    }
    const RefNumber next = ValueOf(pCurve, place.key + 1);
    switch (pCurve.KeyGetInterpolation(place.key)) {
    case eInterpolationConstant:
        return pCurve.KeyGetConstantMode(place.key) == eConstantNext ? next : value;
    case eInterpolationLinear:
        return {value.value + (next.value - value.value) * place.fraction,
                std::max(value.largest, next.largest)};
    default:
        const RefSegment segment = RefSegmentAt(pCurve, place.key);
        return {RefValueOf(segment, RefSolve(segment, place.fraction)), segment.largest};
    }
}
