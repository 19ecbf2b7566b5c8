// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/shared_options.h"

#include "apps/glissa/arguments.h"
#include "apps/glissa/command.h"
#include "apps/glissa/refusal.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

void AddClipArgument(CLI::App& pCommand, std::string& pPath)
{
    pCommand.add_option("CLIP", pPath, "Clip to read (BVH or .glissa)")->required();
}

void AddOutputOption(CLI::App& pCommand, std::string& pPath)
{
    AddTextOption(pCommand, "-o,--output", pPath,
                  "File to write, completely or not at all; default: standard output", "FILE");
}

void AddClipOutputOptions(CLI::App& pCommand, std::string& pPath, std::string& pFormat,
                          bool pIsRequired)
{
    AddTextOption(pCommand, "-o,--output", pPath,
                  "File to write, not the one that is read; - for standard output", "FILE")
        ->required(pIsRequired);
    AddClipFormatOption(pCommand, pFormat);
}

void AddClipFormatOption(CLI::App& pCommand, std::string& pFormat)
{
    AddChoiceOption(
        pCommand, "--format", pFormat,
        "glissa, or bvh (values with all layers blended); default: the suffix of the file",
        "FORMAT", {"bvh", "glissa"});
}

CLI::Option* AddTextOption(CLI::App& pCommand, const char* pName, std::string& pText,
                           const char* pHelp, const char* pType)
{
    return pCommand.add_option(pName, pText, pHelp)->type_name(pType);
}

CLI::Option* AddTextOption(CLI::App& pCommand, const char* pName, std::vector<std::string>& pTexts,
                           const char* pHelp, const char* pType)
{
    return pCommand.add_option(pName, pTexts, pHelp)->allow_extra_args(false)->type_name(pType);
}

// The parser lists each option once for each of its values.
std::vector<std::pair<std::string, std::string>>
OptionsInOrder(const CLI::App& pCommand, const std::vector<std::string>& pNames)
{
    std::vector<std::pair<std::string, std::string>> given;
    std::map<const CLI::Option*, std::size_t> counts;
    for (const CLI::Option* const option : pCommand.parse_order()) {
        const std::string name = option->get_name();
        const std::size_t index = counts[option]++;
        if (std::find(pNames.begin(), pNames.end(), name) != pNames.end()) {
            given.emplace_back(name, option->results().at(index));
        }
    }
    return given;
}

CLI::Option* AddChoiceOption(CLI::App& pCommand, const char* pName, std::string& pText,
                             const char* pHelp, const char* pType,
                             const std::vector<std::string>& pWords)
{
    return AddTextOption(pCommand, pName, pText, pHelp, pType)->check(CLI::IsMember(pWords));
}

void AddJsonOptions(CLI::App& pCommand, std::string& pFormat)
{
    CLI::Option* const format =
        AddChoiceOption(pCommand, "--format", pFormat, "text (default) or json, with all digits",
                        "FORMAT", {"text", "json"});
    pCommand
        .add_flag_callback(
            "--json", [&pFormat] { pFormat = "json"; }, "The same as --format json")
        ->excludes(format);
}

CLI::Option* AddPatternOption(CLI::App& pCommand, const char* pName,
                              std::vector<std::string>& pPatterns, const char* pHelp)
{
    const std::string help =
        std::string(pHelp) + ". * matches any characters, ? one character. May be repeated";
    return AddTextOption(pCommand, pName, pPatterns, help.c_str(), "NAME");
}

void SpanOptions::AddTo(CLI::App& pCommand)
{
    AddTextOption(pCommand, "--from", from,
                  "First time, in seconds (1.25) or frames (37f); default: the first key", "TIME");
    AddTextOption(pCommand, "--to", to, "Last time; default: the last key", "TIME");
    AddFrameRateOption(pCommand, framesASecond);
}

std::optional<double> SpanOptions::FramesASecond() const
{
    return FrameRateOf(framesASecond);
}

void SpanOptions::Check() const
{
    const std::optional<double> rate = FramesASecond();
    const TimeArgument first =
        from.empty() ? TimeArgument() : ParseOption("--from", &ParseTime, from);
    const TimeArgument last = to.empty() ? TimeArgument() : ParseOption("--to", &ParseTime, to);
    if (rate) {
        At({KTime::MinusInfinite(), KTime::Infinite()}, *rate);
    } else if (!from.empty() && !to.empty() && first.IsAfter(last)) {
        throw WrongArguments(fmt::format("--from {} is after --to {}", from, to));
    }
}

TimeSpan SpanOptions::At(const TimeSpan& pDefault, double pClipRate) const
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
        const auto text = [](const std::string& pGiven, KTime pTime) {
            return pGiven.empty() ? fmt::format("{} s", pTime.GetSecondDouble()) : pGiven;
        };
        throw WrongArguments(
            fmt::format("--from {} is after --to {}", text(from, span.from), text(to, span.to)));
    }
    return span;
}

void AddFrameRateOption(CLI::App& pCommand, std::string& pText)
{
    AddTextOption(pCommand, "--fps", pText,
                  "Frames per second, for times in frames; default: the rate of the clip", "RATE");
}

std::optional<double> FrameRateOf(const std::string& pText)
{
    if (pText.empty()) {
        return std::nullopt;
    }
    return ParseOption("--fps", &ParseRate, pText).number;
}
