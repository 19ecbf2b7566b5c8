// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <vector>

/// The common options of eval and plot: clip, curves or nodes, extrapolation, span of time.
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

    /// Whether nodes are chosen instead of curves.
    bool TakesNodes() const { return !nodes.empty(); }

    /// Throw WrongArguments.
    CurveChoice Choice() const;
    /// The rate of --fps, or nullopt.
    std::optional<double> FramesASecond() const;
    /// The span from --from to --to; the default of each is the end of pDefault. --from must not be
    /// after --to.
    TimeSpan Span(const TimeSpan& pDefault, double pClipRate) const;
    /// Checks all options, before a clip is read.
    void Check() const;
};
