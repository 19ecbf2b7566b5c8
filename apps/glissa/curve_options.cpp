// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/curve_options.h"

#include "apps/glissa/command.h"

#include <fmt/format.h>

void AddFrameRateOption(CLI::App& pCommand, std::string& pText)
{
    pCommand
        .add_option("--fps", pText,
                    "Frames a second that frames are counted at; without it the clip's rate")
        ->type_name("RATE");
}

std::optional<double> FrameRateOf(const std::string& pText)
{
    if (pText.empty()) {
        return std::nullopt;
    }
    return ParseOption("--fps", &ParseRate, pText).number;
}

void CurveOptions::AddTo(CLI::App& pCommand)
{
    pCommand.add_option("CLIP", path, "Clip to read (BVH or .glissa)")->required();
    pCommand
        .add_option("-c,--curve", patterns,
                    "Curve to take, by name: Hips/R/X. * stands for any run of characters, ? for "
                    "one. May be given several times")
        ->allow_extra_args(false)
        ->type_name("NAME");
    pCommand.add_flag("-a,--all", all, "Take every curve");
    pCommand
        .add_option("-n,--node", nodes,
                    "Node to take in place of curves, likewise: Hips/R, blended through all its "
                    "layers")
        ->allow_extra_args(false)
        ->type_name("NAME");
    pCommand.add_flag("--layers", layers,
                      "Add what each layer of the nodes gives to the blend: its values by its "
                      "weight");
    pCommand
        .add_option("--from", from,
                    "First time, in seconds (1.25) or frames (37f); without it that of the first "
                    "key")
        ->type_name("TIME");
    pCommand.add_option("--to", to, "Last time; without it that of the last key")
        ->type_name("TIME");
    AddFrameRateOption(pCommand, framesASecond);
    pCommand
        .add_option("--pre", before,
                    "Before the first key: none, constant, repeat, mirror, slope or relative, with "
                    ":COUNT repetitions (mirror:2) or for ever")
        ->type_name("MODE[:COUNT]");
    pCommand.add_option("--post", after, "After the last key, likewise")->type_name("MODE[:COUNT]");
    pCommand
        .add_option("-o,--output", output,
                    "File to write, complete or not at all; without it standard output")
        ->type_name("FILE");
}

CurveChoice CurveOptions::Choice() const
{
    CurveChoice choice{patterns, all, std::nullopt, std::nullopt};
    if (!before.empty()) {
        choice.before = ParseOption("--pre", &ParseExtrapolation, before);
    }
    if (!after.empty()) {
        choice.after = ParseOption("--post", &ParseExtrapolation, after);
    }
    if (patterns.empty() && !all && !TakesNodes()) {
        throw WrongArguments("no curve is chosen: name one with --curve, or take --all");
    }
    if (TakesNodes() && (!patterns.empty() || all)) {
        throw WrongArguments("--node takes nodes, --curve and --all take curves: one or the other");
    }
    if (layers && !TakesNodes()) {
        throw WrongArguments("--layers goes with --node");
    }
    return choice;
}

std::optional<double> CurveOptions::FramesASecond() const
{
    return FrameRateOf(framesASecond);
}

TimeSpan CurveOptions::Span(const TimeSpan& pDefault, double pClipRate) const
{
    const double rate = FramesASecond().value_or(pClipRate);
    TimeSpan span = pDefault;
    if (!from.empty()) {
        span.from = ParseOption("--from", &ParseTime, from).At(rate);
    }
    if (!to.empty()) {
        span.to = ParseOption("--to", &ParseTime, to).At(rate);
    }
    if (span.from > span.to) {
        throw WrongArguments(fmt::format("--from {} lies after --to {} (seconds)",
                                         span.from.GetSecondDouble(), span.to.GetSecondDouble()));
    }
    return span;
}

void CurveOptions::Check() const
{
    Choice();
    FramesASecond();
    for (const auto& [name, text] : {std::pair("--from", &from), std::pair("--to", &to)}) {
        if (!text->empty()) {
            ParseOption(name, &ParseTime, *text);
        }
    }
}
