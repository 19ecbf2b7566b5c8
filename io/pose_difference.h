// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "corvekit/math/rotation_order.h"
#include "corvekit/time.h"
#include "io/clip.h"
#include "io/node_clip.h"

#include <array>
#include <cstddef>
#include <vector>

class Glissa;

/// The shortest turn from one orientation to another one, in degrees; 0 below 1e-9, which is the
/// rounding of matrices.
double TurnBetween(const KgeRMatrix& pFrom, const KgeRMatrix& pTo);

/// The curves X, Y and Z of a rotation, which others own.
struct RotationCurves
{
    std::array<Glissa*, 3> mCurves = {};
    KVdRotationOrder mOrder;
    std::array<int, 3> mHints = {};  ///< times that ascend cost least

    KgeRVector AnglesAt(KTime pTime);
    KgeRMatrix At(KTime pTime);
};

/// The largest differences of the poses of a clip at some times. Where nothing differs the joints
/// are -1 and the times 0.
struct PoseDifference
{
    double mTurn = 0.0;  ///< degrees between the local orientations of a joint
    int mTurnJoint = -1;
    KTime mTurnTime;
    double mDistance = 0.0;  ///< between the positions of a joint in the space of the clip
    int mDistanceJoint = -1;
    KTime mDistanceTime;
};

/// Compares the poses of a clip with those that it had when some of its rotations had other curves.
class PoseComparison
{
public:
    /// The clip and its tree live as long as the comparison.
    PoseComparison(const Clip& pClip, const NodeClip& pNodes);

    /// The rotation of a joint before and after. The joint has no layers. All others are the same
    /// before and after.
    void SetRotation(std::size_t pJoint, const RotationCurves& pBefore,
                     const RotationCurves& pAfter);

    /// Compares the poses at a time, and takes over the differences that are larger.
    void Compare(KTime pTime, PoseDifference& pDifference);
    /// The same at a time between keys. Where an angle of a rotation jumps there (IsJump), or in
    /// the step before or after, the rotation is taken as it is after the change: that is hardly
    /// ever motion.
    void CompareBetween(KTime pTime, PoseDifference& pDifference);

private:
    struct Poses
    {
        KgeAMatrix mBefore;
        KgeAMatrix mAfter;
    };
    struct Joint
    {
        GlissaNode* mTranslation = nullptr;
        GlissaNode* mRotation = nullptr;
        bool mIsChanged = false;
        bool mIsLeftOut = false;
        RotationCurves mBefore;
        RotationCurves mAfter;
        Poses mPoses;  // in the space of the clip
        int mTranslationHint = 0;
        int mRotationHint = 0;
    };

    const Clip& mClip;
    std::vector<Joint> mJoints;
};
