// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/rotation_faults.h"

#include "corvekit/math/rotation_order.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node.h"
#include "io/clip_rotations.h"
#include "io/orientation.h"

#include <algorithm>
#include <cmath>

namespace
{
bool IsEarlier(const GimbalZone& pA, const GimbalZone& pB)
{
    return pA.mFirst < pB.mFirst;
}

bool IsEarlier(const PoorPath& pA, const PoorPath& pB)
{
    return pA.mFrom < pB.mFrom;
}

bool IsWorse(const GimbalZone& pA, const GimbalZone& pB)
{
    return pA.mDistance < pB.mDistance;
}

bool IsWorse(const PoorPath& pA, const PoorPath& pB)
{
    return pA.mStray > pB.mStray;
}

template <typename Finding>
void Note(const Finding& pFound, Findings<Finding>& pFindings)
{
    ++pFindings.mCount;
    if (!pFindings.mFirst || IsEarlier(pFound, *pFindings.mFirst)) {
        pFindings.mFirst = pFound;
    }
    if (!pFindings.mWorst || IsWorse(pFound, *pFindings.mWorst)) {
        pFindings.mWorst = pFound;
    }
}

// Degrees from an angle to the nearest odd multiple of 90.
double DistanceFromLock(double pAngle)
{
    return 90.0 - std::fabs(std::remainder(pAngle, 180.0));
}

class ZoneSearch
{
public:
    ZoneSearch(const ClipRotation& pRotation, Findings<GimbalZone>& pFindings)
        : mRotation(pRotation), mFindings(pFindings)
    {}

    // Times in ascending order.
    void Look(KTime pTime, double pAngle)
    {
        const double distance = DistanceFromLock(pAngle);
        if (!(distance <= kGimbalZone)) {
            End();
            return;
        }
        if (!mIsInside) {
            mIsInside = true;
            mZone = GimbalZone{mRotation.GetName(), pTime, pTime, distance, pTime};
        }
        mZone.mLast = pTime;
        if (distance < mZone.mDistance) {
            mZone.mDistance = distance;
            mZone.mClosest = pTime;
        }
    }

    void End()
    {
        if (mIsInside) {
            Note(mZone, mFindings);
            mIsInside = false;
        }
    }

private:
    const ClipRotation& mRotation;
    Findings<GimbalZone>& mFindings;
    GimbalZone mZone;
    bool mIsInside = false;
};

void FindZones(const ClipRotation& pRotation, KTime pFrame, Findings<GimbalZone>& pFindings)
{
    constexpr std::int64_t kMostParts = 16;
    const KVdRotationOrder order(pRotation.mNode->GetRotationOrder());
    Glissa& middle = *pRotation.mCurves[static_cast<std::size_t>(order.GetAxes()[1])];
    const std::int64_t countBefore = pFindings.mCount;
    ZoneSearch search(pRotation, pFindings);
    int hint = 0;
    for (int i = 0; i < middle.KeyGetCount(); ++i) {
        const KTime time = middle.KeyGetTime(i);
        if (i > 0 && !AreNeighbours(middle.KeyGetTime(i - 1), time, pFrame)) {
            const KTime from = middle.KeyGetTime(i - 1);
            const std::int64_t period = std::max<std::int64_t>(pFrame.Get(), 1);
            const std::int64_t parts = std::min((time - from).Get() / period, kMostParts);
            for (std::int64_t part = 1; part < parts; ++part) {
                const KTime between = from + KTime((time - from).Get() / parts * part);
                search.Look(between, static_cast<double>(middle.Evaluate(between, &hint)));
            }
        }
        search.Look(time, static_cast<double>(middle.KeyGetValue(i)));
    }
    search.End();
    pFindings.mNodeCount += pFindings.mCount > countBefore ? 1 : 0;
}

// Degrees from an orientation to the nearest one of the shortest turn between two others. The turn
// is an arc of a great circle of the unit quaternions, which have half its angles (Shoemake 1985).
double DistanceFromTurn(const KgeQuaternion& pMiddle, const KgeQuaternion& pFrom,
                        const KgeQuaternion& pTo)
{
    constexpr double kLeastArc = 1e-9;  // below it the direction of the arc is rounding
    const double nearerEnd = std::min(AngleBetween(pMiddle, pFrom), AngleBetween(pMiddle, pTo));
    const KgeQuaternion to = pFrom.Dot(pTo) < 0.0 ? -pTo : pTo;
    KgeQuaternion across = to - pFrom * pFrom.Dot(to);  // of the circle, at a right angle to pFrom
    if (!(across.Normalize() > kLeastArc)) {
        return nearerEnd;
    }
    const KgeQuaternion middle = pMiddle.Dot(pFrom + to) < 0.0 ? -pMiddle : pMiddle;
    const double along[2] = {middle.Dot(pFrom), middle.Dot(across)};
    const double end = KgeArcTangent(to.Dot(across), to.Dot(pFrom));
    const double at = KgeArcTangent(along[1], along[0]);
    if (at < 0.0 || at > end) {
        return nearerEnd;
    }
    const KgeQuaternion off = middle - (pFrom * along[0] + across * along[1]);
    return 2.0 * KgeArcTangent(off.Length(), KgeLength(along[0], along[1]));
}

// The angles of a rotation over time.
class Angles
{
public:
    explicit Angles(const ClipRotation& pRotation) : mCurves(pRotation.mCurves) {}

