// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Moves markers of time and the keys around them, and writes the clip, or a film of the move.

#include "apps/glissa/clip_nodes.h"
#include "apps/glissa/command.h"
#include "apps/glissa/count_text.h"
#include "apps/glissa/curve_change.h"
#include "apps/glissa/edit_options.h"
#include "apps/glissa/printable_text.h"
#include "apps/glissa/retime_run.h"
#include "apps/glissa/shared_options.h"
#include "apps/glissa/text_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <memory>

namespace
{
constexpr double kMargin = 0.05;  // of a film, in parts of its span of time

struct RetimeOptions : EditOptions
{
    std::vector<std::string> markers, locks;
};

struct RetimeCounts
{
    int keys = 0;
    int moved = 0;
    int replaced = 0;  ///< keys that came to the time of another one
};

struct RetimeResult
{
    std::string name;
    Unit unit = Unit::factor;
    RetimeCounts counts;
    /// The old curve at a time against the new one where that time is now. It has the old time.
    LargestChange change;
};

RetimeResult ResultOf(const EditedCurve& pCurve, const std::vector<RetimeMove>& pMoves)
{
    Glissa& before = *pCurve.before;
    Glissa& after = *pCurve.curve;
    RetimeResult result;
    result.name = pCurve.name;
    result.unit = pCurve.unit;
    RetimeCounts& counts = result.counts;
    counts.keys = before.KeyGetCount();
    counts.replaced = counts.keys - after.KeyGetCount();
    int hintBefore = 0;
    int hintAfter = 0;
    const auto look = [&](KTime pOld, KTime pNew) {
        result.change.Look(before.Evaluate(pOld, &hintBefore), after.Evaluate(pNew, &hintAfter),
                           pOld);
    };
    for (int i = 0; i < counts.keys; ++i) {
        const KTime old = before.KeyGetTime(i);
        if (i > 0) {
            const KTime last = before.KeyGetTime(i - 1);
            const KTime middle = last + (old - last) / 2;
            look(middle, RetimedTime(pMoves, middle));
        }
        // A tick beside a key of a step there is another value.
        const KTime now = counts.replaced == 0 ? after.KeyGetTime(i) : RetimedTime(pMoves, old);
        counts.moved += now != old ? 1 : 0;
        look(old, now);
    }
    return result;
}

RetimeCounts SumsOf(const std::vector<RetimeResult>& pResults)
{
    RetimeCounts sums;
    for (const RetimeResult& each : pResults) {
        sums.keys += each.counts.keys;
        sums.moved += each.counts.moved;
        sums.replaced += each.counts.replaced;
    }
    return sums;
}

void AddFields(Json& pReport, const RetimeCounts& pCounts)
{
    pReport["keys"] = pCounts.keys;
    pReport["keys_moved"] = pCounts.moved;
    pReport["keys_replaced"] = pCounts.replaced;
}

std::string TextOf(const RetimeOptions& pOptions, const std::vector<RetimeMove>& pMoves,
                   const std::vector<RetimeResult>& pResults)
{
    using enum TextTable::Align;
    TextTable table({{"curve", left},
                     {"keys", right},
                     {"moved", right},
                     {"replaced", right},
                     {"change", right},
                     {"unit", left, 11},
                     {"at", right}});
    for (const RetimeResult& each : pResults) {
        std::vector<std::string> row = {each.name, std::to_string(each.counts.keys),
                                        std::to_string(each.counts.moved),
                                        std::to_string(each.counts.replaced)};
        AddCells(row, each.change, UnitName(each.unit));
        table.AddRow(std::move(row));
    }
    std::string text = PrintableText(pOptions.path) + ":\n" + table.GetText(2) + "  markers:";
    for (const RetimeMove& each : pMoves) {
        text += fmt::format(" {:.6g}", each.from.GetSecondDouble());
        if (each.to != each.from) {
            text += fmt::format("={:.6g}", each.to.GetSecondDouble());
        }
    }
    const RetimeCounts sums = SumsOf(pResults);
    return text + fmt::format(" s\n  {}: {} of {} keys moved, {} replaced\n",
                              CountText(std::ssize(pResults), "curve"), sums.moved, sums.keys,
                              sums.replaced);
}

std::string JsonOf(const RetimeOptions& pOptions, const std::vector<RetimeMove>& pMoves,
                   const std::vector<RetimeResult>& pResults)
{
    Json json = ClipReportJson(pOptions.path, pOptions.output);
    AddFields(json, SumsOf(pResults));
    json["markers"] = Json::array();
    for (const RetimeMove& each : pMoves) {
        Json marker;
        marker["from"] = each.from.GetSecondDouble();
        marker["to"] = each.to.GetSecondDouble();
        json["markers"].push_back(marker);
    }
    json["curves"] = Json::array();
    for (const RetimeResult& each : pResults) {
        Json curve;
        curve["name"] = each.name;
        curve["unit"] = UnitName(each.unit);
        AddFields(curve, each.counts);
        AddFields(curve, "largest_change", each.change);
        json["curves"].push_back(curve);
    }
    return JsonReportText(json);
}

std::vector<int> LayersOf(const ClipCurves& pClip, const std::string& pName)
{
    if (!pName.empty()) {
        return {FindLayerInfo(pClip, pName).GetLayerID()};
    }
    std::vector<int> layers = {0};
    for (const auto& each : pClip.owner.GetNodes().GetLayers().GetAll()) {
        layers.push_back(each->mId);
    }
    return layers;
}

// The curves of a film: those that were chosen; without a choice those of the first node.
std::vector<const EditedCurve*> FilmCurves(const Retime& pRetime, bool pIsChoice)
{
    std::vector<const EditedCurve*> shown;
    GlissaNode* const node = pRetime.GetCurves().front().leaf->GetParent();
    for (const EditedCurve& each : pRetime.GetCurves()) {
        if (pIsChoice || each.leaf->GetParent() == node) {
            shown.push_back(&each);
        }
    }
    return shown;
}

// From the first to the last key or marker, before and after.
TimeSpan SpanOf(const Retime& pRetime)
{
    const std::vector<RetimeMove>& moves = pRetime.GetMoves();
    std::optional<TimeSpan> span = TimeSpan{std::min(moves.front().from, moves.front().to),
                                            std::max(moves.back().from, moves.back().to)};
    for (const EditedCurve& each : pRetime.GetCurves()) {
        span = SpanOfBoth(span, KeySpan(std::vector<Glissa*>{each.curve, each.before.get()}));
    }
    const KTime margin =
        KTime::FromSeconds(kMargin * (span->to - span->from).GetSecondDouble()) + KTime(1);
    return {span->from - margin, span->to + margin};
}

// A tick is for the rounding of times.
void CheckFrames(const ClipCurves& pClip, const std::vector<EditedCurve>& pCurves)
{
    const std::int64_t period = pClip.clip.mFramePeriod.Get();
    for (const EditedCurve& each : pCurves) {
        for (int i = 0; i < each.curve->KeyGetCount(); ++i) {
            const KTime time = each.curve->KeyGetTime(i);
            const std::int64_t past = std::llabs(time.Get()) % period;
            if (std::min(past, period - past) > 1) {
                throw Refusal(fmt::format(
                    "{}: a key would be at {:.6g} s, between two frames, which a BVH file cannot "
                    "have: write a .glissa file, which 'glissa convert' samples at the frames",
                    PrintableText(each.name), time.GetSecondDouble()));
            }
        }
    }
}

void RunRetime(RetimeOptions pOptions)
{
    const std::optional<double> givenRate = FrameRateOf(pOptions.framesASecond);
    RetimeRequest request;
    for (const std::string& each : pOptions.markers) {
        request.markers.push_back(ParseOption("--marker", &ParseMarker, each));
    }
    for (const std::string& each : pOptions.locks) {
        request.locks.push_back(ParseOption("--lock", &ParseLock, each));
    }
    const bool isChoice = pOptions.all || !pOptions.curves.empty() || !pOptions.nodes.empty();
    pOptions.all = pOptions.all || !isChoice;
    const EditOutput output = OutputOf(pOptions);

    ClipCurves clip = LoadClip(pOptions.path);
    const double rate = givenRate.value_or(clip.framesASecond);
    const std::vector<RetimeMove> moves = MovesOf(request, rate);
    std::vector<RetimeResult> results;
    WithPath(clip, [&] {
        Retime retime(moves, ChosenCurves(clip, pOptions, LayersOf(clip, pOptions.layer)));
        retime.To(1.0);
        if (pOptions.film > 0) {
            const TimeSpan span = ShownSpan(pOptions, rate).value_or(SpanOf(retime));
            WriteFilm(FilmOf(FilmCurves(retime, isChoice), pOptions.film, span,
                             [&](double pFraction, FilmStage& pStage) {
                                 retime.To(pFraction);
                                 pStage.markers = retime.GetMarkers();
                             }),
                      clip, pOptions, output);
        } else if (!pOptions.dryRun && output.clip == ClipFormat::bvh) {
            CheckFrames(clip, retime.GetCurves());
        }
        for (const EditedCurve& each : retime.GetCurves()) {
            results.push_back(ResultOf(each, moves));
        }
        retime.Finish();
    });
    if (pOptions.film == 0 && !pOptions.dryRun) {
        WriteEdited(clip, true, pOptions, output.clip);
    }
    WriteEditReport(pOptions, clip,
                    pOptions.format == "json" ? JsonOf(pOptions, moves, results)
                                              : TextOf(pOptions, moves, results));
}
}  // namespace

void AddRetimeCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<RetimeOptions>();
    CLI::App* const command = pApp.add_subcommand(
        "retime", "Move markers of time, and stretch or shrink the animation between them");
    AddEditChoiceOptions(*command, *options,
                         "Layer whose keys to move: its name, or base; default: all layers");
    AddTextOption(*command, "--marker", options->markers,
                  "A marker at a time, or one that moves to another time: 2, 48f, 2=2.4. Give the "
                  "markers in ascending order. The animation beyond the last marker on a side "
                  "moves along with that marker",
                  "TIME[=TIME]")
        ->required();
    AddTextOption(*command, "--lock", options->locks,
                  "Lock the span between two markers: it keeps its length, and its markers move "
                  "together",
                  "TIME..TIME");
    AddFrameRateOption(*command, options->framesASecond);
    AddEditOutputOptions(*command, *options, "retime");
    command->footer(
        "Without --curve and --node all curves are retimed, so that they remain in step.\n"
        "Examples:\n"
        "  glissa retime clip.glissa --marker 1 --marker 2=2.4 --marker 4 --lock 2..4 -o "
        "out.glissa\n"
        "  glissa retime clip.glissa --marker 0 --marker 10=12 --film 6 -o retime.svg");
    command->callback([options, &pAction] { pAction = [options] { RunRetime(*options); }; });
}
