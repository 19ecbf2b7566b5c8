// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <vector>

// Options that several subcommands have, each with one name, one help text and one meaning.

/// CLIP, a file to read.
void AddClipArgument(CLI::App& pCommand, std::string& pPath);

/// -o for a report or a picture; standard output without it.
void AddOutputOption(CLI::App& pCommand, std::string& pPath);

/// -o and --format for a clip that was changed. pIsRequired  whether -o must be given.
void AddClipOutputOptions(CLI::App& pCommand, std::string& pPath, std::string& pFormat,
                          bool pIsRequired);
/// --format alone, for a clip: bvh or glissa.
void AddClipFormatOption(CLI::App& pCommand, std::string& pFormat);

/// An option that takes a pattern and may be given several times: "-n,--node".
CLI::Option* AddPatternOption(CLI::App& pCommand, const char* pName,
                              std::vector<std::string>& pPatterns, const char* pHelp);

/// --fps, the rate at which times given as frames are counted.
void AddFrameRateOption(CLI::App& pCommand, std::string& pText);
/// The rate of --fps, nothing where it was not given. Throws WrongArguments.
std::optional<double> FrameRateOf(const std::string& pText);
