// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/comparison.h"

#include "apps/glissa/curve_picture.h"
#include "apps/glissa/picture/layout.h"
#include "tests/apps/command_run.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
const std::string kClip = std::string(GLISSA_SOURCE_DIR) + "/data/walk.bvh";

TEST_F(Command, TwoClipsArePairedByNameAndSubtracted)
{
    ClipCurves first = LoadClip(kClip);
    ClipCurves second = LoadClip(kClip);
    const CurveChoice hips{{"Hips/*"}, false, std::nullopt, std::nullopt};
    const TimeSpan span{KTime::FromSeconds(1.0), KTime::FromSeconds(4.0)};
    // One value is changed; each clip has one name that the other has not.
    Glissa& changed = *second.curves[4].curve;
    changed.KeySetValue(360, changed.KeyGetValue(360) - 2.5f);
    const std::string name = second.curves[4].name;
    first.curves[0].name = "Hips/left/out";
    const auto draw = [&](ClipCurves& pClip) {
        std::vector<PictureCurve> drawn;
        for (NamedCurve* const each : ChooseCurves(pClip, hips)) {
            drawn.push_back(MakePictureCurve(*each, span, false));
        }
        return drawn;
    };
    const Comparison compared = CompareCurves(draw(first), draw(second), span, 0.0);
    EXPECT_EQ(std::vector<std::string>{"Hips/left/out"}, compared.onlyFirst);
    EXPECT_EQ(std::vector<std::string>{second.curves[0].name}, compared.onlySecond);
    ASSERT_EQ(15u, compared.curves.size());
    int differences = 0;
    for (const PictureCurve& each : compared.curves) {
        if (!each.isDifference) {
            continue;
        }
        ++differences;
        EXPECT_EQ(each.name == name ? name + " \u22122.5 at 3.000 s" : each.name + " none",
                  each.label);
    }
    EXPECT_EQ(5, differences);

    // Differences have a lower panel below that of their unit.
    PictureOptions options;
    options.from = span.from;
    options.to = span.to;
    options.firstClip = "a";
    options.secondClip = "b";
    Canvas canvas(PictureFormat::svg, 1000, 700, "", [](std::string_view) {});
    const Layout layout = MakeLayout(canvas, compared.curves, options);
    ASSERT_EQ(4u, layout.panels.size());
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(i % 2 == 1, layout.panels[i].isDifference);
        EXPECT_EQ(layout.panels[i - i % 2].unit, layout.panels[i].unit);
    }
}

TEST_F(Command, PlotDrawsAClipAgainstAnother)
{
    const std::string other = At("other.bvh");
    WriteFile(
        other,
        "HIERARCHY\nROOT Hips\n{\n OFFSET 0 0 0\n CHANNELS 1 Xrotation\n JOINT Extra\n {\n"
        "  OFFSET 0 1 0\n  CHANNELS 1 Xrotation\n  End Site\n  {\n   OFFSET 0 1 0\n  }\n }\n}\n"
        "MOTION\nFrames: 2\nFrame Time: 0.5\n0 0\n1 1\n");
    const struct
    {
        int status;
        std::vector<std::string> patterns;
        std::string says;
    } cases[] = {
        {0,
         {"-c", "Hips/R/?", "-c", "Extra/*"},
         "glissa: Hips/R/Z: only in " + kClip + ", left out"},
        {0, {"-c", "Hips/R/X", "-c", "Extra/*"}, "glissa: Extra/R/X: only in " + other},
        {1, {"-c", "Extra/*"}, "none of the chosen curves is in both"},
        {1, {"-c", "Hips/R/X", "-c", "Nobody/*"}, "neither has a curve that matches 'Nobody/*'"},
    };
    for (const auto& each : cases) {
        std::vector<std::string> arguments = {"plot", kClip, "--against", other};
        arguments.insert(arguments.end(), each.patterns.begin(), each.patterns.end());
        const Result run = Run(arguments);
        EXPECT_EQ(each.status, run.status) << run.err;
        EXPECT_NE(std::string::npos, run.err.find(each.says)) << run.err;
    }

    const Result same = Run({"plot", kClip, "--against", kClip, "-c", "Hips/*"});
    EXPECT_EQ(0, same.status) << same.err;
    EXPECT_EQ("", same.err);
    EXPECT_EQ("</svg>\n", same.out.substr(same.out.size() - 7));

    ASSERT_EQ(0,
              Run({"key", kClip, "-c", "Hips/R/X", "--remove", "1", "-o", At("b.glissa")}).status);
    const std::string before = ReadFile(At("b.glissa"));
    EXPECT_EQ(1, Run({"plot", kClip, "--against", At("b.glissa"), "-a", "-o", At("b.glissa"),
                      "--format", "svg"})
                     .status);
    EXPECT_EQ(before, ReadFile(At("b.glissa")));
    EXPECT_EQ(2, Run({"plot", kClip, "--against", kClip, "-n", "Hips/R", "--layers"}).status);
    EXPECT_EQ(0, Run({"plot", kClip, "--against", At("b.glissa"), "-n", "Hips/R"}).status);
}
}  // namespace
