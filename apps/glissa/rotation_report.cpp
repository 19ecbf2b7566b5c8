// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/rotation_report.h"

#include "apps/glissa/count_text.h"

#include <fmt/format.h>

#include <optional>
#include <utility>

namespace
{
double Seconds(KTime pTime)
{
    return pTime.GetSecondDouble();
}

// "3 gimbal zones in 2 rotations"
template <typename Finding>
std::string FindingsText(const Findings<Finding>& pFindings, const char* pName)
{
    return fmt::format("{} in {}", CountText(pFindings.mCount, pName),
                       CountText(pFindings.mNodeCount, "rotation"));
}

// The rotation and the span of time of a finding, then two numbers with their names.
Json Describe(const std::string& pNode, KTime pFrom, KTime pTo,
              const std::pair<const char*, double>& pFirst,
              const std::pair<const char*, double>& pSecond)
{
    return {{"node", pNode},
            {"from", Seconds(pFrom)},
            {"to", Seconds(pTo)},
            {pFirst.first, pFirst.second},
            {pSecond.first, pSecond.second}};
}

Json Describe(const GimbalZone& pZone)
{
    return Describe(pZone.mNode, pZone.mFirst, pZone.mLast, {"distance", pZone.mDistance},
                    {"closest", Seconds(pZone.mClosest)});
}

Json Describe(const PoorPath& pPath)
{
    return Describe(pPath.mNode, pPath.mFrom, pPath.mTo, {"turn", pPath.mTurn},
                    {"stray", pPath.mStray});
}

template <typename Finding>
Json Describe(const Findings<Finding>& pFindings)
{
    const auto orNull = [](const std::optional<Finding>& pFinding) {
        return pFinding ? Describe(*pFinding) : Json();
    };
    return {{"count", pFindings.mCount},
            {"nodes", pFindings.mNodeCount},
            {"first", orNull(pFindings.mFirst)},
            {"worst", orNull(pFindings.mWorst)}};
}
}  // namespace

std::string JumpsText(const AngleJumps& pJumps)
{
    return fmt::format(
        "{} of more than 180 degrees between frames in {}, first in {} at {:.6g} s (frame {})",
        CountText(pJumps.mCount, "step"), CountText(pJumps.mCurveCount, "curve"), pJumps.mCurve,
        pJumps.mTime.GetSecondDouble(), pJumps.mFrame);
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
                                    FindingsText(zones, "gimbal zone"), zones.mFirst->mNode,
                                    Seconds(zones.mFirst->mFirst), Seconds(zones.mFirst->mLast),
                                    zones.mWorst->mNode, Seconds(zones.mWorst->mClosest),
                                    zones.mWorst->mDistance);
    }
    if (const Findings<PoorPath>& paths = pFaults.mPaths; paths.mCount > 0) {
        lines[2].text = fmt::format(
            "{}, first {} from {:.6g} to {:.6g} s; worst {} from {:.6g} to {:.6g} s, {:.2g} "
            "degrees "
            "off a turn of {:.2g} degrees",
            FindingsText(paths, "poor path"), paths.mFirst->mNode, Seconds(paths.mFirst->mFrom),
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
        text =
            fmt::format("mended {} of {}, the largest change of an orientation is {:.2g} degrees",
                        CountText(pReport.mMended, "jump"), CountText(pReport.mCurveCount, "curve"),
                        pReport.mLargestTurn);
    }
    if (pReport.mKept.mCount > 0) {
        text += "; kept in rotations that are locked or have keys more than one and a half frames "
                "apart: " +
                JumpsText(pReport.mKept);
    }
    return text;
}
