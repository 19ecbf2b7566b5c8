// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "io/filter_table.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// A filter with the values of its parameters: one line of a recipe.
class FilterSetup
{
public:
    explicit FilterSetup(const FilterEntry& pEntry) : mEntry(&pEntry) {}

    const FilterEntry& GetEntry() const { return *mEntry; }
    /// Keeps the numbers of a parameter. Returns why they are refused: an unknown name, a name set
    /// twice, too many or too few numbers, one of the wrong kind, out of range or not finite; empty
    /// where they are kept.
    std::string Set(std::string_view pName, const std::vector<double>& pNumbers);
    /// Why the setup cannot run: a required parameter that is missing; empty where it can.
    std::string GetFault() const;
    /// Whether keys behind the span, or all keys, move in time.
    bool MovesTime() const;
    /// Whether it takes samples at the plot period, which is one for the process: such filters run
    /// one after the other.
    bool UsesPlotPeriod() const;
    /// FilterEntry::mByOrientation with these values.
    bool IsByOrientation() const;
    /// The numbers that were set, or null.
    const std::vector<double>* Get(const FilterParameter& pParameter) const;

    /// A filter with these values, and the defaults for a clip whose frames last pFrame.
    std::unique_ptr<GlissaFilter> Make(KTime pFrame, const FilterProgress& pProgress = {}) const;

private:
    struct Value
    {
        const FilterParameter* mParameter;
        std::vector<double> mNumbers;
    };

    const FilterEntry* mEntry;
    std::vector<Value> mValues;
};
