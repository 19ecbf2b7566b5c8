// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Makes edits in the order of the command line. All are parsed before the clip is read. Each is
// made on all chosen curves; if it is refused on one curve, nothing is written.

#include "apps/glissa/clip_output.h"
#include "apps/glissa/clip_reading.h"
#include "apps/glissa/command.h"
#include "apps/glissa/node_key.h"
#include "apps/glissa/shared_options.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <memory>

namespace
{
struct KeyOptions
{
    std::string path;
    bool unroll = false;
    std::vector<std::string> patterns;
    bool all = false;
    std::vector<std::string> nodes;
    std::string at, total, layer;
    std::string framesASecond;
    std::string output;
    std::string format;
    std::vector<std::string> inserts, removes, moves, tangents;
    /// Name and text of the edits in the order of the command line.
    std::vector<std::pair<std::string, std::string>> edits;
};

/// Edits one curve. Throws Refusal.
using Edit = std::function<void(Glissa& pCurve)>;

/// The edit at a frame rate. Throws WrongArguments.
using ParsedEdit = std::function<Edit(double pRate)>;

std::string TimeText(KTime pTime)
{
    return fmt::format("{} s", pTime.GetSecondDouble());
}

// The nearest key to a time, for a message.
std::string NearestText(Glissa& pCurve, KTime pTime)
{
    if (pCurve.KeyGetCount() == 0) {
        return "the curve has no keys";
    }
    const double index = pCurve.KeyFind(pTime, nullptr);
    const int last = pCurve.KeyGetCount() - 1;
    const int before = std::clamp(static_cast<int>(std::floor(index)), 0, last);
    const int after = std::min(before + 1, last);
    const bool isBefore =
        pTime - pCurve.KeyGetTime(before) <= pCurve.KeyGetTime(after) - pTime || index < 0.0;
    return "the nearest key is at " + TimeText(pCurve.KeyGetTime(isBefore ? before : after));
}

// Index of the key at exactly this time, or -1.
int FindKey(Glissa& pCurve, KTime pTime)
{
    if (pCurve.KeyGetCount() == 0) {
        return -1;
    }
    const int index =
        std::clamp(static_cast<int>(pCurve.KeyFind(pTime, nullptr)), 0, pCurve.KeyGetCount() - 1);
    return pCurve.KeyGetTime(index) == pTime ? index : -1;
}

void Insert(Glissa& pCurve, KTime pTime)
{
    if (FindKey(pCurve, pTime) >= 0) {
        throw Refusal(fmt::format("a key at {} exists already", TimeText(pTime)));
    }
    pCurve.KeyInsert(pTime);
    if (FindKey(pCurve, pTime) < 0) {
        throw Refusal(fmt::format("no key can be inserted at {}", TimeText(pTime)));
    }
}

void Move(Glissa& pCurve, KTime pFrom, KTime pTo)
{
    const int index = FindKey(pCurve, pFrom);
    if (index < 0) {
        throw Refusal(fmt::format("no key at {}; {}", TimeText(pFrom), NearestText(pCurve, pFrom)));
    }
    if (pFrom == pTo) {
        return;
    }
    const int moved = pCurve.KeyMove(index, pTo);
    if (pCurve.KeyGetTime(moved) != pTo) {
        throw Refusal(fmt::format("a key at {} blocks the move", TimeText(pTo)));
    }
}

bool HasKeyWithin(Glissa& pCurve, const TimeSpan& pSpan)
{
    const int count = pCurve.KeyGetCount();
    const int first = std::max(static_cast<int>(std::ceil(pCurve.KeyFind(pSpan.from, nullptr))), 0);
    return first < count && pCurve.KeyGetTime(first) <= pSpan.to;
}

void RequireKeys(Glissa& pCurve, const TimeSpan& pSpan)
{
    if (!HasKeyWithin(pCurve, pSpan)) {
        throw Refusal(pSpan.from == pSpan.to
                          ? fmt::format("no key at {}; {}", TimeText(pSpan.from),
                                        NearestText(pCurve, pSpan.from))
                          : fmt::format("no key from {} to {}; {}", TimeText(pSpan.from),
                                        TimeText(pSpan.to), NearestText(pCurve, pSpan.from)));
    }
}

void Remove(Glissa& pCurve, const TimeSpan& pSpan)
{
    RequireKeys(pCurve, pSpan);
    pCurve.Delete(pSpan.from, pSpan.to, true);
}

// A change of kind keeps the slopes of the curve, as intended for user tangents. Automatic tangents
// return to their own slopes by parameters of 0. New TCB keys get parameters of 0 too, since their
// slots had weights before.
void SetTangent(Glissa& pCurve, const TangentArgument& pKind, const std::optional<TimeSpan>& pSpan)
{
    if (pSpan) {
        RequireKeys(pCurve, *pSpan);
    }
    std::vector<int> chosen;
    std::vector<int> newTcb;
    pCurve.KeyModifyBegin();
    pCurve.KeyUnselectAll();
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        const KTime time = pCurve.KeyGetTime(i);
        if (!pSpan || (time >= pSpan->from && time <= pSpan->to)) {
            chosen.push_back(i);
            if (pCurve.KeyGetInterpolation(i) != eInterpolationCubic ||
                pCurve.KeyGetTangeantMode(i, false) != eTangentTCB) {
                newTcb.push_back(i);
            }
            pCurve.KeySetSelected(i, true);
        }
    }
    pCurve.KeyTangeantSetInterpolation(true, pKind.interpolation);
    if (pKind.interpolation == eInterpolationCubic) {
        pCurve.KeyTangeantSetMode(true, pKind.mode & GlissaKeyAttributes::kTangentKindMask);
        for (const int i : chosen) {
            pCurve.KeySetTangeantMode(i, pKind.mode);
        }
        if (pKind.mode == eTangentTCB) {
            for (const int i : newTcb) {
                pCurve.KeySetTCB(i, pCurve.KeyGetTime(i), pCurve.KeyGetValue(i));
            }
        }
        if ((pKind.mode & eTangentAuto) != 0) {
            for (const int i : chosen) {
                pCurve.KeySetLeftAuto(i, 0.0f);
                pCurve.KeySetRightAuto(i, 0.0f);
            }
        }
    } else if (pKind.interpolation == eInterpolationConstant) {
        for (const int i : chosen) {
            pCurve.KeySetConstantMode(i, pKind.mode);
        }
    }
    pCurve.KeyUnselectAll();
    pCurve.KeyModifyEnd();
}

