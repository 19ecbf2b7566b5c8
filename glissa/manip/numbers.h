// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: factors of stretches.
#pragma once

#include "corvekit/time.h"

#include <algorithm>
#include <cmath>

/// What keeps a factor of a stretch, and a span of values, away from 0.
constexpr double kLeastStretch = 1e-5;

/// NaN counts as 0.
inline double NumberOrZero(double pNumber)
{
    return std::isnan(pNumber) ? 0.0 : pNumber;
}

/// A number with a magnitude that is not below a least one. 0 is positive.
inline double AwayFromZero(double pNumber, double pLeast)
{
    return pNumber < 0.0 ? std::min(pNumber, -pLeast) : std::max(pNumber, pLeast);
}

/// A value, stretched about a pivot. A factor of 1 leaves it exactly, and so does one with which it
/// is not a number.
inline double StretchedValue(double pValue, double pPivot, double pScale)
{
    const double stretched = (pValue - pPivot) * pScale + pPivot;
    return pScale == 1.0 || std::isnan(stretched) ? pValue : stretched;
}

/// The same for a time.
inline KTime StretchedTime(KTime pTime, KTime pPivot, double pScale)
{
    return pScale == 1.0 ? pTime
                         : KTime::FromSeconds((pTime - pPivot).GetSecondDouble() * pScale) + pPivot;
}

/// The same for a value that is kept as a time.
inline KTime StretchedValueTime(KTime pValue, double pPivot, double pScale)
{
    return pScale == 1.0
               ? pValue
               : KTime::FromSeconds(StretchedValue(pValue.GetSecondDouble(), pPivot, pScale));
}

/// How a span of time from a pivot to an edge is stretched when the edge moves. The span is one
/// frame at least.
inline double TimeScale(KTime pPivot, KTime pEdge, KTime pDelta)
{
    const double frame = KTime::GetOneFrameValue().GetSecondDouble();
    const double width = AwayFromZero((pEdge - pPivot).GetSecondDouble(), frame);
    const double scale = pDelta.GetSecondDouble() / width + 1.0;
    return scale != 0.0 ? scale : pDelta > KTime() ? kLeastStretch : -kLeastStretch;
}

/// The same for a span of values, 1e-5 at least.
inline double ValueScale(double pPivot, double pEdge, double pDelta)
{
    return NumberOrZero(pDelta / AwayFromZero(pEdge - pPivot, kLeastStretch)) + 1.0;
}
