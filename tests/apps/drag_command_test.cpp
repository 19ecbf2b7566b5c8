// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Drags keys through the built command, and through its parts.

#include "apps/glissa/clip_output.h"
#include "apps/glissa/drag_film.h"
#include "apps/glissa/drag_run.h"
#include "tests/apps/command_run.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace
{
// Nine frames: Y is ten times the frame, X is five times.
std::string Ramps()
{
    std::string text = "HIERARCHY\nROOT A\n{\n OFFSET 0 0 0\n CHANNELS 2 Yposition Xrotation\n}\n"
                       "MOTION\nFrames: 9\nFrame Time: 0.0416667\n";
    for (int i = 0; i < 9; ++i) {
        text += fmt::format("{} {}\n", 10 * i, 5 * i);
    }
    return text;
}

// "frame:value" of each key.
std::string KeysText(Glissa& pCurve)
{
    std::string text;
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        text += fmt::format("{}{:g}:{:g}", i > 0 ? " " : "",
                            pCurve.KeyGetTime(i).GetSecondDouble() * 24.0, pCurve.KeyGetValue(i));
    }
    return text;
}

TEST_F(Command, DragsKeysToPlacesWorkedOutByHand)
{
    WriteFile(At("ramps.bvh"), Ramps());
    const struct
    {
        Arguments drag;
        std::string keys;    // of Y
        std::string counts;  // selected, moved, followed, replaced
    } rows[] = {
        {{"--select", "4f", "--move", "0,8", "--falloff", "4"},
         "0:0 1:12 2:24 3:36 4:48 5:56 6:64 7:72 8:80",
         "1 1 6 0"},
        {{"--select", "4f..5f", "--move", "2f"}, "0:0 1:10 2:20 3:30 6:40 7:50 8:80", "2 2 0 2"},
        // Two manipulations: the falloff is around the new place.
        {{"--select", "4f", "--move", "2f,8", "--falloff", "2"},
         "0:0 1:10 2:20 3:30 5:54 6:48 7:74 8:80",
         "1 1 2 1"},
        {{"--select", "4f", "--move", "2f", "--keep-originals"},
         "0:0 1:10 2:20 3:30 4:40 5:50 6:40 7:70 8:80",
         "1 1 0 1"},
        {{"--select", "4f", "--move", "2.4f", "--snap", "frames"},
         "0:0 1:10 2:20 3:30 5:50 6:40 7:70 8:80",
         "1 1 0 1"},
        {{"--select", "4f", "--move", "0,9.5", "--snap-values", "1"},
         "0:0 1:10 2:20 3:30 4:50 5:50 6:60 7:70 8:80",
         "1 1 0 0"},
        {{"--select", "4f", "--move=-2f", "--ripple", "left"},
         "-2:0 -1:10 0:20 1:30 2:40 5:50 6:60 7:70 8:80",
         "1 1 4 0"},
        // The key that is not selected stays where both land.
        {{"--select", "2f..4f", "--stretch-time", "by=2f"},
         "0:0 1:10 2:20 4:30 5:50 6:60 7:70 8:80",
         "3 1 0 1"},
        {{"--select", "2f..4f", "--stretch-time", "by=2f", "--ripple", "right"},
         "0:0 1:10 2:20 4:30 6:40 7:50 8:60 9:70 10:80",
         "3 2 4 0"},
        {{"--select", "4f..6f", "--stretch-time", "pivot=5f,edge=6f,by=1f", "--ripple", "both"},
         "-1:0 0:10 1:20 2:30 3:40 5:50 7:60 8:70 9:80",
         "3 2 6 0"},
        {{"--select", "2f..4f", "--scale-time", "-1,pivot=middle"},
         "0:0 1:10 2:40 3:30 4:20 5:50 6:60 7:70 8:80",
         "3 2 0 0"},
        {{"--select", "2f..4f", "--scale-value", "1/2,pivot=low"},
         "0:0 1:10 2:20 3:25 4:30 5:50 6:60 7:70 8:80",
         "3 2 0 0"},
        {{"--select", "2f..4f", "--stretch-value", "edge=low,by=-10", "--scale-time", "1/2"},
         "0:0 1:10 2:10 2.5:25 3:40 5:50 6:60 7:70 8:80",
         "3 3 0 0"},
        {{"--select", "7f..", "--add", "1f", "--toggle", "7f", "--remove", "8f", "--set-value",
          "7"},
         "0:0 1:7 2:20 3:30 4:40 5:50 6:60 7:70 8:80",
         "1 1 0 0"},
        // Of two keys on a frame the later one remains.
        {{"--select", "2f..4f", "--scale-time", "0.3", "--snap", "frames"},
         "0:0 1:10 2:30 3:40 5:50 6:60 7:70 8:80",
         "3 2 0 1"},
        {{"--select", "..6f,35..45", "--move", "0,1"},
         "0:0 1:10 2:20 3:30 4:41 5:50 6:60 7:70 8:80",
         "1 1 0 0"},
        {{"--select", "4f", "--move", "0.6f", "--snap", "frames", "--ripple", "both"},
         "0:0 1:10 2:20 3:30 5:40 6:50 7:60 8:70 9:80",
         "1 1 4 0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(fmt::format("{}", fmt::join(row.drag, " ")));
        const std::string report = OutputOf(Arguments{"drag", At("ramps.bvh"), "--curve", "A/T/Y",
                                                      "--json", "-o", At("out.glissa")} +
                                            row.drag);
        ClipCurves clip = LoadClip(At("out.glissa"));
        EXPECT_EQ(row.keys, KeysText(*clip.curves[0].curve));
        EXPECT_GE(clip.clip.GetTime(clip.clip.mFrameCount - 1), clip.curves[0].Last());
        const auto json = nlohmann::json::parse(report);
        EXPECT_EQ(row.counts,
                  fmt::format("{} {} {} {}", json["keys_selected"].get<int>(),
                              json["keys_moved"].get<int>(), json["keys_followed"].get<int>(),
                              json["keys_replaced"].get<int>()));
    }
    // Y is selected, and of X the one key at or above it follows.
    const std::string report =
        OutputOf({"drag", At("ramps.bvh"), "--all", "--select", "4f,35..45", "--move", "0,8",
                  "--ripple-values", "all", "-o", At("out.glissa")});
    EXPECT_NE(std::string::npos, report.find("1 of 1 selected keys moved, 1 others followed"));
    EXPECT_EQ("0:0 1:5 2:10 3:15 4:20 5:25 6:30 7:35 8:48",
              KeysText(*LoadClip(At("out.glissa")).curves[1].curve));
}

std::vector<EditedCurve> CurvesOf(ClipCurves& pClip, const std::string& pPattern)
{
    std::vector<EditedCurve> curves;
    for (const NamedCurve* const each : ChooseCurves(pClip, {{pPattern}, false, {}, {}})) {
        curves.push_back({each->name, each->unit, each->curve->GetOwner(), each->curve, nullptr});
    }
    return curves;
}

TEST_F(Command, ADragOutAndBackGivesTheSameFile)
{
    ClipCurves clip = LoadClip(kClip);
    clip.DropRecordedValues();
    SaveClip(clip, ClipFormat::glissa, At("before.glissa"));
    std::vector<DragRequest> requests(5);
    requests[0].move = ParseMove("0.3,5");
    requests[1].move = ParseMove("-4.5f,5");
    requests[1].falloff = 10.0;
    requests[2].time = ParseTimeStretch("by=-2");
    requests[3].time = ParseTimeScale("1.7");
    requests[3].ripple = TimeRipple::both;
    requests[4] = requests[3];
    requests[4].value = ParseValueScale("-1,pivot=high");
    for (DragRequest& request : requests) {
        SCOPED_TRACE(&request - requests.data());
        request.selection = {ParseBox("1..2")};
        Drag drag(request, CurvesOf(clip, "Hips/*"), clip.framesASecond);
        for (const double fraction : {1.0, 0.4, 0.0}) {
            drag.To(fraction);
        }
        drag.Finish();
        SaveClip(clip, ClipFormat::glissa, At("after.glissa"));
        EXPECT_TRUE(ReadFile(At("before.glissa")) == ReadFile(At("after.glissa")));
    }
}

TEST(DragFilm, MovesTheBoxOfItsStagesEvenly)
{
    ClipCurves clip = LoadClip(kClip);
    DragRequest request;
    request.selection = {ParseBox("1..2")};
    request.move = ParseMove("0.5,8");
    Drag drag(request, CurvesOf(clip, "Hips/R/?"), clip.framesASecond);
    const SelectionBox before = drag.GetBox();
    const DragFilm film = FilmOf(drag, 5, std::nullopt, clip.framesASecond);
    ASSERT_EQ(5u, film.stages.size());
    for (int i = 0; i < 5; ++i) {
        const FilmStage& stage = film.stages[static_cast<std::size_t>(i)];
        EXPECT_EQ(before.from + KTime::FromSeconds(0.1) * (i + 1), stage.selection.from);
        EXPECT_NEAR(before.high + 1.6 * (i + 1), stage.selection.high, 1e-6);
        ASSERT_EQ(6u, stage.curves.size());  // as they were, and dragged
        EXPECT_EQ(stage.selection.from,
                  std::find_if(stage.curves[3].keys.begin(), stage.curves[3].keys.end(),
                               [](const PictureKey& pKey) { return !pKey.hollow; })
                      ->time);
    }
}

TEST_F(Command, DragsThatAreRefusedWriteNothing)
{
    WriteFile(At("ramps.bvh"), Ramps());
    ASSERT_EQ(0, Run({"layer", At("ramps.bvh"), "--add", "L", "--node", "A/R", "-o",
                      At("layered.glissa")})
                     .status);
    ASSERT_EQ(
        0, Run({"layer", At("layered.glissa"), "--lock", "L", "-o", At("locked.glissa")}).status);
    const Arguments start = {"drag", At("ramps.bvh"), "-o", At("out.glissa")};
    const Arguments y = start + Arguments{"--curve", "A/T/Y"};
    const Arguments all = y + Arguments{"--select", ".."};
    ExpectFailures({
        {2, start + Arguments{"--select", "1", "--move", "1"}, "no curve is chosen"},
        {2, y + Arguments{"--move", "1"}, "no key is selected: give --select"},
        {1, y + Arguments{"--select", "5..6", "--move", "1"}, "no key is selected; the keys"},
        {1, y + Arguments{"--select", "1", "--remove", "..", "--move", "1"}, "no key is selected"},
        {2, y + Arguments{"--select", "2..1", "--move", "1"}, "--select: the box is reversed"},
        {2, y + Arguments{"--select", "24f..0.5", "--move", "1"}, "the box is reversed"},
        {2, y + Arguments{"--select", "1,2,3", "--move", "1"}, "'1,2,3' is not a box"},
        {2, all, "no edit is given"},
        {2, all + Arguments{"--move", "1", "--scale-time", "2"}, "one kind of edit"},
        {2, all + Arguments{"--stretch-time", "by=1", "--scale-time", "2"}, "not both"},
        {2, all + Arguments{"--stretch-time", "pivot=1"}, "by= is missing"},
        {2, all + Arguments{"--stretch-time", "by=1,by=2"}, "by is given twice"},
        {2, all + Arguments{"--stretch-time", "pivot=low,by=1"}, "or start, middle, end of the"},
        {2, all + Arguments{"--scale-value", "0"}, "is not a factor"},
        {2, all + Arguments{"--move", "0,1e39"}, "in the range of a float"},
        {2, all + Arguments{"--move", "1e30"}, "out of range"},
        {1, all + Arguments{"--move", "6e10"}, "too many frames"},
        {1, all + Arguments{"--scale-time", "-1e12"}, "would leave the range of times"},
        {1, all + Arguments{"--scale-value", "1e40"}, "A/T/Y: a value would leave the range"},
        {1, all + Arguments{"--stretch-value", "by=-80"}, "use --set-value"},
        {1, y + Arguments{"--select", "4f", "--scale-time", "2"}, "less than a frame apart"},
        {1, y + Arguments{"--select", "4f", "--stretch-value", "by=2"}, "are both 40"},
        {2, all + Arguments{"--move", "1", "--falloff", "5"}, "--falloff needs a change of values"},
        {2, all + Arguments{"--move", "1", "--ripple", "left"}, "the side to which the selection"},
        {2, all + Arguments{"--scale-time", "2", "--ripple", "left"}, "is right of the pivot"},
        {2, all + Arguments{"--scale-value", "2", "--keep-originals"}, "needs a move in time"},
        {1, all + Arguments{"--move", "1", "--snap", "frames", "--fps", "72"}, "no time mode of"},
        {2, all + Arguments{"--set-value", "1", "--film", "3"}, "--film needs a move"},
        {2, all + Arguments{"--move", "1", "--film", "3"}, "the suffix of a picture"},
        {2, all + Arguments{"--move", "1", "--write", "svg"}, "a clip is glissa or bvh"},
        {1,
         {"drag", At("locked.glissa"), "--node", "A/R", "--layer", "L", "--select", "..", "--move",
          "1", "-o", At("out.glissa")},
         "A/R/X @L is locked"},
        {1,
         {"drag", At("layered.glissa"), "--curve", "A/T/Y", "--layer", "L", "--select", "..",
          "--move", "1", "-o", At("out.glissa")},
         "is on the layer 'L'"},
        {1,
         {"drag", At("ramps.bvh"), "--all", "--select", "..", "--move", "1", "--film", "3", "-o",
          At("film.svg")},
         "curves of one unit"},
    });
}
}  // namespace
