// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/drag_request.h"

#include "apps/glissa/refusal.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <string_view>

namespace
{
constexpr std::string_view kTo = "..";

// "LOW..HIGH"; an end that is left out is no limit, and one value is both.
template <typename T>
Limits<T> ParseLimits(const std::string& pText, T (*pParse)(const std::string&))
{
    const std::size_t dots = pText.find(kTo);
    if (dots == std::string::npos) {
        const T only = pParse(pText);
        return {only, only};
    }
    Limits<T> limits;
    const std::string low = pText.substr(0, dots);
    const std::string high = pText.substr(dots + kTo.size());
    if (!low.empty()) {
        limits.low = pParse(low);
    }
    if (!high.empty()) {
        limits.high = pParse(high);
    }
    return limits;
}

std::vector<std::string> SplitAtCommas(const std::string& pText)
{
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (;;) {
        const std::size_t comma = pText.find(',', start);
        parts.push_back(pText.substr(start, comma - start));
        if (comma == std::string::npos) {
            return parts;
        }
        start = comma + 1;
    }
}

using Parameters = std::map<std::string, std::string>;

// "NAME=VALUE,...". The first value needs no name if pFirst is one.
Parameters ParseParameters(const std::string& pText, const std::string& pFirst,
                           const std::vector<std::string>& pNames)
{
    Parameters parameters;
    for (const std::string& part : SplitAtCommas(pText)) {
        const std::size_t equals = part.find('=');
        const bool isFirst = equals == std::string::npos && parameters.empty() && !pFirst.empty();
        const std::string name = isFirst ? pFirst : part.substr(0, equals);
        const bool isKnown = std::find(pNames.begin(), pNames.end(), name) != pNames.end();
        if (!isKnown || (!isFirst && equals == std::string::npos)) {
            throw WrongArguments(fmt::format("'{}' is not NAME=VALUE with one of the names {}",
                                             part, fmt::join(pNames, ", ")));
        }
        if (!parameters.emplace(name, isFirst ? part : part.substr(equals + 1)).second) {
            throw WrongArguments(fmt::format("{} is given twice", name));
        }
    }
    return parameters;
}

// The words of an axis for the sides and the middle of the selection box.
struct AxisWords
{
    const char* first;
    const char* middle;
    const char* last;
};
constexpr AxisWords kTimeWords{"start", "middle", "end"};
constexpr AxisWords kValueWords{"low", "middle", "high"};

template <typename T>
Place<T> ParsePlace(const std::string& pText, const AxisWords& pWords,
                    T (*pParse)(const std::string&))
{
    using Kind = typename Place<T>::Kind;
    if (pText == pWords.first) {
        return {Kind::first, {}};
    }
    if (pText == pWords.middle) {
        return {Kind::middle, {}};
    }
    if (pText == pWords.last) {
        return {Kind::last, {}};
    }
    try {
        return {Kind::given, pParse(pText)};
    } catch (const WrongArguments& error) {
        throw WrongArguments(fmt::format("{}; or {}, {}, {} of the selection", error.what(),
                                         pWords.first, pWords.middle, pWords.last));
    }
}

// The edge is the end of the box, unless that is the pivot; the pivot is the other side.
template <typename T>
Stretch<T> ParseStretch(const std::string& pText, const AxisWords& pWords,
                        T (*pParse)(const std::string&))
{
    using Kind = typename Place<T>::Kind;
    const Parameters given = ParseParameters(pText, "", {"pivot", "edge", "by"});
    Stretch<T> stretch;
    if (!given.contains("by")) {
        throw WrongArguments("by= is missing: how far the edge moves");
    }
    stretch.by = pParse(given.at("by"));
    const bool hasPivot = given.contains("pivot");
    if (hasPivot) {
        stretch.pivot = ParsePlace(given.at("pivot"), pWords, pParse);
    }
    if (given.contains("edge")) {
        stretch.edge = ParsePlace(given.at("edge"), pWords, pParse);
    } else {
        const bool isAtLast = hasPivot && stretch.pivot.kind == Kind::last;
        stretch.edge.kind = isAtLast ? Kind::first : Kind::last;
    }
    if (!hasPivot) {
        stretch.pivot.kind = stretch.edge.kind == Kind::first ? Kind::last : Kind::first;
    }
    return stretch;
}

template <typename T>
Stretch<T> ParseScale(const std::string& pText, const AxisWords& pWords,
                      T (*pParse)(const std::string&), const Place<T>& pDefault)
{
    using Kind = typename Place<T>::Kind;
    const Parameters given = ParseParameters(pText, "by", {"by", "pivot"});
    if (!given.contains("by")) {
        throw WrongArguments("the factor is missing: 1.5, or 1.5,pivot=PLACE");
    }
    Stretch<T> stretch;
    stretch.factor = ParseFraction(given.at("by"));
    if (!stretch.factor || *stretch.factor == 0.0) {
        throw WrongArguments(
            fmt::format("'{}' is not a factor: use a number or a fraction, not 0", given.at("by")));
    }
    stretch.pivot =
        given.contains("pivot") ? ParsePlace(given.at("pivot"), pWords, pParse) : pDefault;
    stretch.edge.kind = stretch.pivot.kind == Kind::last ? Kind::first : Kind::last;
    return stretch;
}

bool IsReversed(const Limits<TimeArgument>& pLimits)
{
    return pLimits.low && pLimits.high && pLimits.low->IsAfter(*pLimits.high);
}
}  // namespace

