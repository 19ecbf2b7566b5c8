// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/picture/style.h"

#include <vector>

/// Height of a row of a legend, in sizes of its text.
inline constexpr double kLegendRow = 1.5;

/// Width of the sample of line and mark of a legend entry.
double LegendSampleWidth(const Metrics& pMetrics);

/// Places the entries of the legend of a panel from left to right, in rows of the width of the
/// layout; y starts at the first baseline. The last entry has the number of those that do not fit
/// in pMostRows. In a comparison of two clips there is one entry for both curves of a name, and one
/// for each clip.
///
/// Returns the number of rows.
int FlowLegend(Canvas& pCanvas, Panel& pPanel, const Layout& pLayout, int pMostRows,
               const PictureOptions& pOptions);

/// Draws the entries with samples of the curves of the panel.
void DrawLegend(Canvas& pCanvas, const Panel& pPanel, const std::vector<CurveStyle>& pStyles,
                const Metrics& pMetrics);
