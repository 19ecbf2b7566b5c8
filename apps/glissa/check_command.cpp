// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/command.h"
#include "apps/glissa/output.h"

#include <fmt/format.h>

#include <iterator>
#include <memory>

namespace
{
void RunCheck(const std::string& pPath)
{
    // What stops a reader at once is told by the refusal; the rest is listed whole.
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
        text = fmt::format("{}: sound, {} curves, {} keys\n", PrintableText(pPath),
                           stored.mCurves.GetCurves().size(), keys);
    }
    Output output("-", pPath);
    output.Write(text);
    output.Commit();
    if (!stored.mFaults.empty()) {
        throw Refusal(fmt::format("{}: not sound, {} fault(s)", pPath, stored.mFaults.size()));
    }
}
}  // namespace

void AddCheckCommand(CLI::App& pApp, Action& pAction)
{
    const auto path = std::make_shared<std::string>();
    CLI::App* const command =
        pApp.add_subcommand("check", "Tell whether a clip file is sound, and what is not");
    command->add_option("CLIP", *path, "Clip to read (BVH or .glissa)")->required();
    command->footer("Exit status 0: sound. 1: not, each fault is a line.\n"
                    "\n"
                    "Examples:\n"
                    "  glissa check clip.glissa");
    command->callback([path, &pAction] { pAction = [path] { RunCheck(*path); }; });
}
