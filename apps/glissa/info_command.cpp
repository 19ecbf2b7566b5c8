// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/clip_reading.h"
#include "apps/glissa/command.h"
#include "apps/glissa/json_report.h"
#include "apps/glissa/output.h"
#include "apps/glissa/printable_text.h"
#include "apps/glissa/rotation_report.h"
#include "apps/glissa/sample_grid.h"
#include "apps/glissa/shared_options.h"
#include "apps/glissa/text_table.h"
#include "apps/glissa/tree_text.h"
#include "corvekit/math/rotation_order.h"
#include "io/clip_rotations.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <iterator>
#include <memory>
#include <random>

namespace
{
struct InfoOptions
{
    std::string path;
    std::string output;
    std::string format = "text";
    bool list = false;
    bool tree = false;
    bool bench = false;
    bool unroll = false;
};

struct CurveRange
{
    double low = 0.0;
    double high = 0.0;
};

CurveRange RangeOfKeys(const Glissa& pCurve)
{
    CurveRange range;
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        const double value = static_cast<double>(pCurve.KeyGetValue(i));
        range.low = i == 0 ? value : std::min(range.low, value);
        range.high = i == 0 ? value : std::max(range.high, value);
    }
    return range;
}

// Evaluations per second, of all curves in turn. The checksum prevents the removal of the work by
// the compiler.
struct Benchmark
{
    double playback = 0.0;  ///< forward in time at the rate of the clip
    double random = 0.0;
    double checksum = 0.0;
};

template <typename Next>
double EvaluationsASecond(ClipCurves& pClip, double& pChecksum, Next pNext)
{
    using Clock = std::chrono::steady_clock;
    constexpr auto kLength = std::chrono::milliseconds(300);
    std::vector<int> hints(pClip.curves.size(), 0);
    std::uint64_t evaluations = 0;
    double sum = 0.0;
    const Clock::time_point start = Clock::now();
    Clock::time_point now = start;
    while (now - start < kLength) {
        for (int step = 0; step < 100; ++step) {
            const KTime time = pNext();
            for (std::size_t i = 0; i < hints.size(); ++i) {
                sum += static_cast<double>(pClip.curves[i].curve->Evaluate(time, &hints[i]));
            }
        }
        evaluations += 100 * hints.size();
        now = Clock::now();
    }
    pChecksum += sum;
    return static_cast<double>(evaluations) / std::chrono::duration<double>(now - start).count();
}

Benchmark RunBenchmark(ClipCurves& pClip, const TimeSpan& pSpan)
{
    Benchmark benchmark;
    const SampleGrid grid{pSpan.from, pSpan.to, pClip.framesASecond};
    const std::uint64_t count = grid.Count();
    std::uint64_t frame = 0;
    benchmark.playback =
        EvaluationsASecond(pClip, benchmark.checksum, [&] { return grid.At(frame++ % count); });
    std::mt19937_64 random(1);
    std::uniform_int_distribution<std::int64_t> anywhere(pSpan.from.Get(), pSpan.to.Get());
    benchmark.random =
        EvaluationsASecond(pClip, benchmark.checksum, [&] { return KTime(anywhere(random)); });
    return benchmark;
}

Json Describe(ClipCurves& pClip, const RotationFaults& pFaults, const InfoOptions& pOptions)
{
    std::vector<NamedCurve*> curves;
    std::int64_t keys = 0;
    for (NamedCurve& each : pClip.curves) {
        curves.push_back(&each);
        keys += each.curve->KeyGetCount();
    }
    const TimeSpan span = KeySpan(curves).value_or(TimeSpan{KTime(), KTime()});
    Json orders = Json::object();
    for (int order = 0; order < kRotationOrderCount; ++order) {
        const auto count = std::count_if(
            pClip.clip.mJoints.begin(), pClip.clip.mJoints.end(), [&](const ClipJoint& pJoint) {
                return pJoint.mRotationOrder == order &&
                       std::any_of(pJoint.mChannels.begin(), pJoint.mChannels.end(), &IsRotation);
            });
        if (count > 0) {
            orders[kRotationOrderNames[order]] = count;
        }
    }
    Json info;
    info["clip"] = pClip.path;
    info["joints"] = pClip.clip.mJoints.size();
    info["channels"] = pClip.clip.mChannelCount;
    info["curves"] = pClip.curves.size();
    info["keys"] = keys;
    info["frames"] = pClip.clip.mFrameCount;
    info["rate"] = pClip.framesASecond;
    info["from"] = span.from.GetSecondDouble();
    info["to"] = span.to.GetSecondDouble();
    info["rotation_orders"] = orders;
    AddFaults(info, pFaults);
    info["curve_bytes"] = pClip.recordingBytes;
    info["bytes_a_key"] =
        keys > 0 ? Json(static_cast<double>(pClip.recordingBytes) / static_cast<double>(keys))
                 : Json();
    if (pOptions.bench && !curves.empty()) {
        const Benchmark benchmark = RunBenchmark(pClip, span);
        info["bench"] = {{"playback_evaluations_a_second", benchmark.playback},
                         {"random_evaluations_a_second", benchmark.random},
                         {"checksum", benchmark.checksum}};
    }
    if (pOptions.tree) {
        info["tree"] = DescribeTree(pClip);
    }
    if (pOptions.list) {
        info["list"] = Json::array();
        for (const NamedCurve* const each : curves) {
            const CurveRange range = RangeOfKeys(*each->curve);
            info["list"].push_back({{"name", each->name},
                                    {"unit", UnitName(each->unit)},
                                    {"keys", each->curve->KeyGetCount()},
                                    {"low", JsonNumber(range.low, true)},
                                    {"high", JsonNumber(range.high, true)}});
        }
    }
    return info;
}

