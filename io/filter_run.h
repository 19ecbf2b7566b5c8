// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "io/angle_jumps.h"
#include "io/filter_setup.h"

#include <cstdint>
#include <string>
#include <vector>

class Glissa;
class GlissaNode;

/// A curve that filters are applied to.
struct FilterChannel
{
    std::string mName;
    Glissa* mCurve = nullptr;
    GlissaNode* mLeaf = nullptr;  ///< the node that holds the curve
};

/// Curves that a filter for several curves takes together.
struct FilterTarget
{
    std::string mName;
    GlissaNode* mNode = nullptr;  ///< null where the curves were chosen one by one
    std::vector<FilterChannel> mChannels;
};

/// Both ends are included.
struct FilterTimes
{
    KTime mStart = KTime::MinusInfinite();
    KTime mStop = KTime::Infinite();

    bool IsLimited() const
    {
        return mStart != KTime::MinusInfinite() || mStop != KTime::Infinite();
    }
};

enum class FilterOutcome
{
    changed,
    unchanged,  ///< the filter had nothing to do
    refused,    ///< the filter refused its parameters or the curve
    outside,    ///< all keys are outside the span
    locked
};

/// What a filter did to a curve.
struct FilterResult
{
    std::string mName;
    FilterOutcome mOutcome = FilterOutcome::unchanged;
    std::string mMessage;  ///< why it is refused, or what to know of the change; may be empty
    std::int64_t mKeysBefore = 0;
    std::int64_t mKeysAfter = 0;
    /// The largest distance between the curve before and after, in its unit, at the key times of
    /// both and halfway between them, and the first time where it is. Of a filter of rotations the
    /// largest turn in degrees between the orientations, the same for its three curves; of a filter
    /// that turns them on purpose, the turn from where they are to be.
    double mLargestChange = 0.0;
    KTime mWhen;
};

/// Whether the curves of a target are the angles of a rotation, which FilterScope::rotation takes.
bool IsRotation(const FilterTarget& pTarget);

/// Applies a filter to each target and reports each curve. A filter of rotations passes over the
/// other targets: no result is theirs.
///
/// The keys outside a limited span stay as they are, also under filters that work on the keys
/// around it (FilterSpan::outward): a curve that such a filter changes gets two keys, a tick apart,
/// at each end of the span that is between its keys, and is the old curve outside and the filtered
/// one inside. A clamp limits all of the span. A curve that the filter leaves alone or refuses is
/// as it was.
///
/// pTimes     unbounded for a filter without a span
/// pFrame     how long a frame of the clip is; the plot period of the process meanwhile, for a
///            setup that UsesPlotPeriod: no other thread may run one then
/// pProgress  called with the keys done so far, of those of all targets; may be empty
std::vector<FilterResult> RunFilter(const FilterSetup& pSetup,
                                    const std::vector<FilterTarget>& pTargets,
                                    const FilterTimes& pTimes, KTime pFrame,
                                    const FilterProgress& pProgress);

/// The jumps of the curves of rotations within a span, or into or out of it.
///
/// pFrame  how long a frame of the clip is
AngleJumps FindAngleJumps(const std::vector<FilterTarget>& pTargets, const FilterTimes& pTimes,
                          KTime pFrame);

/// The curves of rotations whose first step, within a span, is more than three times any other one
/// and above five degrees: clips often begin with a reference pose. By name, in the order of the
/// targets.
std::vector<std::string> FindReferencePose(const std::vector<FilterTarget>& pTargets,
                                           const FilterTimes& pTimes);

/// The most keys that a filter at even distances would make of all targets together, or the most
/// samples that it would take of one curve, whichever is greater; about, and 0 for other filters.
double CountSamples(const FilterSetup& pSetup, const std::vector<FilterTarget>& pTargets,
                    const FilterTimes& pTimes, KTime pFrame);

/// The keys of all targets, which RunFilter counts as work.
std::int64_t CountKeys(const std::vector<FilterTarget>& pTargets);
