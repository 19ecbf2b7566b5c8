// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/command.h"
#include "apps/glissa/output.h"
#include "apps/glissa/printable_text.h"
#include "apps/glissa/shared_options.h"

#include <fmt/format.h>

#include <iterator>
#include <memory>

namespace
{
void RunCheck(const std::string& pPath)
{
    // A fault that ends the reading is a Refusal; all others are listed.
    const StoredClip stored = LoadAnyClip(pPath);
    std::string text;
    for (const std::string& fault : stored.mFaults) {
        fmt::format_to(std::back_inserter(text), "{}: {}\n", PrintableText(pPath),
                       PrintableText(fault));
    }
    if (stored.mFaults.empty()) {
        std::int64_t keys = 0;
        for (const ClipCurve& each : stored.mCurves.GetCurves()) {
            keys += each.mCurve->KeyGetCount();
        }
        text = fmt::format("{}: no faults, {} curves, {} keys\n", PrintableText(pPath),
                           stored.mCurves.GetCurves().size(), keys);
    }
    WriteReport(pPath, text, !stored.mFaults.empty());
    if (!stored.mFaults.empty()) {
        throw Refusal(fmt::format("{}: {} fault(s)", pPath, stored.mFaults.size()));
    }
}
}  // namespace

void AddCheckCommand(CLI::App& pApp, Action& pAction)
{
    const auto path = std::make_shared<std::string>();
    CLI::App* const command = pApp.add_subcommand("check", "Check a clip file and list its faults");
    AddClipArgument(*command, *path);
    command->footer("Exit status: 0 without faults, otherwise 1. Each fault has a line.\n"
                    "\n"
                    "Examples:\n"
                    "  glissa check clip.glissa");
    command->callback([path, &pAction] { pAction = [path] { RunCheck(*path); }; });
}
