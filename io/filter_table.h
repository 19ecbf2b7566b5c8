// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "corvekit/math/matrix.h"
#include "corvekit/time.h"
#include "glissa/filter/filter.h"

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

/// What the number of a parameter means.
enum class FilterValue
{
    number,
    whole,    ///< cut to a whole number
    seconds,  ///< a time, rounded to the nearest tick
    flag      ///< 0 is off, 1 is on
};

/// What a filter has at even distances, by a parameter in seconds or hertz.
enum class FilterDensity
{
    none,
    samples,  ///< samples of one curve at a time
    keys      ///< keys of the result, which the clip keeps
};

/// A parameter of a filter, as users name it.
struct FilterParameter
{
    const char* mName;
    FilterValue mValue;
    /// "s", "Hz", "value" for the unit of the curve, or "" for a plain number.
    const char* mUnit;
    const char* mMeaning;
    /// The accepted range, both ends included. Infinite where there is no limit.
    double mLeast;
    double mGreatest;
    /// The default is this many frames of the clip ("s") or keys a frame ("Hz"); 0 for the default
    /// of the filter's class.
    double mFrames;
    /// Without it the filter would do nothing.
    bool mRequired;

    /// Of a parameter of one number. NaN where it is off until it is given.
    double (*mGet)(GlissaFilter& pFilter);
    /// Takes mCount numbers.
    void (*mSet)(GlissaFilter& pFilter, const double* pNumbers);
    FilterDensity mDensity = FilterDensity::none;
    /// Moves keys in time, unless it is 0: the clip becomes longer or shorter.
    bool mMovesTime = false;
    /// Numbers that would change nothing. A value that consists of them is refused.
    std::vector<double> mIdle = {};
    /// 1, or 3 for X, Y and Z.
    std::size_t mCount = 1;
};

/// What a filter is applied to.
enum class FilterScope
{
    curve,    ///< each curve by itself
    leaf,     ///< each curve through its node, whose name and parent set the thresholds
    vector,   ///< the channels of a node together
    rotation  ///< the three angles of a rotation node together; other nodes are passed over
};

/// How a filter treats a limited span of time.
enum class FilterSpan
{
    /// Changes values one by one, and those of keys around the span too. RunFilter filters the
    /// whole curve and puts the old one back outside the span.
    outward,
    /// Leaves the keys outside alone. The segments that the ends of the span cut follow the keys
    /// inside, and with automatic tangents the segments next to these do.
    inward,
    /// Always works on whole curves.
    none
};

/// Called while a filter works on a long curve, with the number of keys that are done.
using FilterProgress = std::function<void(std::int64_t pKeys)>;

/// A filter that hosts offer by name.
struct FilterEntry
{
    const char* mName;
    const char* mMeaning;
    /// What users should know before they take it; may be empty.
    const char* mNote;
    FilterScope mScope;
    FilterSpan mSpan;
    /// Samples or averages values: a curve of angles must have no jumps of whole turns.
    bool mSignal;
    std::vector<FilterParameter> mParameters;

    /// With the defaults of its class and an unbounded span. pProgress may be empty.
    std::unique_ptr<GlissaFilter> (*mMake)(const FilterProgress& pProgress);
    void (*mSetSpan)(GlissaFilter& pFilter, KTime pStart, KTime pStop);
    /// Does nothing without any of its parameters.
    bool mNeedsParameter = false;
    /// Without a span it would leave no key.
    bool mNeedsSpan = false;
    /// Moves a node within its parent: of a whole clip, users mean the root alone.
    bool mNeedsChoice = false;
    /// Takes samples at the plot period, which RunFilter sets to the frame of the clip meanwhile.
    bool mAtPlotPeriod = false;
    /// Whether, with its parameters, it takes the three angles of a rotation together and filters
    /// the orientations. Null for a filter that never does.
    bool (*mByOrientation)(GlissaFilter& pFilter) = nullptr;
    /// The turn that orientations are to get, which the report leaves out. Null for none.
    KgeRMatrix (*mTurn)(GlissaFilter& pFilter) = nullptr;

    /// Whether the result has its keys at even distances.
    bool MakesKeys() const;
    /// Null where there is no such parameter.
    const FilterParameter* Find(std::string_view pName) const;
    /// Whether it takes curves of a node together.
    bool NeedsNode() const
    {
        return mScope == FilterScope::vector || mScope == FilterScope::rotation;
    }
    /// The default of a parameter of one number for a clip whose frames last pFrame.
    double DefaultOf(const FilterParameter& pParameter, KTime pFrame) const;
};

/// Every filter, in the order in which a clip is usually cleaned.
const std::vector<FilterEntry>& FilterTable();
/// Null where there is no such filter.
const FilterEntry* FindFilter(std::string_view pName);
