// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_reading.h"
#include "apps/glissa/command.h"
#include "apps/glissa/curve_options.h"
#include "apps/glissa/output.h"
#include "apps/glissa/table.h"

#include <fmt/format.h>

#include <memory>

namespace
{
struct EvalOptions
{
    CurveOptions curves;
    std::string rate;
    std::string format = "csv";
    bool slopes = false;
};

void CheckSize(const Table& pTable)
{
    const std::uint64_t columns = pTable.CountColumns();
    const std::uint64_t samples = pTable.grid.Count();
    if (samples > static_cast<std::uint64_t>(kMostValues) / (columns + 1)) {
        throw Refusal(fmt::format(
            "{}: {} times and {} column(s) exceed {} values, the limit of a run; choose fewer "
            "curves, a lower --rate, or a shorter span",
            pTable.clip->path, samples, columns, kMostValues));
    }
}

void RunEval(const EvalOptions& pOptions)
{
    // Wrong arguments are reported before the clip is read.
    const CurveOptions& curves = pOptions.curves;
    curves.Check();
    if (pOptions.slopes && curves.TakesNodes()) {
        throw WrongArguments("--slope needs --curve: a blend of layers has no exact slope");
    }
    const double rate =
        pOptions.rate.empty() ? 0.0 : ParseOption("--rate", &ParseRate, pOptions.rate).number;

    ClipCurves clip = LoadClipToSample(curves.path, curves.unroll);
    Table table;
    table.clip = &clip;
    table.slopes = pOptions.slopes;
    std::optional<TimeSpan> keys;
    if (curves.TakesNodes()) {
        const std::vector<NamedNode> nodes = ChooseNodes(clip, curves.nodes, curves.Choice());
        keys = KeySpan(nodes);
        for (const NamedNode& node : nodes) {
            for (NodeSeries& each : MakeSeries(clip, node, curves.layers)) {
                table.nodes.push_back(std::move(each));
            }
        }
    } else {
        table.curves = ChooseCurves(clip, curves.Choice());
        keys = KeySpan(table.curves);
    }
    const TimeSpan span =
        curves.span.At(keys.value_or(TimeSpan{KTime(), KTime()}), clip.framesASecond);
    table.grid = {span.from, span.to, rate > 0.0 ? rate : clip.framesASecond};
    CheckSize(table);

    Output output(curves.output, curves.path);
    if (pOptions.format == "json") {
        WriteJson(table, output);
    } else {
        WriteCsv(table, output);
    }
    output.Commit();
}
}  // namespace

void AddEvalCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<EvalOptions>();
    CLI::App* const command =
        pApp.add_subcommand("eval", "Evaluate curves or nodes at a constant rate, as CSV or JSON");
    options->curves.AddTo(*command);
    AddTextOption(*command, "--rate", options->rate,
                  "Samples per second (240, 29.97, 30000/1001); default: the rate of the clip",
                  "RATE");
    AddChoiceOption(*command, "--format", options->format, "csv (default) or json", "FORMAT",
                    {"csv", "json"});
    command->add_flag("--slope", options->slopes,
                      "Add the left and right slope at each time, in units per second");
    command->footer(
        "Examples:\n"
        "  glissa eval clip.bvh --curve 'Hips/R/X' --from 0 --to 3 --rate 240 -o "
        "hips.csv\n"
        "  glissa eval clip.bvh --curve 'Hips/T/*' --to 72f --pre mirror:2 --post "
        "relative:4 --slope\n"
        "  glissa eval layered.glissa --node 'Spine/R' --layers --rate 120 -o spine.csv\n"
        "  glissa eval clip.bvh --all --rate 60 --format json");
    command->callback([options, &pAction] { pAction = [options] { RunEval(*options); }; });
}
