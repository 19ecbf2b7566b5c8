// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/shared_options.h"

#include "apps/glissa/arguments.h"
#include "apps/glissa/command.h"

void AddClipArgument(CLI::App& pCommand, std::string& pPath)
{
    pCommand.add_option("CLIP", pPath, "Clip to read (BVH or .glissa)")->required();
}

void AddOutputOption(CLI::App& pCommand, std::string& pPath)
{
    pCommand
        .add_option("-o,--output", pPath,
                    "File to write, completely or not at all; default: standard output")
        ->type_name("FILE");
}

void AddClipOutputOptions(CLI::App& pCommand, std::string& pPath, std::string& pFormat,
                          bool pIsRequired)
{
    pCommand
        .add_option("-o,--output", pPath,
                    "File to write, not the one that is read; - for standard output")
        ->required(pIsRequired)
        ->type_name("FILE");
    AddClipFormatOption(pCommand, pFormat);
}

void AddClipFormatOption(CLI::App& pCommand, std::string& pFormat)
{
    pCommand
        .add_option(
            "--format", pFormat,
            "glissa, or bvh (values with all layers blended); default: the suffix of the file")
        ->check(CLI::IsMember({"bvh", "glissa"}))
        ->type_name("FORMAT");
}

CLI::Option* AddPatternOption(CLI::App& pCommand, const char* pName,
                              std::vector<std::string>& pPatterns, const char* pHelp)
{
    return pCommand
        .add_option(pName, pPatterns,
                    std::string(pHelp) +
                        ". * matches any characters, ? one character. May be repeated")
        ->allow_extra_args(false)
        ->type_name("NAME");
}

void AddFrameRateOption(CLI::App& pCommand, std::string& pText)
{
    pCommand
        .add_option("--fps", pText,
                    "Frames per second, for times in frames; default: the rate of the clip")
        ->type_name("RATE");
}

std::optional<double> FrameRateOf(const std::string& pText)
{
    if (pText.empty()) {
        return std::nullopt;
    }
    return ParseOption("--fps", &ParseRate, pText).number;
}
