// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <vector>

/// --fps, by which every command that takes times as frames counts them.
void AddFrameRateOption(CLI::App& pCommand, std::string& pText);
/// Its rate, nothing where it was not given. Throws WrongArguments.
std::optional<double> FrameRateOf(const std::string& pText);

/// The options that eval and plot share: the clip, the curves or nodes, the extrapolation, the span
/// of time.
struct CurveOptions
{
    std::string path;
    std::vector<std::string> patterns;
    bool all = false;
    std::vector<std::string> nodes;
    bool layers = false;
    std::string before;
    std::string after;
    std::string from;
    std::string to;
    std::string framesASecond;
    std::string output;

    void AddTo(CLI::App& pCommand);

    /// Whether nodes are asked for, and not curves.
    bool TakesNodes() const { return !nodes.empty(); }

    /// Throw WrongArguments.
    CurveChoice Choice() const;
    /// Rate that frames are counted at, where --fps gives one.
    std::optional<double> FramesASecond() const;
    /// The span asked for; an end that is not given is that of pDefault. --from may not lie after
    /// --to.
    TimeSpan Span(const TimeSpan& pDefault, double pClipRate) const;
    /// Fails as the others would, before anything is read.
    void Check() const;
};
