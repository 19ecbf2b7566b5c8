// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/rotation_faults.h"

#include "corvekit/math/rotation_order.h"
#include "glissa/curve/curve.h"
#include "io/clip_rotations.h"
#include "tests/support/ref_rotation.h"

#include <gtest/gtest.h>

namespace
{
using Triple = std::array<double, 3>;

// Keys of the first, the middle and the third turned angle at some frames, in each order.
RotationFaults FaultsOf(int pOrder, const std::vector<int>& pFrames,
                        const std::vector<Triple>& pAngles, unsigned pKind = eInterpolationLinear)
{
    Clip clip;
    ClipJoint joint;
    joint.mName = joint.mAddress = "A";
    joint.mRotationOrder = pOrder;
    joint.mChannels = {eClipRotationX, eClipRotationY, eClipRotationZ};
    clip.mJoints = {joint};
    clip.mFramePeriod = KTime(1000);
    clip.mChannelCount = 3;
    CurveClip curves(clip);
    for (std::size_t turn = 0; turn < 3; ++turn) {
        const int axis = KmEulerAxis[pOrder][turn];
        for (std::size_t i = 0; i < pAngles.size(); ++i) {
            GlissaKey key;
            key.SetValue(static_cast<float>(pAngles[i][turn]));
            key.SetInterpolation(pKind);
            curves.GetCurves()[static_cast<std::size_t>(axis)].mCurve->KeyAdd(
                clip.mFramePeriod * pFrames[i], key);
        }
    }
    return FindRotationFaults(clip, RotationsOf(clip, curves));
}

TEST(RotationFaults, AreFoundInEveryOrder)
{
    const struct
    {
        const char* name;
        std::vector<int> frames;
        std::vector<Triple> angles;
        unsigned kind;
        int zones;
        int paths;
    } rows[] = {
        {"one axis", {0, 1, 2}, {{0, 0, 0}, {0, 40, 0}, {0, 80, 0}}, 0, 0, 0},
        {"a zone", {0, 1, 2, 3}, {{0, 84, 0}, {0, 86, 0}, {0, 88, 0}, {0, 84, 0}}, 0, 1, 0},
        {"two zones", {0, 1, 2}, {{0, -90, 0}, {0, 0, 0}, {0, 90, 0}}, 0, 2, 0},
        {"past a right angle", {0, 1}, {{0, 265, 0}, {0, 266, 0}}, 0, 1, 0},
        {"between sparse keys", {0, 20}, {{0, 0, 0}, {0, 170, 0}}, 0, 1, 0},
        {"angles that swing", {0, 1}, {{0, 0, 0}, {170, 0, 170}}, 0, 0, 1},
        {"the second form", {0, 1}, {{10, 20, 30}, {190, 160, 210}}, 0, 0, 1},
        {"a small step", {0, 1}, {{10.3, 20.1, 30.7}, {10.4, 20.1, 30.7}}, 0, 0, 0},
        {"no step", {0, 1}, {{10.3, 20.1, 30.7}, {10.3, 20.1, 30.7}}, 0, 0, 0},
        {"held up to the key", {0, 1}, {{10, 20, 30}, {190, 160, 210}}, 1, 0, 0},
        {"a jump", {0, 1}, {{179, 20, 30}, {-179, 21, 30}}, 0, 0, 0},
        {"a wheel", {0, 50}, {{0, 0, 0}, {0, 3600, 0}}, 0, -1, 0},
    };
    for (const auto& row : rows) {
        for (int order = 0; order < kRotationOrderCount; ++order) {
            SCOPED_TRACE(testing::Message() << row.name << ", " << kRotationOrderNames[order]);
            const RotationFaults faults =
                FaultsOf(order, row.frames, row.angles,
                         row.kind == 0 ? eInterpolationLinear : eInterpolationConstant);
            if (row.zones >= 0) {
                EXPECT_EQ(row.zones, faults.mZones.mCount);
            }
            EXPECT_EQ(row.paths, faults.mPaths.mCount);
        }
    }
    const RotationFaults zone = FaultsOf(3, rows[1].frames, rows[1].angles);
    EXPECT_EQ("A/R", zone.mZones.mWorst->mNode);
    EXPECT_EQ(KTime(1000), zone.mZones.mFirst->mFirst);
    EXPECT_EQ(KTime(2000), zone.mZones.mFirst->mLast);
    EXPECT_EQ(KTime(2000), zone.mZones.mWorst->mClosest);
    EXPECT_NEAR(2.0, zone.mZones.mWorst->mDistance, 1e-5);
}

TEST(RotationFaults, AStrayIsMeasuredFromTheShortestTurn)
{
    for (int order = 0; order < kRotationOrderCount; ++order) {
        const RotationFaults faults = FaultsOf(order, {0, 1}, {{0, 10, 0}, {160, 5, 150}});
        ASSERT_EQ(1, faults.mPaths.mCount);
        Triple from{}, to{}, middle{};
        for (std::size_t turn = 0; turn < 3; ++turn) {
            const auto axis = static_cast<std::size_t>(KmEulerAxis[order][turn]);
            from[axis] = Triple{0, 10, 0}[turn];
            to[axis] = Triple{160, 5, 150}[turn];
            middle[axis] = (from[axis] + to[axis]) / 2;
        }
        const RefRotation start = RefRotation::OfAngles(from.data(), order);
        const RefRotation way = RefRotation::OfAngles(to.data(), order) * start.Inverse();
        const RefRotation halfway = RefRotation::OfAngles(middle.data(), order);
        double nearest = 180.0;
        for (int i = 0; i <= 20000; ++i) {
            nearest = std::min(nearest, RefDistance(way.Part(i / 20000.0) * start, halfway));
        }
        EXPECT_NEAR(static_cast<double>(way.Angle()), faults.mPaths.mWorst->mTurn, 1e-9);
        EXPECT_NEAR(nearest, faults.mPaths.mWorst->mStray, 1e-4);
    }
}
TEST(RotationFaults, ASmoothRecordingHasNone)
{
    for (int order = 0; order < kRotationOrderCount; ++order) {
        std::vector<int> frames;
        std::vector<Triple> angles;
        for (int i = 0; i < 2000; ++i) {  // each orientation twice
            frames.push_back(i);
            angles.push_back(
                {3.7 * (i / 2) + 0.3 * (i / 2 % 3), 20.3 + 0.01 * (i / 2), 2.1 * (i / 2)});
        }
        const RotationFaults faults = FaultsOf(order, frames, angles, eInterpolationCubic);
        EXPECT_EQ(0, faults.mZones.mCount);
        EXPECT_EQ(0, faults.mPaths.mCount);
    }
}
}  // namespace
