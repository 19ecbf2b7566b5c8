// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// From a curve to line strips: the span is cut at the breaks, each piece is refined by halving, and
// the points pass through a filter that keeps at most four of them in a column.

#include "apps/glissa/picture/trace.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace
{
constexpr double kTolerance = 0.25;    // pixels, see the header
constexpr double kColumnWidth = 0.25;  // pixels
// Halvings, in all and within a column. They end the refinement of a curve that is not smooth; a
// cubic in a column as high as the largest page needs no more.
constexpr int kDeepest = 40;
constexpr int kDeepestInColumn = 7;
// Coordinates of the drawing library are fixed point numbers of 24 bits before the point.
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

// Whether a curve that passes a point this part of the way from one sample to another is near the
// straight line there. Measured upright and not across: where many keys share a pixel, a curve
// that overshoots them is still next to the line, only further up.
bool IsNearChord(const DevicePoint& pPoint, const DevicePoint& pStart, const DevicePoint& pEnd,
                 double pPart)
{
    return std::fabs(pPoint.y - (pStart.y + (pEnd.y - pStart.y) * pPart)) <= kTolerance;
}

// A time a part of the way from one to a later one; the difference of two times may exceed what a
// signed integer holds, and is formed without a sign.
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

    // Everything after pFrom up to and with pTo.
    void AddPiece(KTime pFrom, KTime pTo)
    {
        // A jump may lie right on either side of a break.
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

    // The points strictly between two samples. pNarrow counts the halvings within a column.
    void Refine(const Sample& pStart, const Sample& pEnd, int pDepth, int pNarrow)
    {
        const bool narrow = pEnd.point.x - pStart.point.x < kColumnWidth;
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
        // A gap is narrowed down from its sides, not searched for values.
        const bool gap = !std::isfinite(first.point.y) && !std::isfinite(second.point.y) &&
                         !std::isfinite(pStart.point.y) && !std::isfinite(pEnd.point.y);
        if (gap) {
            return;
        }
        const Sample middle = At(Between(pStart.time, pEnd.time, 1, 2));
        Refine(pStart, middle, pDepth + 1, pNarrow + narrow);
        mWriter.Add(middle.point);
        Refine(middle, pEnd, pDepth + 1, pNarrow + narrow);
    }

    const Sampler& mCurve;
    const DeviceScale& mScale;
    StripWriter mWriter;
};
}  // namespace

double DeviceScale::X(KTime pTime) const
{
    const double span = static_cast<double>(to.Get()) - static_cast<double>(from.Get());
    const double way = static_cast<double>((pTime - from).Get()) / span;
    return left + (right - left) * way;
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
    // Fifths, because a segment may overshoot its keys.
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
