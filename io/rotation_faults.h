// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "corvekit/time.h"
#include "io/angle_jumps.h"

#include <optional>
#include <string>
#include <vector>

struct Clip;
struct ClipRotation;

/// Degrees. The middle angle of a rotation within this of a right angle, where the first and the
/// third axis are parallel, is in a gimbal zone: the first and the third angle change up to 11
/// times as fast as the orientation (1 / sin 5) and more.
constexpr double kGimbalZone = 5.0;

/// A span of time in which a rotation is in a gimbal zone.
struct GimbalZone
{
    std::string mNode;
    KTime mFirst;
    KTime mLast;
    double mDistance = 0.0;  ///< least distance of the middle angle from a right angle, in degrees
    KTime mClosest;          ///< where it is
};

/// An Euler path is poor if halfway between two keys it is farther from the shortest turn than this
/// part of the turn, and than kLeastStray.
constexpr double kPoorPart = 0.25;
constexpr double kLeastStray = 1.0;  ///< degrees

/// Two neighbouring keys of a rotation between which angles that are interpolated one by one leave
/// the shortest turn.
struct PoorPath
{
    std::string mNode;
    KTime mFrom;
    KTime mTo;
    double mTurn = 0.0;   ///< degrees between the orientations of the keys
    double mStray = 0.0;  ///< degrees halfway, from the nearest orientation of the shortest turn
};

/// The first and the worst one of findings of a kind.
template <typename Finding>
struct Findings
{
    std::int64_t mCount = 0;
    int mNodeCount = 0;             ///< rotations that have some
    std::optional<Finding> mFirst;  ///< the earliest
    std::optional<Finding> mWorst;  ///< the smallest distance, the largest stray
};

/// What to know of the rotations of a clip before they are sampled or edited.
struct RotationFaults
{
    AngleJumps mJumps;
    Findings<GimbalZone> mZones;
    Findings<PoorPath> mPaths;
};

/// Looks at all rotations of a clip, layers included, each by itself.
///
/// The middle angle is looked at at its keys, and up to 15 times between two keys, a frame apart or
/// more. A zone ends at the last of these times within it.
///
/// Paths are those between neighbouring times at which one of the three curves has a key, with the
/// mean of the angles at both as the halfway orientation. Not looked at are a step of more than 180
/// degrees of an angle, which is a jump or a turn that is meant, and values that hold up to the
/// next key.
RotationFaults FindRotationFaults(const Clip& pClip, const std::vector<ClipRotation>& pRotations);
