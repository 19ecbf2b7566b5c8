// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/filter_recipe.h"
#include "io/filter_run.h"

#include <map>
#include <string>
#include <vector>

/// What one filter did to the curves of a clip.
struct StepReport
{
    std::string filter;  ///< "butterworth cutoff=6"
    std::vector<FilterResult> results;
    double seconds = 0.0;  ///< time taken
};

/// What a recipe did to a clip.
struct ClipReport
{
    std::string path;
    std::string output;  ///< empty where nothing is written
    std::string error;   ///< why the clip was not finished; empty where it was
    bool skipped = false;
    std::map<std::string, const char*> units;  ///< of each curve by name: "degrees"
    std::vector<std::string> warnings;
    std::vector<StepReport> steps;
};

/// A table for each filter with a line for each curve, and the sums. A clip that was skipped has
/// its SummaryLine.
std::string ReportText(const ClipReport& pReport);
/// One line: what changed in the whole clip, or that it failed or was skipped.
std::string SummaryLine(const ClipReport& pReport);

/// One object for one clip, an object with an array "clips" for any other number.
std::string ReportJson(const std::vector<ClipReport>& pReports);
