// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Writes a clip in another format. The rotation order is changed in memory before, and the report
// of that follows the complete file.

#include "apps/glissa/clip_nodes.h"
#include "apps/glissa/clip_output.h"
#include "apps/glissa/clip_reading.h"
#include "apps/glissa/command.h"
#include "apps/glissa/count_text.h"
#include "apps/glissa/printable_text.h"
#include "apps/glissa/progress.h"
#include "apps/glissa/refusal.h"
#include "apps/glissa/rotation_report.h"
#include "apps/glissa/shared_options.h"
#include "io/bvh_words.h"
#include "io/rotation_conversion.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>

namespace
{
struct ConvertOptions
{
    std::string path;
    bool unroll = false;
    std::string output;
    std::string format;
    std::string rotation;
    std::vector<std::string> nodes;
};

// The joints whose rotations are chosen: all without a pattern.
std::vector<std::size_t> ChooseJoints(const ClipCurves& pClip,
                                      const std::vector<std::string>& pPatterns)
{
    const NodeClip& nodes = pClip.owner.GetNodes();
    std::vector<std::size_t> joints;
    for (const NamedNode& each : ChooseNodes(pClip, pPatterns)) {
        if (each.unit == Unit::degrees) {
            std::size_t joint = 0;
            while (nodes.GetTransform(joint, KDataTypeLclRotation) != each.node) {
                ++joint;
            }
            joints.push_back(joint);
        } else if (!pPatterns.empty()) {
            throw Refusal(fmt::format("{}: {} is no rotation, and has no rotation order: choose "
                                      "rotations, such as '*/R'",
                                      pClip.path, PrintableText(each.name)));
        }
    }
    if (joints.empty()) {
        throw Refusal(fmt::format("{}: the clip has no rotations", pClip.path));
    }
    return joints;
}

int OrderNumber(const std::string& pName)
{
    const auto found =
        std::find_if(std::begin(kRotationOrderNames), std::end(kRotationOrderNames),
                     [&](const char* pEach) { return KCompareNoCase(pEach, pName) == 0; });
    return static_cast<int>(found - std::begin(kRotationOrderNames));
}

// "largest difference at the keys: 1.2e-05 degrees (Hips/R at 0.100 s), ..."
std::string DifferenceText(const char* pPlace, const PoseDifference& pDifference, const Clip& pClip)
{
    const auto name = [&](int pJoint) {
        return PrintableText(pClip.mJoints[static_cast<std::size_t>(pJoint)].mAddress);
    };
    std::string text = fmt::format("largest difference {}: ", pPlace);
    if (pDifference.mTurnJoint < 0) {
        return text + "none\n";
    }
    text += fmt::format("{:.3g} degrees ({}/R at {:.3f} s)", pDifference.mTurn,
                        name(pDifference.mTurnJoint), pDifference.mTurnTime.GetSecondDouble());
    if (pDifference.mDistanceJoint >= 0) {
        text += fmt::format(", {:.3g} scene units (position of {} at {:.3f} s)",
                            pDifference.mDistance, name(pDifference.mDistanceJoint),
                            pDifference.mDistanceTime.GetSecondDouble());
    }
    return text + '\n';
}

std::string ReportText(const RotationConversion& pDone, int pOrder, const Clip& pClip)
{
    const char* const order = kRotationOrderNames[pOrder];
    std::string text;
    for (std::size_t i = 0; i < pDone.mConvertedFrom.size(); ++i) {
        if (pDone.mConvertedFrom[i] > 0) {
            text +=
                fmt::format("{} from {} to {}\n", CountText(pDone.mConvertedFrom[i], "rotation"),
                            kRotationOrderNames[i], order);
        }
    }
    if (pDone.mUnchanged > 0) {
        text += fmt::format("{} already {}, unchanged\n", pDone.mUnchanged, order);
    }
    if (pDone.mAddedChannels > 0) {
        text +=
            fmt::format("channels added, so that each joint has three: {}\n", pDone.mAddedChannels);
    }
    const int(&axes)[3] = KVdRotationOrder(pOrder).GetAxes();
    text += fmt::format(
        "channels in a BVH file: {} {} {}\n", kBvhChannelWords[eClipRotationX + axes[2]],
        kBvhChannelWords[eClipRotationX + axes[1]], kBvhChannelWords[eClipRotationX + axes[0]]);
    text += DifferenceText("at frames and keys", pDone.mAtKeys, pClip);
    text += DifferenceText("halfway between", pDone.mBetween, pClip);
    if (pDone.mJumps.mCount > 0) {
        text += fmt::format("gone: {}; halfway, the rotation is not compared near {}\n",
                            PrintableText(JumpsText(pDone.mJumps)),
                            pDone.mJumps.mCount == 1 ? "it" : "them");
    }
    return text;
}

// Changes the rotation order. Returns the report.
std::string ConvertOrder(ClipCurves& pClip, const ConvertOptions& pOptions)
{
    const int order = OrderNumber(pOptions.rotation);
    Progress progress("converting " + pOptions.path, 1000);
    const RotationConversion done = ValueOrRefusal(ConvertRotations(
        pClip.clip, pClip.owner, ChooseJoints(pClip, pOptions.nodes), order, kMostValues,
        pClip.path,
        [&](double pPart) { progress.At(static_cast<std::uint64_t>(pPart * 1000.0)); }));
    pClip.NameCurves();
    return ReportText(done, order, pClip.clip);
}

void RunConvert(const ConvertOptions& pOptions)
{
    if (pOptions.rotation.empty() && !pOptions.nodes.empty()) {
        throw WrongArguments("--node chooses rotations for --rotation, which is missing");
    }
    const ClipFormat format = ChooseClipFormat(pOptions.output, pOptions.format);
    ClipCurves clip = LoadClip(pOptions.path, pOptions.unroll);
    const std::string report =
        pOptions.rotation.empty() ? std::string() : ConvertOrder(clip, pOptions);
    SaveClip(clip, format, pOptions.output);
    if (pOptions.output == "-") {
        std::fputs(report.c_str(), stderr);
    } else if (!report.empty()) {
        WriteReport(pOptions.path, report, false);
    }
}
}  // namespace

void AddConvertCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<ConvertOptions>();
    CLI::App* const command =
        pApp.add_subcommand("convert", "Write a clip in another file format or rotation order");
    AddClipArgument(*command, options->path);
    AddUnrollOption(*command, options->unroll);
    command
        ->add_option("OUTPUT", options->output,
                     "File to write, completely or not at all; - for standard output")
        ->required();
    AddClipFormatOption(*command, options->format);
    const std::vector<std::string> orders(std::begin(kRotationOrderNames),
                                          std::end(kRotationOrderNames));
    AddTextOption(*command, "--rotation", options->rotation,
                  "Rotation order to express the rotations in, as 'info' shows it: the axes in the "
                  "order of application",
                  "ORDER")
        ->check(CLI::IsMember(orders, CLI::ignore_case));
    AddPatternOption(*command, "-n,--node", options->nodes,
                     "Rotation to express in that order: Hips/R; default: all");
    command->footer("With --rotation a report has the largest difference of any pose.\n"
                    "\n"
                    "Examples:\n"
                    "  glissa convert clip.bvh clip.glissa\n"
                    "  glissa convert clip.glissa clip.bvh\n"
                    "  glissa convert clip.bvh zxy.bvh --rotation ZXY");
    command->callback([options, &pAction] { pAction = [options] { RunConvert(*options); }; });
}
