// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_nodes.h"
#include "apps/glissa/clip_reading.h"
#include "apps/glissa/command.h"
#include "apps/glissa/json_report.h"
#include "apps/glissa/output.h"
#include "apps/glissa/shared_options.h"
#include "apps/glissa/text_table.h"
#include "corvekit/math/rotation_order.h"

#include <memory>
#include <utility>

namespace
{
struct PoseOptions
{
    std::string path;
    std::string at;
    std::vector<std::string> nodes;
    std::string framesASecond;
    std::string output;
    std::string format;
    bool unroll = false;
};

struct PoseRow
{
    NodeSeries series;
    NodeValues values{};
};

Json Describe(const std::string& pPath, KTime pTime, const std::vector<PoseRow>& pRows)
{
    Json pose;
    pose["clip"] = pPath;
    pose["time"] = pTime.GetSecondDouble();
    pose["nodes"] = Json::array();
    for (const PoseRow& row : pRows) {
        const NamedNode& named = row.series.GetNode();
        Json node;
        node["name"] = named.name;
        node["type"] = named.node->GetTypeName();
        node["unit"] = UnitName(named.unit);
        if (named.node->IsRotationLayerType()) {
            node["order"] = KVdRotationOrder(named.node->GetRotationOrder()).GetName();
        }
        node["values"] = Json::array();
        for (int i = 0; i < row.series.GetCount(); ++i) {
            node["values"].push_back(
                JsonNumber(row.values[static_cast<std::size_t>(i)], row.series.IsSingle()));
        }
        pose["nodes"].push_back(std::move(node));
    }
    return pose;
}

std::string AsText(const std::vector<PoseRow>& pRows)
{
    using enum TextTable::Align;
    TextTable table(
        {{"node", left}, {"type", left}, {"X", right, 13}, {"Y", right, 13}, {"Z", right, 13}});
    for (const PoseRow& row : pRows) {
        std::vector<std::string> cells = {row.series.GetNode().name,
                                          row.series.GetNode().node->GetTypeName()};
        for (int i = 0; i < row.series.GetCount(); ++i) {
            cells.push_back(RoundedText(row.values[static_cast<std::size_t>(i)]));
        }
        table.AddRow(std::move(cells));
    }
    return table.GetText();
}

void RunPose(const PoseOptions& pOptions)
{
    const TimeArgument at = ParseOption("--at", &ParseTime, pOptions.at);
    const std::optional<double> rate = FrameRateOf(pOptions.framesASecond);
    const ClipCurves clip = LoadClipToSample(pOptions.path, pOptions.unroll);
    const KTime time = at.At(rate.value_or(clip.framesASecond));
    std::vector<PoseRow> rows;
    for (const NamedNode& node : ChooseNodes(clip, pOptions.nodes)) {
        PoseRow row{NodeSeries(node)};
        row.series.Evaluate(row.values, time, nullptr);
        rows.push_back(std::move(row));
    }
    WriteOutput(pOptions.output, pOptions.path,
                pOptions.format == "json" ? JsonReportText(Describe(clip.path, time, rows))
                                          : AsText(rows));
}
}  // namespace

void AddPoseCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<PoseOptions>();
    CLI::App* const command =
        pApp.add_subcommand("pose", "Show the values of all nodes at one time, layers blended");
    AddClipArgument(*command, options->path);
    AddUnrollOption(*command, options->unroll);
    AddTextOption(*command, "--at", options->at, "Time, in seconds (1.25) or frames (37f)", "TIME")
        ->required();
    AddPatternOption(*command, "-n,--node", options->nodes, "Node: Hips/R; default: all nodes");
    AddJsonOptions(*command, options->format);
    AddFrameRateOption(*command, options->framesASecond);
    AddOutputOption(*command, options->output);
    command->footer("Examples:\n"
                    "  glissa pose layered.glissa --at 1.5\n"
                    "  glissa pose clip.bvh --at 37f --node 'Spine*/R' --json -o pose.json");
    command->callback([options, &pAction] { pAction = [options] { RunPose(*options); }; });
}
