// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The filters of rotations in the table of filters.

#include "glissa/filter/gimble_killer.h"
#include "glissa/filter/gimble_killer2.h"
#include "glissa/filter/roll.h"
#include "glissa/filter/unroll.h"
#include "glissa/filter/unroll_dof.h"
#include "io/filter_entries.h"
#include "io/quaternion_filter.h"

namespace
{
// A limit of one angle of a joint, off until it is given.

enum class Bound
{
    min,
    max
};

template <Bound Side, int Axis>
void SetLimit(GlissaFilter& pFilter, const double* pNumbers)
{
    using Dof = GlissaFilterUnrollDof;
    auto& unroll = static_cast<Dof&>(pFilter);
    constexpr bool kIsMin = Side == Bound::min;
    double limits[3];
    kIsMin ? unroll.GetMinFreedom(limits[0], limits[1], limits[2])
           : unroll.GetMaxFreedom(limits[0], limits[1], limits[2]);
    limits[Axis] = *pNumbers;
    kIsMin ? unroll.SetMinFreedom(limits[0], limits[1], limits[2])
           : unroll.SetMaxFreedom(limits[0], limits[1], limits[2]);
    constexpr void (Dof::*kEnable[2][3])(bool) = {
        {&Dof::SetEnableMinX, &Dof::SetEnableMinY, &Dof::SetEnableMinZ},
        {&Dof::SetEnableMaxX, &Dof::SetEnableMaxY, &Dof::SetEnableMaxZ}};
    (unroll.*kEnable[kIsMin ? 0 : 1][Axis])(true);
}

template <Bound Side, int Axis>
FilterParameter Limit(const char* pName, const char* pMeaning)
{
    constexpr double kMostDegrees = 1e6;
    return {pName,         FilterValue::number,  "degrees", pMeaning,
            -kMostDegrees, kMostDegrees,         0.0,       false,
            &NoDefault,    &SetLimit<Side, Axis>};
}

/// How unroll chooses what the next key is brought next to.
template <typename Filter>
std::vector<FilterParameter> UnrollParameters()
{
    return {Parameter<Filter, &Filter::GetTestForPath, &Filter::SetTestForPath>(
                "path", "", kFlag,
                "whether a key far away as angles and near as a rotation is no reference for the "
                "next"),
            Parameter<Filter, &Filter::GetQualityTolerance, &Filter::SetQualityTolerance>(
                "quality", "", kNotNegative,
                "with path: the squared turn over the squared distance of angles that makes a key "
                "a reference")};
}

std::vector<FilterParameter> LimitParameters()
{
    using Dof = GlissaFilterUnrollDof;
    std::vector<FilterParameter> parameters = {Limit<Bound::min, 0>("minx", "the least X"),
                                               Limit<Bound::max, 0>("maxx", "the greatest X"),
                                               Limit<Bound::min, 1>("miny", "the least Y"),
                                               Limit<Bound::max, 1>("maxy", "the greatest Y"),
                                               Limit<Bound::min, 2>("minz", "the least Z"),
                                               Limit<Bound::max, 2>("maxz", "the greatest Z")};
    for (const FilterParameter& each : UnrollParameters<Dof>()) {
        parameters.push_back(each);
    }
    return parameters;
}
}  // namespace

std::vector<FilterEntry> RotationFilters()
{
    using Killer = GlissaFilterGimbleKiller;
    using Killer2 = GlissaFilterGimbleKiller2;

    return {
        {"unroll", "Removes jumps of 360 degrees from rotations",
         "Whole turns between two keys are taken away, and the first key comes next to 0. Keys "
         "after a span follow by whole turns.",
         FilterScope::rotation, FilterSpan::inward, false, UnrollParameters<GlissaFilterUnroll>(),
         &Make<GlissaFilterUnroll>, &SetSpan},
        {"unroll-limits", "Removes jumps as unroll does, with angles within limits where possible",
         "A key that has no angles within all limits ignores them.", FilterScope::rotation,
         FilterSpan::inward, false, LimitParameters(), &Make<GlissaFilterUnrollDof>, &SetSpan},
        {"gimbal",
         "Adds keys to rotations so that they take the shortest way from key to key",
         "A key at each 8 degrees or so. Every key of the span becomes automatic: steps become "
         "ramps.",
         FilterScope::rotation,
         FilterSpan::inward,
         false,
         {Parameter<Killer, &Killer::GetApplyKeySyncFilter, &Killer::SetApplyKeySyncFilter>(
             "sync", "", kFlag, "whether the angles get keys at the same times first")},
         &Make<Killer>,
         &SetSpan},
        {"gimbal2",
         "Brings rotations after a run of keys near gimbal lock next to those before it",
         "Unrolls between such runs and adds no key; keys in them keep their angles.",
         FilterScope::rotation,
         // Only the search for runs keeps to a span.
         FilterSpan::none,
         false,
         {Parameter<Killer2, &Killer2::GetInterpolationQualityTolerance,
                    &Killer2::SetInterpolationQualityTolerance>(
             "quality", "", kNotNegative,
             "the squared turn over the squared distance of angles below which a key is in a run")},
         &Make<Killer2>,
         &SetSpan},
        {"roll",
         "Folds rotations into -180 to 180 degrees and holds the steps",
         "Keys around a step become linear and constant. A constant key that was automatic holds "
         "the next value.",
         FilterScope::rotation,
         FilterSpan::none,
         false,
         {},
         &Make<GlissaFilterRoll>,
         &SetSpan},
        {"quaternion",
         "Resamples rotations by their orientations, so that they take the shortest way",
         "All keys of the span become automatic, at even distances and where the angles change "
         "much "
         "faster than the rotation. Steps become ramps. The last key of the span is kept.",
         FilterScope::rotation,
         FilterSpan::inward,
         true,
         {Dense(FilterDensity::keys,
                InFrames(Parameter<QuaternionFilter, &QuaternionFilter::GetFramePeriod,
                                   &QuaternionFilter::SetFramePeriod>(
                             "period", "s", kPeriods, "the distance of the new keys"),
                         1.0))},
         &Make<QuaternionFilter>,
         &SetSpan},
    };
}
