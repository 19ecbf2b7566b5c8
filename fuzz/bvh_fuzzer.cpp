// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Any bytes are either a clip that keeps the promises of io/clip.h, or an error with a reason. What
// a clip takes of the memory stays within a multiple of the input.

#include "io/bvh_reader.h"

#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <set>

namespace
{
// Unlike an assertion, this also ends a release build.
void Require(bool pTrue)
{
    if (!pTrue) {
        std::abort();
    }
}

std::size_t MemoryOf(const Clip& pClip)
{
    std::size_t bytes =
        pClip.mValues.capacity() * sizeof(double) + pClip.mJoints.capacity() * sizeof(ClipJoint);
    for (const ClipJoint& joint : pClip.mJoints) {
        bytes += joint.mName.capacity() + joint.mAddress.capacity() + joint.mChannels.capacity() +
                 joint.mEndSites.capacity() * sizeof(ClipEndSite);
    }
    return bytes;
}

void CheckHierarchy(const Clip& pClip)
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
}

void CheckMotion(const Clip& pClip)
{
    Require(pClip.mFrameCount >= 0 && pClip.mFramePeriod > KTime());
    Require(pClip.mValues.size() == static_cast<std::size_t>(pClip.mFrameCount) *
                                        static_cast<std::size_t>(pClip.mChannelCount));
    for (const double value : pClip.mValues) {
        Require(std::fabs(value) <= static_cast<double>(FLT_MAX));
    }
    Require(pClip.GetTime(pClip.mFrameCount) < KTime::Infinite());
    Require(pClip.GetRate().mNumerator > 0 && pClip.GetRate().mDenominator > 0);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t pSize)
{
    const std::string_view text(reinterpret_cast<const char*>(pData), pSize);
    const IoResult<Clip> clip = ParseBvh(text, "fuzz.bvh");
    if (!clip) {
        Require(clip.GetError().mFile == "fuzz.bvh" && !clip.GetError().mReason.empty());
        Require(clip.GetError().mLine >= 0);
        return 0;
    }
    CheckHierarchy(*clip);
    CheckMotion(*clip);
    Require(MemoryOf(*clip) <= 64 * pSize + 4096);
    return 0;
}
