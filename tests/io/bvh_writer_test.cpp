// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/bvh_reader.h"
#include "io/bvh_writer.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
void ExpectEqualJoints(const Clip& pWant, const Clip& pGot)
{
    ASSERT_EQ(pWant.mJoints.size(), pGot.mJoints.size());
    for (std::size_t i = 0; i < pWant.mJoints.size(); ++i) {
        const ClipJoint& want = pWant.mJoints[i];
        const ClipJoint& got = pGot.mJoints[i];
        SCOPED_TRACE(want.mAddress);
        EXPECT_EQ(want.mName, got.mName);
        EXPECT_EQ(want.mAddress, got.mAddress);
        EXPECT_EQ(want.mParent, got.mParent);
        EXPECT_EQ(want.mOffset, got.mOffset);
        EXPECT_EQ(want.mChannels, got.mChannels);
        EXPECT_EQ(want.mFirstChannel, got.mFirstChannel);
        EXPECT_EQ(want.mRotationOrder, got.mRotationOrder);
        ASSERT_EQ(want.mEndSites.size(), got.mEndSites.size());
        for (std::size_t site = 0; site < want.mEndSites.size(); ++site) {
            EXPECT_EQ(want.mEndSites[site].mLabel, got.mEndSites[site].mLabel);
            EXPECT_EQ(want.mEndSites[site].mOffset, got.mEndSites[site].mOffset);
            EXPECT_EQ(want.mEndSites[site].mChildrenBefore, got.mEndSites[site].mChildrenBefore);
        }
    }
}

void ExpectComesBack(const IoResult<Clip>& pClip)
{
    ASSERT_TRUE(pClip) << pClip.GetError().GetText();
    const IoResult<std::string> text = FormatBvh(*pClip, "out.bvh");
    ASSERT_TRUE(text) << text.GetError().GetText();
    const IoResult<Clip> back = ParseBvh(*text, "out.bvh");
    ASSERT_TRUE(back) << back.GetError().GetText() << '\n' << text->substr(0, 2000);
    ExpectEqualJoints(*pClip, *back);
    EXPECT_EQ(pClip->mFrameTimeText, back->mFrameTimeText);
    EXPECT_EQ(pClip->mFramePeriod, back->mFramePeriod);
    EXPECT_EQ(pClip->mFrameCount, back->mFrameCount);
    EXPECT_EQ(pClip->mChannelCount, back->mChannelCount);
    EXPECT_EQ(pClip->mValues, back->mValues);
    EXPECT_EQ(*text, *FormatBvh(*back, "out.bvh"));
}

// Two roots, joints without name or channels, end sites between children, names taken twice.
constexpr const char* kOdd =
    "HIERARCHY\nROOT Left Leg\n{\n OFFSET 1 -2.5 3e-30\n"
    "CHANNELS 6 Zrotation Xposition Xrotation Yposition Yrotation Zposition\n"
    "End First\n{\nOFFSET 0 0.1 0\n}\nJOINT\n{\nOFFSET 0 0 0\nJOINT Deep\n{\nOFFSET 0 0 0\n}\n}\n"
    "End\n{\nOFFSET 1 2 3\n}\nEnd Site\n{\nOFFSET 4 5 6\n}\n"
    "JOINT Deep\n{\nOFFSET 0 0 0\nCHANNELS 1 Yrotation\n}\nEnd Site\n{\nOFFSET 0 0 0\n}\n}\n"
    "ROOT\n{\nOFFSET 0 0 0\nCHANNELS 1 Zposition\n}\nMOTION\nFrames: 2\nFrame Time: .0333330\n"
    "0.1 -0 1e-300 3.4e38 0.30000000000000004 -179.99 12345678.9 7\n1 2 3 4 5 6 7 8\n";

TEST(BvhWriter, WhatWasReadComesBack)
{
    ExpectComesBack(ParseBvh(kOdd, "odd.bvh"));
    ExpectComesBack(ParseBvh(
        "HIERARCHY\nROOT a\n{\nOFFSET 0 0 0\n}\nMOTION\nFrames: 0\nFrame Time: 1\n", "still.bvh"));
    for (const auto& entry : std::filesystem::directory_iterator(GLISSA_SOURCE_DIR "/data")) {
        if (entry.path().extension() == ".bvh") {
            SCOPED_TRACE(entry.path());
            ExpectComesBack(ReadBvh(entry.path().string()));
        }
    }
}

TEST(BvhWriter, RefusesWhatTheFormatCannotHold)
{
    const struct
    {
        void (*spoil)(Clip& pClip);
        const char* says;
    } cases[] = {
        {[](Clip& pClip) { pClip.mJoints.clear(); }, "without joints"},
        {[](Clip& pClip) { pClip.mJoints[2].mName = "a{b"; }, "'a{b'"},
        {[](Clip& pClip) { pClip.mJoints[2].mName = "a\nb"; }, "no BVH form"},
        {[](Clip& pClip) { pClip.mJoints[0].mEndSites[0].mLabel = " a"; }, "' a'"},
        {[](Clip& pClip) { pClip.mJoints[0].mOffset[1] = 1e39; }, "offset of joint Left Leg"},
        {[](Clip& pClip) { pClip.mJoints[3].mParent = 3; }, "joint 3"},
        {[](Clip& pClip) { pClip.mValues[9] = 1e39; }, "channel 1 in frame 1"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.says);
        Clip clip = *ParseBvh(kOdd, "odd.bvh");
        each.spoil(clip);
        const IoResult<std::string> text = FormatBvh(clip, "out.bvh");
        ASSERT_FALSE(text);
        EXPECT_EQ(0u, text.GetError().GetText().find("out.bvh: "));
        EXPECT_NE(std::string::npos, text.GetError().GetText().find(each.says))
            << text.GetError().GetText();
    }
}
}  // namespace
