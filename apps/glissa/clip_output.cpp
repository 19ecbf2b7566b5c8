// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_output.h"

#include "apps/glissa/file_name.h"
#include "apps/glissa/name_choice.h"
#include "apps/glissa/refusal.h"
#include "corvekit/store/tdf.h"
#include "io/bvh_writer.h"
#include "io/clip_store.h"

#include <fmt/format.h>

#include <algorithm>
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

// The keys of the base that no frame reaches.
std::string MissingKeys(const ClipCurves& pClip, const std::string& pPath)
{
    const KTime last = pClip.clip.GetTime(std::max(pClip.clip.mFrameCount, 1) - 1);
    const KTime slack = pClip.clip.mFramePeriod / 100;  // as ClipCurves::FitFrameCount
    std::int64_t missing = 0;
    for (const NamedCurve& each : pClip.curves) {
        for (int i = 0;
             i < each.curve->KeyGetCount() && each.curve->KeyGetTime(i) < KTime() - slack; ++i) {
            ++missing;
        }
        for (int i = each.curve->KeyGetCount();
             i > 0 && each.curve->KeyGetTime(i - 1) > last + slack; --i) {
            ++missing;
        }
    }
    return missing == 0
               ? std::string()
               : fmt::format("{}: {} keys outside the frames, 0 s to {:.3f} s, are not in {}",
                             pClip.path, missing, last.GetSecondDouble(), pPath);
}
bool HoldsOnly(const Glissa& pCurve, float pValue)
{
    bool holds = pCurve.GetValue() == pValue;
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        holds = holds && pCurve.KeyGetValue(i) == pValue;
    }
    return holds;
}

// The curves of the base that a filter has given other values, and for which the file has no
// channel.
std::string MissingChannels(const ClipCurves& pClip, const std::string& pPath)
{
    const NodeClip recorded(pClip.clip);
    std::vector<std::string> names;
    for (std::size_t joint = 0; joint < pClip.clip.mJoints.size(); ++joint) {
        GlissaNode& now = *pClip.owner.GetNodes().GetJoint(joint);
        for (const char* const kind : {"T", "R"}) {
            const int place = now.Find(kind);
            for (int axis = 0; place >= 0 && axis < now.Get(place)->GetCount(); ++axis) {
                GlissaNode& leaf = *now.Get(place)->Get(axis);
                const std::string name =
                    fmt::format("{}/{}/{}", now.GetName(), kind, leaf.GetName());
                const GlissaNode& before = *recorded.GetJoint(joint)->Get(place)->Get(axis);
                if (!pClip.owner.Find(name) &&
                    !HoldsOnly(*leaf.FCurveGet(), before.FCurveGet()->GetValue())) {
                    names.push_back(name);
                }
            }
        }
    }
    return names.empty() ? std::string()
                         : fmt::format("{}: {} has no channel for {}; a .glissa file has",
                                       pClip.path, pPath, NamesText(names));
}
}  // namespace

ClipFormat ChooseClipFormat(const std::string& pPath, const std::string& pFormat,
                            const char* pOption)
{
    const std::string name = pFormat.empty() ? FileSuffix(pPath) : pFormat;
    if (name == "bvh") {
        return ClipFormat::bvh;
    }
    if (name == "glissa") {
        return ClipFormat::glissa;
    }
    throw WrongArguments(
        fmt::format("'{}' does not have the suffix of a clip: use .glissa or .bvh, or give {}",
                    pPath, pOption));
}

std::vector<std::string> WriteClip(const ClipCurves& pClip, ClipFormat pFormat,
                                   const std::string& pPath)
{
    Output output(pPath, pClip.path);
    if (pFormat == ClipFormat::glissa && output.IsTerminal()) {
        throw WrongArguments("a .glissa file cannot be written to a terminal: give a file");
    }
    // Nothing may fail when the file is there.
    std::vector<std::string> missing;
    if (pFormat == ClipFormat::bvh) {
        missing = {MissingKeys(pClip, pPath), MissingChannels(pClip, pPath)};
        std::erase(missing, "");
    }
    output.Write(pFormat == ClipFormat::bvh ? AsBvh(pClip, pPath) : AsStore(pClip, pPath));
    output.Commit();
    return missing;
}

void SaveClip(const ClipCurves& pClip, ClipFormat pFormat, const std::string& pPath)
{
    for (const std::string& each : WriteClip(pClip, pFormat, pPath)) {
        PrintMessage(each);
    }
}
