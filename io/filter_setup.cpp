// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The values that a user gave to the parameters of a filter, tested as they come.

#include "io/filter_setup.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace
{
// How a parameter is written.
std::string FormOf(const FilterParameter& pParameter)
{
    return std::string(pParameter.mName) + (pParameter.mCount == 1 ? "=NUMBER" : "=X,Y,Z");
}

// Why a parameter cannot have a number; empty where it can.
std::string FaultOf(const FilterParameter& pParameter, double pNumber)
{
    const std::string name(pParameter.mName);
    if (pParameter.mValue == FilterValue::flag && pNumber != 0.0 && pNumber != 1.0) {
        return name + " is on or off";
    }
    // Written so that a NaN is refused.
    if (!(pNumber >= pParameter.mLeast && pNumber <= pParameter.mGreatest)) {
        char range[64];
        std::snprintf(range, sizeof range, "%g to %g", pParameter.mLeast, pParameter.mGreatest);
        return name + " is out of range: " + range;
    }
    if (pParameter.mValue == FilterValue::whole && pNumber != std::floor(pNumber)) {
        return name + " is a whole number";
    }
    return {};
}
}  // namespace

std::string FilterSetup::Set(std::string_view pName, const std::vector<double>& pNumbers)
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
    if (pNumbers.size() != parameter->mCount) {
        return name + (parameter->mCount == 1 ? " takes one number"
                                              : " takes three numbers: " + FormOf(*parameter));
    }
    for (const double each : pNumbers) {
        const std::string fault = FaultOf(*parameter, each);
        if (!fault.empty()) {
            return fault;
        }
    }
    const std::vector<double>& idle = parameter->mIdle;
    if (std::all_of(pNumbers.begin(), pNumbers.end(), [&](double pEach) {
            return std::find(idle.begin(), idle.end(), pEach) != idle.end();
        })) {
        return name + " is " + parameter->mMeaning;
    }
    mValues.push_back({parameter, pNumbers});
    return {};
}

std::string FilterSetup::GetFault() const
{
    for (const FilterParameter& each : mEntry->mParameters) {
        if (each.mRequired && !Get(each)) {
            return std::string(mEntry->mName) + " needs " + FormOf(each) + ", " + each.mMeaning;
        }
    }
    if (mEntry->mNeedsParameter && mValues.empty()) {
        std::string names;
        for (const FilterParameter& each : mEntry->mParameters) {
            names += (names.empty() ? "" : " or ") + FormOf(each);
        }
        return std::string(mEntry->mName) + " needs " + names;
    }
    return {};
}

bool FilterSetup::MovesTime() const
{
    return std::any_of(mValues.begin(), mValues.end(), [](const Value& pEach) {
        return pEach.mParameter->mMovesTime && pEach.mNumbers.front() != 0.0;
    });
}

bool FilterSetup::UsesPlotPeriod() const
{
    return mEntry->mAtPlotPeriod && (!mEntry->mByOrientation || IsByOrientation());
}

bool FilterSetup::IsByOrientation() const
{
    return mEntry->mByOrientation && mEntry->mByOrientation(*Make(KTime()));
}

const std::vector<double>* FilterSetup::Get(const FilterParameter& pParameter) const
{
    for (const Value& each : mValues) {
        if (each.mParameter == &pParameter) {
            return &each.mNumbers;
        }
    }
    return nullptr;
}

std::unique_ptr<GlissaFilter> FilterSetup::Make(KTime pFrame, const FilterProgress& pProgress) const
{
    std::unique_ptr<GlissaFilter> filter = mEntry->mMake(pProgress);
    for (const FilterParameter& each : mEntry->mParameters) {
        if (each.mFrames != 0.0) {
            const double number = mEntry->DefaultOf(each, pFrame);
            each.mSet(*filter, &number);
        }
    }
    for (const Value& each : mValues) {
        each.mParameter->mSet(*filter, each.mNumbers.data());
    }
    return filter;
}
