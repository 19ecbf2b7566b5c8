// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/bvh_reader.h"

#include <gtest/gtest.h>

namespace
{
// Two channels, two frames, nine lines before the first frame.
const std::string kHead = "HIERARCHY\nROOT a\n{\nOFFSET 0 0 0\nCHANNELS 2 Xposition Yposition\n}\n";
const std::string kMotion = "MOTION\nFrames: 2\nFrame Time: 0.01\n";
const std::string kFrames = "1 2\n3 4\n";

struct Refusal
{
    std::string text;
    std::int64_t line;
    const char* reason;  // a part of it
};

void ExpectRefused(const Refusal& pCase)
{
    SCOPED_TRACE(pCase.text.substr(0, 300));
    const IoResult<Clip> clip = ParseBvh(pCase.text, "bad.bvh");
    ASSERT_FALSE(clip);
    EXPECT_EQ("bad.bvh", clip.GetError().mFile);
    EXPECT_EQ(pCase.line, clip.GetError().mLine);
    EXPECT_NE(std::string::npos, clip.GetError().mReason.find(pCase.reason))
        << clip.GetError().GetText();
}

std::string WithJoint(const std::string& pBody)
{
    return "HIERARCHY\nROOT a\n{\n" + pBody + "\n}\n" + kMotion + kFrames;
}

TEST(BvhErrors, TheTextOfTheCasesIsValid)
{
    EXPECT_TRUE(ParseBvh(kHead + kMotion + kFrames, "good.bvh"));
    EXPECT_TRUE(ParseBvh(WithJoint("OFFSET 0 0 0\nCHANNELS 2 Xposition Yposition"), "good.bvh"));
}

TEST(BvhErrors, RefusesABrokenHierarchy)
{
    const Refusal cases[] = {
        {"", 0, "file is empty"},
        {std::string("\0\x89PNG\x1A", 6), 1, "found '\\x00\\x89PNG\\x1A'"},
        {"HIERARCHY\r\nROOT a\r\n{\r\nOFFSET 0 0\r\n}\r\n", 5, "number expected, found '}'"},
        {"HIERARCHY\nJOINT a\n{\nOFFSET 0 0 0\n}\n", 2, "ROOT expected, found 'JOINT'"},
        {"HIERARCHY\nROOT a\n{\nOFFSET 0 0 0\n", 5, "'}' of joint 'a' is missing"},
        {kHead + "}\n" + kMotion + kFrames, 7, "'}' without a joint"},
        {WithJoint("CHANNELS 2 Xposition Yposition"), 5, "joint 'a' has no OFFSET"},
        {WithJoint("OFFSET 0 nan 0"), 4, "not finite: 'nan'"},
        {WithJoint("OFFSET 0 0 0\nSCALE 1 1 1"), 5, "found 'SCALE'"},
        {WithJoint("OFFSET 0 0 0\nCHANNELS -1"), 5, "0 to 6, found '-1'"},
        {WithJoint("OFFSET 0 0 0\nCHANNELS 3 Xposition Yposition"), 6, "channel 3 of 3 expected"},
        {WithJoint("OFFSET 0 0 0\nCHANNELS 1 Xposition Yposition"), 5, "more channels than"},
        {WithJoint("OFFSET 0 0 0\nCHANNELS 2 Xposition Xscale"), 5, "found 'Xscale'"},
        {WithJoint("OFFSET 0 0 0\nCHANNELS 2 Xposition XPosition"), 5, "named twice"},
        {WithJoint("OFFSET 0 0 0\nJOINT b\n{\nOFFSET 0 0 0\n}\nCHANNELS 0"), 9,
         "must precede its child joints"},
        {WithJoint("OFFSET 0 0 0\nEnd Site\n{\n}"), 7, "OFFSET of an End Site"},
    };
    for (const Refusal& each : cases) {
        ExpectRefused(each);
    }
}

TEST(BvhErrors, RefusesABrokenMotion)
{
    const std::string time = "Frame Time: ";
    const auto timed = [&](const char* pTime) {
        return kHead + "MOTION\nFrames: 2\nFrame Time: " + pTime + "\n" + kFrames;
    };
    const auto counted = [&](const char* pCount) {
        return kHead + "MOTION\nFrames: " + pCount + "\nFrame Time: 0.01\n" + kFrames;
    };
    const auto framed = [&](const std::string& pFrames) { return kHead + kMotion + pFrames; };
    const Refusal cases[] = {
        {kHead, 7, "MOTION or ROOT expected, found the end of the file"},
        {kHead + "MOTION\n" + time + "0.01\n" + kFrames, 8, "\"Frames:\" expected, found 'Frame'"},
        {counted("-2"), 8, "frame count expected, found '-2'"},
        {counted("2147483647"), 8, "the rest of the file is too short for '2147483647' frames"},
        {counted("20"), 8, "too short for '20' frames"},
        {counted("3"), 12, "the frame count is 3, the file has 2 frames"},
        {counted("1"), 11, "more frames than the frame count, 1"},
        {"HIERARCHY\nROOT a{OFFSET 0 0 0}\nMOTION\nFrames: 2\nFrame Time: 1\n\n\n", 4,
         "no joint has channels"},
        {timed("0"), 9, "greater than 0 seconds, found '0'"},
        {timed("1e-12"), 9, "shorter than a tick"},
        {timed("3e10"), 9, "too long"},
        {timed("0.01 s"), 9, "end of the line after the frame time"},
        {framed("1 2\n3\n"), 11, "too few numbers in frame 1: 1 for 2 channels"},
        {framed("1 2 3\n4 5\n"), 10, "too many numbers in frame 0: 3 for 2 channels"},
        {framed("1 2\n3 4\nEOF\n"), 12, "end of the file after the last frame"},
        {framed("1 2\n+-3 4\n"), 11, "found '+-3'"},
        {framed("1 2\n1e39 4\n"), 11, "beyond the range of a float: '1e39'"},
        {framed("1 2\n1" + std::string(400, '0') + " 4\n"), 11, "beyond the range of a float"},
    };
    for (const Refusal& each : cases) {
        ExpectRefused(each);
    }
}

TEST(BvhErrors, NestingHasALimit)
{
    const auto nested = [](int pDepth) {
        std::string text = "HIERARCHY\nROOT\n{\nOFFSET 0 0 0\n";
        for (int i = 1; i < pDepth; ++i) {
            text += "JOINT\n{\nOFFSET 0 0 0\n";
        }
        return text + std::string(static_cast<std::size_t>(pDepth), '}') +
               "\nMOTION\nFrames: 0\nFrame Time: 1\n";
    };
    EXPECT_TRUE(ParseBvh(nested(kBvhDeepestNesting), "deep.bvh"));
    ExpectRefused({nested(kBvhDeepestNesting + 1), 2 + 3 * kBvhDeepestNesting, "nested deeper"});
}

// The last number has one digit, so that no prefix of the text is valid.
TEST(BvhErrors, ATextCutShortIsRefused)
{
    const std::string text = kHead + kMotion + "1 2\n3 4";
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_FALSE(ParseBvh(std::string_view(text).substr(0, length), "cut.bvh")) << length;
    }
}

TEST(BvhErrors, ErrorsOfFilesStartWithTheirPath)
{
    const std::string folder = testing::TempDir();
    const std::string missing = folder + "no such clip.bvh";
    EXPECT_EQ(folder + ": is a directory", ReadBvh(folder).GetError().GetText());
    EXPECT_EQ(missing + ": cannot be opened: No such file or directory",
              ReadBvh(missing).GetError().GetText());
}
}  // namespace
