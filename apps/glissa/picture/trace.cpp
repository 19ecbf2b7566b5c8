// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The span is divided at the breaks, each piece is refined by halving, and at most four points are
// kept in a column.

#include "apps/glissa/picture/trace.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace
{
constexpr double kTolerance = 0.25;    // pixels, see the header
constexpr double kColumnWidth = 0.25;  // pixels
// Limits of the number of halvings, in all and within a column, for curves that are not smooth.
// They are sufficient for a cubic in a column of the height of the largest page.
constexpr int kDeepest = 40;
constexpr int kDeepestInColumn = 7;
// The drawing library has fixed point coordinates with 24 bits before the point.
constexpr double kFarthest = 1e6;

struct Sample
{
    KTime time;
    DevicePoint point;
};

// Collects points into strips, four to a column at most.
class StripWriter
{
public:
    void Add(const DevicePoint& pPoint)
    {
        if (!std::isfinite(pPoint.y)) {
            EndStrip();
            return;
        }
        const double column = std::floor(pPoint.x / kColumnWidth);
        if (mCount == 0 || column != mColumn) {
            Flush();
            mColumn = column;
            mFirst = mLow = mHigh = pPoint;
            mLowAt = mHighAt = 0;
        }
        if (pPoint.y < mLow.y) {
            mLow = pPoint;
            mLowAt = mCount;
        }
        if (pPoint.y > mHigh.y) {
            mHigh = pPoint;
            mHighAt = mCount;
        }
        mLast = pPoint;
        ++mCount;
    }

    std::vector<std::vector<DevicePoint>> Take()
    {
        EndStrip();
        return std::move(mStrips);
    }

private:
    void Append(const DevicePoint& pPoint)
    {
        if (mStrip.empty() || mStrip.back().x != pPoint.x || mStrip.back().y != pPoint.y) {
            mStrip.push_back(pPoint);
        }
    }

    void Flush()
    {
        if (mCount == 0) {
            return;
        }
        Append(mFirst);
        Append(mLowAt < mHighAt ? mLow : mHigh);
        Append(mLowAt < mHighAt ? mHigh : mLow);
        Append(mLast);
        mCount = 0;
    }

    void EndStrip()
    {
        Flush();
        if (!mStrip.empty()) {
            mStrips.push_back(std::move(mStrip));
            mStrip.clear();
        }
    }

    std::vector<std::vector<DevicePoint>> mStrips;
    std::vector<DevicePoint> mStrip;
    double mColumn = 0.0;
    DevicePoint mFirst, mLow, mHigh, mLast;
    std::int64_t mLowAt = 0;
    std::int64_t mHighAt = 0;
    std::int64_t mCount = 0;
};

// Whether a point of the curve, at pPart of the time between two samples, is near their chord. The
// vertical distance is used: with many keys in a pixel, an overshoot has a small horizontal one.
bool IsNearChord(const DevicePoint& pPoint, const DevicePoint& pStart, const DevicePoint& pEnd,
                 double pPart)
{
    return std::fabs(pPoint.y - (pStart.y + (pEnd.y - pStart.y) * pPart)) <= kTolerance;
}

// The time at a fraction of the span of two times. The difference of two times may exceed a signed
// integer, so it is unsigned.
KTime Between(KTime pFrom, KTime pTo, std::uint64_t pNumerator, std::uint64_t pDenominator)
{
    const std::uint64_t gap =
        static_cast<std::uint64_t>(pTo.Get()) - static_cast<std::uint64_t>(pFrom.Get());
    const std::uint64_t part =
        gap / pDenominator * pNumerator + gap % pDenominator * pNumerator / pDenominator;
    return KTime(static_cast<std::int64_t>(static_cast<std::uint64_t>(pFrom.Get()) + part));
}

class Tracer
{
public:
    Tracer(const Sampler& pCurve, const DeviceScale& pScale) : mCurve(pCurve), mScale(pScale) {}

    void AddPoint(KTime pTime) { mWriter.Add(At(pTime).point); }

    // Adds the curve after pFrom, up to and including pTo.
    void AddPiece(KTime pFrom, KTime pTo)
    {
        // There may be a jump on either side of a break.
        const KTime inner(1);
        if (pTo - pFrom <= inner + inner) {
            AddPoint(pTo);
            return;
        }
        const Sample start = At(pFrom + inner);
        const Sample end = At(pTo - inner);
        mWriter.Add(start.point);
        Refine(start, end, 0, 0);
        mWriter.Add(end.point);
        AddPoint(pTo);
    }

    std::vector<std::vector<DevicePoint>> Take() { return mWriter.Take(); }

private:
    Sample At(KTime pTime) const
    {
        const double y = mScale.Y(mCurve(pTime));
        return {pTime,
                {mScale.X(pTime), std::isfinite(y) ? std::clamp(y, -kFarthest, kFarthest) : y}};
    }

    // Adds the points between two samples. pNarrow is the number of halvings within a column.
    void Refine(const Sample& pStart, const Sample& pEnd, int pDepth, int pNarrow)
    {
        const bool isNarrow = pEnd.point.x - pStart.point.x < kColumnWidth;
        if (pDepth >= kDeepest || pNarrow > kDeepestInColumn ||
            pEnd.time - pStart.time < KTime(3)) {
            return;
        }
        const Sample first = At(Between(pStart.time, pEnd.time, 1, 3));
        const Sample second = At(Between(pStart.time, pEnd.time, 2, 3));
        if (IsNearChord(first.point, pStart.point, pEnd.point, 1.0 / 3.0) &&
            IsNearChord(second.point, pStart.point, pEnd.point, 2.0 / 3.0)) {
            return;
        }
        // Between values that are not finite no others are searched.
        const bool isGap = !std::isfinite(first.point.y) && !std::isfinite(second.point.y) &&
                           !std::isfinite(pStart.point.y) && !std::isfinite(pEnd.point.y);
        if (isGap) {
            return;
        }
        const Sample middle = At(Between(pStart.time, pEnd.time, 1, 2));
        Refine(pStart, middle, pDepth + 1, pNarrow + isNarrow);
        mWriter.Add(middle.point);
        Refine(middle, pEnd, pDepth + 1, pNarrow + isNarrow);
    }

    const Sampler& mCurve;
    const DeviceScale& mScale;
    StripWriter mWriter;
};
}  // namespace

