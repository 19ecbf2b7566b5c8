// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_reading.h"

#include "apps/glissa/output.h"
#include "apps/glissa/refusal.h"
#include "apps/glissa/rotation_report.h"
#include "io/clip_rotations.h"
#include "io/unroll_clip.h"

#include <fmt/format.h>

namespace
{
UnrollReport Unroll(Clip& pClip, CurveClip& pCurves, const std::string& pPath)
{
    UnrollReport report = ValueOrRefusal(UnrollRotations(pClip, pCurves, pPath));
    if (report.mMended > 0) {
        pClip.mValues.clear();  // the curves no longer have the values of the file
    }
    return report;
}
}  // namespace

void AddUnrollOption(CLI::App& pCommand, bool& pUnroll)
{
    pCommand.add_flag("--unroll", pUnroll,
                      "Mend the steps of more than 180 degrees between frames of rotations, as the "
                      "clip is read");
}

std::string UnrollClip(StoredClip& pClip, const std::string& pPath)
{
    return pPath + ": " + UnrollText(Unroll(pClip.mClip, pClip.mCurves, pPath));
}

std::string UnrollClip(ClipCurves& pClip)
{
    return pClip.path + ": " + UnrollText(Unroll(pClip.clip, pClip.owner, pClip.path));
}

ClipCurves LoadClip(const std::string& pPath, bool pUnroll)
{
    ClipCurves clip = LoadClip(pPath);
    if (pUnroll) {
        PrintMessage(UnrollClip(clip));
    }
    return clip;
}

ClipCurves LoadClipToSample(const std::string& pPath, bool pUnroll)
{
    ClipCurves clip = LoadClip(pPath, pUnroll);
    if (!pUnroll) {
        const AngleJumps jumps = FindAngleJumps(clip.clip, RotationsOf(clip.clip, clip.owner));
        if (jumps.mCount > 0) {
            PrintMessage(fmt::format("{}: {}; the values between these frames are wrong, --unroll "
                                     "mends them",
                                     pPath, JumpsText(jumps)));
        }
    }
    return clip;
}
