// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/arguments.h"
#include "apps/glissa/curve_edit.h"
#include "glissa/retime/retime.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

/// A retime in the words of the command line.
struct RetimeRequest
{
    struct Marker
    {
        std::string text;  ///< as given, for messages
        TimeArgument from;
        std::optional<TimeArgument> to;
    };
    struct Lock
    {
        std::string text;
        TimeArgument from;
        TimeArgument to;
    };
    std::vector<Marker> markers;
    std::vector<Lock> locks;
};

/// "2", "2=2.4", "48f=60f". Throws WrongArguments.
RetimeRequest::Marker ParseMarker(const std::string& pText);
/// "2..4". Throws WrongArguments.
RetimeRequest::Lock ParseLock(const std::string& pText);

/// A place of a marker before and after a retime.
struct RetimeMove
{
    KTime from;
    KTime to;
};

/// The moves of all markers, in ascending order. The locks of a request are resolved: a marker that
/// is locked to one that moves has the same move. Throws WrongArguments where markers are not in
/// order before and after, where a lock has no markers or contradicts moves, and where nothing
/// moves.
std::vector<RetimeMove> MovesOf(const RetimeRequest& pRequest, double pFramesASecond);

/// Where a time is after the moves, to the nearest tick: in proportion between two markers, and as
/// far as the next marker before the first and after the last one.
KTime RetimedTime(const std::vector<RetimeMove>& pMoves, KTime pTime);

/// A retime of all keys of some curves by a list of markers and a GlissaManipulator.
class Retime : public CurveEdit
{
public:
    /// Marks the keys. Throws Refusal where the curves have no keys.
    Retime(std::vector<RetimeMove> pMoves, std::vector<EditedCurve> pCurves);
    ~Retime();

    /// Moves the markers from the start to a fraction of the way, 1 for all of it. Throws Refusal
    /// where a key would leave the range of times; the curves are then of no use.
    void To(double pFraction);
    /// Removes the marks. The curves remain.
    void Finish();

    const std::vector<RetimeMove>& GetMoves() const { return mMoves; }
    /// The times to which the markers were moved.
    std::vector<KTime> GetMarkers() const;

private:
    std::vector<RetimeMove> mMoves;
    KRetimeLinkListHead mList;
    std::vector<KRetimeMarker*> mMarkers;
};
