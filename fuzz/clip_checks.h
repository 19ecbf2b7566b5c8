// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For fuzz targets only, not installed.
#pragma once

#include "io/clip.h"

#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>

/// An assertion, also in release builds.
inline void Require(bool pTrue, int pLine = __builtin_LINE())
{
    if (!pTrue) {
        std::fprintf(stderr, "line %d: a property does not hold\n", pLine);
        std::abort();
    }
}

inline std::size_t MemoryOf(const Clip& pClip)
{
    std::size_t bytes =
        pClip.mValues.capacity() * sizeof(double) + pClip.mJoints.capacity() * sizeof(ClipJoint);
    for (const ClipJoint& joint : pClip.mJoints) {
        bytes += joint.mName.capacity() + joint.mAddress.capacity() + joint.mChannels.capacity() +
                 joint.mEndSites.capacity() * sizeof(ClipEndSite);
    }
    return bytes;
}

/// Checks the rules of io/clip.h for joints, channels and the frame period.
inline void CheckClip(const Clip& pClip)
{
    std::set<std::string> addresses;
    int channels = 0;
    for (std::size_t i = 0; i < pClip.mJoints.size(); ++i) {
        const ClipJoint& joint = pClip.mJoints[i];
        Require(joint.mParent >= -1 && joint.mParent < static_cast<int>(i));
        Require(joint.mRotationOrder >= 0 && joint.mRotationOrder < 6);
        Require(joint.mFirstChannel == channels);
        Require(joint.mChannels.size() <= 6);
        Require(!joint.mAddress.empty() && addresses.insert(joint.mAddress).second);
        channels += static_cast<int>(joint.mChannels.size());
    }
    Require(!pClip.mJoints.empty() && pClip.mChannelCount == channels);
    Require(pClip.mFrameCount >= 0 && pClip.mFramePeriod > KTime());
    Require(pClip.GetTime(pClip.mFrameCount) < KTime::Infinite());
    Require(pClip.GetRate().mNumerator > 0 && pClip.GetRate().mDenominator > 0);
}
