// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "corvekit/time.h"

#include <cstdint>
#include <string>
#include <vector>

class Glissa;
struct Clip;
struct ClipRotation;
class CurveClip;

/// Whether two keys are on neighbouring frames, with half a frame for keys beside their frames.
/// Curves with such keys are recordings; with keys farther apart they are animated by hand, and a
/// step of several turns is one that was meant.
inline bool AreNeighbours(KTime pFirst, KTime pSecond, KTime pFrame)
{
    return pSecond - pFirst <= pFrame + pFrame / 2;
}

/// Whether the step of a curve of angles to a key, from the key before it, is a jump: more than
/// half a turn between keys on neighbouring frames. False for an index without these two keys.
///
/// pFrame  how long a frame is
bool IsJump(const Glissa& pCurve, int pKey, KTime pFrame);

/// The jumps of curves of angles (IsJump). Recorders wrap angles into one turn, so that a rotation
/// that passes 180 degrees goes on at -180. Between the keys of such a step a curve runs through
/// all the angles between them.
struct AngleJumps
{
    std::int64_t mCount = 0;
    int mCurveCount = 0;  ///< curves that have jumps
    // The earliest jump.
    std::string mCurve;
    KTime mTime;          ///< of the key after it
    double mFrame = 0.0;  ///< the same in frames
    float mFrom = 0.0f;   ///< degrees
    float mTo = 0.0f;

    /// Adds the jumps of a curve within a span, or into or out of it.
    ///
    /// pFrame  how long a frame is
    void Look(const Glissa& pCurve, const std::string& pName, KTime pFrame,
              KTime pStart = KTime::MinusInfinite(), KTime pStop = KTime::Infinite());
    /// Adds those of other curves.
    void Add(const AngleJumps& pOther);
};

/// The jumps of all rotations of a clip, layers included.
AngleJumps FindAngleJumps(const Clip& pClip, const std::vector<ClipRotation>& pRotations);

/// A time in frames, to a thousandth.
double FrameAt(KTime pTime, KTime pFrame);
