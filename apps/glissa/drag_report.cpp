// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/drag_report.h"

#include "apps/glissa/json_report.h"
#include "apps/glissa/printable_text.h"
#include "apps/glissa/text_table.h"
#include "glissa/curve/curve.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace
{
using KeyPlace = std::pair<KTime, float>;

// The keys of a curve in two groups.
struct KeyPlaces
{
    std::vector<KeyPlace> marked;
    std::vector<KeyPlace> others;
};

KeyPlaces PlacesOf(Glissa& pCurve)
{
    KeyPlaces places;
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        auto& group = pCurve.KeyGetMarkedForManipulation(i) ? places.marked : places.others;
        group.emplace_back(pCurve.KeyGetTime(i), pCurve.KeyGetValue(i));
    }
    return places;
}

// The keys of a group at another place than before. They are paired in order; where some of them
// are gone, a key counts that has a new place.
int CountMoved(const std::vector<KeyPlace>& pBefore, const std::vector<KeyPlace>& pAfter)
{
    int moved = 0;
    if (pBefore.size() == pAfter.size()) {
        for (std::size_t i = 0; i < pAfter.size(); ++i) {
            moved += pAfter[i] != pBefore[i] ? 1 : 0;
        }
        return moved;
    }
    for (const KeyPlace& each : pAfter) {
        moved += std::binary_search(pBefore.begin(), pBefore.end(), each) ? 0 : 1;
    }
    return moved;
}

// The times of the selected keys at their old and new places; nullopt without any.
std::optional<TimeSpan> SpanOf(const KeyPlaces& pBefore, const KeyPlaces& pAfter)
{
    std::optional<TimeSpan> span;
    for (const auto* const each : {&pBefore.marked, &pAfter.marked}) {
        if (!each->empty()) {
            span = SpanOfBoth(span, TimeSpan{each->front().first, each->back().first});
        }
    }
    return span;
}

void FindLargestChange(Glissa& pBefore, Glissa& pAfter, const KeyPlaces& pOld,
                       const KeyPlaces& pNew, DragResult& pResult)
{
    const std::optional<TimeSpan> inside = SpanOf(pOld, pNew);
    std::vector<KTime> times;
    for (const auto* const group : {&pOld.others, &pNew.others}) {
        for (const KeyPlace& each : *group) {
            if (!inside || each.first < inside->from || each.first > inside->to) {
                times.push_back(each.first);
            }
        }
    }
    std::sort(times.begin(), times.end());
    int hintBefore = 0;
    int hintAfter = 0;
    const auto look = [&](KTime pTime) {
        const double difference = std::fabs(double{pAfter.Evaluate(pTime, &hintAfter)} -
                                            double{pBefore.Evaluate(pTime, &hintBefore)});
        // Between huge values a curve may have no number.
        const double change = std::isnan(difference) ? HUGE_VAL : difference;
        if (change > pResult.largestChange) {
            pResult.largestChange = change;
            pResult.when = pTime;
        }
    };
    for (std::size_t i = 0; i < times.size(); ++i) {
        const bool isBehindGap =
            i > 0 && inside && times[i - 1] < inside->from && times[i] > inside->to;
        if (i > 0 && !isBehindGap) {
            look(times[i - 1] + (times[i] - times[i - 1]) / 2);
        }
        look(times[i]);
    }
}

DragResult ResultOf(const DragCurve& pCurve, const Drag& pDrag)
{
    const KeyPlaces before = PlacesOf(*pCurve.before);
    KeyPlaces after = PlacesOf(*pCurve.curve);
    const int keysBefore = pCurve.before->KeyGetCount();
    DragResult result;
    result.name = pCurve.name;
    result.unit = pCurve.unit;
    result.selected = static_cast<int>(before.marked.size());
    result.copied = pDrag.GetRequest().keepsOriginals ? result.selected : 0;
    result.replaced = keysBefore + result.copied - pCurve.curve->KeyGetCount();
    result.moved = CountMoved(before.marked, after.marked);
    FindLargestChange(*pCurve.before, *pCurve.curve, before, after, result);
    if (result.copied > 0) {
        // The copies have the old places of selected keys.
        std::erase_if(after.others, [&](const KeyPlace& pEach) {
            return std::binary_search(before.marked.begin(), before.marked.end(), pEach);
        });
    }
    result.followed = CountMoved(before.others, after.others);
    return result;
}