double DeviceScale::X(KTime pTime) const
{
    const double span = static_cast<double>(to.Get()) - static_cast<double>(from.Get());
    const double part = static_cast<double>((pTime - from).Get()) / span;
    return left + (right - left) * part;
}

double DeviceScale::Y(double pValue) const
{
    return bottom + (top - bottom) * ((pValue - low) / (high - low));
}

void ValueRange::Add(double pValue)
{
    if (!std::isfinite(pValue)) {
        return;
    }
    low = empty ? pValue : std::min(low, pValue);
    high = empty ? pValue : std::max(high, pValue);
    empty = false;
}

void AddCurveRange(ValueRange& pRange, const Sampler& pCurve, const std::vector<KTime>& pBreaks,
                   KTime pFrom, KTime pTo, int pSteps)
{
    // Also at fifths, because a segment may overshoot its keys.
    constexpr std::uint64_t kParts = 5;
    for (auto at = std::lower_bound(pBreaks.begin(), pBreaks.end(), pFrom);
         at != pBreaks.end() && *at <= pTo; ++at) {
        for (const KTime time : {*at - KTime(1), *at, *at + KTime(1)}) {
            if (time >= pFrom && time <= pTo) {
                pRange.Add(pCurve(time));
            }
        }
        if (at + 1 != pBreaks.end() && *(at + 1) <= pTo) {
            for (std::uint64_t part = 1; part < kParts; ++part) {
                pRange.Add(pCurve(Between(*at, *(at + 1), part, kParts)));
            }
        }
    }
    const auto steps = static_cast<std::uint64_t>(pSteps);
    for (std::uint64_t step = 0; step <= steps; ++step) {
        pRange.Add(pCurve(Between(pFrom, pTo, step, steps)));
    }
}

std::vector<std::vector<DevicePoint>> TraceCurve(const Sampler& pCurve,
                                                 const std::vector<KTime>& pBreaks, KTime pFrom,
                                                 KTime pTo, const DeviceScale& pScale)
{
    Tracer tracer(pCurve, pScale);
    tracer.AddPoint(pFrom);
    KTime reached = pFrom;
    for (auto at = std::upper_bound(pBreaks.begin(), pBreaks.end(), pFrom);
         at != pBreaks.end() && *at < pTo; ++at) {
        tracer.AddPiece(reached, *at);
        reached = *at;
    }
    if (reached < pTo) {
        tracer.AddPiece(reached, pTo);
    }
    return tracer.Take();
}