struct SpanArgument
{
    TimeArgument from;
    TimeArgument to;

    TimeSpan At(double pRate) const
    {
        const TimeSpan span{from.At(pRate), to.At(pRate)};
        if (span.from > span.to) {
            throw WrongArguments("the span is reversed");
        }
        return span;
    }
};

SpanArgument ParseSpan(const std::string& pText)
{
    const std::size_t dots = pText.find("..");
    const TimeArgument from = ParseTime(pText.substr(0, dots));
    const TimeArgument to = dots == std::string::npos ? from : ParseTime(pText.substr(dots + 2));
    if (from.IsAfter(to)) {
        throw WrongArguments("the span is reversed");
    }
    return {from, to};
}

ParsedEdit ParseInsert(const std::string& pText)
{
    return [argument = ParseTime(pText)](double pRate) {
        return [time = argument.At(pRate)](Glissa& pCurve) { Insert(pCurve, time); };
    };
}

ParsedEdit ParseRemove(const std::string& pText)
{
    return [argument = ParseSpan(pText)](double pRate) {
        return [span = argument.At(pRate)](Glissa& pCurve) { Remove(pCurve, span); };
    };
}

ParsedEdit ParseMove(const std::string& pText)
{
    const std::size_t equals = pText.find('=');
    if (equals == std::string::npos) {
        throw WrongArguments(fmt::format("'{}' is not a move: use FROM=TO (2=2.1)", pText));
    }
    const TimeArgument from = ParseTime(pText.substr(0, equals));
    const TimeArgument to = ParseTime(pText.substr(equals + 1));
    return [from, to](double pRate) {
        return
            [from = from.At(pRate), to = to.At(pRate)](Glissa& pCurve) { Move(pCurve, from, to); };
    };
}

ParsedEdit ParseTangentEdit(const std::string& pText)
{
    const std::size_t at = pText.find('@');
    const TangentArgument kind = ParseTangent(pText.substr(0, at));
    std::optional<SpanArgument> argument;
    if (at != std::string::npos) {
        argument = ParseSpan(pText.substr(at + 1));
    }
    return [kind, argument](double pRate) {
        std::optional<TimeSpan> span;
        if (argument) {
            span = argument->At(pRate);
        }
        return [kind, span](Glissa& pCurve) { SetTangent(pCurve, kind, span); };
    };
}

// The edits of the command line. Without a rate only their texts are checked, and none is returned.
std::vector<Edit> MakeEdits(const KeyOptions& pOptions, std::optional<double> pRate)
{
    const std::map<std::string, ParsedEdit (*)(const std::string&)> parsers = {
        {"--insert", &ParseInsert},
        {"--remove", &ParseRemove},
        {"--move", &ParseMove},
        {"--tangent", &ParseTangentEdit},
    };
    std::vector<Edit> edits;
    for (const auto& [name, text] : pOptions.edits) {
        try {
            const ParsedEdit parsed = parsers.at(name)(text);
            if (pRate) {
                edits.push_back(parsed(*pRate));
            }
        } catch (const WrongArguments& error) {
            throw WrongArguments(fmt::format("{} {}: {}", name, text, error.what()));
        }
    }
    return edits;
}

