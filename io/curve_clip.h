// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "io/clip.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

class Glissa;

/// Ends a curve that a host owns itself.
struct ClipCurveDestroyer
{
    void operator()(Glissa* pCurve) const;
};
using ClipCurvePointer = std::unique_ptr<Glissa, ClipCurveDestroyer>;

/// A curve and the name that addresses it: "Hips/T/X", "Left Arm/R/Y".
struct ClipCurve
{
    std::string mName;
    int mJoint = -1;  ///< index in the clip that the curve was made from
    EClipChannel mChannel = eClipPositionX;
    ClipCurvePointer mCurve;
};

/// The curves of a clip, one for each channel, in the order of the channels. Owns the curves; moved
/// and not copied.
class CurveClip
{
public:
    CurveClip() = default;
    /// A key of the default shape (cubic, auto) for each frame. pStart is the time of frame 0.
    /// Every curve has the clip's frame count of keys, with equal times across the curves.
    explicit CurveClip(const Clip& pClip, KTime pStart = KTime());
    /// Takes over curves that were made elsewhere.
    explicit CurveClip(std::vector<ClipCurve> pCurves);

    std::vector<ClipCurve>& GetCurves() { return mCurves; }
    const std::vector<ClipCurve>& GetCurves() const { return mCurves; }

    /// The curve of exactly that name, or null.
    const ClipCurve* Find(std::string_view pName) const;
    /// Indexes of the curves whose names a pattern covers (NameMatches), in their order. A pattern
    /// that is a curve's name means that curve alone, whatever characters the name holds.
    std::vector<std::size_t> Match(std::string_view pPattern) const;

private:
    std::vector<ClipCurve> mCurves;
};
