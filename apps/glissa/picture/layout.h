// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/picture/picture.h"
#include "apps/glissa/picture/ticks.h"

#include <string>
#include <vector>

/// Sizes of text and marks in pixels, in proportion to the page.
struct Metrics
{
    double scale = 1.0;
    double font = 12.0;
    double titleFont = 15.0;
    double gap = 6.0;  ///< between a text and other items
    double line = 1.6;
    double mark = 3.2;  ///< radius of the mark of a key

    static Metrics For(int pWidth, int pHeight);
};

struct LegendEntry
{
    /// Values of curve that are not an index of a curve of the panel.
    static constexpr int kNote = -1;  ///< a text without a sample
    static constexpr int kFirstClip = -2;
    static constexpr int kSecondClip = -3;

    std::string text;
    int curve = kNote;
    double x = 0.0;  ///< left end of the entry
    double y = 0.0;  ///< baseline
};

/// The curves of one unit, or their differences, and their rectangle.
struct Panel
{
    Unit unit = Unit::factor;
    bool isDifference = false;
    std::vector<const PictureCurve*> curves;
    DeviceScale scale;
    double top = 0.0;     ///< of the rectangle; the scale has a margin inside
    double bottom = 0.0;  ///< the same
    Ticks ticks;
    std::vector<LegendEntry> legend;
};

/// The positions of all items on a page.
struct Layout
{
    Metrics metrics;
    double left = 0.0;  ///< of the rectangles of all panels
    double right = 0.0;
    std::vector<Panel> panels;
    Ticks timeTicks;          ///< in seconds or frames
    double unitsASecond = 1;  ///< of the time axis
    std::string title;        ///< empty without room for one
    double titleBaseline = 0.0;
    bool axisTitles = true;
    double timeTitleBaseline = 0.0;
    double valueTitleBaseline = 0.0;
};

/// Adds the values that a panel shows of a curve: those of the curve at its breaks and at pSteps
/// evenly spaced times, and the handles of its keys.
void AddShownValues(ValueRange& pRange, const PictureCurve& pCurve, const PictureOptions& pOptions,
                    int pSteps);

Layout MakeLayout(Canvas& pCanvas, const std::vector<PictureCurve>& pCurves,
                  const PictureOptions& pOptions);

/// The x coordinate of a tick of the time axis.
double TimeTickX(const Layout& pLayout, const PictureOptions& pOptions, double pTick);
