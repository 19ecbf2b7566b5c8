// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/pose_difference.h"

#include "corvekit/math/elementary.h"
#include "glissa/curve/curve.h"
#include "io/angle_jumps.h"

#include <algorithm>
#include <cmath>

double TurnBetween(const KgeRMatrix& pFrom, const KgeRMatrix& pTo)
{
    constexpr double kRounding = 1e-9;
    const KgeQuaternion turn(pTo * pFrom.Transpose());
    const double sine = KgeLength(turn[0], turn[1], turn[2]);
    const double degrees = 2.0 * KgeArcTangent(sine, std::fabs(turn[3]));
    return degrees > kRounding ? degrees : 0.0;
}

KgeRVector RotationCurves::AnglesAt(KTime pTime)
{
    KgeRVector angles;
    for (std::size_t axis = 0; axis < mCurves.size(); ++axis) {
        angles[static_cast<int>(axis)] = mCurves[axis]->Evaluate(pTime, &mHints[axis]);
    }
    return angles;
}

KgeRMatrix RotationCurves::At(KTime pTime)
{
    KgeRMatrix matrix;
    mOrder.V2M(matrix, AnglesAt(pTime));
    return matrix;
}

namespace
{
// Whether an angle jumps at a time, or in the step of its keys before or after. The slopes of
// automatic keys swing a curve on both sides of a jump.
bool JumpsNear(const RotationCurves& pCurves, KTime pTime, KTime pFrame)
{
    return std::any_of(pCurves.mCurves.begin(), pCurves.mCurves.end(), [&](Glissa* pCurve) {
        if (pCurve->KeyGetCount() == 0) {
            return false;
        }
        const int after = static_cast<int>(std::floor(pCurve->KeyFind(pTime, nullptr))) + 1;
        return IsJump(*pCurve, after - 1, pFrame) || IsJump(*pCurve, after, pFrame) ||
               IsJump(*pCurve, after + 1, pFrame);
    });
}
}  // namespace

PoseComparison::PoseComparison(const Clip& pClip, const NodeClip& pNodes)
    : mClip(pClip), mJoints(pClip.mJoints.size())
{
    for (std::size_t i = 0; i < mJoints.size(); ++i) {
        mJoints[i].mTranslation = pNodes.GetTransform(i, KDataTypeLclTranslation);
        mJoints[i].mRotation = pNodes.GetTransform(i, KDataTypeLclRotation);
    }
}

void PoseComparison::SetRotation(std::size_t pJoint, const RotationCurves& pBefore,
                                 const RotationCurves& pAfter)
{
    mJoints[pJoint].mIsChanged = true;
    mJoints[pJoint].mBefore = pBefore;
    mJoints[pJoint].mAfter = pAfter;
}

void PoseComparison::Compare(KTime pTime, PoseDifference& pDifference)
{
    for (std::size_t i = 0; i < mJoints.size(); ++i) {
        Joint& joint = mJoints[i];
        double offset[3] = {mClip.mJoints[i].mOffset[0], mClip.mJoints[i].mOffset[1],
                            mClip.mJoints[i].mOffset[2]};
        if (joint.mTranslation) {
            joint.mTranslation->GeneralEvaluate(offset, pTime, &joint.mTranslationHint);
        }
        KgeRMatrix before;
        if (joint.mIsChanged) {
            before = joint.mIsLeftOut ? joint.mAfter.At(pTime) : joint.mBefore.At(pTime);
        } else if (joint.mRotation) {
            double angles[3] = {};
            joint.mRotation->GeneralEvaluate(angles, pTime, &joint.mRotationHint);
            KVdRotationOrder(joint.mRotation->GetRotationOrder()).V2M(before, KgeRVector(angles));
        }
        const KgeRMatrix after = joint.mIsChanged ? joint.mAfter.At(pTime) : before;
        const double turn = joint.mIsChanged ? TurnBetween(before, after) : 0.0;
        if (turn > pDifference.mTurn) {
            pDifference.mTurn = turn;
            pDifference.mTurnJoint = static_cast<int>(i);
            pDifference.mTurnTime = pTime;
        }

        const KgeAMatrix translation{KgeTVector(offset)};
        joint.mPoses = {translation * KgeAMatrix(before), translation * KgeAMatrix(after)};
        if (const int parent = mClip.mJoints[i].mParent; parent >= 0) {
            const Poses& above = mJoints[static_cast<std::size_t>(parent)].mPoses;
            joint.mPoses = {above.mBefore * joint.mPoses.mBefore,
                            above.mAfter * joint.mPoses.mAfter};
        }
        const double distance =
            (joint.mPoses.mAfter.GetTranslation() - joint.mPoses.mBefore.GetTranslation()).Length();
        if (distance > pDifference.mDistance) {
            pDifference.mDistance = distance;
            pDifference.mDistanceJoint = static_cast<int>(i);
            pDifference.mDistanceTime = pTime;
        }
    }
}

void PoseComparison::CompareBetween(KTime pTime, PoseDifference& pDifference)
{
    for (Joint& joint : mJoints) {
        joint.mIsLeftOut = joint.mIsChanged && JumpsNear(joint.mBefore, pTime, mClip.mFramePeriod);
    }
    Compare(pTime, pDifference);
    for (Joint& joint : mJoints) {
        joint.mIsLeftOut = false;
    }
}
