// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/shared_options.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <vector>

/// The common options of eval and plot: clip, curves or nodes, extrapolation, span of time.
struct CurveOptions
{
    std::string path;
    bool unroll = false;
    std::vector<std::string> patterns;
    bool all = false;
    std::vector<std::string> nodes;
    bool layers = false;
    std::string before;
    std::string after;
    SpanOptions span;
    std::string output;

    void AddTo(CLI::App& pCommand);

    /// Whether nodes are chosen instead of curves.
    bool TakesNodes() const { return !nodes.empty(); }

    /// Throw WrongArguments.
    CurveChoice Choice() const;
    /// Checks all options, before a clip is read.
    void Check() const;
};
