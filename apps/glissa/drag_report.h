// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/curve_change.h"
#include "apps/glissa/drag_run.h"

#include <string>
#include <vector>

/// What a drag did to the keys of some curves.
struct DragCounts
{
    int selected = 0;
    int moved = 0;     ///< selected keys with another time or value than before
    int followed = 0;  ///< other keys, by falloff or ripple
    int copied = 0;    ///< keys that remain at the old places
    int replaced = 0;  ///< keys that are gone, as another one landed on their time
};

/// What a drag did to a curve.
struct DragResult
{
    std::string name;
    Unit unit = Unit::factor;
    DragCounts counts;
    /// The largest change of the value outside the selection: at the times of the keys that are not
    /// selected, before and after, and halfway between them, without those between the selected
    /// keys at their old or their new places.
    LargestChange change;
};

/// The results of the curves with selected keys, and of others that changed. Called before
/// Drag::Finish.
std::vector<DragResult> ResultsOf(const Drag& pDrag);

/// A drag of a clip, for its report.
struct DragReport
{
    std::string path;
    std::string output;  ///< empty where nothing is written
    std::vector<DragResult> results;
};

/// A table with a line for each curve, and the sums.
std::string ReportText(const DragReport& pReport);
std::string ReportJson(const DragReport& pReport);
