// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/filter_recipe.h"

#include "apps/glissa/arguments.h"
#include "apps/glissa/json_report.h"
#include "apps/glissa/refusal.h"
#include "io/text_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <set>
#include <string_view>
#include <utility>

namespace
{
const FilterEntry& EntryOf(const std::string& pName)
{
    const FilterEntry* const entry = FindFilter(pName);
    if (!entry) {
        std::vector<const char*> names;
        for (const FilterEntry& each : FilterTable()) {
            names.push_back(each.mName);
        }
        throw WrongArguments(
            fmt::format("there is no filter '{}'; there are {}", pName, fmt::join(names, ", ")));
    }
    return *entry;
}

std::string ValueText(const FilterParameter& pParameter, const std::vector<double>& pNumbers)
{
    if (pParameter.mValue == FilterValue::flag) {
        return pNumbers.front() != 0.0 ? "on" : "off";
    }
    return fmt::format("{}", fmt::join(pNumbers, ","));
}

// The range as far as it limits anything that users would write.
std::string RangeText(const FilterParameter& pParameter)
{
    constexpr double kNear = 1e-5;
    constexpr double kFar = 1e5;
    if (pParameter.mValue == FilterValue::flag) {
        return "on or off";
    }
    const bool above = pParameter.mGreatest >= kFar;
    if (pParameter.mLeast <= -kFar && above) {
        return pParameter.mCount == 1 ? "any" : "three numbers X,Y,Z";
    }
    if (pParameter.mLeast > 0.0 && pParameter.mLeast < kNear && above) {
        return "above 0";
    }
    return above ? fmt::format("from {:g}", pParameter.mLeast)
                 : fmt::format("{:g} to {:g}", pParameter.mLeast, pParameter.mGreatest);
}

std::string DefaultText(const FilterEntry& pEntry, const FilterParameter& pParameter)
{
    if (pParameter.mRequired) {
        return "required";
    }
    if (pParameter.mFrames != 0.0) {
        return pParameter.mUnit[0] == 's' ? fmt::format("{} frame", pParameter.mFrames)
                                          : fmt::format("{} a frame", pParameter.mFrames);
    }
    const double number = pEntry.DefaultOf(pParameter, KTime());
    if (!std::isfinite(number)) {
        return "none";
    }
    return pParameter.mValue == FilterValue::flag ? ValueText(pParameter, {number})
                                                  : fmt::format("{:.4g}", number);
}

const char* FormText(const FilterParameter& pParameter)
{
    if (pParameter.mValue == FilterValue::flag) {
        return "on or off";
    }
    if (pParameter.mCount == 3) {
        return "three numbers or fractions (0,1/2,10)";
    }
    return pParameter.mUnit == std::string_view("s")
               ? "seconds, as a number or a fraction (4/30 for 4 frames of 30 a second)"
               : "a number or a fraction (1/60)";
}

void Set(FilterSetup& pSetup, const std::string& pName, const std::vector<double>& pNumbers)
{
    const std::string fault = pSetup.Set(pName, pNumbers);
    if (!fault.empty()) {
        throw WrongArguments(fault);
    }
}

// A number as users write it. On and off are values of flags alone.
double NumberOf(const FilterSetup& pSetup, const std::string& pName, const std::string& pText)
{
    const FilterParameter* const parameter = pSetup.GetEntry().Find(pName);
    const bool isFlag = parameter && parameter->mValue == FilterValue::flag;
    const bool isOn = pText == "on" || pText == "true";
    const bool isSwitch = isOn || pText == "off" || pText == "false";
    const std::optional<double> number =
        isFlag && isSwitch ? std::optional(isOn ? 1.0 : 0.0) : ParseFraction(pText);
    if (parameter && !number) {
        throw WrongArguments(
            fmt::format("'{}' is no value for {}: write {}", pText, pName, FormText(*parameter)));
    }
    return number.value_or(0.0);
}

double NumberOf(const FilterSetup& pSetup, const std::string& pName, const Json& pValue)
{
    if (pValue.is_boolean()) {
        return NumberOf(pSetup, pName, std::string(pValue.get<bool>() ? "on" : "off"));
    }
    if (pValue.is_string()) {
        return NumberOf(pSetup, pName, pValue.get<std::string>());
    }
    if (!pValue.is_number()) {
        throw WrongArguments(fmt::format("{} is no number, true or false", pName));
    }
    return pValue.get<double>();
}

bool TakesSeveral(const FilterSetup& pSetup, const std::string& pName)
{
    const FilterParameter* const parameter = pSetup.GetEntry().Find(pName);
    return parameter && parameter->mCount > 1;
}

FilterSetup SetupOf(const Json& pStep)
{
    if (!pStep.is_object() || !pStep.contains("filter") || !pStep["filter"].is_string()) {
        throw WrongArguments("a filter is an object with its name as \"filter\"");
    }
    FilterSetup setup(EntryOf(pStep["filter"].get<std::string>()));
    for (const auto& [name, value] : pStep.items()) {
        if (name == "filter" || name == "about") {
            continue;
        }
        std::vector<double> numbers;
        for (const Json& each : value.is_array() ? value : Json::array({value})) {
            numbers.push_back(NumberOf(setup, name, each));
        }
        Set(setup, name, numbers);
    }
    return setup;
}

// Finds a key that an object has twice; the parser keeps the last one without a word.
Json ParseJson(const std::string& pText, std::string& pRepeated)
{
    using Event = Json::parse_event_t;
    std::vector<std::set<std::string>> keys;  // of the objects that are open
    return Json::parse(pText, [&](int, Event pEvent, Json& pParsed) {
        if (pEvent == Event::object_start) {
            keys.emplace_back();
        } else if (pEvent == Event::object_end) {
            keys.pop_back();
        } else if (pEvent == Event::key) {
            const std::string key = pParsed.get<std::string>();
            if (!keys.back().insert(key).second) {
                pRepeated = key;
            }
        }
        return true;
    });
}

void CheckComplete(const FilterSetup& pSetup)
{
    const std::string fault = pSetup.GetFault();
    if (!fault.empty()) {
        throw WrongArguments(fault);
    }
}
}  // namespace

