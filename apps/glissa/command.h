// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/refusal.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

/// The work of the chosen subcommand. It is set while the command line is parsed, and run
/// afterwards.
using Action = std::function<void()>;

/// Each adds a subcommand with its options and help to the command line. Defined in a source file
/// of the same name.
void AddInfoCommand(CLI::App& pApp, Action& pAction);
void AddEvalCommand(CLI::App& pApp, Action& pAction);
void AddPlotCommand(CLI::App& pApp, Action& pAction);
void AddConvertCommand(CLI::App& pApp, Action& pAction);
void AddDumpCommand(CLI::App& pApp, Action& pAction);
void AddCheckCommand(CLI::App& pApp, Action& pAction);
void AddFilterCommand(CLI::App& pApp, Action& pAction);
void AddKeyCommand(CLI::App& pApp, Action& pAction);
void AddDragCommand(CLI::App& pApp, Action& pAction);
void AddRetimeCommand(CLI::App& pApp, Action& pAction);
void AddLayerCommand(CLI::App& pApp, Action& pAction);
void AddPoseCommand(CLI::App& pApp, Action& pAction);

/// Parses the text of an option. An error starts with the name of the option.
template <typename T>
T ParseOption(const char* pName, T (*pParse)(const std::string&), const std::string& pText)
{
    try {
        return pParse(pText);
    } catch (const WrongArguments& error) {
        throw WrongArguments(std::string(pName) + ": " + error.what());
    }
}
