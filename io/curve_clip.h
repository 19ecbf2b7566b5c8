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
    Glissa* mCurve = nullptr;  ///< that of the channel's node
};

/// The curves of a clip, one for each channel, in the order of the channels, and the tree of nodes
/// in which they hang and which owns them. Moved and not copied.
class CurveClip
{
public:
    CurveClip() = default;
    /// A key of the default shape (cubic, auto) for each frame. pStart is the time of frame 0.
    /// Every curve has the clip's frame count of keys, with equal times across the curves.
    explicit CurveClip(const Clip& pClip, KTime pStart = KTime());
    /// Takes over a tree that was made of the same clip.
    CurveClip(const Clip& pClip, NodeClip pNodes);

    std::vector<ClipCurve>& GetCurves() { return mCurves; }
    const std::vector<ClipCurve>& GetCurves() const { return mCurves; }
    NodeClip& GetNodes() { return mNodes; }
    const NodeClip& GetNodes() const { return mNodes; }

    /// The curve of exactly that name, or null.
    const ClipCurve* Find(std::string_view pName) const;

private:
    NodeClip mNodes;
    std::vector<ClipCurve> mCurves;
};