FilterSetup ParseFilter(const std::string& pText)
{
    const std::size_t colon = pText.find(':');
    FilterSetup setup(EntryOf(pText.substr(0, colon)));
    std::vector<std::pair<std::string, std::vector<double>>> values;
    std::size_t start = colon == std::string::npos ? pText.size() : colon + 1;
    while (start < pText.size()) {
        const std::size_t end = std::min(pText.find(',', start), pText.size());
        const std::string piece = pText.substr(start, end - start);
        const std::size_t equals = piece.find('=');
        if (equals != std::string::npos) {
            values.push_back({piece.substr(0, equals), {}});
        } else if (values.empty() || !TakesSeveral(setup, values.back().first)) {
            throw WrongArguments(fmt::format("'{}' has no value: write NAME=VALUE", piece));
        }
        auto& [name, numbers] = values.back();
        numbers.push_back(
            NumberOf(setup, name, equals == std::string::npos ? piece : piece.substr(equals + 1)));
        start = end + 1;
    }
    for (const auto& [name, numbers] : values) {
        Set(setup, name, numbers);
    }
    CheckComplete(setup);
    return setup;
}

FilterRecipe ParseRecipe(const std::string& pText, const std::string& pFileName)
{
    Json json;
    std::string repeated;
    try {
        json = ParseJson(pText, repeated);
    } catch (const Json::parse_error& error) {
        // The byte is that of the last character read, from 1.
        const std::string_view before =
            std::string_view(pText).substr(0, error.byte > 0 ? error.byte - 1 : 0);
        const std::size_t line = before.rfind('\n') + 1;
        // The text of the library has the place too, and then the reason.
        const std::string_view text = error.what();
        const std::size_t reason = text.find(": ", std::min(text.find("column"), text.size()));
        throw Refusal(fmt::format("{}:{}: column {}: is not JSON: {}", pFileName,
                                  1 + std::count(before.begin(), before.end(), '\n'),
                                  before.size() - line + 1,
                                  reason < text.size() ? text.substr(reason + 2) : text));
    } catch (const Json::out_of_range& error) {
        // A number beyond the range of a double: the text names it behind the number of the error.
        const std::string_view text = error.what();
        throw Refusal(fmt::format("{}: {}", pFileName, text.substr(text.find(' ') + 1)));
    }
    if (!json.is_object() || !json.contains("filters") || !json["filters"].is_array() ||
        json["filters"].empty()) {
        throw Refusal(fmt::format("{}: a recipe is an object with an array \"filters\"; 'glissa "
                                  "filter --list --format json' writes one",
                                  pFileName));
    }
    if (!repeated.empty()) {
        throw Refusal(fmt::format("{}: {} is given twice in one object", pFileName, repeated));
    }
    for (const auto& [name, value] : json.items()) {
        if (name != "filters" && name != "about") {
            throw Refusal(fmt::format("{}: a recipe has no field '{}'; it has filters and about",
                                      pFileName, name));
        }
    }
    FilterRecipe recipe;
    for (const Json& each : json["filters"]) {
        try {
            const FilterSetup setup = SetupOf(each);
            CheckComplete(setup);
            recipe.push_back(setup);
        } catch (const WrongArguments& error) {
            throw Refusal(fmt::format("{}: filter {} of {}: {}", pFileName, recipe.size() + 1,
                                      json["filters"].size(), error.what()));
        }
    }
    return recipe;
}

