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

/// Sampled curves and nodes on their way out. Values are evaluated as they are written, whatever
/// the number of samples: nothing is kept. Numbers are the shortest decimal that reads back as the
/// same float (times, and what layers blend: double).
struct Table
{
    const ClipCurves* clip = nullptr;
    std::vector<NamedCurve*> curves;
    std::vector<NodeSeries> nodes;
    SampleGrid grid;
    bool slopes = false;  ///< of curves: left and right slope beside each value, in units a second

    /// Of values, without that of the time.
    std::uint64_t CountColumns() const;
};

/// A line of names, then a line a sample: time in seconds, then the curves, then the nodes. With
/// slopes each curve has three columns, "Hips/R/X", "Hips/R/X left slope" and "Hips/R/X right
/// slope". Lines end with a line feed.
void WriteCsv(const Table& pTable, Output& pOutput);

/// One object: "clip", "rate", "times" and "curves", an array of objects with "name", "unit",
/// "values", and with slopes "left_slopes" and "right_slopes". Of a layer of a node it has "layer"
/// too. What is no finite number is null.
void WriteJson(const Table& pTable, Output& pOutput);

/// A field as RFC 4180 has it: between double quotes, with its own doubled, where it holds a
/// comma, a quote, a line end, or a blank at either end.
std::string CsvField(std::string_view pText);
