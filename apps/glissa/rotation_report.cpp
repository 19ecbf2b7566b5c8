// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/rotation_report.h"

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

std::string UnrollText(const UnrollReport& pReport)
{
    std::string text = "no jumps of angles to mend";
    if (pReport.mMended > 0) {
        text = fmt::format("mended {} jump{} of {} curve{}, the largest change of an orientation "
                           "is {:.2g} degrees",
                           pReport.mMended, PluralEnd(pReport.mMended), pReport.mCurveCount,
                           PluralEnd(pReport.mCurveCount), pReport.mLargestTurn);
    }
    if (pReport.mKept.mCount > 0) {
        text += "; kept in rotations that are locked or have keys more than one and a half frames "
                "apart: " +
                JumpsText(pReport.mKept);
    }
    return text;
}
