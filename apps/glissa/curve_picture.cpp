// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/curve_picture.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace
{
// Several for each pixel of the widest page.
constexpr std::int64_t kMostRepeatedKeys = 16 * kMostPictureSide;

bool Repeats(unsigned pMode)
{
    return pMode == eExtrapolationRepetition || pMode == eExtrapolationMirror ||
           pMode == eExtrapolationRelativeRepetition;
}

// The extrapolation of one side of a curve.
struct Extrapolation
{
    unsigned mode;
    unsigned long count;
    KTime edge;  ///< the end key
    int side;    ///< -1 before the keys, 1 after
};

// Distances from the edge, outward, of the keys of a repetition, without its end.
std::vector<KTime> RepetitionPattern(Glissa& pCurve, bool pFromLast)
{
    std::vector<KTime> pattern;
    const int count = pCurve.KeyGetCount();
    for (int i = 0; i < count - 1; ++i) {
        pattern.push_back(pFromLast
                              ? pCurve.KeyGetTime(count - 1) - pCurve.KeyGetTime(count - 1 - i)
                              : pCurve.KeyGetTime(i) - pCurve.KeyGetTime(0));
    }
    return pattern;
}

void AddExtrapolated(std::vector<KTime>& pBreaks, Glissa& pCurve, const Extrapolation& pSide,
                     const TimeSpan& pVisible)
{
    const KTime span = pCurve.KeyGetTime(pCurve.KeyGetCount() - 1) - pCurve.KeyGetTime(0);
    const auto outward = [&](KTime pDistance) {
        return pSide.side > 0 ? pSide.edge + pDistance : pSide.edge - pDistance;
    };
    const auto add = [&](KTime pDistance) {
        const KTime time = outward(pDistance);
        if (time >= pVisible.from && time <= pVisible.to) {
            pBreaks.push_back(time);
        }
    };
    // The visible part, in whole repetitions.
    const KTime nearest =
        std::max(KTime(), pSide.side > 0 ? pVisible.from - pSide.edge : pSide.edge - pVisible.to);
    const KTime farthest = pSide.side > 0 ? pVisible.to - pSide.edge : pSide.edge - pVisible.from;
    if (farthest <= KTime()) {
        return;
    }
    const std::int64_t limit = static_cast<std::int64_t>(std::min(pSide.count, 0xFFFFFFFFul));
    const std::int64_t firstTime = (nearest / span).Get();
    const std::int64_t lastTime = std::min((farthest / span).Get(), limit);
    if (pSide.mode == eExtrapolationKeepSlope) {
        if (limit <= (farthest / span).Get()) {
            add(KTime(limit * span.Get()));
        }
        return;
    }
    if (!Repeats(pSide.mode) || lastTime < firstTime) {
        return;
    }
    if (lastTime - firstTime >= kMostRepeatedKeys / pCurve.KeyGetCount()) {
        const KTime step = KTime((farthest - nearest).Get() / kMostRepeatedKeys + 1);
        for (KTime distance = nearest; distance < farthest; distance += step) {
            add(distance);
        }
        return;
    }
    // Mirrored repetitions alternate their direction.
    const std::vector<KTime> forward = RepetitionPattern(pCurve, pSide.side < 0);
    const std::vector<KTime> backward = RepetitionPattern(pCurve, pSide.side > 0);
    for (std::int64_t time = firstTime; time <= lastTime; ++time) {
        const bool isBackward = pSide.mode == eExtrapolationMirror && time % 2 == 0;
        const KTime start(time * span.Get());
        add(start);
        if (time < limit) {
            for (const KTime distance : isBackward ? backward : forward) {
                add(start + distance);
            }
        }
    }
}

// A key has a handle on the side of each cubic segment.
PictureKey MakeKey(Glissa& pCurve, int pIndex, bool pTangents)
{
    PictureKey key;
    key.time = pCurve.KeyGetTime(pIndex);
    key.value = static_cast<double>(pCurve.KeyGetValue(pIndex));
    if (!pTangents) {
        return key;
    }
    const auto place = [&](Handle& pHandle, KTime pSpan, float pWeight, float pSlope, int pSide) {
        const double seconds = pSpan.GetSecondDouble() * static_cast<double>(pWeight) * pSide;
        pHandle.shown = true;
        pHandle.time = key.time + KTime::FromSeconds(seconds);
        pHandle.value = key.value + seconds * static_cast<double>(pSlope);
    };
    if (pIndex > 0 && pCurve.KeyGetInterpolation(pIndex - 1) == eInterpolationCubic) {
        place(key.left, key.time - pCurve.KeyGetTime(pIndex - 1),
              pCurve.KeyGetLeftTangeantWeight(pIndex),
              pCurve.KeyGetLeftDerivative(pIndex, false, false), -1);
    }
    if (pIndex + 1 < pCurve.KeyGetCount() &&
        pCurve.KeyGetInterpolation(pIndex) == eInterpolationCubic) {
        place(key.right, pCurve.KeyGetTime(pIndex + 1) - key.time,
              pCurve.KeyGetRightTangeantWeight(pIndex), pCurve.KeyGetRightDerivative(pIndex, false),
              1);
    }
    return key;
}
}  // namespace

