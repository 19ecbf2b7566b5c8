// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/picture/layout.h"
#include "apps/glissa/picture/picture.h"

#include <vector>

/// The colour of titles, and the one of labels.
inline constexpr Colour kInk{0.13, 0.13, 0.13};
inline constexpr Colour kLabelInk{0.30, 0.30, 0.30};

/// Style of the line and the marks of a curve.
struct CurveStyle
{
    Colour colour;
    int shape = 0;  ///< of the marks: circle, square, triangle, diamond
    double width = 1.0;
    std::vector<double> dashes;
};

/// The colour of extrapolated parts and of lines below others.
Colour Lighter(const Colour& pColour);

/// The colour, darkened if it is too light on white. Channels are clamped to 0 to 1.
Colour OnWhite(const Colour& pColour);

/// The colour of each curve of a panel, as an index of the palette. If all names end in different
/// axes, /X, /Y and /Z, these are red, green and blue; otherwise the colours are in the order of
/// the palette. A part has the colour of its whole.
std::vector<int> ChooseColours(const std::vector<const PictureCurve*>& pCurves);

/// The style of each curve of a panel, with its display colour or the one of ChooseColours. Up to
/// four curves of one colour have different marks.
std::vector<CurveStyle> ChooseStyles(const std::vector<const PictureCurve*>& pCurves,
                                     const Metrics& pMetrics);
