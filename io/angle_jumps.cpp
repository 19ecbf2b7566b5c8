// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/angle_jumps.h"

#include "glissa/curve/curve.h"
#include "io/clip_rotations.h"

#include <algorithm>
#include <cmath>

bool IsJump(const Glissa& pCurve, int pKey, KTime pFrame)
{
    constexpr float kHalfTurn = 180.0f;
    return pKey > 0 && pKey < pCurve.KeyGetCount() &&
           std::fabs(pCurve.KeyGetValue(pKey) - pCurve.KeyGetValue(pKey - 1)) > kHalfTurn &&
           AreNeighbours(pCurve.KeyGetTime(pKey - 1), pCurve.KeyGetTime(pKey), pFrame);
}

void AngleJumps::Look(const Glissa& pCurve, const std::string& pName, KTime pFrame, KTime pStart,
                      KTime pStop)
{
    const int count = pCurve.KeyGetCount();
    const std::int64_t countBefore = mCount;
    for (int i = 1; i < count; ++i) {
        if (!IsJump(pCurve, i, pFrame)) {
            continue;
        }
        const KTime time = pCurve.KeyGetTime(i);
        if (time >= pStart && pCurve.KeyGetTime(i - 1) <= pStop) {
            if (mCount++ == 0 || time < mTime) {
                mCurve = pName;
                mTime = time;
                mFrame = FrameAt(time, pFrame);
                mFrom = pCurve.KeyGetValue(i - 1);
                mTo = pCurve.KeyGetValue(i);
            }
        }
    }
    mCurveCount += mCount > countBefore ? 1 : 0;
}

void AngleJumps::Add(const AngleJumps& pOther)
{
    const std::int64_t count = mCount + pOther.mCount;
    const int curveCount = mCurveCount + pOther.mCurveCount;
    if (mCount == 0 || (pOther.mCount > 0 && pOther.mTime < mTime)) {
        *this = pOther;
    }
    mCount = count;
    mCurveCount = curveCount;
}

AngleJumps FindAngleJumps(const Clip& pClip, const std::vector<ClipRotation>& pRotations)
{
    AngleJumps jumps;
    for (const ClipRotation& rotation : pRotations) {
        for (std::size_t axis = 0; axis < rotation.mCurves.size(); ++axis) {
            jumps.Look(*rotation.mCurves[axis], rotation.GetCurveName(axis), pClip.mFramePeriod);
        }
    }
    return jumps;
}

double FrameAt(KTime pTime, KTime pFrame)
{
    const std::int64_t period = std::max<std::int64_t>(pFrame.Get(), 1);
    const double frames = static_cast<double>(pTime.Get()) / static_cast<double>(period);
    return std::round(frames * 1000.0) / 1000.0;
}
