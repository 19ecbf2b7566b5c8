// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/curve_clip.h"

#include "glissa/curve/curve.h"
#include "io/bvh_reader.h"

#include <gtest/gtest.h>

namespace
{
CurveClip MakeCurves(const std::string& pText, KTime pStart = KTime())
{
    const IoResult<Clip> clip = ParseBvh(pText, "test.bvh");
    EXPECT_TRUE(clip) << clip.GetError().GetText();
    return clip ? CurveClip(*clip, pStart) : CurveClip();
}

const std::string kTwoJoints = "HIERARCHY\nROOT Hips{OFFSET 0 0 0\n"
                               "CHANNELS 3 Zrotation Xposition Yrotation\n"
                               "JOINT Leg*{OFFSET 0 -1 0 CHANNELS 1 Xrotation}}\n"
                               "MOTION\nFrames: 3\nFrame Time: .0083333\n"
                               "1 2 3 4\n11 12 13 14\n21 22 23 24\n";

TEST(CurveClip, EveryChannelIsACurveWithAKeyAFrame)
{
    const KTime start(-1000);
    const CurveClip clip = MakeCurves(kTwoJoints, start);
    const char* const names[] = {"Hips/R/Z", "Hips/T/X", "Hips/R/Y", "Leg*/R/X"};
    ASSERT_EQ(std::size(names), clip.GetCurves().size());
    for (std::size_t i = 0; i < std::size(names); ++i) {
        const ClipCurve& named = clip.GetCurves()[i];
        SCOPED_TRACE(named.mName);
        EXPECT_EQ(names[i], named.mName);
        EXPECT_EQ(i < 3 ? 0 : 1, named.mJoint);
        ASSERT_EQ(3, named.mCurve->KeyGetCount());
        for (int key = 0; key < 3; ++key) {
            EXPECT_EQ(start + KTime(1176000) * key, named.mCurve->KeyGetTime(key));
            EXPECT_EQ(static_cast<float>(10 * key + static_cast<int>(i) + 1),
                      named.mCurve->KeyGetValue(key));
        }
    }
    EXPECT_EQ(eClipRotationY, clip.GetCurves()[2].mChannel);
}

TEST(CurveClip, CurvesAreFoundByNameAndByPattern)
{
    const CurveClip clip = MakeCurves(kTwoJoints);
    const struct
    {
        const char* pattern;
        std::vector<std::size_t> found;
    } cases[] = {
        {"*/R/?", {0, 2, 3}}, {"Hips/*", {0, 1, 2}}, {"Leg*/R/X", {3}},
        {"hips/*", {}},       {"*/R/X", {3}},        {"*", {0, 1, 2, 3}},
        {"Leg\\*/*", {3}},    {"Hips/T/X", {1}},     {"Hips", {}},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.found, clip.Match(each.pattern)) << each.pattern;
    }
    EXPECT_EQ(&clip.GetCurves()[1], clip.Find("Hips/T/X"));
    EXPECT_EQ(nullptr, clip.Find("Hips/*"));

    // A name that reads as a pattern for others means itself.
    const CurveClip star = MakeCurves("HIERARCHY\nROOT *{OFFSET 0 0 0 CHANNELS 1 Xposition}\n"
                                      "ROOT a{OFFSET 0 0 0 CHANNELS 1 Xposition}\n"
                                      "MOTION\nFrames: 0\nFrame Time: 1\n");
    EXPECT_EQ((std::vector<std::size_t>{0}), star.Match("*/T/X"));
    EXPECT_EQ(0, star.GetCurves()[1].mCurve->KeyGetCount());
}
}  // namespace