struct Sums
{
    int curves = 0;
    int selected = 0;
    int moved = 0;
    int followed = 0;
    int copied = 0;
    int replaced = 0;
};

Sums SumsOf(const std::vector<DragResult>& pResults)
{
    Sums sums;
    for (const DragResult& each : pResults) {
        sums.curves += 1;
        sums.selected += each.selected;
        sums.moved += each.moved;
        sums.followed += each.followed;
        sums.copied += each.copied;
        sums.replaced += each.replaced;
    }
    return sums;
}
}  // namespace

std::vector<DragResult> ResultsOf(const Drag& pDrag)
{
    std::vector<DragResult> results;
    for (const DragCurve& each : pDrag.GetCurves()) {
        DragResult result = ResultOf(each, pDrag);
        if (result.selected > 0 || result.followed > 0 || result.largestChange > 0.0) {
            results.push_back(std::move(result));
        }
    }
    return results;
}

std::string ReportText(const DragReport& pReport)
{
    using enum TextTable::Align;
    TextTable table({{"curve", left},
                     {"selected", right},
                     {"moved", right},
                     {"followed", right},
                     {"replaced", right},
                     {"change outside", right},
                     {"unit", left, 11},
                     {"at", right}});
    for (const DragResult& each : pReport.results) {
        const bool isChanged = each.largestChange > 0.0;
        table.AddRow({each.name, std::to_string(each.selected), std::to_string(each.moved),
                      std::to_string(each.followed), std::to_string(each.replaced),
                      isChanged ? fmt::format("{:.6g}", each.largestChange) : "none",
                      isChanged ? UnitName(each.unit) : "",
                      isChanged ? fmt::format("{:.3f} s", each.when.GetSecondDouble()) : ""});
    }
    const Sums sums = SumsOf(pReport.results);
    std::string text = PrintableText(pReport.path) + ":\n" + table.GetText(2);
    text += fmt::format("  {} curve{}: {} of {} selected keys moved", sums.curves,
                        sums.curves == 1 ? "" : "s", sums.moved, sums.selected);
    if (sums.followed > 0) {
        text += fmt::format(", {} others followed", sums.followed);
    }
    if (sums.copied > 0) {
        text += fmt::format(", {} copied", sums.copied);
    }
    return text + fmt::format(", {} replaced\n", sums.replaced);
}

std::string ReportJson(const DragReport& pReport)
{
    const Sums sums = SumsOf(pReport.results);
    Json json;
    json["clip"] = pReport.path;
    json["output"] = pReport.output.empty() ? Json() : Json(pReport.output);
    json["keys_selected"] = sums.selected;
    json["keys_moved"] = sums.moved;
    json["keys_followed"] = sums.followed;
    json["keys_copied"] = sums.copied;
    json["keys_replaced"] = sums.replaced;
    json["curves"] = Json::array();
    for (const DragResult& each : pReport.results) {
        Json curve;
        curve["name"] = each.name;
        curve["unit"] = UnitName(each.unit);
        curve["keys_selected"] = each.selected;
        curve["keys_moved"] = each.moved;
        curve["keys_followed"] = each.followed;
        curve["keys_copied"] = each.copied;
        curve["keys_replaced"] = each.replaced;
        curve["largest_change_outside"] = each.largestChange;
        curve["at"] = each.largestChange > 0.0 ? Json(each.when.GetSecondDouble()) : Json();
        json["curves"].push_back(curve);
    }
    return JsonReportText(json);
}
