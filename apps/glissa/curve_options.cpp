// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/curve_options.h"

#include "apps/glissa/command.h"
#include "apps/glissa/shared_options.h"

#include <fmt/format.h>

void CurveOptions::AddTo(CLI::App& pCommand)
{
    AddClipArgument(pCommand, path);
    AddPatternOption(pCommand, "-c,--curve", patterns, "Curve: Hips/R/X");
    pCommand.add_flag("-a,--all", all, "All curves");
    AddPatternOption(pCommand, "-n,--node", nodes,
                     "Node instead of curves: Hips/R, all layers blended");
    pCommand.add_flag(
        "--layers", layers,
        "Add the contribution of each layer to the blend: its values times its weight");
    pCommand
        .add_option("--from", from,
                    "First time, in seconds (1.25) or frames (37f); default: the first key")
        ->type_name("TIME");
    pCommand.add_option("--to", to, "Last time; default: the last key")->type_name("TIME");
    AddFrameRateOption(pCommand, framesASecond);
    pCommand
        .add_option("--pre", before,
                    "Extrapolation before the first key: none, constant, repeat, mirror, slope or "
                    "relative, with :COUNT repetitions (mirror:2); default: without end")
        ->type_name("MODE[:COUNT]");
    pCommand.add_option("--post", after, "Extrapolation after the last key, in the same form")
        ->type_name("MODE[:COUNT]");
    AddOutputOption(pCommand, output);
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
    if (!TakesNodes()) {
        choice.RequireCurves();
    } else if (!patterns.empty() || all) {
        throw WrongArguments("--node cannot be combined with --curve and --all");
    }
    if (layers && !TakesNodes()) {
        throw WrongArguments("--layers needs --node");
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
        throw WrongArguments(fmt::format("--from {} is after --to {} (seconds)",
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
