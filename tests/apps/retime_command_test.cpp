// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Retimes clips through the built command.

#include "apps/glissa/clip_curves.h"
#include "tests/apps/command_run.h"

#include <cstdlib>
#include <nlohmann/json.hpp>

namespace
{
// The keys are a tenth of a second apart, so that all places are whole ticks.
std::string Ramp()
{
    std::string text = "HIERARCHY\nROOT A\n{\n OFFSET 0 0 0\n CHANNELS 1 Yposition\n}\n"
                       "MOTION\nFrames: 51\nFrame Time: 0.1\n";
    for (int i = 0; i <= 50; ++i) {
        text += std::to_string(i) + '\n';
    }
    return text;
}

TEST_F(Command, RetimesARampToTheTick)
{
    WriteFile(At("ramp.bvh"), Ramp());
    // 1 s and what is before it stay, 1..2 s becomes 1.4 s long, 2..4 s is locked.
    const auto json = nlohmann::json::parse(
        OutputOf({"retime", At("ramp.bvh"), "--marker", "1", "--marker", "20f=24f", "--marker", "4",
                  "--lock", "2..4", "--json", "-o", At("out.glissa")}));
    ClipCurves clip = LoadClip(At("out.glissa"));
    Glissa& curve = *clip.curves[0].curve;
    ASSERT_EQ(51, curve.KeyGetCount());
    const std::int64_t tenth = KTime::kTicksPerSecond / 10;
    for (int i = 0; i <= 50; ++i) {
        const std::int64_t ticks = i <= 10   ? i * tenth
                                   : i <= 20 ? 10 * tenth + (i - 10) * tenth * 14 / 10
                                             : (i + 4) * tenth;
        EXPECT_EQ(KTime(ticks), curve.KeyGetTime(i)) << i;
        EXPECT_EQ(static_cast<float>(i), curve.KeyGetValue(i));
    }
    EXPECT_EQ(40, json["keys_moved"]);
    EXPECT_EQ(55, clip.clip.mFrameCount);
}

TEST_F(Command, ARetimeBackGivesEveryKeyWithinATick)
{
    ASSERT_EQ(0, Run({"convert", kClip, At("clip.glissa")}).status);
    // The locked span moves by more than its length.
    const Arguments out = {"--marker", "1",        "--marker", "2=2.37", "--marker",
                           "2.2",      "--marker", "5=4.1",    "--lock", "2..2.2"};
    const Arguments back = {"--marker", "1",        "--marker", "2.37=2",
                            "--marker", "2.57=2.2", "--marker", "4.1=5"};
    OutputOf(Arguments{"retime", At("clip.glissa"), "-o", At("out.glissa")} + out);
    OutputOf(Arguments{"retime", At("out.glissa"), "-o", At("back.glissa")} + back);
    ClipCurves before = LoadClip(At("clip.glissa"));
    ClipCurves after = LoadClip(At("back.glissa"));
    for (std::size_t i = 0; i < before.curves.size(); ++i) {
        Glissa& old = *before.curves[i].curve;
        Glissa& now = *after.curves[i].curve;
        ASSERT_EQ(old.KeyGetCount(), now.KeyGetCount());
        for (int k = 0; k < old.KeyGetCount(); ++k) {
            ASSERT_LE(std::llabs((now.KeyGetTime(k) - old.KeyGetTime(k)).Get()), 1);
            ASSERT_EQ(old.KeyGetValue(k), now.KeyGetValue(k));
        }
    }
}

TEST_F(Command, RetimesThatAreRefusedWriteNothing)
{
    WriteFile(At("ramp.bvh"), Ramp());
    ASSERT_EQ(
        0, Run({"layer", At("ramp.bvh"), "--add", "L", "--node", "A/T", "-o", At("layered.glissa")})
               .status);
    ASSERT_EQ(
        0, Run({"layer", At("layered.glissa"), "--lock", "L", "-o", At("locked.glissa")}).status);
    const Arguments start = {"retime", At("ramp.bvh"), "-o", At("out.glissa"), "--marker"};
    ExpectFailures({
        {2, start + Arguments{"2=3", "--marker", "1"}, "ascending order"},
        {2, start + Arguments{"1=2", "--marker", "10f"}, "ascending order"},
        {2, start + Arguments{"1=2", "--marker", "2"}, "cannot reach or pass its neighbour"},
        {2, start + Arguments{"1", "--marker", "2=0.5"}, "cannot reach or pass its neighbour"},
        {2, start + Arguments{"1=2", "--lock", "1..3"}, "--lock 1..3: there is no marker at 3 s"},
        {2, start + Arguments{"1=2", "--lock", "1"}, "is not a span between two markers"},
        {2, start + Arguments{"1=2", "--lock", "1..1"}, "the span is empty or reversed"},
        {2, start + Arguments{"1=2", "--marker", "3=3", "--lock", "1..3"}, "by different times"},
        {2, start + Arguments{"1", "--marker", "2=2"}, "no marker is moved"},
        {2, start + Arguments{"1=x"}, "--marker: 'x'"},
        {2,
         {"retime", At("ramp.bvh"), "--dry-run", "--marker=-6.5e10=6.5e10"},
         "the move would leave the range of times"},
        {1, start + Arguments{"1=6e10"}, "too many frames"},
        {1,
         {"retime", At("ramp.bvh"), "--marker", "0", "--marker", "5=5.2", "-o", At("out.bvh")},
         "between two frames"},
        {1,
         {"retime", At("locked.glissa"), "--marker", "1=2", "-o", At("out.glissa")},
         "A/T/Y @L is locked"},
    });
}
}  // namespace
