// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/picture/style.h"

#include <vector>

/// Which keys of a curve have marks.
enum class Marks : int
{
    all,
    some,
    none
};

/// Draws the mark of a key.
void DrawMark(Canvas& pCanvas, const DevicePoint& pAt, const CurveStyle& pStyle,
              const Metrics& pMetrics, bool pHollow = false);

/// Indexes of points with at least pDistance between them, chosen in order.
std::vector<std::size_t> ThinPoints(const std::vector<DevicePoint>& pPoints, double pDistance);

/// Draws the marks of the keys of a curve, and with PictureOptions::tangents their handles. Marks
/// that would touch each other are left out.
///
/// pShapesDiffer  whether the marks of the panel tell its curves apart.
Marks DrawKeys(Canvas& pCanvas, const PictureCurve& pCurve, const CurveStyle& pStyle,
               bool pShapesDiffer, const Panel& pPanel, const Metrics& pMetrics,
               const PictureOptions& pOptions);
