// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/clip_nodes.h"
#include "apps/glissa/output.h"
#include "apps/glissa/sample_grid.h"

#include <string>
#include <string_view>
#include <vector>

/// Sampled curves and nodes. Values are evaluated as they are written and not kept. Numbers are the
/// shortest decimal that reads back as the same float, for times and blended values the same
/// double.
struct Table
{
    const ClipCurves* clip = nullptr;
    std::vector<NamedCurve*> curves;
    std::vector<NodeSeries> nodes;
    SampleGrid grid;
    bool slopes = false;  ///< also left and right slopes of curves, in units per second

    /// Number of columns without the time.
    std::uint64_t CountColumns() const;
};

/// A line of names, then a line for each sample: time in seconds, curves, nodes. With slopes each
/// curve has three columns, "Hips/R/X", "Hips/R/X left slope" and "Hips/R/X right slope". Lines end
/// with a line feed.
void WriteCsv(const Table& pTable, Output& pOutput);

/// One object: "clip", "rate", "times" and "curves", an array of objects with "name", "unit",
/// "values", with slopes "left_slopes" and "right_slopes", and for a layer of a node "layer".
/// Numbers that are not finite are null.
void WriteJson(const Table& pTable, Output& pOutput);

/// A field in the form of RFC 4180: in double quotes, with its own quotes doubled, if it has a
/// comma, a quote, a line end, or a blank at one end.
std::string CsvField(std::string_view pText);
