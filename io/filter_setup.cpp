// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The values that a user gave to the parameters of a filter, tested as they come.

#include "io/filter_setup.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

std::string FilterSetup::Set(std::string_view pName, double pValue)
{
    const std::string name(pName);
    const FilterParameter* const parameter = mEntry->Find(pName);
    if (!parameter) {
        std::string known;
        for (const FilterParameter& each : mEntry->mParameters) {
            known += known.empty() ? "" : ", ";
            known += each.mName;
        }
        return std::string(mEntry->mName) + " has no parameter '" + name + "'" +
               (known.empty() ? "" : "; it has " + known);
    }
    if (Get(*parameter)) {
        return name + " is given twice";
    }
    if (parameter->mValue == FilterValue::flag && pValue != 0.0 && pValue != 1.0) {
        return name + " is on or off";
    }
    // Written so that a NaN is refused.
    if (!(pValue >= parameter->mLeast && pValue <= parameter->mGreatest)) {
        char range[64];
        std::snprintf(range, sizeof range, "%g to %g", parameter->mLeast, parameter->mGreatest);
        return name + " is out of range: " + range;
    }
    if (parameter->mValue == FilterValue::whole && pValue != std::floor(pValue)) {
        return name + " is a whole number";
    }
    if (std::find(parameter->mIdle.begin(), parameter->mIdle.end(), pValue) !=
        parameter->mIdle.end()) {
        return name + " is " + parameter->mMeaning;
    }
    mValues.push_back({parameter, pValue});
    return {};
}

std::string FilterSetup::GetFault() const
{
    for (const FilterParameter& each : mEntry->mParameters) {
        if (each.mRequired && !Get(each)) {
            return std::string(mEntry->mName) + " needs " + each.mName + "=NUMBER, " +
                   each.mMeaning;
        }
    }
    if (mEntry->mNeedsParameter && mValues.empty()) {
        std::string names;
        for (const FilterParameter& each : mEntry->mParameters) {
            names += (names.empty() ? "" : " or ") + std::string(each.mName) + "=NUMBER";
        }
        return std::string(mEntry->mName) + " needs " + names;
    }
    return {};
}

bool FilterSetup::MovesTime() const
{
    return std::any_of(mValues.begin(), mValues.end(), [](const Value& pEach) {
        return pEach.mParameter->mMovesTime && pEach.mNumber != 0.0;
    });
}

std::optional<double> FilterSetup::Get(const FilterParameter& pParameter) const
{
    for (const Value& each : mValues) {
        if (each.mParameter == &pParameter) {
            return each.mNumber;
        }
    }
    return std::nullopt;
}

std::unique_ptr<GlissaFilter> FilterSetup::Make(KTime pFrame, const FilterProgress& pProgress) const
{
    std::unique_ptr<GlissaFilter> filter = mEntry->mMake(pProgress);
    for (const FilterParameter& each : mEntry->mParameters) {
        if (each.mFrames != 0.0) {
            each.mSet(*filter, mEntry->DefaultOf(each, pFrame));
        }
    }
    for (const Value& each : mValues) {
        each.mParameter->mSet(*filter, each.mNumber);
    }
    return filter;
}