FilterRecipe ReadRecipe(const std::string& pPath)
{
    return ParseRecipe(ValueOrRefusal(ReadTextFile(pPath)), pPath);
}

std::string DescribeFilters()
{
    std::string text;
    const auto out = std::back_inserter(text);
    for (const FilterEntry& entry : FilterTable()) {
        fmt::format_to(out, "{}\n    {}.\n", entry.mName, entry.mMeaning);
        if (entry.mNote[0] != '\0') {
            fmt::format_to(out, "    {}\n", entry.mNote);
        }
        if (entry.mScope == FilterScope::vector) {
            fmt::format_to(out, "    Takes the channels of a node together: choose with --node.\n");
        }
        if (entry.mScope == FilterScope::rotation) {
            fmt::format_to(out, "    Works on rotations, all or those chosen with --node '*/R'.\n");
        }
        if (entry.mSpan == FilterSpan::none) {
            fmt::format_to(out, "    Works on whole curves: --from and --to do not apply.\n");
        }
        for (const FilterParameter& each : entry.mParameters) {
            const std::string unit = each.mUnit[0] == '\0' ? "" : fmt::format(" [{}]", each.mUnit);
            fmt::format_to(out, "      {:<10} {}{}; {}; default {}\n", each.mName, each.mMeaning,
                           unit, RangeText(each), DefaultText(entry, each));
        }
    }
    text += "\n[value] is the unit of the curve: degrees or scene units.\n";
    return text;
}

std::string FilterTemplate()
{
    Json filters = Json::array();
    for (const FilterEntry& entry : FilterTable()) {
        Json filter;
        filter["filter"] = entry.mName;
        Json about;
        about["meaning"] = entry.mMeaning;
        about["note"] = entry.mNote;
        about["span"] = entry.mSpan != FilterSpan::none;
        about["needs_node"] = entry.NeedsNode();
        about["parameters"] = Json::array();
        for (const FilterParameter& each : entry.mParameters) {
            Json parameter;
            parameter["name"] = each.mName;
            parameter["meaning"] = each.mMeaning;
            parameter["unit"] = each.mUnit;
            parameter["range"] = RangeText(each);
            parameter["default"] = DefaultText(entry, each);
            about["parameters"].push_back(parameter);
            const double number = entry.DefaultOf(each, KTime());
            if (each.mFrames == 0.0 && !each.mRequired && std::isfinite(number)) {
                filter[each.mName] =
                    each.mValue == FilterValue::flag ? Json(number != 0.0) : Json(number);
            }
        }
        filter["about"] = about;
        filters.push_back(filter);
    }
    Json recipe;
    recipe["filters"] = filters;
    return JsonReportText(recipe);
}

std::string SetupText(const FilterSetup& pSetup)
{
    std::string text = pSetup.GetEntry().mName;
    for (const FilterParameter& each : pSetup.GetEntry().mParameters) {
        if (const std::vector<double>* const value = pSetup.Get(each)) {
            text += fmt::format(" {}={}", each.mName, ValueText(each, *value));
        }
    }
    return text;
}
