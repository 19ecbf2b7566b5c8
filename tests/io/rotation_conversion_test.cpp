// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/curve.h"
#include "io/bvh_reader.h"
#include "io/bvh_writer.h"
#include "io/clip_store.h"
#include "io/rotation_conversion.h"
#include "tests/support/node_stubs.h"
#include "tests/support/ref_rotation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <random>

namespace
{
constexpr std::int64_t kManyKeys = 1000000000;
// Degrees: three angles rounded to floats, on the way there and back. The steps of random motion
// add up to less than 2048 degrees, recorded motion stays below 256.
constexpr double kRandomBound = 2 * 3 * 6.2e-5;
constexpr double kRecordedBound = 2 * 3 * 7.7e-6;

// The orientation that a recorded frame says.
RefRotation Orientation(const Clip& pClip, std::size_t pJoint, int pFrame)
{
    const ClipJoint& joint = pClip.mJoints[pJoint];
    double angles[3] = {};
    for (std::size_t i = 0; i < joint.mChannels.size(); ++i) {
        if (IsRotation(joint.mChannels[i])) {
            angles[ClipChannelAxis(joint.mChannels[i])] =
                pClip.GetValue(pFrame, joint.mFirstChannel + static_cast<int>(i));
        }
    }
    return RefRotation::OfAngles(angles, RotationOrderOf(joint.mChannels));
}

// Converts a clip, through a BVH file and back, and returns what was read.
Clip Converted(const Clip& pClip, int pOrder, double pBound, bool pSkipFirst = false)
{
    Clip clip = pClip;
    CurveClip curves(clip);
    std::vector<std::size_t> joints;
    for (std::size_t i = pSkipFirst ? 1 : 0; i < clip.mJoints.size(); ++i) {
        joints.push_back(i);
    }
    const auto done = ConvertRotations(clip, curves, joints, pOrder, kManyKeys, "clip");
    EXPECT_TRUE(done);
    EXPECT_LT(done->mAtKeys.mTurn, pBound);
    const Clip sampled = SampleClip(clip, curves);
    for (const std::size_t index : joints) {
        const ClipJoint& joint = clip.mJoints[index];
        EXPECT_EQ(pOrder, joint.mRotationOrder);
        const bool isKept = pClip.mJoints[index].mRotationOrder == pOrder;
        for (int i = 0; i < 3 * clip.mFrameCount && !isKept; ++i) {
            // The last three channels of each joint of these clips are its angles.
            const int frame = i / 3;
            const int channel =
                joint.mFirstChannel + static_cast<int>(joint.mChannels.size()) - 1 - i % 3;
            const double angle = clip.GetValue(frame, channel);
            EXPECT_EQ(sampled.GetValue(frame, channel), angle);
            const double last = clip.GetValue(std::max(frame - 1, 0), channel);
            EXPECT_LE(std::fabs(angle - last), 180.001);
        }
    }
    return *ParseBvh(*FormatBvh(clip, "clip"), "clip");
}

void ExpectSamePoses(const Clip& pLeft, const Clip& pRight, double pBound)
{
    ASSERT_EQ(pLeft.mFrameCount, pRight.mFrameCount);
    EXPECT_EQ(pLeft.mFrameTimeText, pRight.mFrameTimeText);
    for (int frame = 0; frame < pLeft.mFrameCount; ++frame) {
        for (std::size_t i = 0; i < pLeft.mJoints.size(); ++i) {
            ASSERT_LT(RefDistance(Orientation(pLeft, i, frame), Orientation(pRight, i, frame)),
                      pBound)
                << pLeft.mJoints[i].mAddress << " in frame " << frame;
        }
    }
}

// A joint of each order, one with two rotation channels and one with a single one.
std::string RandomMotion(unsigned pSeed)
{
    std::string text = "HIERARCHY\nROOT A\n{\nOFFSET 0 0 0\nCHANNELS 4 Yposition ";
    const char* const channels[] = {
        "Zrotation Yrotation Xrotation",   "3 Yrotation Zrotation Xrotation",
        "3 Xrotation Zrotation Yrotation", "3 Zrotation Xrotation Yrotation",
        "3 Yrotation Xrotation Zrotation", "3 Xrotation Yrotation Zrotation",
        "2 Zrotation Yrotation",           "1 Xrotation"};
    for (const char* const each : channels) {
        text += (each == channels[0] ? "" : "JOINT B\n{\nOFFSET 0 1 0\nCHANNELS ") +
                std::string(each) + '\n';
    }
    text += "}\n}\n}\n}\n}\n}\n}\n}\nMOTION\nFrames: 40\nFrame Time: 0.02\n";
    std::mt19937 random(pSeed);
    const auto number = [&] { return static_cast<double>(random()) / 4294967296.0; };
    for (int frame = 0; frame < 40; ++frame) {
        text += std::to_string(number() + 0.123456789012);
        for (int i = 0; i < 21; ++i) {
            // Every other angle is at or next to a quarter turn: gimbal lock in some order.
            const double angle = number() < 0.5 ? 1080.0 * number() - 540.0
                                                : 90.0 * std::floor(number() * 9.0 - 4.0) +
                                                      (number() < 0.5 ? 0.0 : 1e-3 * number());
            text += ' ' + std::to_string(angle);
        }
        text += '\n';
    }
    return text;
}

TEST(RotationConversion, PosesAreTheSameInEachOrderAndBack)
{
    for (unsigned seed = 1; seed <= 4; ++seed) {
        const Clip clip = *ParseBvh(RandomMotion(seed), "random");
        for (int order = 0; order < kRotationOrderCount; ++order) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", order " << order);
            const Clip there = Converted(clip, order, kRandomBound, true);
            ExpectSamePoses(clip, there, kRandomBound);
            ExpectSamePoses(
                clip, Converted(there, (order + static_cast<int>(seed)) % 6, kRandomBound, true),
                kRandomBound);
            // A joint that is not chosen keeps its channels and values, to the last bit.
            EXPECT_EQ(clip.mJoints[0], there.mJoints[0]);
            for (int frame = 0; frame < clip.mFrameCount; ++frame) {
                for (int i = 0; i < 4; ++i) {
                    EXPECT_EQ(clip.GetValue(frame, i), there.GetValue(frame, i));
                }
            }
        }
    }
}

