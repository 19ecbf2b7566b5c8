// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/rotation_report.h"

#include "apps/glissa/output.h"
#include "io/clip_rotations.h"

#include <fmt/format.h>

namespace
{
const char* PluralEnd(std::int64_t pCount)
{
    return pCount == 1 ? "" : "s";
}
}  // namespace

std::string JumpsText(const AngleJumps& pJumps)
{
    return fmt::format("{} step{} of more than 180 degrees between frames in {} curve{}, first in "
                       "{} at {:.6g} s (frame {})",
                       pJumps.mCount, PluralEnd(pJumps.mCount), pJumps.mCurveCount,
                       PluralEnd(pJumps.mCurveCount), pJumps.mCurve, pJumps.mTime.GetSecondDouble(),
                       pJumps.mFrame);
}

Json DescribeJumps(const AngleJumps& pJumps)
{
    Json first;
    if (pJumps.mCount > 0) {
        first = {{"curve", pJumps.mCurve},
                 {"time", pJumps.mTime.GetSecondDouble()},
                 {"frame", pJumps.mFrame},
                 {"from", JsonNumber(static_cast<double>(pJumps.mFrom), true)},
                 {"to", JsonNumber(static_cast<double>(pJumps.mTo), true)}};
    }
    return {{"count", pJumps.mCount}, {"curves", pJumps.mCurveCount}, {"first", first}};
}

void WarnOfJumps(const ClipCurves& pClip)
{
    const AngleJumps jumps = FindAngleJumps(pClip.clip, RotationsOf(pClip.clip, pClip.owner));
    if (jumps.mCount > 0) {
        PrintMessage(
            fmt::format("{}: {}; run unroll first, the values between these frames are wrong",
                        pClip.path, JumpsText(jumps)));
    }
}
