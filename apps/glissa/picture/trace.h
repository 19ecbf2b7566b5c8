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

/// How times and values fall on the device: two straight scales. y grows downward.
struct DeviceScale
{
    KTime from;  ///< falls on left
    KTime to;    ///< falls on right; after from
    double left = 0.0;
    double right = 1.0;
    double low = 0.0;   ///< falls on bottom
    double high = 1.0;  ///< falls on top; above low
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

/// Adds to pRange the values of a curve between two times, from the breaks (both sides of each) and
/// pSteps evenly spread times.
void AddCurveRange(ValueRange& pRange, const Sampler& pCurve, const std::vector<KTime>& pBreaks,
                   KTime pFrom, KTime pTo, int pSteps);

/// A curve between two times as line strips in device pixels, no point of the curve further than
/// half a pixel from them.
///
/// pBreaks  ascending: times at which the curve may bend or jump (keys, ends of repetitions). The
///          curve is taken to be smooth between two neighbours.
/// A strip ends where the value is not finite.
///
/// Between breaks the curve is halved until it keeps within a quarter of a pixel of the chord,
/// upright, at one third and two thirds of the way. Two points and not the middle alone: an
/// ease-in-ease-out segment crosses the middle of its chord exactly. A cubic that vanishes at both
/// ends and is at most e at 1/3 and 2/3 is nowhere above 1.3 e (its third root is linear in
/// between), which leaves the bound with room. In a column of a quarter of a pixel the first, the
/// least, the greatest and the last point stand for all of them.
std::vector<std::vector<DevicePoint>> TraceCurve(const Sampler& pCurve,
                                                 const std::vector<KTime>& pBreaks, KTime pFrom,
                                                 KTime pTo, const DeviceScale& pScale);
