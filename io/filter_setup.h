// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "io/filter_table.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A filter with the values of its parameters: one line of a recipe.
class FilterSetup
{
public:
    explicit FilterSetup(const FilterEntry& pEntry) : mEntry(&pEntry) {}

    const FilterEntry& GetEntry() const { return *mEntry; }
    /// Keeps a value. Returns why it is refused: an unknown name, a name set twice, a value of the
    /// wrong kind, out of range or not finite; empty where it is kept.
    std::string Set(std::string_view pName, double pValue);
    /// Why the setup cannot run: a required parameter that is missing; empty where it can.
    std::string GetFault() const;
    /// Whether keys behind the span, or all keys, move in time.
    bool MovesTime() const;
    /// The value that was set.
    std::optional<double> Get(const FilterParameter& pParameter) const;

    /// A filter with these values, and the defaults for a clip whose frames last pFrame.
    std::unique_ptr<GlissaFilter> Make(KTime pFrame, const FilterProgress& pProgress = {}) const;

private:
    struct Value
    {
        const FilterParameter* mParameter;
        double mNumber;
    };

    const FilterEntry* mEntry;
    std::vector<Value> mValues;
};
