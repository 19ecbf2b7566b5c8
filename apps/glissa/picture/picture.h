// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/picture/canvas.h"
#include "apps/glissa/picture/trace.h"

#include <optional>
#include <string>
#include <vector>

/// The unit of the values of a curve. Each unit has its own panel in a picture.
enum class Unit : int
{
    degrees,
    sceneUnits,
    factor  ///< scaling, and values without a unit
};

/// "degrees", "scene units" or "factor".
const char* UnitName(Unit pUnit);

/// One side of a tangent: the end of its handle.
struct Handle
{
    bool shown = false;
    KTime time;
    double value = 0.0;
};

struct PictureKey
{
    KTime time;
    double value = 0.0;
    Handle left;
    Handle right;
    bool hollow = false;  ///< a small white mark: of a film, a key that is not selected
};

struct PictureCurve
{
    std::string name;
    Unit unit = Unit::factor;
    Sampler value;
    std::vector<KTime> breaks;     ///< for TraceCurve, within the span of the picture
    std::vector<PictureKey> keys;  ///< ascending; keys outside the picture are not needed
    bool hasKeys = false;
    KTime first;          ///< time of the first key: the line is solid from here
    KTime last;           ///< time of the last key: to here
    bool strong = false;  ///< a thick line without marks, for a curve that has parts
    /// From 1: the number of this part of another curve. It is drawn thin, in the colour of that
    /// curve and with the pattern of its number.
    int part = 0;
    std::string whole;             ///< name of the curve that this one is a part of
    std::optional<Colour> colour;  ///< its display colour; the picture chooses one if it has none
    /// Whether this is the difference of two curves. Differences of a unit have their own panel,
    /// below the panel of the unit.
    bool isDifference = false;
    std::string label;  ///< in the legend; the name if empty
};

/// The box around selected keys, as an editor of curves shows it.
struct SelectionBox
{
    KTime from;
    KTime to;
    double low = 0.0;
    double high = 0.0;
};

struct PictureOptions
{
    std::string title;
    KTime from;
    KTime to;                  ///< after from
    double framesASecond = 0;  ///< if greater than 0 the time axis is in frames, else in seconds
    bool tangents = false;
    /// Names of two clips that are compared, or empty. Curves of the first clip are then parts 1 of
    /// those of the second clip. An empty second name is not in the legend.
    std::string firstClip;
    std::string secondClip;
    bool legend = true;
    /// The values of each panel, so that several pictures have one scale; empty for those of its
    /// curves.
    ValueRange values;
    std::optional<SelectionBox> selection;
    std::vector<KTime> markers;  ///< lines across all values
};

/// Greatest number of curves of one unit in a picture: seven colours times four shapes of marks.
constexpr int kMostCurvesAPanel = 28;
/// Smallest page in pixels with room for the axes.
constexpr int kLeastPictureWidth = 160;
constexpr int kLeastPictureHeight = 120;
/// Greatest side of a page. A square of this size is 256 MiB as an image.
constexpr int kMostPictureSide = 8192;

/// Draws the curves over time, with a panel for each unit and a common time axis.
///
/// Extrapolated parts of a curve are lighter and dashed. Marks of keys that would touch each other
/// are left out, with a note.
void DrawPicture(Canvas& pCanvas, const std::vector<PictureCurve>& pCurves,
                 const PictureOptions& pOptions);
