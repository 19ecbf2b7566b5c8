// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "glissa/filter/filter.h"

#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

// Filters as values of tables.

using FilterPtr = std::shared_ptr<GlissaFilter>;
using Filters = std::vector<FilterPtr>;

/// A filter after some calls of setters, each a pair of a member and its argument.
template <typename Filter, typename... Setters>
FilterPtr With(Setters... pSetters)
{
    auto filter = std::make_shared<Filter>();
    (((*filter).*pSetters.first)(pSetters.second), ...);
    return filter;
}

inline FilterPtr InSpan(FilterPtr pFilter, KTime pStart, KTime pStop)
{
    pFilter->SetStartTime(pStart);
    pFilter->SetStopTime(pStop);
    return pFilter;
}

/// A filter for each argument of a setter, after other calls.
template <typename Filter, typename Setter, typename Value, typename... Setters>
Filters Each(Setter pSetter, std::initializer_list<Value> pValues, Setters... pOthers)
{
    Filters filters;
    for (const Value& each : pValues) {
        filters.push_back(With<Filter>(pOthers..., std::pair(pSetter, each)));
    }
    return filters;
}

inline Filters operator+(Filters pLeft, const Filters& pRight)
{
    pLeft.insert(pLeft.end(), pRight.begin(), pRight.end());
    return pLeft;
}
