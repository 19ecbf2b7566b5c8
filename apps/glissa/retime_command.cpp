// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Moves markers of time and the keys around them, and writes the clip, or a film of the move.

#include "apps/glissa/clip_nodes.h"
#include "apps/glissa/command.h"
#include "apps/glissa/edit_options.h"
#include "apps/glissa/json_report.h"
#include "apps/glissa/printable_text.h"
#include "apps/glissa/retime_run.h"
#include "apps/glissa/shared_options.h"
#include "apps/glissa/text_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace
{
constexpr double kMargin = 0.05;  // of a film, in parts of its span of time

struct RetimeOptions : EditOptions
{
    std::vector<std::string> markers, locks;
};

struct RetimeResult
{
    std::string name;
    Unit unit = Unit::factor;
    int keys = 0;
    int moved = 0;
    int replaced = 0;  ///< keys that came to the time of another one
    /// Of the value, the old curve at a time against the new one where that time is now.
    double largestChange = 0.0;
    KTime when;  ///< the old time of it
};

RetimeResult ResultOf(const DragCurve& pCurve, const std::vector<RetimeMove>& pMoves)
{
    Glissa& before = *pCurve.before;
    Glissa& after = *pCurve.curve;
    RetimeResult result;
    result.name = pCurve.name;
    result.unit = pCurve.unit;
    result.keys = before.KeyGetCount();
    result.replaced = result.keys - after.KeyGetCount();
    int hintBefore = 0;
    int hintAfter = 0;
    const auto look = [&](KTime pOld, KTime pNew) {
        const double difference = std::fabs(double{after.Evaluate(pNew, &hintAfter)} -
                                            double{before.Evaluate(pOld, &hintBefore)});
        // Between huge values a curve may have no number.
        const double change = std::isnan(difference) ? HUGE_VAL : difference;
        if (change > result.largestChange) {
            result.largestChange = change;
            result.when = pOld;
        }
    };
    for (int i = 0; i < result.keys; ++i) {
        const KTime old = before.KeyGetTime(i);
        if (i > 0) {
            const KTime last = before.KeyGetTime(i - 1);
            const KTime middle = last + (old - last) / 2;
            look(middle, RetimedTime(pMoves, middle));
        }
        // A tick beside a key of a step there is another value.
        const KTime now = result.replaced == 0 ? after.KeyGetTime(i) : RetimedTime(pMoves, old);
        result.moved += now != old ? 1 : 0;
        look(old, now);
    }
    return result;
}

struct Sums
{
    int keys = 0;
    int moved = 0;
    int replaced = 0;
};

Sums SumsOf(const std::vector<RetimeResult>& pResults)
{
    Sums sums;
    for (const RetimeResult& each : pResults) {
        sums.keys += each.keys;
        sums.moved += each.moved;
        sums.replaced += each.replaced;
    }
    return sums;
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
        const bool isChanged = each.largestChange > 0.0;
        table.AddRow({each.name, std::to_string(each.keys), std::to_string(each.moved),
                      std::to_string(each.replaced),
                      isChanged ? fmt::format("{:.6g}", each.largestChange) : "none",
                      isChanged ? UnitName(each.unit) : "",
                      isChanged ? fmt::format("{:.3f} s", each.when.GetSecondDouble()) : ""});
    }
    std::string text = PrintableText(pOptions.path) + ":\n" + table.GetText(2) + "  markers:";
    for (const RetimeMove& each : pMoves) {
        text += fmt::format(" {:.6g}", each.from.GetSecondDouble());
        if (each.to != each.from) {
            text += fmt::format("={:.6g}", each.to.GetSecondDouble());
        }
    }
    const Sums sums = SumsOf(pResults);
    return text + fmt::format(" s\n  {} curve{}: {} of {} keys moved, {} replaced\n",
                              pResults.size(), pResults.size() == 1 ? "" : "s", sums.moved,
                              sums.keys, sums.replaced);
}

std::string JsonOf(const RetimeOptions& pOptions, const std::vector<RetimeMove>& pMoves,
                   const std::vector<RetimeResult>& pResults)
{
    const Sums sums = SumsOf(pResults);
    Json json;
    json["clip"] = pOptions.path;
    json["output"] = pOptions.output.empty() ? Json() : Json(pOptions.output);
    json["keys"] = sums.keys;
    json["keys_moved"] = sums.moved;
    json["keys_replaced"] = sums.replaced;
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
        curve["keys"] = each.keys;
        curve["keys_moved"] = each.moved;
        curve["keys_replaced"] = each.replaced;
        curve["largest_change"] = each.largestChange;
        curve["at"] = each.largestChange > 0.0 ? Json(each.when.GetSecondDouble()) : Json();
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
std::vector<const DragCurve*> FilmCurves(const Retime& pRetime, bool pIsChoice)
{
    std::vector<const DragCurve*> shown;
    GlissaNode* const node = pRetime.GetCurves().front().leaf->GetParent();
    for (const DragCurve& each : pRetime.GetCurves()) {
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
    for (const DragCurve& each : pRetime.GetCurves()) {
        span = SpanOfBoth(span, KeySpan(std::vector<Glissa*>{each.curve, each.before.get()}));
    }
    const KTime margin =
        KTime::FromSeconds(kMargin * (span->to - span->from).GetSecondDouble()) + KTime(1);
    return {span->from - margin, span->to + margin};
}

// A tick is for the rounding of times.
void CheckFrames(const ClipCurves& pClip, const std::vector<DragCurve>& pCurves)
{
    const std::int64_t period = pClip.clip.mFramePeriod.Get();
    for (const DragCurve& each : pCurves) {
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
        for (const DragCurve& each : retime.GetCurves()) {
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
