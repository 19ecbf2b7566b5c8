// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/arguments.h"

#include "apps/glissa/picture/picture.h"
#include "apps/glissa/refusal.h"
#include "glissa/curve/key.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>

namespace
{
// The range of KTime is about 6.5e10 seconds in both directions.
constexpr double kMostSeconds = 6.5e10;
// At a higher rate two samples would have the same tick.
constexpr double kMostRate = static_cast<double>(KTime::kTicksPerSecond);
// A frame longer than a day is a typing error.
constexpr double kLeastRate = 1.0 / 86400.0;

// The whole text as a finite number.
std::optional<double> ParseNumber(std::string_view pText)
{
    if (!pText.empty() && pText.front() == '+') {
        pText.remove_prefix(1);
        if (!pText.empty() && pText.front() == '-') {
            return std::nullopt;
        }
    }
    double number = 0.0;
    const auto [end, error] = std::from_chars(pText.data(), pText.data() + pText.size(), number);
    if (error != std::errc() || end != pText.data() + pText.size() || !std::isfinite(number)) {
        return std::nullopt;
    }
    return number;
}

template <typename T>
std::optional<T> ParseInteger(std::string_view pText)
{
    T number = 0;
    const auto [end, error] = std::from_chars(pText.data(), pText.data() + pText.size(), number);
    if (error != std::errc() || end != pText.data() + pText.size()) {
        return std::nullopt;
    }
    return number;
}
}  // namespace

KTime TimeArgument::At(double pFramesASecond) const
{
    // In extended precision, so that frames of whole rates are exact.
    const long double seconds =
        isFrames ? static_cast<long double>(number) / static_cast<long double>(pFramesASecond)
                 : static_cast<long double>(number);
    if (std::fabs(seconds) > static_cast<long double>(kMostSeconds)) {
        throw WrongArguments(fmt::format("the time {}{} is out of range: the limit is {:g} seconds",
                                         number, isFrames ? "f" : "", kMostSeconds));
    }
    return KTime(std::llround(seconds * static_cast<long double>(KTime::kTicksPerSecond)));
}

TimeArgument ParseTime(const std::string& pText)
{
    std::string_view digits = pText;
    TimeArgument time;
    if (!digits.empty() && (digits.back() == 'f' || digits.back() == 's')) {
        time.isFrames = digits.back() == 'f';
        digits.remove_suffix(1);
    }
    const std::optional<double> number = ParseNumber(digits);
    if (!number) {
        throw WrongArguments(
            fmt::format("'{}' is not a time: use seconds (1.25) or frames (37f)", pText));
    }
    time.number = *number;
    return time;
}

std::optional<double> ParseFraction(const std::string& pText)
{
    const std::size_t slash = pText.find('/');
    const std::optional<double> number = ParseNumber(pText.substr(0, slash));
    const std::optional<double> divisor =
        slash == std::string::npos ? 1.0 : ParseNumber(pText.substr(slash + 1));
    if (!number || !divisor || *divisor == 0.0) {
        return std::nullopt;
    }
    return *number / *divisor;
}

RateArgument ParseRate(const std::string& pText)
{
    const std::optional<double> fraction = ParseFraction(pText);
    if (!fraction) {
        throw WrongArguments(fmt::format(
            "'{}' is not a rate: use frames per second (24, 29.97, 30000/1001)", pText));
    }
    double rate = *fraction;
    for (const auto& [rounded, exact] :
         {std::pair(23.976, 24000.0 / 1001.0), std::pair(29.97, 30000.0 / 1001.0),
          std::pair(59.94, 60000.0 / 1001.0)}) {
        if (rate == rounded) {
            rate = exact;
        }
    }
    if (!(rate >= kLeastRate && rate <= kMostRate)) {
        throw WrongArguments(
            fmt::format("the rate {} is out of range: from one frame per day to {:.0f} per second",
                        pText, kMostRate));
    }
    return {rate};
}

