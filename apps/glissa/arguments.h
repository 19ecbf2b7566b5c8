// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/time.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// A time argument: seconds ("1.25", "1.25s") or frames ("37f", "37.5f").
struct TimeArgument
{
    double number = 0.0;
    bool isFrames = false;

    /// The time to the nearest tick, at a frame rate.
    KTime At(double pFramesASecond) const;
    /// Whether this time is after another one at every frame rate: false in different units.
    bool IsAfter(const TimeArgument& pOther) const
    {
        return isFrames == pOther.isFrames && number > pOther.number;
    }
};

/// Frames per second, as a number or a fraction. "23.976", "29.97" and "59.94" are the broadcast
/// rates 24000/1001, 30000/1001 and 60000/1001.
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

/// Extrapolation of a curve: a mode (none, constant, repeat, mirror, slope, relative) and a number
/// of repetitions, 0 to 4294967295. The greatest number, the default, is without end.
struct ExtrapolationArgument
{
    unsigned mode = 0;  ///< eExtrapolationNone and so on
    std::uint32_t count = 0xFFFFFFFFu;
};

/// Interpolation and tangent of a key: auto, clamp, progressive, user, tcb, linear or constant.
struct TangentArgument
{
    unsigned interpolation = 0;  ///< eInterpolationCubic and so on
    unsigned mode = 0;           ///< eTangentAuto and so on
};

/// A finite number or a fraction (1/60); nullopt for any other text.
std::optional<double> ParseFraction(const std::string& pText);

/// These throw WrongArguments with the value and the accepted forms.
TimeArgument ParseTime(const std::string& pText);
RateArgument ParseRate(const std::string& pText);
SizeArgument ParseSize(const std::string& pText);
ExtrapolationArgument ParseExtrapolation(const std::string& pText);
TangentArgument ParseTangent(const std::string& pText);
/// "10,0,5": numbers within the range of a float.
std::vector<double> ParseValues(const std::string& pText);
