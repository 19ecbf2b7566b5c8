// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_output.h"

#include "apps/glissa/refusal.h"
#include "corvekit/store/tdf.h"
#include "io/bvh_writer.h"
#include "io/clip_store.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>

namespace
{
// Beyond that a frame count is likelier damaged than meant.
constexpr std::int64_t kMostValues = 200000000;

std::string AsBvh(const ClipCurves& pClip, const std::string& pPath)
{
    const Clip& clip = pClip.clip;
    if (std::int64_t{clip.mFrameCount} * clip.mChannelCount > kMostValues) {
        throw Refusal(fmt::format("{}: {} frames of {} channels are more than the {} values that "
                                  "one run writes",
                                  pClip.path, clip.mFrameCount, clip.mChannelCount, kMostValues));
    }
    IoResult<std::string> text =
        FormatBvh(clip.mValues.empty() ? SampleClip(clip, pClip.owner) : clip, pPath);
    if (!text) {
        throw Refusal(text.GetError().GetText());
    }
    return std::move(*text);
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
    std::string name = pFormat;
    if (name.empty()) {
        const std::size_t slash = pPath.rfind('/');
        const std::size_t dot = pPath.rfind('.');
        if (dot != std::string::npos && (slash == std::string::npos || dot > slash)) {
            name = pPath.substr(dot + 1);
        }
        std::transform(name.begin(), name.end(), name.begin(), [](char pEach) {
            return pEach >= 'A' && pEach <= 'Z' ? static_cast<char>(pEach - 'A' + 'a') : pEach;
        });
    }
    if (name == "bvh") {
        return ClipFormat::bvh;
    }
    if (name == "glissa") {
        return ClipFormat::glissa;
    }
    throw WrongArguments(fmt::format(
        "'{}' does not tell the kind of clip: end it in .glissa or .bvh, or give --format", pPath));
}

void WriteClip(const ClipCurves& pClip, ClipFormat pFormat, const std::string& pPath)
{
    Output output(pPath, pClip.path);
    if (pFormat == ClipFormat::glissa && output.IsTerminal()) {
        throw WrongArguments("a .glissa file is no text for a terminal: name a file");
    }
    output.Write(pFormat == ClipFormat::bvh ? AsBvh(pClip, pPath) : AsStore(pClip, pPath));
    output.Commit();
}
