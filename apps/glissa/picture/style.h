// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/picture/layout.h"
#include "apps/glissa/picture/picture.h"

#include <vector>

/// How the line and the marks of a curve are drawn.
struct CurveStyle
{
    Colour colour;
    int shape = 0;  ///< of the marks: circle, square, triangle, diamond
    double width = 1.0;
    std::vector<double> dashes;
};

/// The colour of what is drawn beyond the keys, or below another line.
Colour Lighter(const Colour& pColour);

/// The colour, darkened as far as white paper needs it. Channels outside 0 to 1 are clamped.
Colour OnWhite(const Colour& pColour);

/// The colour of each curve of a panel, as an index into the palette: curves whose names end in /X,
/// /Y and /Z take red, green and blue, as far as no two take the same; otherwise all follow the
/// order of the palette. A part has the colour of its whole.
std::vector<int> ChooseColours(const std::vector<const PictureCurve*>& pCurves);

/// The style of each curve of a panel: its own colour where it has one, else that of
/// ChooseColours. Curves of one colour differ in the shape of their marks, four in a row.
std::vector<CurveStyle> ChooseStyles(const std::vector<const PictureCurve*>& pCurves,
                                     const Metrics& pMetrics);
