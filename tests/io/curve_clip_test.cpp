// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/curve_clip.h"

#include "glissa/curve/curve.h"
#include "io/bvh_reader.h"

#include <gtest/gtest.h>

namespace
{
TEST(CurveClip, EveryChannelIsACurveWithAKeyForEachFrame)
{
    const IoResult<Clip> clip = ParseBvh("HIERARCHY\nROOT Hips{OFFSET 0 0 0\n"
                                         "CHANNELS 3 Zrotation Xposition Yrotation\n"
                                         "JOINT Leg*{OFFSET 0 -1 0 CHANNELS 1 Xrotation}}\n"
                                         "MOTION\nFrames: 3\nFrame Time: .0083333\n"
                                         "1 2 3 4\n11 12 13 14\n21 22 23 24\n",
                                         "test.bvh");
    ASSERT_TRUE(clip) << clip.GetError().GetText();
    const KTime start(-1000);
    const CurveClip curves(*clip, start);
    const char* const names[] = {"Hips/R/Z", "Hips/T/X", "Hips/R/Y", "Leg*/R/X"};
    ASSERT_EQ(std::size(names), curves.GetCurves().size());
    for (std::size_t i = 0; i < std::size(names); ++i) {
        const ClipCurve& named = curves.GetCurves()[i];
        SCOPED_TRACE(named.mName);
        EXPECT_EQ(&named, curves.Find(names[i]));
        EXPECT_EQ(i < 3 ? 0 : 1, named.mJoint);
        EXPECT_EQ(clip->mJoints[i / 3].mChannels[i % 3], named.mChannel);
        ASSERT_EQ(3, named.mCurve->KeyGetCount());
        for (int key = 0; key < 3; ++key) {
            EXPECT_EQ(start + KTime(1176000) * key, named.mCurve->KeyGetTime(key));
            EXPECT_EQ(static_cast<float>(10 * key + static_cast<int>(i) + 1),
                      named.mCurve->KeyGetValue(key));
        }
    }
    EXPECT_EQ(nullptr, curves.Find("Hips/*"));
    for (const KTime bad : {KTime::MinusInfinite(), KTime::Infinite() - KTime(2 * 1176000)}) {
        EXPECT_EQ(0, CurveClip(*clip, bad).GetCurves()[0].mCurve->KeyGetCount());
    }
}
}  // namespace