TEST(RotationConversion, RecordedClipsHaveTheSamePosesInAnotherOrderAndBack)
{
    for (const char* const name :
         {GLISSA_SOURCE_DIR "/data/walk.bvh", GLISSA_CLIP_DIR "/cmu_12_01_walk.bvh",
          GLISSA_CLIP_DIR "/mocapbank.bvh"}) {
        if (std::filesystem::exists(name)) {
            SCOPED_TRACE(name);
            const Clip clip = *ReadBvh(name);
            const Clip there = Converted(clip, 4, kRecordedBound);
            ExpectSamePoses(clip, there, kRecordedBound);
            ExpectSamePoses(clip, Converted(there, 1, kRecordedBound), kRecordedBound);
        }
    }
}

/// A clip with one rotation of twenty frames, from 0 to 1.9 seconds.
struct OneRotation
{
    Clip clip = *ParseBvh(
        "HIERARCHY\nROOT A\n{\nOFFSET 0 0 0\nCHANNELS 3 Zrotation Xrotation "
        "Yrotation\n}\nMOTION\nFrames: 20\nFrame Time: 0.1\n" +
            [] {
                std::string frames;
                for (int i = 0; i < 60; ++i) {
                    frames += std::to_string(i * 7 % 50) + (i % 3 < 2 ? ' ' : '\n');
                }
                return frames;
            }(),
        "one");
    CurveClip curves{clip};
    GlissaNode& rotation = *curves.GetNodes().GetTransform(0, KDataTypeLclRotation);
    Glissa& curve = *rotation.Get(0)->FCurveGet();

    IoResult<RotationConversion> Convert(std::int64_t pMostKeys = kManyKeys)
    {
        return ConvertRotations(clip, curves, {0}, 0, pMostKeys, "one");
    }
};

TEST(RotationConversion, KeysBetweenFramesAndOutsideThemAreKept)
{
    OneRotation one;
    for (const double seconds : {-0.27, 0.05, 1.111, 2.35}) {
        one.curve.KeyAdd(KTime::FromSeconds(seconds));
    }
    one.curve.KeySetInterpolation(4, eInterpolationConstant);
    Glissa* const before = &one.curve;
    const auto done = one.Convert();
    ASSERT_TRUE(done);
    EXPECT_EQ(before, one.rotation.Get(0)->FCurveGet());  // the object, for pointers of hosts
    EXPECT_LT(done->mAtKeys.mTurn, 1e-5);
    // The frames in front of the first and behind the last frame of the clip as well.
    EXPECT_EQ(20 + 2 + 4 + 4, one.curve.KeyGetCount());
    EXPECT_EQ(KTime::FromSeconds(-0.27), one.curve.KeyGetTime(0));
    EXPECT_EQ(KTime::FromSeconds(2.35), one.curve.KeyGetTime(one.curve.KeyGetCount() - 1));
    EXPECT_EQ(20, one.clip.mFrameCount);
}

TEST(RotationConversion, AJumpIsCountedAndNotTakenForADifference)
{
    OneRotation smooth;
    OneRotation jumping;
    for (int i = 10; i < 20; ++i) {
        jumping.curve.KeySetValue(i, jumping.curve.KeyGetValue(i) + 360.0f);
    }
    const RotationConversion expected = *smooth.Convert();
    const RotationConversion done = *jumping.Convert();
    EXPECT_EQ(0, expected.mJumps.mCount);
    EXPECT_EQ(1, done.mJumps.mCount);
    EXPECT_EQ("A/R/X", done.mJumps.mCurve);
    EXPECT_GT(expected.mBetween.mTurn, 0.0);
    EXPECT_LE(done.mBetween.mTurn, expected.mBetween.mTurn + 1e-4);
}

TEST(RotationConversion, ARotationThatItWouldNotKeepIsRefused)
{
    const struct
    {
        void (*spoil)(OneRotation& pOne);
        const char* says;
    } cases[] = {
        {[](OneRotation& pOne) { pOne.rotation.CreateLayerAt(GlissaLayerInfo(1, nullptr)); },
         "A/R has layers"},
        {[](OneRotation& pOne) { pOne.rotation.SetUseQuaternion(true); }, "path of quaternions"},
        {[](OneRotation& pOne) {
             static StubLayer layer;
             layer.mLocked = true;
             pOne.rotation.Get(2)->SetLayerInfo(GlissaLayerInfo(0, &layer));
         },
         "A/R is locked"},
        {[](OneRotation& pOne) { pOne.curve.KeyAdd(KTime::FromSeconds(1e6)); }, "1000 keys"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.says);
        OneRotation one;
        each.spoil(one);
        const Clip before = one.clip;
        const auto done = one.Convert(1000);
        ASSERT_FALSE(done);
        EXPECT_NE(std::string::npos, done.GetError().GetText().find(each.says))
            << done.GetError().GetText();
        EXPECT_EQ(before, one.clip);
        EXPECT_EQ(3, one.rotation.GetRotationOrder());
    }
}
}  // namespace
