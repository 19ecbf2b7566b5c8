// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/time.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// A time as it was written: seconds ("1.25", "1.25s") or frames ("37f", also "37.5f").
struct TimeArgument
{
    double number = 0.0;
    bool frames = false;

    /// The nearest tick; a frame lasts one pFramesASecond-th of a second.
    KTime At(double pFramesASecond) const;
};

/// Frames a second. "23.976", "29.97" and "59.94" stand for the broadcast rates 24000/1001,
/// 30000/1001 and 60000/1001; a fraction can be written out.
struct RateArgument
{
    double number = 0.0;
};

/// "WxH" in pixels.
struct SizeArgument
{
    int width = 0;
    int height = 0;
};

/// How a curve goes on beyond its keys: a name (none, constant, repeat, mirror, slope, relative)
/// and how often, 0 to 4294967295; the greatest number is forever, which a name alone means too.
struct ExtrapolationArgument
{
    unsigned mode = 0;  ///< eExtrapolationNone and so on
    std::uint32_t count = 0xFFFFFFFFu;
};

/// The shape of a key: auto, clamp, progressive, user, tcb, linear or constant.
struct TangentArgument
{
    unsigned interpolation = 0;  ///< eInterpolationCubic and so on
    unsigned mode = 0;           ///< eTangentAuto and so on
};

/// A finite number or a fraction of two (1/60); nothing for any other text.
std::optional<double> ParseFraction(const std::string& pText);

/// Each throws WrongArguments with a text that names the value and what is accepted.
TimeArgument ParseTime(const std::string& pText);
RateArgument ParseRate(const std::string& pText);
SizeArgument ParseSize(const std::string& pText);
ExtrapolationArgument ParseExtrapolation(const std::string& pText);
TangentArgument ParseTangent(const std::string& pText);
/// "10,0,5": numbers within a float's range.
std::vector<double> ParseValues(const std::string& pText);
