// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/arguments.h"
#include "glissa/manip/manipulator.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Two limits, both included; nullopt is no limit.
template <typename T>
struct Limits
{
    std::optional<T> low;
    std::optional<T> high;
};

/// A step of a selection: what happens to the keys of a box of time and value.
struct SelectStep
{
    eSelectionMode mode = eSelectionReplace;
    std::string text;  ///< as given, for messages
    Limits<TimeArgument> times;
    Limits<double> values;
};

/// A place on an axis: at the selection box, or as given.
template <typename T>
struct Place
{
    enum class Kind
    {
        first,  ///< the start, or the low side, of the box
        middle,
        last,  ///< the end, or the high side
        given
    };
    Kind kind = Kind::given;
    T given{};
};

/// A stretch along one axis: the edge moves, the pivot stays.
template <typename T>
struct Stretch
{
    Place<T> pivot;
    Place<T> edge;
    std::optional<double> factor;  ///< of all distances to the pivot
    T by{};                        ///< how far the edge moves, where there is no factor
};

/// Which keys move along in time with the selected ones.
enum class TimeRipple
{
    none,
    left,  ///< those before them
    right,
    both  ///< those on the side to which the selection moves, or both sides of a stretch
};

/// Which keys of curves without a selected key follow a change of value.
enum class ValueRipple
{
    none,
    box,  ///< those within the time of the selection box
    all
};

/// What a drag does, in the words of the command line. The parts of an edit are combined as an
/// editor combines them: a move in both directions, or a stretch of one axis or of both.
struct DragRequest
{
    std::vector<SelectStep> selection;

    std::optional<std::pair<TimeArgument, double>> move;
    std::optional<Stretch<TimeArgument>> time;
    std::optional<Stretch<double>> value;
    std::optional<double> setValue;  ///< one value for all selected keys
    bool snapsFrames = false;        ///< without another edit: the edit itself

    double snapDistance = 0.0;  ///< of a move in value to the value of a neighbouring key
    double falloff = 0.0;       ///< radius in frames
    TimeRipple ripple = TimeRipple::none;
    ValueRipple rippleValues = ValueRipple::none;
    bool keepsOriginals = false;

    bool MovesTime() const { return (move && move->first.number != 0.0) || time; }
    bool MovesValues() const { return (move && move->second != 0.0) || value; }

    /// Throws WrongArguments where parts contradict each other, or would have no effect.
    void Check() const;
};

/// These throw WrongArguments with the accepted forms.
SelectStep ParseBox(const std::string& pText);                        ///< "1..2", "1..2,80..95"
std::pair<TimeArgument, double> ParseMove(const std::string& pText);  ///< "0.1,5"
/// "pivot=1,edge=2,by=0.5"
Stretch<TimeArgument> ParseTimeStretch(const std::string& pText);
Stretch<double> ParseValueStretch(const std::string& pText);
/// "1.5,pivot=start"
Stretch<TimeArgument> ParseTimeScale(const std::string& pText);
Stretch<double> ParseValueScale(const std::string& pText);
/// Numbers within the range of a float.
double ParseValue(const std::string& pText);
double ParseDistance(const std::string& pText);  ///< 0 and above
/// A number of frames, 0 and above: "10", "10f".
double ParseFrames(const std::string& pText);
