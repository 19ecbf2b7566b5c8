// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "corvekit/time.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// What a channel of a joint animates. Positions are in the unit of the file, rotations in degrees.
enum EClipChannel : std::uint8_t
{
    eClipPositionX,
    eClipPositionY,
    eClipPositionZ,
    eClipRotationX,
    eClipRotationY,
    eClipRotationZ
};
constexpr int kClipChannelKinds = 6;

inline bool IsRotation(EClipChannel pChannel)
{
    return pChannel >= eClipRotationX;
}
/// 0 for X, 1 for Y, 2 for Z.
inline int ClipChannelAxis(EClipChannel pChannel)
{
    return pChannel % 3;
}
/// "T/X" to "T/Z" for the positions, "R/X" to "R/Z" for the rotations.
const char* ClipChannelPath(EClipChannel pChannel);

/// The end point of a chain of joints. It has no channels.
struct ClipEndSite
{
    std::string mLabel;  ///< the word after "End" in the file, usually "Site"
    std::array<double, 3> mOffset = {};
    int mChildrenBefore = 0;  ///< how many children of the joint precede it in the file

    friend bool operator==(const ClipEndSite&, const ClipEndSite&) = default;
};

struct ClipJoint
{
    std::string mName;  ///< as in the file; may be empty, and several joints may share one
    /// Unique in the clip and never empty: the name for the first joint of that name, "Hand#2",
    /// "Hand#3" for the next ones, "Joint7" for a joint of index 7 without a name.
    std::string mAddress;
    int mParent = -1;  ///< index, always less than the index of the joint; -1 for a root
    std::array<double, 3> mOffset = {};
    std::vector<EClipChannel> mChannels;  ///< in the order of the file, without repetition
    int mFirstChannel = 0;                ///< column of the first channel in a frame
    /// Rotation order, numbered as KVdRotationOrder: 0 XYZ, 1 XZY, 2 YZX, 3 YXZ, 4 ZXY, 5 ZYX. See
    /// RotationOrderOf.
    int mRotationOrder = 0;
    std::vector<ClipEndSite> mEndSites;

    friend bool operator==(const ClipJoint&, const ClipJoint&) = default;
};

/// Frames per second as a fraction in lowest terms.
struct ClipRate
{
    std::int64_t mNumerator = 0;
    std::int64_t mDenominator = 1;
};

/// Recorded motion as a file holds it: a hierarchy of joints and, frame by frame, one number for
/// each channel. Nothing is resampled or converted to another rotation order, so that the file can
/// be written again. A plain value; joints are in the order of the file, parents before children.
struct Clip
{
    std::vector<ClipJoint> mJoints;
    KTime mFramePeriod;          ///< exact, see FramePeriodFromText
    std::string mFrameTimeText;  ///< the frame time as written
    int mFrameCount = 0;
    int mChannelCount = 0;        ///< of all joints
    std::vector<double> mValues;  ///< frame after frame; every value is within a float's range

    double GetValue(int pFrame, int pChannel) const
    {
        return mValues[static_cast<std::size_t>(pFrame) * static_cast<std::size_t>(mChannelCount) +
                       static_cast<std::size_t>(pChannel)];
    }
    /// Frame 0 is at time 0.
    KTime GetTime(int pFrame) const { return mFramePeriod * pFrame; }
    ClipRate GetRate() const;
    /// "Hips/T/X". pIndex counts the joint's own channels.
    std::string GetCurveName(const ClipJoint& pJoint, int pIndex) const;

    friend bool operator==(const Clip&, const Clip&) = default;
};

/// The rotation order of the channels of a joint. "Zrotation Xrotation Yrotation" is the product
/// Rz * Rx * Ry on column vectors: the last channel is applied first, so the order is YXZ, 3. An
/// axis without a channel has angle 0 and is put last. Without rotation channels the order is 0.
int RotationOrderOf(const std::vector<EClipChannel>& pChannels);

/// Sets the address of each joint from the names.
void AssignAddresses(std::vector<ClipJoint>& pJoints);
