// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/picture/canvas.h"
#include "apps/glissa/picture/trace.h"

#include <optional>
#include <string>
#include <vector>

/// What the values of a curve are counted in. Each has a panel of its own in a picture.
enum class Unit : int
{
    degrees,
    sceneUnits,
    factor  ///< scale, and what has no unit
};

/// "degrees", "scene units" or "factor".
const char* UnitName(Unit pUnit);

/// One side of a tangent: the point that its handle line ends at.
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
};

struct PictureCurve
{
    std::string name;
    Unit unit = Unit::factor;
    Sampler value;
    std::vector<KTime> breaks;     ///< as TraceCurve takes them, between from and to of the picture
    std::vector<PictureKey> keys;  ///< in order of time; those outside the picture are not needed
    bool hasKeys = false;
    KTime first;          ///< of all keys: drawn solid from here
    KTime last;           ///< to here
    bool strong = false;  ///< a thicker line without marks in the legend: others are parts of it
    /// From 1 on: which part of another curve this one is. It is thin, in the colour of that curve
    /// and the pattern of its number.
    int part = 0;
    std::string whole;             ///< name of the curve that this one is a part of
    std::optional<Colour> colour;  ///< its own; without one the picture chooses
    /// What one curve has more than another. Differences of a unit have a panel of their own, below
    /// that of the unit.
    bool isDifference = false;
    std::string label;  ///< in the legend; empty for the name
};

struct PictureOptions
{
    std::string title;
    KTime from;
    KTime to;                  ///< after from
    double framesASecond = 0;  ///< above 0 the time axis counts frames, otherwise seconds
    bool tangents = false;
    /// Names of two clips that are compared, or empty: the first parts are curves of the first
    /// clip, their wholes those of the second one.
    std::string firstClip;
    std::string secondClip;
};

/// Most curves of one unit in a picture: seven colours by four shapes of mark.
constexpr int kMostCurvesAPanel = 28;
/// Smallest page, in pixels, that has room for the axes.
constexpr int kLeastPictureWidth = 160;
constexpr int kLeastPictureHeight = 120;
/// Largest side of a page. A square of it takes 256 MiB as an image.
constexpr int kMostPictureSide = 8192;

/// Draws the curves over time, a panel for each unit that occurs, on one time axis.
///
/// Times before the first and after the last key of a curve are extrapolated, and drawn lighter
/// and dashed. Marks of keys that would touch each other are left out, and a note says so.
void DrawPicture(Canvas& pCanvas, const std::vector<PictureCurve>& pCurves,
                 const PictureOptions& pOptions);

/// Indices of the points that keep at least pDistance from each other, taken in order.
std::vector<std::size_t> ThinPoints(const std::vector<DevicePoint>& pPoints, double pDistance);
