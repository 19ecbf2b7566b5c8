// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "io/filter_setup.h"

#include <string>
#include <vector>

/// Filters in the order in which they run.
using FilterRecipe = std::vector<FilterSetup>;

/// A filter as --apply has it: "butterworth:cutoff=6,order=4". A value is a number or a fraction
/// (1/60), times are in seconds; that of a flag is also on or off. Throws WrongArguments.
FilterSetup ParseFilter(const std::string& pText);

/// The text of a recipe, {"filters":[{"filter":"butterworth","cutoff":6}, ...]}. Throws Refusal
/// with the file name and the place.
FilterRecipe ParseRecipe(const std::string& pText, const std::string& pFileName);
/// Reads a file and parses it.
FilterRecipe ReadRecipe(const std::string& pPath);

/// The filters with their parameters, units, ranges and defaults, for people.
std::string DescribeFilters();

/// The same as a recipe that holds every filter with its defaults, and a description of each: what
/// is left of it after the filters that are not wanted are removed is a recipe.
std::string FilterTemplate();

/// "butterworth cutoff=6 order=4"
std::string SetupText(const FilterSetup& pSetup);
