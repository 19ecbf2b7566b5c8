// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/curve_options.h"

#include "apps/glissa/clip_reading.h"
#include "apps/glissa/command.h"

void CurveOptions::AddTo(CLI::App& pCommand)
{
    AddClipArgument(pCommand, path);
    AddUnrollOption(pCommand, unroll);
    AddPatternOption(pCommand, "-c,--curve", patterns, "Curve: Hips/R/X");
    pCommand.add_flag("-a,--all", all, "All curves");
    AddPatternOption(pCommand, "-n,--node", nodes,
                     "Node instead of curves: Hips/R, all layers blended");
    pCommand.add_flag(
        "--layers", layers,
        "Add the contribution of each layer to the blend: its values times its weight");
    span.AddTo(pCommand);
    AddTextOption(pCommand, "--pre", before,
                  "Extrapolation before the first key: none, constant, repeat, mirror, slope or "
                  "relative, with :COUNT repetitions (mirror:2); default: without end",
                  "MODE[:COUNT]");
    AddTextOption(pCommand, "--post", after, "Extrapolation after the last key, in the same form",
                  "MODE[:COUNT]");
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

void CurveOptions::Check() const
{
    Choice();
    span.Check();
}
