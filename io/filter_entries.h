// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "corvekit/time.h"
#include "glissa/filter/filter.h"
#include "io/filter_table.h"

#include <limits>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

// What the rows of the table of filters are made of.

/// Accepted values, both ends included.
struct FilterRange
{
    double mLeast;
    double mGreatest;
};

inline constexpr double kGreatestFloat = std::numeric_limits<float>::max();
/// The shortest time, and the longest one that users mean.
inline constexpr double kTick = 1.0 / 141120000.0;
inline constexpr double kMostSeconds = 1e9;

inline constexpr FilterRange kAny = {-kGreatestFloat, kGreatestFloat};
inline constexpr FilterRange kNotNegative = {0.0, kGreatestFloat};
inline constexpr FilterRange kPeriods = {kTick, kMostSeconds};
inline constexpr FilterRange kFlag = {0.0, 1.0};

template <typename T>
T FromNumber(double pNumber)
{
    if constexpr (std::is_same_v<T, KTime>) {
        return KTime::FromSeconds(pNumber);
    } else if constexpr (std::is_same_v<T, bool>) {
        return pNumber != 0.0;
    } else {
        return static_cast<T>(pNumber);
    }
}

template <typename T>
double ToNumber(const T& pValue)
{
    if constexpr (std::is_same_v<T, KTime>) {
        return pValue.GetSecondDouble();
    } else {
        return static_cast<double>(pValue);
    }
}

template <typename T>
constexpr FilterValue kValueOf = std::is_same_v<T, KTime>  ? FilterValue::seconds
                                 : std::is_same_v<T, bool> ? FilterValue::flag
                                 : std::is_same_v<T, int>  ? FilterValue::whole
                                                           : FilterValue::number;

/// Where the value of a parameter is read and written: a pair of accessors of the filter's class.
template <typename Filter, auto Get, auto Set>
struct Accessors
{
    using Type = std::decay_t<std::invoke_result_t<decltype(Get), Filter&>>;
    static double Read(GlissaFilter& pFilter)
    {
        return ToNumber<Type>((static_cast<Filter&>(pFilter).*Get)());
    }
    static void Write(GlissaFilter& pFilter, const double* pNumbers)
    {
        Type value = FromNumber<Type>(*pNumbers);
        (static_cast<Filter&>(pFilter).*Set)(value);
    }
};

/// A parameter that a pair of accessors holds.
template <typename Filter, auto Get, auto Set>
FilterParameter Parameter(const char* pName, const char* pUnit, FilterRange pRange,
                          const char* pMeaning)
{
    using Pair = Accessors<Filter, Get, Set>;
    return {pName,         kValueOf<typename Pair::Type>,
            pUnit,         pMeaning,
            pRange.mLeast, pRange.mGreatest,
            0.0,           false,
            &Pair::Read,   &Pair::Write};
}

inline FilterParameter Required(FilterParameter pParameter, std::vector<double> pIdle = {})
{
    pParameter.mRequired = true;
    pParameter.mIdle = std::move(pIdle);
    return pParameter;
}

inline FilterParameter InFrames(FilterParameter pParameter, double pFrames)
{
    pParameter.mFrames = pFrames;
    return pParameter;
}

inline FilterParameter MovesTime(FilterParameter pParameter)
{
    pParameter.mMovesTime = true;
    return pParameter;
}

inline FilterParameter Dense(FilterDensity pDensity, FilterParameter pParameter)
{
    pParameter.mDensity = pDensity;
    return pParameter;
}

/// Of a parameter that is off until it is given.
inline double NoDefault(GlissaFilter&)
{
    return std::numeric_limits<double>::quiet_NaN();
}

/// A filter of a class with its defaults.
template <typename Filter>
std::unique_ptr<GlissaFilter> Make(const FilterProgress&)
{
    auto filter = std::make_unique<Filter>();
    // Not every constructor sets the unbounded span.
    filter->Reset();
    return filter;
}

inline void SetSpan(GlissaFilter& pFilter, KTime pStart, KTime pStop)
{
    pFilter.SetStartTime(pStart);
    pFilter.SetStopTime(pStop);
}

/// The rows of the filters of rotations.
std::vector<FilterEntry> RotationFilters();
