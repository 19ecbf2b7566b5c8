// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/angle_jumps.h"

#include "glissa/curve/curve.h"
#include "io/bvh_reader.h"
#include "io/clip_rotations.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{
void AddKeys(Glissa& pCurve, const std::vector<float>& pValues, KTime pPeriod)
{
    for (std::size_t i = 0; i < pValues.size(); ++i) {
        GlissaKey key;
        key.SetValue(pValues[i]);
        pCurve.KeyAdd(pPeriod * static_cast<int>(i), key);
    }
}

TEST(AngleJumps, AreStepsOfMoreThanHalfATurnBetweenFrames)
{
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    const KTime frame(1000);
    const struct
    {
        const char* name;
        int period;  // of the keys
        std::vector<float> values;
        int count;
        int first;  // key after the first jump
    } rows[] = {
        {"one", 1000, {170, 179, -179, -170}, 1, 2},
        {"there and back", 1000, {179, -179, 179}, 2, 1},
        {"half a turn", 1000, {0, 180, 0}, 0, 0},
        {"a wheel frame by frame", 1000, {0, 120, 240, 360, 480, 600, 720}, 0, 0},
        {"a wheel keyed at its ends", 100000, {0, 720}, 0, 0},
        {"keys beside the frames", 1500, {0, 179, -179}, 1, 2},
        {"keys farther apart", 1501, {0, 179, -179}, 0, 0},
        {"not finite", 1000, {0, kNan, 300, 0}, 1, 3},
        {"a single key", 1000, {720}, 0, 0},
        {"no key", 1000, {}, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const HostCurvePointer curve(GlissaCreate());
        AddKeys(*curve, row.values, KTime(row.period));
        AngleJumps jumps;
        jumps.Look(*curve, "A/R/X", frame);
        EXPECT_EQ(row.count, jumps.mCount);
        EXPECT_EQ(row.count > 0 ? 1 : 0, jumps.mCurveCount);
        EXPECT_EQ(KTime(row.period) * row.first, jumps.mTime);
        EXPECT_EQ(row.first * row.period / 1000.0, jumps.mFrame);
    }
}

TEST(AngleJumps, AreFoundInTheRotationsOfAllLayers)
{
    const IoResult<Clip> clip = ParseBvh("HIERARCHY\nROOT A{OFFSET 0 0 0\n"
                                         "CHANNELS 3 Xposition Zrotation Yrotation}\n"
                                         "MOTION\nFrames: 3\nFrame Time: 1\n"
                                         "0 0 0\n900 0 179\n0 0 -179\n",
                                         "test.bvh");
    ASSERT_TRUE(clip) << clip.GetError().GetText();
    CurveClip curves(*clip);
    HostLayer& layer = curves.GetNodes().GetLayers().Add("Breath");
    GlissaNode* const node = curves.GetNodes().GetTransform(0, KDataTypeLclRotation);
    AddKeys(*node->CreateLayerAt({layer.mId, &layer})->Get(0)->FCurveGet(), {-100, 100},
            clip->mFramePeriod);
    const AngleJumps jumps = FindAngleJumps(*clip, RotationsOf(*clip, curves));
    EXPECT_EQ(2, jumps.mCount);
    EXPECT_EQ(2, jumps.mCurveCount);
    EXPECT_EQ("A/R/X @Breath", jumps.mCurve);  // a frame before that of the base
    EXPECT_EQ(-100.0f, jumps.mFrom);
    EXPECT_EQ(100.0f, jumps.mTo);
}
}  // namespace
