// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/curve_change.h"

#include <fmt/format.h>

#include <cmath>

void LargestChange::Look(float pBefore, float pAfter, KTime pWhen)
{
    const double difference = std::fabs(static_cast<double>(pAfter) - static_cast<double>(pBefore));
    const double change = std::isnan(difference) ? HUGE_VAL : difference;
    if (change > amount) {
        amount = change;
        when = pWhen;
    }
}

void AddCells(std::vector<std::string>& pRow, const LargestChange& pChange, const char* pUnit)
{
    const bool isChanged = pChange.IsChanged();
    pRow.push_back(isChanged ? fmt::format("{:.6g}", pChange.amount) : "none");
    pRow.emplace_back(isChanged ? pUnit : "");
    pRow.push_back(isChanged ? fmt::format("{:.3f} s", pChange.when.GetSecondDouble()) : "");
}

void AddFields(Json& pCurve, const char* pName, const LargestChange& pChange)
{
    pCurve[pName] = pChange.amount;
    pCurve["at"] = pChange.IsChanged() ? Json(pChange.when.GetSecondDouble()) : Json();
}

Json ClipReportJson(const std::string& pPath, const std::string& pOutput)
{
    Json json;
    json["clip"] = pPath;
    json["output"] = pOutput.empty() ? Json() : Json(pOutput);
    return json;
}
