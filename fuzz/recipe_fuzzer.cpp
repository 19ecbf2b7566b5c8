// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The input is the text of a filter recipe. It is refused with a reason, or its filters run on a
// small clip, whose curves are then still valid.

#include "apps/glissa/filter_recipe.h"
#include "apps/glissa/refusal.h"
#include "fuzz/clip_checks.h"
#include "glissa/curve/curve.h"
#include "io/bvh_reader.h"
#include "io/curve_clip.h"
#include "io/filter_run.h"

#include <algorithm>
#include <cstdint>

namespace
{
// Five milliseconds, so that a key for each tick is still a small curve.
constexpr const char* kClip =
    "HIERARCHY\nROOT Hips\n{\nOFFSET 0 0 0\nCHANNELS 3 Zrotation Xrotation Yrotation\n}\n"
    "MOTION\nFrames: 6\nFrame Time: 0.001\n"
    "0 1 2\n0.5 -3 170\n0.5 90 -170\n0.5 89 3\n1e30 2 3\n0 0 0\n";

// The rotation of the joint, the only node of the clip.
FilterTarget TargetOf(const CurveClip& pClip)
{
    GlissaNode* const node = pClip.GetNodes().GetTransform(0, KDataTypeLclRotation);
    FilterTarget target{"Hips/R", node, {}};
    for (int i = 0; i < node->GetCount(); ++i) {
        GlissaNode* const leaf = node->Get(i);
        target.mChannels.push_back(
            {std::string("Hips/R/") + leaf->GetName(), leaf->FCurveGet(), leaf});
    }
    return target;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t pSize)
{
    static const Clip clip = *ParseBvh(kClip, "fuzz.bvh");
    FilterRecipe recipe;
    try {
        recipe = ParseRecipe(std::string(reinterpret_cast<const char*>(pData), pSize), "fuzz.json");
    } catch (const Refusal& refusal) {
        Require(std::string_view(refusal.what()).starts_with("fuzz.json:"));
        return 0;
    }
    constexpr std::size_t kMostFilters = 8;
    recipe.erase(recipe.begin() +
                     static_cast<std::ptrdiff_t>(std::min(recipe.size(), kMostFilters)),
                 recipe.end());
    const CurveClip curves(clip);
    const std::vector<FilterTarget> targets = {TargetOf(curves)};
    for (const FilterSetup& each : recipe) {
        FilterTimes times;
        RunFilter(each, targets, times, clip.mFramePeriod, {});
        if (each.GetEntry().mSpan != FilterSpan::none) {
            times = {clip.GetTime(1), clip.GetTime(3)};
            RunFilter(each, targets, times, clip.mFramePeriod, {});
        }
    }
    for (const ClipCurve& each : curves.GetCurves()) {
        Glissa& curve = *each.mCurve;
        Require(curve.CheckCurve());
        for (int i = 1; i < curve.KeyGetCount(); ++i) {
            Require(curve.KeyGetTime(i - 1) < curve.KeyGetTime(i));
        }
        curve.Evaluate(KTime::FromSeconds(0.1), nullptr);
    }
    return 0;
}