std::optional<Colour> OwnColour(const float* pColour)
{
    const float* const end = pColour + 3;
    const bool isWhite = std::all_of(pColour, end, [](float pEach) { return pEach == 1.0f; });
    if (isWhite || !std::all_of(pColour, end, [](float pEach) { return std::isfinite(pEach); })) {
        return std::nullopt;
    }
    return Colour{static_cast<double>(pColour[0]), static_cast<double>(pColour[1]),
                  static_cast<double>(pColour[2])};
}

std::vector<KTime> CurveBreaks(Glissa& pCurve, const TimeSpan& pSpan)
{
    std::vector<KTime> breaks;
    const int count = pCurve.KeyGetCount();
    for (int i = 0; i < count; ++i) {
        const KTime time = pCurve.KeyGetTime(i);
        if (time >= pSpan.from && time <= pSpan.to) {
            breaks.push_back(time);
        }
    }
    if (count >= 2) {
        AddExtrapolated(breaks, pCurve,
                        {pCurve.GetPreExtrapolation(), pCurve.GetPreExtrapolationCount(),
                         pCurve.KeyGetTime(0), -1},
                        pSpan);
        AddExtrapolated(breaks, pCurve,
                        {pCurve.GetPostExtrapolation(), pCurve.GetPostExtrapolationCount(),
                         pCurve.KeyGetTime(count - 1), 1},
                        pSpan);
    }
    std::sort(breaks.begin(), breaks.end());
    breaks.erase(std::unique(breaks.begin(), breaks.end()), breaks.end());
    return breaks;
}

PictureCurve MakePictureCurve(NamedCurve& pCurve, const TimeSpan& pSpan, bool pTangents)
{
    Glissa* const curve = pCurve.curve;
    PictureCurve picture;
    picture.name = pCurve.name;
    picture.unit = pCurve.unit;
    picture.colour = OwnColour(curve->GetColor());
    picture.value = [curve, hint = 0](KTime pTime) mutable {
        return static_cast<double>(curve->Evaluate(pTime, &hint));
    };
    picture.breaks = CurveBreaks(*curve, pSpan);
    picture.hasKeys = pCurve.HasKeys();
    if (picture.hasKeys) {
        picture.first = pCurve.First();
        picture.last = pCurve.Last();
    }
    for (int i = 0; i < curve->KeyGetCount(); ++i) {
        const KTime time = curve->KeyGetTime(i);
        if (time >= pSpan.from && time <= pSpan.to) {
            picture.keys.push_back(MakeKey(*curve, i, pTangents));
        }
    }
    return picture;
}