// The request of --node and the options that need it. Of the edits only --tangent is allowed.
NodeKeyRequest MakeNodeRequest(const KeyOptions& pOptions)
{
    if (!pOptions.patterns.empty() || pOptions.all) {
        throw WrongArguments("--node cannot be combined with --curve and --all");
    }
    if (pOptions.at.empty()) {
        throw WrongArguments("--node needs --at TIME");
    }
    NodeKeyRequest request;
    request.patterns = pOptions.nodes;
    request.layer = pOptions.layer;
    request.at = ParseOption("--at", &ParseTime, pOptions.at);
    if (!pOptions.total.empty()) {
        request.total = ParseOption("--total", &ParseValues, pOptions.total);
    }
    for (const auto& [name, text] : pOptions.edits) {
        if (name != "--tangent" || request.tangent) {
            throw WrongArguments(fmt::format(
                "{} {}: with --node the only edit is one --tangent KIND; other edits need --curve",
                name, text));
        }
        request.tangent = ParseOption("--tangent", &ParseTangent, text);
    }
    return request;
}

void RunNodeKey(const KeyOptions& pOptions, std::optional<double> pRate)
{
    const NodeKeyRequest request = MakeNodeRequest(pOptions);
    const ClipFormat format = ChooseClipFormat(pOptions.output, pOptions.format);
    ClipCurves clip = LoadClip(pOptions.path, pOptions.unroll);
    KeyNodes(clip, request, request.at.At(pRate ? *pRate : clip.framesASecond));
    clip.DropRecordedValues();
    SaveClip(clip, format, pOptions.output);
}

void RunKey(const KeyOptions& pOptions)
{
    const std::optional<double> rate = FrameRateOf(pOptions.framesASecond);
    if (!pOptions.nodes.empty()) {
        RunNodeKey(pOptions, rate);
        return;
    }
    if (!pOptions.at.empty() || !pOptions.total.empty() || !pOptions.layer.empty()) {
        throw WrongArguments("--at, --total and --layer need --node");
    }
    if (pOptions.edits.empty()) {
        throw WrongArguments("no edit is given: --insert, --remove, --move or --tangent");
    }
    const CurveChoice choice{pOptions.patterns, pOptions.all, std::nullopt, std::nullopt};
    choice.RequireCurves();
    const ClipFormat format = ChooseClipFormat(pOptions.output, pOptions.format);
    MakeEdits(pOptions, rate);  // reports wrong arguments before the clip is read

    ClipCurves clip = LoadClip(pOptions.path, pOptions.unroll);
    const std::vector<NamedCurve*> curves = ChooseCurves(clip, choice);
    const std::vector<Edit> edits = MakeEdits(pOptions, rate.value_or(clip.framesASecond));
    for (std::size_t i = 0; i < edits.size(); ++i) {
        for (NamedCurve* const each : curves) {
            try {
                edits[i](*each->curve);
            } catch (const Refusal& refusal) {
                throw Refusal(fmt::format("{}: {}: {} {}: {}", clip.path, each->name,
                                          pOptions.edits[i].first, pOptions.edits[i].second,
                                          refusal.what()));
            }
        }
    }
    clip.DropRecordedValues();
    SaveClip(clip, format, pOptions.output);
}
}  // namespace

void AddKeyCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<KeyOptions>();
    CLI::App* const command =
        pApp.add_subcommand("key", "Insert, remove, move and shape keys, or set keys of a node");
    AddClipArgument(*command, options->path);
    AddUnrollOption(*command, options->unroll);
    AddPatternOption(*command, "-c,--curve", options->patterns, "Curve to edit: Hips/R/X");
    command->add_flag("-a,--all", options->all, "Edit all curves");
    AddPatternOption(*command, "-n,--node", options->nodes,
                     "Node whose channels get a key: Spine/R");
    AddTextOption(*command, "--at", options->at, "Time of the key of the node", "TIME");
    AddTextOption(*command, "--total", options->total,
                  "Values of the node at this time, all layers blended: 10,0,5; default: its "
                  "present values",
                  "NUMBERS");
    AddTextOption(*command, "--layer", options->layer,
                  "Layer of the key: its name, or base (default)", "LAYER");
    AddTextOption(*command, "--insert", options->inserts,
                  "Add a key without changing the shape of the curve", "TIME");
    AddTextOption(*command, "--remove", options->removes,
                  "Remove a key, or all keys of a span, ends included", "TIME[..TIME]");
    AddTextOption(*command, "--move", options->moves, "Move a key in time", "FROM=TO");
    AddTextOption(
        *command, "--tangent", options->tangents,
        "Set the shape of all keys, or of those in a span: auto, clamp, progressive, user, tcb, "
        "linear, constant",
        "KIND[@TIME[..TIME]]");
    AddFrameRateOption(*command, options->framesASecond);
    AddClipOutputOptions(*command, options->output, options->format, true);
    command->footer("Examples:\n"
                    "  glissa key clip.glissa --curve 'Hips/R/X' --insert 1.254 --remove "
                    "0.5..0.75 --move 2=2.004 --tangent progressive -o out.glissa\n"
                    "  glissa key layered.glissa --node 'Spine/R' --at 1.5 --total 10,0,5 --layer "
                    "Breath -o out.glissa\n"
                    "  glissa key clip.bvh --curve '*/R/?' --remove 1f..23f --tangent user@0f "
                    "-o out.glissa");
    command->callback([options, command, &pAction] {
        options->edits = OptionsInOrder(*command, {"--insert", "--remove", "--move", "--tangent"});
        pAction = [options] { RunKey(*options); };
    });
}
