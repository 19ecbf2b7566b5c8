// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "io/angle_jumps.h"
#include "io/result.h"

#include <string>

/// The largest angle in degrees by which UnrollRotations may turn an orientation.
constexpr double kUnrollTolerance = 1e-4;

/// What UnrollRotations did to a clip.
struct UnrollReport
{
    std::int64_t mMended = 0;  ///< jumps
    int mCurveCount = 0;       ///< curves that had them
    /// The largest angle in degrees between the orientations before and after, at all keys.
    double mLargestTurn = 0.0;
    AngleJumps mKept;  ///< those of rotations that are left alone
};

/// Makes the rotations of a clip continuous that have jumps (AngleJumps): each key gets the Euler
/// angles of its orientation that are nearest to those of the key before (GlissaFilterUnroll). The
/// first key stays, except for the second form of Euler angles where that is nearer to 0.
///
/// Left alone is a rotation
/// - without jumps,
/// - with two keys of a curve farther apart than neighbouring frames (AreNeighbours): between such
///   keys whole turns may be meant, and the filter removes them,
/// - that is locked, or has a locked axis.
///
/// The orientation at each key is measured before and after, by itself and blended with the layers
/// of the node. A turn of more than kUnrollTolerance is an error, as floats of thousands of degrees
/// may cause; the clip is then half done and of no use.
///
/// pFileName  for the error
IoResult<UnrollReport> UnrollRotations(const Clip& pClip, CurveClip& pCurves,
                                       const std::string& pFileName);