SizeArgument ParseSize(const std::string& pText)
{
    const std::size_t cross = pText.find('x');
    const std::optional<int> width = ParseInteger<int>(pText.substr(0, cross));
    const std::optional<int> height =
        cross == std::string::npos ? std::nullopt : ParseInteger<int>(pText.substr(cross + 1));
    if (!width || !height) {
        throw WrongArguments(fmt::format("'{}' is not a size: use WIDTHxHEIGHT (1200x600)", pText));
    }
    if (*width < kLeastPictureWidth || *height < kLeastPictureHeight || *width > kMostPictureSide ||
        *height > kMostPictureSide) {
        throw WrongArguments(fmt::format("the size {} is out of range: from {}x{} to {}x{}", pText,
                                         kLeastPictureWidth, kLeastPictureHeight, kMostPictureSide,
                                         kMostPictureSide));
    }
    return {*width, *height};
}

ExtrapolationArgument ParseExtrapolation(const std::string& pText)
{
    constexpr struct
    {
        std::string_view name;
        unsigned mode;
    } kModes[] = {
        {"none", eExtrapolationNone},         {"constant", eExtrapolationConstant},
        {"repeat", eExtrapolationRepetition}, {"mirror", eExtrapolationMirror},
        {"slope", eExtrapolationKeepSlope},   {"relative", eExtrapolationRelativeRepetition},
    };
    const std::size_t colon = pText.find(':');
    const std::string_view name = std::string_view(pText).substr(0, colon);
    for (const auto& each : kModes) {
        if (each.name != name) {
            continue;
        }
        ExtrapolationArgument argument{each.mode};
        if (colon != std::string::npos && pText.substr(colon + 1) != "forever") {
            const auto count = ParseInteger<std::uint32_t>(pText.substr(colon + 1));
            if (!count) {
                throw WrongArguments(fmt::format(
                    "'{}': the count after the colon must be a whole number up to 4294967295, or "
                    "'forever'",
                    pText));
            }
            argument.count = *count;
        }
        return argument;
    }
    throw WrongArguments(
        fmt::format("'{}' is not an extrapolation: use none, constant, repeat, mirror, "
                    "slope or relative, with :COUNT for a limit",
                    pText));
}

TangentArgument ParseTangent(const std::string& pText)
{
    constexpr struct
    {
        std::string_view name;
        TangentArgument tangent;
    } kKinds[] = {
        {"auto", {eInterpolationCubic, eTangentAuto}},
        {"clamp", {eInterpolationCubic, eTangentAuto | eTangentClamp}},
        {"progressive", {eInterpolationCubic, eTangentAuto | eTangentProgressiveClamp}},
        {"user", {eInterpolationCubic, eTangentUser}},
        {"tcb", {eInterpolationCubic, eTangentTCB}},
        {"linear", {eInterpolationLinear, 0}},
        {"constant", {eInterpolationConstant, eConstantStandard}},
    };
    for (const auto& each : kKinds) {
        if (each.name == pText) {
            return each.tangent;
        }
    }
    throw WrongArguments(fmt::format(
        "'{}' is not a tangent: use auto, clamp, progressive, user, tcb, linear or constant",
        pText));
}

std::vector<double> ParseValues(const std::string& pText)
{
    std::vector<double> values;
    for (std::size_t at = 0; at <= pText.size();) {
        const std::size_t comma = std::min(pText.find(',', at), pText.size());
        const std::string text = pText.substr(at, comma - at);
        const std::optional<double> number = ParseNumber(text);
        if (!number ||
            std::fabs(*number) > static_cast<double>(std::numeric_limits<float>::max())) {
            throw WrongArguments(fmt::format("'{}' in '{}' is not a number in the range of a "
                                             "float: use numbers and commas (10,0,5)",
                                             text, pText));
        }
        values.push_back(*number);
        at = comma + 1;
    }
    return values;
}
