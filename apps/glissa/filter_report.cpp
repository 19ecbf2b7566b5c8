// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/filter_report.h"

#include "apps/glissa/curve_change.h"
#include "apps/glissa/printable_text.h"
#include "apps/glissa/text_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace
{
const char* OutcomeName(FilterOutcome pOutcome)
{
    switch (pOutcome) {
    case FilterOutcome::changed:
        return "changed";
    case FilterOutcome::unchanged:
        return "unchanged";
    case FilterOutcome::refused:
        return "refused";
    case FilterOutcome::outside:
        return "outside the span";
    case FilterOutcome::locked:
        return "locked";
    }
    return "";
}

// The sums of some curves that one or more filters worked on.
struct Sums
{
    int curves = 0;
    int changed = 0;
    int refused = 0;
    std::int64_t keysBefore = 0;
    std::int64_t keysAfter = 0;
    double seconds = 0.0;
    std::map<std::string_view, const FilterResult*> largest;  // by unit
};

const char* UnitOf(const ClipReport& pReport, const FilterResult& pResult)
{
    const auto found = pReport.units.find(pResult.mName);
    return found == pReport.units.end() ? "" : found->second;
}

LargestChange ChangeOf(const FilterResult& pResult)
{
    return {pResult.mLargestChange, pResult.mWhen};
}

// Takes the larger change of two.
void KeepLargest(const FilterResult*& pLargest, const FilterResult& pResult)
{
    if (!pLargest || pResult.mLargestChange > pLargest->mLargestChange) {
        pLargest = &pResult;
    }
}

Sums SumsOf(const ClipReport& pReport, const StepReport& pStep)
{
    Sums sums;
    sums.seconds = pStep.seconds;
    for (const FilterResult& each : pStep.results) {
        sums.curves += 1;
        sums.changed += each.mOutcome == FilterOutcome::changed ? 1 : 0;
        sums.refused += each.mOutcome == FilterOutcome::refused ? 1 : 0;
        sums.keysBefore += each.mKeysBefore;
        sums.keysAfter += each.mKeysAfter;
        if (each.mLargestChange > 0.0) {
            KeepLargest(sums.largest[UnitOf(pReport, each)], each);
        }
    }
    return sums;
}

std::string SumsText(const Sums& pSums, const char* pLargest)
{
    std::string text = pSums.changed == 0
                           ? fmt::format("{} curves, nothing changed", pSums.curves)
                           : fmt::format("{} of {} curves changed, {} keys to {}", pSums.changed,
                                         pSums.curves, pSums.keysBefore, pSums.keysAfter);
    if (pSums.refused > 0) {
        text += fmt::format(", {} refused", pSums.refused);
    }
    for (const auto& [unit, result] : pSums.largest) {
        text += fmt::format(", {} {:.4g} {} ({} at {:.3f} s)", pLargest, result->mLargestChange,
                            unit, PrintableText(result->mName), result->mWhen.GetSecondDouble());
        pLargest = "and";
    }
    return text + fmt::format(", {:.2f} s", pSums.seconds);
}

Json AsJson(const ClipReport& pReport)
{
    Json json = ClipReportJson(pReport.path, pReport.output);
    json["skipped"] = pReport.skipped;
    json["error"] = pReport.error.empty() ? Json() : Json(pReport.error);
    json["warnings"] = pReport.warnings;
    json["filters"] = Json::array();
    for (const StepReport& step : pReport.steps) {
        const Sums sums = SumsOf(pReport, step);
        Json filter;
        filter["filter"] = step.filter;
        filter["seconds"] = step.seconds;
        filter["curves_changed"] = sums.changed;
        filter["curves_refused"] = sums.refused;
        filter["keys_before"] = sums.keysBefore;
        filter["keys_after"] = sums.keysAfter;
        filter["curves"] = Json::array();
        for (const FilterResult& each : step.results) {
            Json curve;
            curve["name"] = each.mName;
            curve["unit"] = UnitOf(pReport, each);
            curve["outcome"] = OutcomeName(each.mOutcome);
            curve["message"] = each.mMessage;
            curve["keys_before"] = each.mKeysBefore;
            curve["keys_after"] = each.mKeysAfter;
            AddFields(curve, "largest_change", ChangeOf(each));
            filter["curves"].push_back(curve);
        }
        json["filters"].push_back(filter);
    }
    return json;
}
}  // namespace

std::string ReportText(const ClipReport& pReport)
{
    using enum TextTable::Align;
    if (pReport.skipped) {
        return SummaryLine(pReport);
    }
    std::string text;
    for (const StepReport& step : pReport.steps) {
        TextTable table({{"curve", left},
                         {"keys", right, 8},
                         {"after", right, 8},
                         {"largest change", right},
                         {"unit", left, 11},
                         {"at", right, 9},
                         {"", left}});
        for (const FilterResult& each : step.results) {
            std::string outcome =
                each.mOutcome == FilterOutcome::changed ? "" : OutcomeName(each.mOutcome);
            if (!each.mMessage.empty()) {
                outcome += (outcome.empty() ? "" : ": ") + each.mMessage;
            }
            std::vector<std::string> row = {each.mName, std::to_string(each.mKeysBefore),
                                            std::to_string(each.mKeysAfter)};
            AddCells(row, ChangeOf(each), UnitOf(pReport, each));
            row.push_back(std::move(outcome));
            table.AddRow(std::move(row));
        }
        text += fmt::format("{}: {}\n", PrintableText(pReport.path), step.filter);
        text += table.GetText(2);
        text += fmt::format("  {}\n", SumsText(SumsOf(pReport, step), "largest change"));
    }
    return text;
}

std::string SummaryLine(const ClipReport& pReport)
{
    std::string text = PrintableText(pReport.path) + ": ";
    if (!pReport.error.empty()) {
        return text + "failed\n";
    }
    if (pReport.skipped) {
        return text + fmt::format("skipped, {} is newer\n", PrintableText(pReport.output));
    }
    // The keys of the clip before the first filter and after the last one.
    Sums sums;
    for (const StepReport& step : pReport.steps) {
        const Sums each = SumsOf(pReport, step);
        sums.curves = std::max(sums.curves, each.curves);
        sums.changed = std::max(sums.changed, each.changed);
        sums.refused += each.refused;
        sums.seconds += each.seconds;
        sums.keysBefore = &step == &pReport.steps.front() ? each.keysBefore : sums.keysBefore;
        sums.keysAfter = each.keysAfter;
        for (const auto& [unit, result] : each.largest) {
            KeepLargest(sums.largest[unit], *result);
        }
    }
    return text + SumsText(sums, "largest change in one filter") + '\n';
}

std::string ReportJson(const std::vector<ClipReport>& pReports)
{
    Json json;
    if (pReports.size() == 1) {
        json = AsJson(pReports.front());
    } else {
        json["clips"] = Json::array();
        for (const ClipReport& each : pReports) {
            json["clips"].push_back(AsJson(each));
        }
    }
    return JsonReportText(json);
}
