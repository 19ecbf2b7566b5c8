// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/time.h"

#include <functional>
#include <vector>

/// Value of a curve at a time.
using Sampler = std::function<double(KTime)>;

struct DevicePoint
{
    double x = 0.0;
    double y = 0.0;
};

/// Linear scales from times and values to device coordinates. y increases downward.
struct DeviceScale
{
    KTime from;  ///< at left
    KTime to;    ///< at right; after from
    double left = 0.0;
    double right = 1.0;
    double low = 0.0;   ///< at bottom
    double high = 1.0;  ///< at top; greater than low
    double bottom = 1.0;
    double top = 0.0;

    double X(KTime pTime) const;
    double Y(double pValue) const;
};

/// Lowest and highest finite value of a curve between two times.
struct ValueRange
{
    double low = 0.0;
    double high = 0.0;
    bool empty = true;

    void Add(double pValue);
};

/// Adds to pRange the values of a curve between two times, at both sides of the breaks and at
/// pSteps evenly spaced times.
void AddCurveRange(ValueRange& pRange, const Sampler& pCurve, const std::vector<KTime>& pBreaks,
                   KTime pFrom, KTime pTo, int pSteps);

/// A curve between two times as line strips in device pixels. The distance of the curve to the
/// strips is at most half a pixel.
///
/// pBreaks  ascending times at which the curve may have a corner or a jump (keys, ends of
///          repetitions). It is smooth between two of them.
/// A strip ends where the value is not finite.
///
/// Between breaks the curve is halved until its vertical distance to the chord at one third and two
/// thirds is at most a quarter of a pixel. One point in the middle is not enough, as an ease-in
/// ease-out segment meets its chord there. A cubic that is 0 at both ends and at most e at 1/3 and
/// 2/3 is nowhere greater than 1.3 e. In a column of a quarter of a pixel only the first, least,
/// greatest and last point are kept.
std::vector<std::vector<DevicePoint>> TraceCurve(const Sampler& pCurve,
                                                 const std::vector<KTime>& pBreaks, KTime pFrom,
                                                 KTime pTo, const DeviceScale& pScale);
