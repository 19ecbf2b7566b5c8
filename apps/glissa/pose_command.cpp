// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_nodes.h"
#include "apps/glissa/command.h"
#include "apps/glissa/curve_options.h"
#include "apps/glissa/output.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <memory>

namespace
{
using Json = nlohmann::ordered_json;

struct PoseOptions
{
    std::string path;
    std::string at;
    std::vector<std::string> nodes;
    std::string framesASecond;
    std::string output;
    bool json = false;
};

struct PoseRow
{
    NodeSeries series;
    NodeValues values{};
};

constexpr std::array<const char*, 6> kOrders = {"XYZ", "XZY", "YZX", "YXZ", "ZXY", "ZYX"};

std::string NumberText(double pNumber, bool pSingle)
{
    return pSingle ? fmt::format("{}", static_cast<float>(pNumber)) : fmt::format("{}", pNumber);
}

// By hand, as the writer of documents knows doubles alone: a float has its own shortest digits.
std::string AsJson(const std::string& pPath, KTime pTime, const std::vector<PoseRow>& pRows)
{
    const auto text = [](const std::string& pText) {
        return Json(pText).dump(-1, ' ', false, Json::error_handler_t::replace);
    };
    std::string json = fmt::format("{{\"clip\":{},\n\"time\":{},\n\"nodes\":[", text(pPath),
                                   pTime.GetSecondDouble());
    const char* separator = "\n";
    for (const PoseRow& row : pRows) {
        const NamedNode& named = row.series.GetNode();
        fmt::format_to(std::back_inserter(json), "{}{{\"name\":{},\"type\":{},\"unit\":\"{}\"",
                       separator, text(named.name), text(named.node->GetTypeName()),
                       UnitName(named.unit));
        if (named.node->IsRotationLayerType()) {
            fmt::format_to(std::back_inserter(json), ",\"order\":\"{}\"",
                           kOrders[static_cast<std::size_t>(named.node->GetRotationOrder())]);
        }
        json += ",\"values\":[";
        for (int i = 0; i < row.series.GetCount(); ++i) {
            const double value = row.values[static_cast<std::size_t>(i)];
            json += i == 0 ? "" : ",";
            json += std::isfinite(value) ? NumberText(value, row.series.IsSingle()) : "null";
        }
        json += "]}";
        separator = ",\n";
    }
    return json + "]}\n";
}

// For eyes: five digits behind the point, and no minus before a zero.
std::string RoundText(double pNumber)
{
    constexpr double kRound = 1e5;
    const double rounded = std::round(pNumber * kRound) / kRound + 0.0;
    return std::fabs(rounded) < 1e9 ? fmt::format("{:.5f}", rounded) : fmt::format("{:g}", pNumber);
}

std::string AsText(const std::vector<PoseRow>& pRows)
{
    std::size_t nameWidth = 4;
    std::size_t typeWidth = 4;
    for (const PoseRow& row : pRows) {
        nameWidth = std::max(nameWidth, PrintableText(row.series.GetNode().name).size());
        typeWidth =
            std::max(typeWidth, std::string_view(row.series.GetNode().node->GetTypeName()).size());
    }
    std::string text = fmt::format("{:<{}}  {:<{}}  {:>13}  {:>13}  {:>13}\n", "node", nameWidth,
                                   "type", typeWidth, "X", "Y", "Z");
    for (const PoseRow& row : pRows) {
        fmt::format_to(std::back_inserter(text), "{:<{}}  {:<{}}",
                       PrintableText(row.series.GetNode().name), nameWidth,
                       row.series.GetNode().node->GetTypeName(), typeWidth);
        for (int i = 0; i < row.series.GetCount(); ++i) {
            fmt::format_to(std::back_inserter(text), "  {:>13}",
                           RoundText(row.values[static_cast<std::size_t>(i)]));
        }
        text += '\n';
    }
    return text;
}

void RunPose(const PoseOptions& pOptions)
{
    const TimeArgument at = ParseOption("--at", &ParseTime, pOptions.at);
    const std::optional<double> rate = FrameRateOf(pOptions.framesASecond);
    const ClipCurves clip = LoadClip(pOptions.path);
    const KTime time = at.At(rate.value_or(clip.framesASecond));
    std::vector<PoseRow> rows;
    for (const NamedNode& node : ChooseNodes(clip, pOptions.nodes)) {
        PoseRow row{NodeSeries(node)};
        row.series.Evaluate(row.values, time, nullptr);
        rows.push_back(std::move(row));
    }
    Output output(pOptions.output, pOptions.path);
    output.Write(pOptions.json ? AsJson(clip.path, time, rows) : AsText(rows));
    output.Commit();
}
}  // namespace

void AddPoseCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<PoseOptions>();
    CLI::App* const command =
        pApp.add_subcommand("pose", "Tell what every node shows at one time, its layers blended");
    command->add_option("CLIP", options->path, "Clip to read (BVH or .glissa)")->required();
    command->add_option("--at", options->at, "Time, in seconds (1.25) or frames (37f)")
        ->required()
        ->type_name("TIME");
    command
        ->add_option("-n,--node", options->nodes,
                     "Node to tell of, * and ? as wildcards; all without it. May be given several "
                     "times")
        ->allow_extra_args(false)
        ->type_name("NAME");
    command->add_flag("--json", options->json, "As JSON, every digit told");
    AddFrameRateOption(*command, options->framesASecond);
    command
        ->add_option("-o,--output", options->output,
                     "File to write, complete or not at all; without it standard output")
        ->type_name("FILE");
    command->footer("Examples:\n"
                    "  glissa pose layered.glissa --at 1.5\n"
                    "  glissa pose clip.bvh --at 37f --node 'Spine*/R' --json -o pose.json");
    command->callback([options, &pAction] { pAction = [options] { RunPose(*options); }; });
}
