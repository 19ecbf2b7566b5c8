// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/picture/picture.h"
#include "apps/glissa/picture/ticks.h"

#include <string>
#include <vector>

/// Sizes of text and marks, in pixels, that follow the size of the page.
struct Metrics
{
    double scale = 1.0;
    double font = 12.0;
    double titleFont = 15.0;
    double gap = 6.0;  ///< between a text and what it stands beside
    double line = 1.6;
    double mark = 3.2;  ///< radius of a key's mark

    static Metrics For(int pWidth, int pHeight);
};

struct LegendEntry
{
    /// Values of curve that are no index into the panel's curves.
    static constexpr int kNote = -1;  ///< a text without a sample
    static constexpr int kFirstClip = -2;
    static constexpr int kSecondClip = -3;

    std::string text;
    int curve = kNote;
    double x = 0.0;  ///< left end of the entry
    double y = 0.0;  ///< baseline
};

/// The curves of one unit, or their differences, with the rectangle they are drawn in.
struct Panel
{
    Unit unit = Unit::factor;
    bool isDifference = false;
    std::vector<const PictureCurve*> curves;
    DeviceScale scale;
    double top = 0.0;     ///< of the rectangle; the scale keeps a margin inside
    double bottom = 0.0;  ///< likewise
    Ticks ticks;
    std::vector<LegendEntry> legend;
};

/// Where everything stands on a page.
struct Layout
{
    Metrics metrics;
    double left = 0.0;  ///< of every panel's rectangle
    double right = 0.0;
    std::vector<Panel> panels;
    Ticks timeTicks;          ///< in seconds or frames
    double unitsASecond = 1;  ///< of the time axis
    std::string title;        ///< empty where there is no room for one
    double titleBaseline = 0.0;
    bool axisTitles = true;
    double timeTitleBaseline = 0.0;
    double valueTitleBaseline = 0.0;
};

/// Width of the sample of line and mark in front of a legend entry's text.
double LegendSampleWidth(const Metrics& pMetrics);

Layout MakeLayout(Canvas& pCanvas, const std::vector<PictureCurve>& pCurves,
                  const PictureOptions& pOptions);

/// Position of a tick of the time axis.
double TimeTickX(const Layout& pLayout, const PictureOptions& pOptions, double pTick);
