// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_output.h"

#include "apps/glissa/file_name.h"
#include "apps/glissa/refusal.h"
#include "corvekit/store/tdf.h"
#include "io/bvh_writer.h"
#include "io/clip_store.h"

#include <fmt/format.h>

#include <sstream>

namespace
{
std::string AsBvh(const ClipCurves& pClip, const std::string& pPath)
{
    const Clip& clip = pClip.clip;
    if (std::int64_t{clip.mFrameCount} * clip.mChannelCount > kMostValues) {
        throw Refusal(
            fmt::format("{}: {} frames of {} channels exceed {} values, the limit of a run",
                        pClip.path, clip.mFrameCount, clip.mChannelCount, kMostValues));
    }
    return ValueOrRefusal(
        FormatBvh(clip.mValues.empty() ? SampleClip(clip, pClip.owner) : clip, pPath));
}

std::string AsStore(const ClipCurves& pClip, const std::string& pPath)
{
    KTdf tdf;
    StoreClip(pClip.clip, pClip.owner, tdf);
    std::ostringstream stream;
    if (!tdf.Save(stream)) {
        throw Refusal(fmt::format("{}: {}", pPath, tdf.GetError().GetLastErrorString()));
    }
    return std::move(stream).str();
}
}  // namespace

ClipFormat ChooseClipFormat(const std::string& pPath, const std::string& pFormat)
{
    const std::string name = pFormat.empty() ? FileSuffix(pPath) : pFormat;
    if (name == "bvh") {
        return ClipFormat::bvh;
    }
    if (name == "glissa") {
        return ClipFormat::glissa;
    }
    throw WrongArguments(fmt::format(
        "'{}' does not have the suffix of a clip: use .glissa or .bvh, or give --format", pPath));
}

void WriteClip(const ClipCurves& pClip, ClipFormat pFormat, const std::string& pPath)
{
    Output output(pPath, pClip.path);
    if (pFormat == ClipFormat::glissa && output.IsTerminal()) {
        throw WrongArguments("a .glissa file cannot be written to a terminal: give a file");
    }
    output.Write(pFormat == ClipFormat::bvh ? AsBvh(pClip, pPath) : AsStore(pClip, pPath));
    output.Commit();
}