std::string AsText(const Json& pInfo, const RotationFaults& pFaults)
{
    std::string text;
    const auto line = [&](const char* pName, const std::string& pValue) {
        fmt::format_to(std::back_inserter(text), "{:<16}  {}\n", pName, pValue);
    };
    const auto number = [&](const char* pKey) { return pInfo[pKey].dump(); };
    line("clip", PrintableText(pInfo["clip"].get<std::string>()));
    for (const char* const key : {"joints", "channels", "curves", "keys", "frames"}) {
        line(key, number(key));
    }
    line("rate", fmt::format("{:.6g} frames per second", pInfo["rate"].get<double>()));
    line("span", fmt::format("{:.6g} to {:.6g} seconds", pInfo["from"].get<double>(),
                             pInfo["to"].get<double>()));
    std::string orders;
    for (const auto& [name, count] : pInfo["rotation_orders"].items()) {
        orders += fmt::format("{}{} ({} joints)", orders.empty() ? "" : ", ", name, count.dump());
    }
    line("rotation orders", orders.empty() ? "none" : orders);
    for (const FaultLine& each : FaultLines(pFaults)) {
        line(each.title, each.text.empty() ? "none" : PrintableText(each.text));
    }
    line("memory", pInfo["bytes_a_key"].is_null()
                       ? fmt::format("{} bytes", number("curve_bytes"))
                       : fmt::format("{} bytes, {:.1f} per key", number("curve_bytes"),
                                     pInfo["bytes_a_key"].get<double>()));
    if (pInfo.contains("bench")) {
        const Json& bench = pInfo["bench"];
        line("playback", fmt::format("{:.1f} million evaluations per second",
                                     bench["playback_evaluations_a_second"].get<double>() / 1e6));
        line("random times", fmt::format("{:.1f} million evaluations per second",
                                         bench["random_evaluations_a_second"].get<double>() / 1e6));
    }
    if (pInfo.contains("list")) {
        using enum TextTable::Align;
        TextTable table({{"curve", left},
                         {"keys", right, 8},
                         {"least", right, 12},
                         {"greatest", right, 12},
                         {"unit", left}});
        for (const Json& each : pInfo["list"]) {
            table.AddRow({each["name"].get<std::string>(), each["keys"].dump(), each["low"].dump(),
                          each["high"].dump(), each["unit"].get<std::string>()});
        }
        text += '\n' + table.GetText();
    }
    if (pInfo.contains("tree")) {
        text += '\n' + TreeText(pInfo["tree"]);
    }
    return text;
}

void RunInfo(const InfoOptions& pOptions)
{
    ClipCurves clip = LoadClip(pOptions.path, pOptions.unroll);
    const RotationFaults faults = FindRotationFaults(clip.clip, RotationsOf(clip.clip, clip.owner));
    const Json info = Describe(clip, faults, pOptions);
    WriteOutput(pOptions.output, pOptions.path,
                pOptions.format == "json" ? JsonReportText(info) : AsText(info, faults));
}
}  // namespace

void AddInfoCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<InfoOptions>();
    CLI::App* const command = pApp.add_subcommand("info", "Show the contents of a clip");
    AddClipArgument(*command, options->path);
    AddUnrollOption(*command, options->unroll);
    command->add_flag("--list", options->list, "Add a line for each curve");
    command->add_flag("--tree", options->tree, "Add the nodes with their curves and layers");
    command->add_flag("--bench", options->bench, "Measure the evaluation of all curves");
    AddChoiceOption(*command, "--format", options->format, "text (default) or json", "FORMAT",
                    {"text", "json"});
    AddOutputOption(*command, options->output);
    command->footer("Examples:\n"
                    "  glissa info clip.bvh\n"
                    "  glissa info clip.glissa --tree\n"
                    "  glissa info clip.bvh --list --format json -o clip.json");
    command->callback([options, &pAction] { pAction = [options] { RunInfo(*options); }; });
}
