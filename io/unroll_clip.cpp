// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The orientations at all keys are taken, the filter runs, what it did besides is undone, and the
// orientations are compared.

#include "io/unroll_clip.h"

#include "corvekit/math/rotation_order.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/filter/unroll.h"
#include "io/clip_rotations.h"
#include "io/orientation.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace
{
// At the time of a key.
struct Pose
{
    KTime mTime;
    KgeQuaternion mOwn;    // of the angles
    KgeQuaternion mTotal;  // of the node, layers blended
};

std::vector<Pose> PosesAtKeys(const ClipRotation& pRotation)
{
    std::vector<Pose> poses;
    for (const KTime time : KeyTimesOf(pRotation)) {
        poses.push_back({time, {}, {}});
    }
    return poses;
}

void TakePoses(const ClipRotation& pRotation, std::vector<Pose>& pPoses)
{
    const KVdRotationOrder order(pRotation.mNode->GetRotationOrder());
    int hints[3] = {};
    int totalHint = 0;
    for (Pose& pose : pPoses) {
        KgeRVector angles;
        for (int axis = 0; axis < 3; ++axis) {
            angles[axis] =
                static_cast<double>(pRotation.mCurves[static_cast<std::size_t>(axis)]->Evaluate(
                    pose.mTime, &hints[axis]));
        }
        order.V2Q(pose.mOwn, angles);
        pRotation.mBase->GeneralEvaluate(angles.Data(), pose.mTime, &totalHint);
        order.V2Q(pose.mTotal, angles);
    }
}

bool IsMendable(const ClipRotation& pRotation, KTime pFrame)
{
    for (Glissa* const curve : pRotation.mCurves) {
        if (curve->IsLocked()) {
            return false;
        }
        for (int i = 1; i < curve->KeyGetCount(); ++i) {
            if (!AreNeighbours(curve->KeyGetTime(i - 1), curve->KeyGetTime(i), pFrame)) {
                return false;
            }
        }
    }
    return !pRotation.mNode->IsNodeLocked();
}

// The filter brings the first key next to 0: the curve is moved back by whole turns.
void MoveBack(Glissa& pCurve, float pFirst)
{
    const float turns = std::round((pFirst - pCurve.KeyGetValue(0)) / 360.0f);
    if (turns != 0.0f) {
        const KeyModifyBracket bracket(pCurve);
        for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
            pCurve.KeyIncValue(i, 360.0f * turns);
        }
    }
}

bool Unroll(const ClipRotation& pRotation)
{
    bool hasKeys[3];
    float first[3] = {};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        hasKeys[axis] = pRotation.mCurves[axis]->KeyGetCount() > 0;
        first[axis] = hasKeys[axis] ? pRotation.mCurves[axis]->KeyGetValue(0) : 0.0f;
    }
    GlissaFilterUnroll filter;
    filter.SetTestForPath(false);  // whatever the process settings are
    if (!filter.Apply(*pRotation.mNode, false)) {
        return false;
    }
    for (std::size_t axis = 0; axis < 3; ++axis) {
        // The filter gives an axis without keys, as one without a channel, the times of the others.
        hasKeys[axis] ? MoveBack(*pRotation.mCurves[axis], first[axis])
                      : pRotation.mCurves[axis]->KeyClear();
    }
    return true;
}

AngleJumps JumpsOf(const ClipRotation& pRotation, KTime pFrame)
{
    AngleJumps jumps;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        jumps.Look(*pRotation.mCurves[axis], pRotation.GetCurveName(axis), pFrame);
    }
    return jumps;
}
}  // namespace

IoResult<UnrollReport> UnrollRotations(const Clip& pClip, CurveClip& pCurves,
                                       const std::string& pFileName)
{
    const KTime frame = pClip.mFramePeriod;
    UnrollReport report;
    for (const ClipRotation& rotation : RotationsOf(pClip, pCurves)) {
        const AngleJumps jumps = JumpsOf(rotation, frame);
        if (jumps.mCount == 0) {
            continue;
        }
        if (!IsMendable(rotation, frame)) {
            report.mKept.Add(jumps);
            continue;
        }
        std::vector<Pose> before = PosesAtKeys(rotation);
        TakePoses(rotation, before);
        if (!Unroll(rotation)) {
            report.mKept.Add(jumps);
            continue;
        }
        std::vector<Pose> after = before;
        TakePoses(rotation, after);
        for (std::size_t i = 0; i < before.size(); ++i) {
            const double turn = std::max(AngleBetween(before[i].mOwn, after[i].mOwn),
                                         AngleBetween(before[i].mTotal, after[i].mTotal));
            if (!(turn <= kUnrollTolerance)) {
                char reason[160];
                std::snprintf(reason, sizeof reason,
                              ": without jumps the orientation at %.6g s (frame %.10g) would be "
                              "%.3g degrees off, more than %g",
                              before[i].mTime.GetSecondDouble(), FrameAt(before[i].mTime, frame),
                              turn, kUnrollTolerance);
                return IoError{pFileName, 0, rotation.GetName() + reason};
            }
            report.mLargestTurn = std::max(report.mLargestTurn, turn);
        }
        const AngleJumps left = JumpsOf(rotation, frame);
        report.mMended += jumps.mCount - left.mCount;
        report.mCurveCount += jumps.mCurveCount;
        report.mKept.Add(left);
    }
    return report;
}