    KgeRVector At(KTime pTime)
    {
        KgeRVector angles;
        for (int axis = 0; axis < 3; ++axis) {
            angles[axis] = static_cast<double>(
                mCurves[static_cast<std::size_t>(axis)]->Evaluate(pTime, &mHints[axis]));
        }
        return angles;
    }

private:
    const std::array<Glissa*, 3> mCurves;
    int mHints[3] = {};
};

bool HasLargeStep(const KgeRVector& pFrom, const KgeRVector& pTo)
{
    constexpr double kHalfTurn = 180.0;
    const KgeRVector step = pTo - pFrom;
    return std::fabs(step[0]) > kHalfTurn || std::fabs(step[1]) > kHalfTurn ||
           std::fabs(step[2]) > kHalfTurn;
}

void FindPaths(const ClipRotation& pRotation, Findings<PoorPath>& pFindings)
{
    const KVdRotationOrder order(pRotation.mNode->GetRotationOrder());
    const std::int64_t countBefore = pFindings.mCount;
    const std::vector<KTime> times = KeyTimesOf(pRotation);
    Angles angles(pRotation);
    KgeRVector from;
    KgeQuaternion turnedFrom;
    for (std::size_t i = 0; i < times.size(); ++i) {
        const KgeRVector to = angles.At(times[i]);
        KgeQuaternion turnedTo;
        order.V2Q(turnedTo, to);
        if (i > 0 && !HasLargeStep(from, to)) {
            KgeQuaternion halfway;
            order.V2Q(halfway, (from + to) * 0.5);
            const double turn = AngleBetween(turnedFrom, turnedTo);
            const double stray = DistanceFromTurn(halfway, turnedFrom, turnedTo);
            const KTime middle = times[i - 1] + (times[i] - times[i - 1]) / 2;
            if (stray > std::max(kLeastStray, kPoorPart * turn) && angles.At(middle) != from) {
                Note(PoorPath{pRotation.GetName(), times[i - 1], times[i], turn, stray}, pFindings);
            }
        }
        from = to;
        turnedFrom = turnedTo;
    }
    pFindings.mNodeCount += pFindings.mCount > countBefore ? 1 : 0;
}
}  // namespace

RotationFaults FindRotationFaults(const Clip& pClip, const std::vector<ClipRotation>& pRotations)
{
    RotationFaults faults;
    faults.mJumps = FindAngleJumps(pClip, pRotations);
    for (const ClipRotation& each : pRotations) {
        FindZones(each, pClip.mFramePeriod, faults.mZones);
        FindPaths(each, faults.mPaths);
    }
    return faults;
}
