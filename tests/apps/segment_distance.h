// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "apps/glissa/picture/trace.h"

#include <algorithm>
#include <cmath>

// From a point to the line between two others, in pixels.
inline double DistanceToSegment(const DevicePoint& pPoint, const DevicePoint& pA,
                                const DevicePoint& pB)
{
    const double dx = pB.x - pA.x;
    const double dy = pB.y - pA.y;
    const double length = dx * dx + dy * dy;
    const double way =
        length == 0.0
            ? 0.0
            : std::clamp(((pPoint.x - pA.x) * dx + (pPoint.y - pA.y) * dy) / length, 0.0, 1.0);
    return std::hypot(pPoint.x - pA.x - way * dx, pPoint.y - pA.y - way * dy);
}
