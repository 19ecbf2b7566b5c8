// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/bvh_reader.h"
#include "io/bvh_writer.h"

#include <gtest/gtest.h>

namespace
{
void ExpectReadBack(const IoResult<Clip>& pClip)
{
    ASSERT_TRUE(pClip) << pClip.GetError().GetText();
    const IoResult<std::string> text = FormatBvh(*pClip, "out.bvh");
    ASSERT_TRUE(text) << text.GetError().GetText();
    const IoResult<Clip> back = ParseBvh(*text, "out.bvh");
    ASSERT_TRUE(back) << back.GetError().GetText() << '\n' << text->substr(0, 2000);
    EXPECT_TRUE(*pClip == *back) << text->substr(0, 2000);
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

TEST(BvhWriter, AClipIsReadBackEqual)
{
    ExpectReadBack(ParseBvh(kOdd, "odd.bvh"));
    ExpectReadBack(ParseBvh(
        "HIERARCHY\nROOT a\n{\nOFFSET 0 0 0\n}\nMOTION\nFrames: 0\nFrame Time: 1\n", "still.bvh"));
    ExpectReadBack(ReadBvh(GLISSA_SOURCE_DIR "/data/walk.bvh"));
}

TEST(BvhWriter, RefusesWhatTheFormatCannotRepresent)
{
    const struct
    {
        void (*spoil)(Clip& pClip);
        const char* says;
    } cases[] = {
        {[](Clip& pClip) { pClip.mJoints.clear(); }, "without joints"},
        {[](Clip& pClip) { pClip.mJoints[2].mName = "a{b"; }, "'a{b'"},
        {[](Clip& pClip) { pClip.mJoints[2].mName = "a\nb"; }, "cannot be written"},
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
        EXPECT_NE(std::string::npos, text.GetError().GetText().find(each.says))
            << text.GetError().GetText();
    }
}
}  // namespace
