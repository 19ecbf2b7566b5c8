// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/bvh_reader.h"
#include "io/frame_period.h"
#include "tests/support/ref_rotation.h"

#include <gtest/gtest.h>

namespace
{
Clip Parse(const std::string& pText)
{
    IoResult<Clip> clip = ParseBvh(pText, "test.bvh");
    EXPECT_TRUE(clip) << clip.GetError().GetText();
    return clip ? std::move(*clip) : Clip();
}

TEST(BvhReader, KeepsHierarchyOffsetsAndChannels)
{
    const Clip clip =
        Parse("HIERARCHY\n"
              "ROOT Hips\n{\n"
              "  OFFSET 1 -2.5 3e1\n"
              "  CHANNELS 6 Zrotation Xrotation Yrotation Xposition Yposition Zposition\n"
              "  JOINT Leg\n  {\n"
              "    CHANNELS 4 Yposition Xrotation Yrotation Zrotation\n"
              "    OFFSET 0 1 0\n"
              "    End Site\n    {\n      OFFSET 0 -1 0\n    }\n"
              "    JOINT Toe\n    {\n      OFFSET 0 0 1\n      CHANNELS 0\n    }\n"
              "    End Heel\n    {\n      OFFSET 0 0 -1\n    }\n"
              "  }\n"
              "}\n"
              "ROOT Prop\n{\n  OFFSET 0 0 0\n  CHANNELS 1 Zposition\n}\n"
              "MOTION\nFrames: 2\nFrame Time: 0.04\n"
              "1 2 3 4 5 6 7 8 9 10 11\n"
              "21 22 23 24 25 26 27 28 29 30 31\n");
    const std::vector<EClipChannel> ofHips = {eClipRotationZ, eClipRotationX, eClipRotationY,
                                              eClipPositionX, eClipPositionY, eClipPositionZ};
    const std::vector<EClipChannel> ofLeg = {eClipPositionY, eClipRotationX, eClipRotationY,
                                             eClipRotationZ};
    const std::vector<ClipEndSite> ends = {{"Site", {0.0, -1.0, 0.0}, 0},
                                           {"Heel", {0.0, 0.0, -1.0}, 1}};
    const std::vector<ClipJoint> joints = {
        {"Hips", "Hips", -1, {1.0, -2.5, 30.0}, ofHips, 0, 3, {}},
        {"Leg", "Leg", 0, {0.0, 1.0, 0.0}, ofLeg, 6, 5, ends},
        {"Toe", "Toe", 1, {0.0, 0.0, 1.0}, {}, 10, 0, {}},
        {"Prop", "Prop", -1, {}, {eClipPositionZ}, 10, 0, {}},
    };
    EXPECT_TRUE(joints == clip.mJoints);
    ASSERT_EQ(22u, clip.mValues.size());
    EXPECT_EQ(27.0, clip.GetValue(1, 6));
    EXPECT_EQ(31.0, clip.GetValue(1, 10));
    EXPECT_EQ(5644800, clip.GetTime(1).Get());
    EXPECT_EQ("Leg/T/Y", clip.GetCurveName(clip.mJoints[1], 0));
}

TEST(BvhReader, ReadsTheVariantsOfTheFormat)
{
    // The same clip in each: one joint and two frames, 1 2 and -3 0.5.
    const char* const texts[] = {
        "HIERARCHY\nROOT a b:c\n{\nOFFSET 0 0 0\nCHANNELS 2 Xposition Zrotation\n}\n"
        "MOTION\nFrames: 2\nFrame Time: 0.0333333\n1 2\n-3 0.5\n",
        // no newline at the end, carriage returns, tabs, blank lines, trailing blanks
        "HIERARCHY\r\nROOT\ta b:c \t\r\n{\r\n\tOFFSET\t0\t0\t0 \r\n"
        "\tCHANNELS 2 Xposition Zrotation \r\n}\r\nMOTION\r\nFrames:\t2\r\nFrame Time:\t.033333\r\n"
        "\r\n 1\t2 \r\n\r\n-3 0.5",
        // lone carriage returns, any case, a byte order mark, blanks before the colons
        "\xEF\xBB\xBF"
        "hierarchy\rRoot a b:c\r{\roffset 0 0 0\rChannels 2 XPOSITION zrotation\r}\r"
        "Motion\rFRAMES : 2\rframe  time : 0.0333\r1 2\r-3 0.5\r",
        // one line for the hierarchy, signs and exponents
        "HIERARCHY ROOT a b:c {OFFSET 0 0 0 CHANNELS 2 Xposition Zrotation}"
        "MOTION Frames:2\nFrame Time:+3.33333e-02\n+1. .2E+1\n-30e-1 5.e-1\n",
        // frames that span lines
        "HIERARCHY\nROOT a b:c{\nOFFSET 0 0 0\nCHANNELS 2\nXposition\nZrotation\n}\n"
        "MOTION\nFrames: 2\nFrame Time: 0.033333335\n1\n2\n\n-3\n0.5",
    };
    for (const char* const text : texts) {
        SCOPED_TRACE(text);
        const Clip clip = Parse(text);
        ASSERT_EQ(1u, clip.mJoints.size());
        EXPECT_EQ("a b:c", clip.mJoints[0].mName);
        EXPECT_EQ((std::vector<EClipChannel>{eClipPositionX, eClipRotationZ}),
                  clip.mJoints[0].mChannels);
        EXPECT_EQ(4704000, clip.mFramePeriod.Get());
        EXPECT_EQ((std::vector<double>{1.0, 2.0, -3.0, 0.5}), clip.mValues);
    }
}

TEST(BvhReader, MakesAddressesUnique)
{
    std::string text = "HIERARCHY\n";
    const char* const names[] = {"A", "A", "A#2", "", "A", "Joint5", "", "Joint5", "A#2"};
    for (const char* const name : names) {
        text += std::string("ROOT ") + name + "\n{ OFFSET 0 0 0 }\n";
    }
    // No blank is needed after the keyword.
    const Clip clip = Parse(text + "ROOT{OFFSET 0 0 0}MOTION\nFrames: 0\nFrame Time: 0.01\n");
    const char* const addresses[] = {"A",      "A#3",    "A#2",      "Joint3", "A#4",
                                     "Joint5", "Joint6", "Joint5#2", "A#2#2",  "Joint9"};
    ASSERT_EQ(std::size(addresses), clip.mJoints.size());
    for (std::size_t i = 0; i < std::size(addresses); ++i) {
        EXPECT_EQ(addresses[i], clip.mJoints[i].mAddress) << i;
        EXPECT_EQ(i < std::size(names) ? names[i] : "", clip.mJoints[i].mName) << i;
    }
}

TEST(BvhReader, ANumberTooSmallForADoubleIsZero)
{
    const Clip clip = Parse("HIERARCHY\nROOT a{OFFSET 0 0 0 CHANNELS 1 Xposition}\nMOTION\n"
                            "Frames: 3\nFrame Time: 1\n1e-400\n-0.000001e-99999999999999999999\n"
                            "0." +
                            std::string(500, '0') + "1\n");
    EXPECT_EQ((std::vector<double>{0.0, 0.0, 0.0}), clip.mValues);
}

TEST(BvhReader, RotationOrderIsTheReverseOfTheChannels)
{
    const struct
    {
        const char* channels;
        int order;
    } cases[] = {
        {"3 Zrotation Yrotation Xrotation", 0},
        {"3 Zrotation Xrotation Yrotation", 3},
        {"3 Xrotation Yrotation Zrotation", 5},
        {"5 Zrotation Xposition Xrotation Yposition Yrotation", 3},
        {"2 Zrotation Xrotation", 1},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.channels);
        const Clip clip = Parse(std::string("HIERARCHY\nROOT a{OFFSET 0 0 0 CHANNELS ") +
                                each.channels + "}\nMOTION\nFrames: 0\nFrame Time: 1\n");
        ASSERT_EQ(1u, clip.mJoints.size());
        const ClipJoint& joint = clip.mJoints[0];
        EXPECT_EQ(each.order, joint.mRotationOrder);
        // On column vectors the rightmost channel is applied first.
        double angles[3] = {};
        RefRotation product;
        for (const EClipChannel channel : joint.mChannels) {
            if (IsRotation(channel)) {
                const auto axis = static_cast<std::size_t>(ClipChannelAxis(channel));
                angles[axis] = 30.0 + 40.0 * static_cast<double>(axis);
                RefRotation::Axis unit{};
                unit[axis] = 1;
                product = product * RefRotation::OfTurn(unit, angles[axis]);
            }
        }
        EXPECT_LT(RefDistance(product, RefRotation::OfAngles(angles, joint.mRotationOrder)), 1e-9);
    }
}

TEST(FramePeriod, ARoundedFrameTimeIsThePeriodOfAKnownRate)
{
    const std::int64_t second = KTime::kTicksPerSecond;
    const struct
    {
        const char* text;
        std::int64_t ticks;
    } cases[] = {
        {".0083333", second / 120},
        {"0.0333333351", second / 30},    // 1/30 as a float
        {"0.00833330024", second / 120},  // 0.0083333 as a float
        {"0.041666", second / 24},        // cut off instead of rounded
        {"0.008", second / 125},
        {"0.0417083", second / 24 * 1001 / 1000},
        {"0.00834", second / 120 * 1001 / 1000},
        {"0.00836", 1179763},  // near 1/120, but no rounding of it
        {"0.0351", 4953312},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.ticks, FramePeriodFromText(std::stod(each.text), each.text).Get())
            << each.text;
    }
}
}  // namespace
