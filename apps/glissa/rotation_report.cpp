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

double Seconds(KTime pTime)
{
    return pTime.GetSecondDouble();
}

// "3 gimbal zones in 2 rotations"
template <typename Finding>
std::string CountText(const Findings<Finding>& pFindings, const char* pName)
{
    return fmt::format("{} {}{} in {} rotation{}", pFindings.mCount, pName,
                       PluralEnd(pFindings.mCount), pFindings.mNodeCount,
                       PluralEnd(pFindings.mNodeCount));
}

Json Describe(const std::optional<GimbalZone>& pZone)
{
    return !pZone ? Json()
                  : Json{{"node", pZone->mNode},
                         {"from", Seconds(pZone->mFirst)},
                         {"to", Seconds(pZone->mLast)},
                         {"distance", pZone->mDistance},
                         {"closest", Seconds(pZone->mClosest)}};
}

Json Describe(const std::optional<PoorPath>& pPath)
{
    return !pPath ? Json()
                  : Json{{"node", pPath->mNode},
                         {"from", Seconds(pPath->mFrom)},
                         {"to", Seconds(pPath->mTo)},
                         {"turn", pPath->mTurn},
                         {"stray", pPath->mStray}};
}

template <typename Finding>
Json Describe(const Findings<Finding>& pFindings)
{
    return {{"count", pFindings.mCount},
            {"nodes", pFindings.mNodeCount},
            {"first", Describe(pFindings.mFirst)},
            {"worst", Describe(pFindings.mWorst)}};
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

std::vector<FaultLine> FaultLines(const RotationFaults& pFaults)
{
    std::vector<FaultLine> lines = {{"angle jumps", ""}, {"gimbal zones", ""}, {"poor paths", ""}};
    if (pFaults.mJumps.mCount > 0) {
        lines[0].text = JumpsText(pFaults.mJumps);
    }
    if (const Findings<GimbalZone>& zones = pFaults.mZones; zones.mCount > 0) {
        lines[1].text = fmt::format("{}, first {} from {:.6g} to {:.6g} s; closest {} at {:.6g} s, "
                                    "{:.2g} degrees from lock",
                                    CountText(zones, "gimbal zone"), zones.mFirst->mNode,
                                    Seconds(zones.mFirst->mFirst), Seconds(zones.mFirst->mLast),
                                    zones.mWorst->mNode, Seconds(zones.mWorst->mClosest),
                                    zones.mWorst->mDistance);
    }
    if (const Findings<PoorPath>& paths = pFaults.mPaths; paths.mCount > 0) {
        lines[2].text = fmt::format(
            "{}, first {} from {:.6g} to {:.6g} s; worst {} from {:.6g} to {:.6g} s, {:.2g} "
            "degrees "
            "off a turn of {:.2g} degrees",
            CountText(paths, "poor path"), paths.mFirst->mNode, Seconds(paths.mFirst->mFrom),
            Seconds(paths.mFirst->mTo), paths.mWorst->mNode, Seconds(paths.mWorst->mFrom),
            Seconds(paths.mWorst->mTo), paths.mWorst->mStray, paths.mWorst->mTurn);
    }
    return lines;
}

void AddFaults(Json& pReport, const RotationFaults& pFaults)
{
    const AngleJumps& jumps = pFaults.mJumps;
    pReport["angle_jumps"] = {
        {"count", jumps.mCount}, {"curves", jumps.mCurveCount}, {"first", nullptr}};
    if (jumps.mCount > 0) {
        pReport["angle_jumps"]["first"] = {
            {"curve", jumps.mCurve},
            {"time", Seconds(jumps.mTime)},
            {"frame", jumps.mFrame},
            {"from", JsonNumber(static_cast<double>(jumps.mFrom), true)},
            {"to", JsonNumber(static_cast<double>(jumps.mTo), true)}};
    }
    pReport["gimbal_zones"] = Describe(pFaults.mZones);
    pReport["poor_paths"] = Describe(pFaults.mPaths);
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
