// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <utility>
#include <vector>

// Options of several subcommands, so that their names and help texts are the same everywhere.

/// CLIP, the file to read.
void AddClipArgument(CLI::App& pCommand, std::string& pPath);

/// -o for a report or a picture; the default is standard output.
void AddOutputOption(CLI::App& pCommand, std::string& pPath);

/// -o and --format for a clip that was changed. pIsRequired  whether -o must be given.
void AddClipOutputOptions(CLI::App& pCommand, std::string& pPath, std::string& pFormat,
                          bool pIsRequired);
/// --format alone, for a clip: bvh or glissa.
void AddClipFormatOption(CLI::App& pCommand, std::string& pFormat);

/// An option with a text. pType  what stands for the text in the help: "TIME".
CLI::Option* AddTextOption(CLI::App& pCommand, const char* pName, std::string& pText,
                           const char* pHelp, const char* pType);
/// The same for an option that may be repeated.
CLI::Option* AddTextOption(CLI::App& pCommand, const char* pName, std::vector<std::string>& pTexts,
                           const char* pHelp, const char* pType);
/// Name and text of the given options of some names, in the order of the command line. Only while
/// the command line is parsed.
std::vector<std::pair<std::string, std::string>>
OptionsInOrder(const CLI::App& pCommand, const std::vector<std::string>& pNames);
/// An option with one of some words.
CLI::Option* AddChoiceOption(CLI::App& pCommand, const char* pName, std::string& pText,
                             const char* pHelp, const char* pType,
                             const std::vector<std::string>& pWords);

/// --format text or json, and --json, which is the same as --format json.
void AddJsonOptions(CLI::App& pCommand, std::string& pFormat);

/// An option that takes a pattern and may be repeated: "-n,--node".
CLI::Option* AddPatternOption(CLI::App& pCommand, const char* pName,
                              std::vector<std::string>& pPatterns, const char* pHelp);

/// --from, --to and --fps: a span of time, both ends included.
struct SpanOptions
{
    std::string from;
    std::string to;
    std::string framesASecond;

    void AddTo(CLI::App& pCommand);

    bool IsGiven() const { return !from.empty() || !to.empty(); }
    /// The rate of --fps, or nullopt. Throws WrongArguments.
    std::optional<double> FramesASecond() const;
    /// Before a clip is read: whether the texts are times, and in order as far as that is known
    /// without its rate. Throws WrongArguments.
    void Check() const;
    /// The default of each end is that of pDefault. Throws WrongArguments if --from is after --to.
    TimeSpan At(const TimeSpan& pDefault, double pClipRate) const;
};

/// --fps, the frame rate for times in frames.
void AddFrameRateOption(CLI::App& pCommand, std::string& pText);
/// The rate of --fps, or nullopt. Throws WrongArguments.
std::optional<double> FrameRateOf(const std::string& pText);
