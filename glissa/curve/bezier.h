// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: cubic Bézier arithmetic with the roundings that results are compared by.
#pragma once

#include <cmath>

/// A point between two values, the difference and the result rounded to float.
inline float Between(float pFrom, float pTo, double pT)
{
    return static_cast<float>(pFrom + (pTo - pFrom) * pT);
}

/// De Casteljau, each stage rounded to float. Parameter 0 is the first point exactly; parameter
/// 1 may miss the last one by a rounding, so a time on a key is answered from the key.
inline float CubicValue(float p0, float p1, float p2, float p3, double pT)
{
    const float q0 = Between(p0, p1, pT);
    const float q1 = Between(p1, p2, pT);
    const float q2 = Between(p2, p3, pT);
    const float r0 = Between(q0, q1, pT);
    const float r1 = Between(q1, q2, pT);
    return Between(r0, r1, pT);
}

/// The same point without roundings between, for work that does not go into results.
inline double CubicPoint(double p0, double p1, double p2, double p3, double pT)
{
    const double r = 1.0 - pT;
    return r * r * r * p0 + 3.0 * r * r * pT * p1 + 3.0 * r * pT * pT * p2 + pT * pT * pT * p3;
}

/// The control points of an unweighted cubic on its value axis.
struct CubicPoints
{
    float p0;
    float p1;
    float p2;
    float p3;
};

/// From the values at both ends, the slopes inside them, in value per second, and the length.
inline CubicPoints PointsOfSlopes(float pFrom, float pTo, float pRightSlope, float pLeftSlope,
                                  float pSeconds)
{
    return {pFrom, static_cast<float>(pFrom + pRightSlope * pSeconds / 3.0),
            static_cast<float>(pTo - pLeftSlope * pSeconds / 3.0), pTo};
}

/// The slope of such a cubic, in value per second. The parameter is rounded to float.
inline float SlopeOfCubic(const CubicPoints& pPoints, double pT, float pSeconds)
{
    const double t = static_cast<float>(pT);
    const float d0 = pPoints.p1 - pPoints.p0;
    const float d1 = pPoints.p2 - pPoints.p1;
    const float d2 = pPoints.p3 - pPoints.p2;
    const float slope = Between(Between(d0, d1, t), Between(d1, d2, t), t);
    return static_cast<float>(slope * 3.0 / pSeconds);
}

/// Where a weighted segment reaches a time.
///
/// The time axis is the Bézier 0, wr, 1 - wl, 1. The answer s, with 1 at the start of the segment,
/// solves the reversed curve B(1, 1 - wl, wr, 0; s) = pT by the secant method from the two ends:
/// until a step is below 1e-6 or the time is met exactly, 15 steps at most. Steps stop as well
/// where rounding makes the two last points equal in time, which leaves no secant to follow.
inline double SolveWeightedTime(float pRightWeight, float pLeftWeight, double pT)
{
    constexpr int kMaxSteps = 15;
    constexpr double kLeastStep = 1e-6;

    const float p1 = 1.0f - pLeftWeight;
    const auto timeError = [=](double pS) {
        return CubicValue(1.0f, p1, pRightWeight, 0.0f, pS) - pT;
    };

    double previous = 0.0;
    double current = 1.0;
    double previousError = timeError(previous);
    double error = timeError(current);
    if (std::fabs(error) > std::fabs(previousError)) {
        previous = 1.0;
        current = 0.0;
        const double swapped = error;
        error = previousError;
        previousError = swapped;
    }
    for (int step = 0; step < kMaxSteps; ++step) {
        if (error == previousError) {
            break;
        }
        const double dx = (previous - current) * error / (error - previousError);
        previous = current;
        previousError = error;
        current += dx;
        error = timeError(current);
        if (std::fabs(dx) < kLeastStep || error == 0.0) {
            break;
        }
    }
    return current;
}
