// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "io/clip.h"
#include "io/node_clip.h"

#include <string>
#include <string_view>
#include <vector>

class Glissa;

/// A curve and the name that addresses it: "Hips/T/X", "Left Arm/R/Y".
struct ClipCurve
{
    std::string mName;
    int mJoint = -1;  ///< index in the clip that the curve was made from
    EClipChannel mChannel = eClipPositionX;
    Glissa* mCurve = nullptr;  ///< the curve of the node of the channel
};

/// The curves of a clip, one for each channel, in the order of the channels, and the tree of nodes
/// that owns them. Can be moved, not copied.
class CurveClip
{
public:
    CurveClip() = default;
    /// Makes a key with default tangents (cubic, auto) for each frame and channel. pStart is the
    /// time of frame 0. Where that is not above KTime::MinusInfinite(), or the last frame not below
    /// KTime::Infinite(), no curve has keys.
    explicit CurveClip(const Clip& pClip, KTime pStart = KTime());
    /// Takes a tree that was made from the same clip.
    CurveClip(const Clip& pClip, NodeClip pNodes);

    std::vector<ClipCurve>& GetCurves() { return mCurves; }
    const std::vector<ClipCurve>& GetCurves() const { return mCurves; }
    NodeClip& GetNodes() { return mNodes; }
    const NodeClip& GetNodes() const { return mNodes; }

    /// The curve of exactly this name, or null.
    const ClipCurve* Find(std::string_view pName) const;

private:
    NodeClip mNodes;
    std::vector<ClipCurve> mCurves;
};
