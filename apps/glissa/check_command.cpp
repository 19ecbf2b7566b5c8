// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_reading.h"
#include "apps/glissa/command.h"
#include "apps/glissa/json_report.h"
#include "apps/glissa/output.h"
#include "apps/glissa/printable_text.h"
#include "apps/glissa/rotation_report.h"
#include "apps/glissa/shared_options.h"
#include "io/clip_rotations.h"

#include <fmt/format.h>

#include <iterator>
#include <memory>

namespace
{
struct CheckOptions
{
    std::string path;
    std::string format;
    bool unroll = false;
};

std::string AsText(const std::string& pPath, const StoredClip& pClip, std::int64_t pKeys,
                   const RotationFaults& pFaults)
{
    std::string text;
    const auto line = [&](const std::string& pLine) {
        fmt::format_to(std::back_inserter(text), "{}: {}\n", PrintableText(pPath),
                       PrintableText(pLine));
    };
    for (const std::string& fault : pClip.mFaults) {
        line(fault);
    }
    if (pClip.mFaults.empty()) {
        line(fmt::format("no faults, {} curves, {} keys", pClip.mCurves.GetCurves().size(), pKeys));
    }
    for (const FaultLine& each : FaultLines(pFaults)) {
        if (!each.text.empty()) {
            line("warning: " + each.text);
        }
    }
    return text;
}

void RunCheck(const CheckOptions& pOptions)
{
    // A fault that ends the reading is a Refusal; all others are listed.
    StoredClip stored = LoadAnyClip(pOptions.path);
    if (pOptions.unroll) {
        PrintMessage(UnrollClip(stored, pOptions.path));
    }
    std::int64_t keys = 0;
    for (const ClipCurve& each : stored.mCurves.GetCurves()) {
        keys += each.mCurve->KeyGetCount();
    }
    const RotationFaults faults =
        FindRotationFaults(stored.mClip, RotationsOf(stored.mClip, stored.mCurves));
    const bool hasFaults = !stored.mFaults.empty();
    if (pOptions.format == "json") {
        Json report = {{"clip", pOptions.path},
                       {"curves", stored.mCurves.GetCurves().size()},
                       {"keys", keys},
                       {"faults", stored.mFaults}};
        AddFaults(report, faults);
        WriteReport(pOptions.path, JsonReportText(report), hasFaults);
    } else {
        WriteReport(pOptions.path, AsText(pOptions.path, stored, keys, faults), hasFaults);
    }
    if (hasFaults) {
        throw Refusal(fmt::format("{}: {} fault(s)", pOptions.path, stored.mFaults.size()));
    }
}
}  // namespace

void AddCheckCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<CheckOptions>();
    CLI::App* const command = pApp.add_subcommand(
        "check", "Check a clip file: list its faults, and warn of what is wrong with rotations");
    AddClipArgument(*command, options->path);
    AddUnrollOption(*command, options->unroll);
    AddJsonOptions(*command, options->format);
    command->footer("Exit status: 0 without faults, otherwise 1. Each fault has a line. Warnings "
                    "do not change the status.\n"
                    "\n"
                    "Examples:\n"
                    "  glissa check clip.glissa\n"
                    "  glissa check clip.bvh --json");
    command->callback([options, &pAction] { pAction = [options] { RunCheck(*options); }; });
}
