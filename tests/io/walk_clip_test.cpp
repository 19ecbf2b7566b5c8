// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What the shipped clip promises to examples, benchmarks and demonstrations that build on it.

#include "io/bvh_reader.h"
#include "io/text_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace
{
const std::string kPath = std::string(GLISSA_SOURCE_DIR) + "/data/walk.bvh";

TEST(WalkClip, IsAWalkingPerson)
{
    const IoResult<std::string> text = ReadTextFile(kPath);
    ASSERT_TRUE(text) << text.GetError().GetText();
    EXPECT_LT(text->size(), 700000u);

    const IoResult<Clip> clip = ReadBvh(kPath);
    ASSERT_TRUE(clip) << clip.GetError().GetText();
    EXPECT_EQ(25u, clip->mJoints.size());
    EXPECT_EQ(1200, clip->mFrameCount);
    EXPECT_EQ(120, clip->GetRate().mNumerator);
    EXPECT_EQ(1, clip->GetRate().mDenominator);

    std::set<int> orders;
    for (const ClipJoint& joint : clip->mJoints) {
        SCOPED_TRACE(joint.mName);
        orders.insert(joint.mRotationOrder);
        for (int i = 0; i < static_cast<int>(joint.mChannels.size()); ++i) {
            const EClipChannel kind = joint.mChannels[static_cast<std::size_t>(i)];
            const auto value = [&](int pFrame) {
                return clip->GetValue(pFrame, joint.mFirstChannel + i);
            };
            double least = value(0);
            double greatest = value(0);
            double step = 0.0;
            for (int frame = 1; frame < clip->mFrameCount; ++frame) {
                least = std::min(least, value(frame));
                greatest = std::max(greatest, value(frame));
                step = std::max(step, std::fabs(value(frame) - value(frame - 1)));
            }
            // A limb at its fastest turns some 350 degrees a second, a hip travels 2 metres.
            EXPECT_LT(step, 3.0);
            EXPECT_GT(step, 0.0);
            if (IsRotation(kind)) {
                EXPECT_LT(std::max(-least, greatest), 80.0);
            }
            if (kind == eClipRotationX && joint.mName.ends_with("Leg") &&
                !joint.mName.ends_with("UpLeg")) {
                EXPECT_GT(least, 0.0) << "a knee bends one way";
                EXPECT_GT(greatest, 55.0);
            }
            if (kind == eClipRotationX && joint.mName.ends_with("ForeArm")) {
                EXPECT_LT(greatest, 0.0) << "an elbow bends the other way";
            }
        }
    }
    EXPECT_LE(4u, orders.size());
}
}  // namespace
