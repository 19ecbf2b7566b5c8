// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "io/curve_clip.h"

#include <array>
#include <string>
#include <vector>

/// The Euler angles of a rotation node, in one of its layers.
struct ClipRotation
{
    std::string mName;   ///< "Hips/R"
    std::string mLayer;  ///< empty for the base
    GlissaNode* mNode = nullptr;
    GlissaNode* mBase = nullptr;          ///< evaluates to the blend of all layers
    std::array<Glissa*, 3> mCurves = {};  ///< X, Y and Z in degrees; an axis may have no keys

    /// "Hips/R", or "Hips/R @Breath" for a layer.
    std::string GetName() const { return WithLayer(mName); }
    /// "Hips/R/X", or "Hips/R/X @Breath" for a layer.
    std::string GetCurveName(std::size_t pAxis) const;

private:
    std::string WithLayer(const std::string& pName) const
    {
        return mLayer.empty() ? pName : pName + " @" + mLayer;
    }
};

/// The times at which one of the curves has a key, ascending.
std::vector<KTime> KeyTimesOf(const ClipRotation& pRotation);

/// The rotations of a clip in the order of the joints, each followed by those of its layers.
std::vector<ClipRotation> RotationsOf(const Clip& pClip, const CurveClip& pCurves);
