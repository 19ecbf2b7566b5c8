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

/// What one channel of a joint moves. Positions are in the unit of the file, rotations in degrees.
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

/// The tip of a limb: a place, no motion.
struct ClipEndSite
{
    std::string mLabel;  ///< what follows "End", "Site" as a rule
    std::array<double, 3> mOffset = {};
    int mChildrenBefore = 0;  ///< children of the joint that stand before it in the file
};

struct ClipJoint
{
    std::string mName;  ///< as in the file, may be empty and may occur twice
    /// Unique in the clip and never empty: the name where it is the first of its kind, "Hand#2",
    /// "Hand#3" for the further ones, "Joint7" for a nameless joint of index 7.
    std::string mAddress;
    int mParent = -1;  ///< index, always below the joint's own; -1 for a root
    std::array<double, 3> mOffset = {};
    std::vector<EClipChannel> mChannels;  ///< in the order of the file, none twice
    int mFirstChannel = 0;                ///< column of the first channel in a frame
    /// Order in which the axes turn, numbered as KVdRotationOrder: 0 XYZ, 1 XZY, 2 YZX, 3 YXZ,
    /// 4 ZXY, 5 ZYX. See RotationOrderOf.
    int mRotationOrder = 0;
    std::vector<ClipEndSite> mEndSites;
};

/// Frames a second as a fraction in lowest terms.
struct ClipRate
{
    std::int64_t mNumerator = 0;
    std::int64_t mDenominator = 1;
};

/// Recorded motion as a file holds it: a hierarchy of joints and, frame by frame, one number for
/// each channel. Nothing is resampled or turned into another order, so that the file can be
/// written again. A plain value; joints stand in the order of the file, parents before children.
struct Clip
{
    std::vector<ClipJoint> mJoints;
    KTime mFramePeriod;          ///< the exact rate that the file means, see FramePeriodFromText
    std::string mFrameTimeText;  ///< the frame time as written
    int mFrameCount = 0;
    int mChannelCount = 0;        ///< of all joints together
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
};

/// The turning order of rotation channels as they stand in a file. "Zrotation Xrotation Yrotation"
/// is the product Rz * Rx * Ry on column vectors: the last one turns first, so this is YXZ, 3. An
/// axis without channel has angle 0 and stands anywhere; it is put last. No rotation at all is 0.
int RotationOrderOf(const std::vector<EClipChannel>& pChannels);

/// Fills the address of every joint from the names.
void AssignAddresses(std::vector<ClipJoint>& pJoints);
