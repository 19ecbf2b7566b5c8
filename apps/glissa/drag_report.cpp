// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/drag_report.h"

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/count_text.h"
#include "apps/glissa/printable_text.h"
#include "apps/glissa/text_table.h"
#include "glissa/curve/curve.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
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

LargestChange ChangeOf(Glissa& pBefore, Glissa& pAfter, const KeyPlaces& pOld,
                       const KeyPlaces& pNew)
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
    LargestChange change;
    const auto look = [&](KTime pTime) {
        change.Look(pBefore.Evaluate(pTime, &hintBefore), pAfter.Evaluate(pTime, &hintAfter),
                    pTime);
    };
    for (std::size_t i = 0; i < times.size(); ++i) {
        const bool isBehindGap =
            i > 0 && inside && times[i - 1] < inside->from && times[i] > inside->to;
        if (i > 0 && !isBehindGap) {
            look(times[i - 1] + (times[i] - times[i - 1]) / 2);
        }
        look(times[i]);
    }
    return change;
}

DragResult ResultOf(const EditedCurve& pCurve, const Drag& pDrag)
{
    const KeyPlaces before = PlacesOf(*pCurve.before);
    KeyPlaces after = PlacesOf(*pCurve.curve);
    const int keysBefore = pCurve.before->KeyGetCount();
    DragResult result;
    result.name = pCurve.name;
    result.unit = pCurve.unit;
    DragCounts& counts = result.counts;
    counts.selected = static_cast<int>(before.marked.size());
    counts.copied = pDrag.GetRequest().keepsOriginals ? counts.selected : 0;
    counts.replaced = keysBefore + counts.copied - pCurve.curve->KeyGetCount();
    counts.moved = CountMoved(before.marked, after.marked);
    result.change = ChangeOf(*pCurve.before, *pCurve.curve, before, after);
    if (counts.copied > 0) {
        // The copies have the old places of selected keys.
        std::erase_if(after.others, [&](const KeyPlace& pEach) {
            return std::binary_search(before.marked.begin(), before.marked.end(), pEach);
        });
    }
    counts.followed = CountMoved(before.others, after.others);
    return result;
}

DragCounts SumsOf(const std::vector<DragResult>& pResults)
{
    DragCounts sums;
    for (const DragResult& each : pResults) {
        sums.selected += each.counts.selected;
        sums.moved += each.counts.moved;
        sums.followed += each.counts.followed;
        sums.copied += each.counts.copied;
        sums.replaced += each.counts.replaced;
    }
    return sums;
}

void AddFields(Json& pReport, const DragCounts& pCounts)
{
    pReport["keys_selected"] = pCounts.selected;
    pReport["keys_moved"] = pCounts.moved;
    pReport["keys_followed"] = pCounts.followed;
    pReport["keys_copied"] = pCounts.copied;
    pReport["keys_replaced"] = pCounts.replaced;
}
}  // namespace

std::vector<DragResult> ResultsOf(const Drag& pDrag)
{
    std::vector<DragResult> results;
    for (const EditedCurve& each : pDrag.GetCurves()) {
        DragResult result = ResultOf(each, pDrag);
        if (result.counts.selected > 0 || result.counts.followed > 0 || result.change.IsChanged()) {
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
        const DragCounts& counts = each.counts;
        std::vector<std::string> row = {
            each.name, std::to_string(counts.selected), std::to_string(counts.moved),
            std::to_string(counts.followed), std::to_string(counts.replaced)};
        AddCells(row, each.change, UnitName(each.unit));
        table.AddRow(std::move(row));
    }
    const DragCounts sums = SumsOf(pReport.results);
    std::string text = PrintableText(pReport.path) + ":\n" + table.GetText(2);
    text += fmt::format("  {}: {} of {} selected keys moved",
                        CountText(std::ssize(pReport.results), "curve"), sums.moved, sums.selected);
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
    Json json = ClipReportJson(pReport.path, pReport.output);
    AddFields(json, SumsOf(pReport.results));
    json["curves"] = Json::array();
    for (const DragResult& each : pReport.results) {
        Json curve;
        curve["name"] = each.name;
        curve["unit"] = UnitName(each.unit);
        AddFields(curve, each.counts);
        AddFields(curve, "largest_change_outside", each.change);
        json["curves"].push_back(curve);
    }
    return JsonReportText(json);
}