double ParseValue(const std::string& pText)
{
    const std::vector<double> values = ParseValues(pText);
    if (values.size() != 1) {
        throw WrongArguments(fmt::format("'{}' is not one number", pText));
    }
    return values.front();
}

double ParseDistance(const std::string& pText)
{
    const double distance = ParseValue(pText);
    if (distance < 0.0) {
        throw WrongArguments(fmt::format("'{}' is below 0", pText));
    }
    return distance;
}

double ParseFrames(const std::string& pText)
{
    const bool hasUnit = !pText.empty() && pText.back() == 'f';
    return ParseDistance(hasUnit ? pText.substr(0, pText.size() - 1) : pText);
}

SelectStep ParseBox(const std::string& pText)
{
    const std::vector<std::string> parts = SplitAtCommas(pText);
    if (parts.size() > 2) {
        throw WrongArguments(fmt::format(
            "'{}' is not a box: use TIMES or TIMES,VALUES (1..2, 24f..48f,80..95)", pText));
    }
    SelectStep step;
    step.text = pText;
    step.times = ParseLimits(parts[0], &ParseTime);
    if (parts.size() == 2) {
        step.values = ParseLimits(parts[1], &ParseValue);
    }
    const bool areValuesReversed =
        step.values.low && step.values.high && *step.values.low > *step.values.high;
    if (IsReversed(step.times) || areValuesReversed) {
        throw WrongArguments("the box is reversed");
    }
    return step;
}

std::pair<TimeArgument, double> ParseMove(const std::string& pText)
{
    const std::vector<std::string> parts = SplitAtCommas(pText);
    if (parts.size() > 2) {
        throw WrongArguments(fmt::format(
            "'{}' is not a move: use TIME,VALUE (0.1,5), TIME alone, or 0,VALUE", pText));
    }
    return {ParseTime(parts[0]), parts.size() == 2 ? ParseValue(parts[1]) : 0.0};
}

Stretch<TimeArgument> ParseTimeStretch(const std::string& pText)
{
    return ParseStretch(pText, kTimeWords, &ParseTime);
}

Stretch<double> ParseValueStretch(const std::string& pText)
{
    return ParseStretch(pText, kValueWords, &ParseValue);
}

Stretch<TimeArgument> ParseTimeScale(const std::string& pText)
{
    return ParseScale(pText, kTimeWords, &ParseTime, {Place<TimeArgument>::Kind::first, {}});
}

Stretch<double> ParseValueScale(const std::string& pText)
{
    return ParseScale(pText, kValueWords, &ParseValue, {Place<double>::Kind::given, 0.0});
}

void DragRequest::Check() const
{
    const auto need = [](bool pHolds, const char* pReason) {
        if (!pHolds) {
            throw WrongArguments(pReason);
        }
    };
    need(!selection.empty(), "no key is selected: give --select TIMES[,VALUES]");
    const int edits = (move ? 1 : 0) + (time || value ? 1 : 0) + (setValue ? 1 : 0);
    need(edits <= 1, "give a move, or stretches and scales, or --set-value: one kind of edit");
    need(edits == 1 || snapsFrames,
         "no edit is given: --move, --stretch-time, --stretch-value, --scale-time, --scale-value, "
         "--set-value or --snap frames");
    need(!snapsFrames || MovesTime() || edits == 0, "--snap frames needs a change of times");
    need(snapDistance == 0.0 || (move && MovesValues()),
         "--snap-values needs a move in value: --move 0,VALUE");
    need(falloff == 0.0 || MovesValues(), "--falloff needs a change of values by --move, "
                                          "--stretch-value or --scale-value");
    need(ripple == TimeRipple::none || MovesTime(),
         "--ripple needs a change of times; --ripple-values is for values");
    need(rippleValues == ValueRipple::none || (MovesValues() && !(value && value->factor)),
         "--ripple-values needs a change of values by --move or --stretch-value");
    need(!keepsOriginals || (move && MovesTime()), "--keep-originals needs a move in time");
    if (move && ripple != TimeRipple::none && ripple != TimeRipple::both) {
        const bool isLeft = move->first.number < 0.0;
        need(isLeft == (ripple == TimeRipple::left),
             "--ripple: the keys on the side to which the selection moves follow: left of it for a "
             "negative time, else right");
    }
}
