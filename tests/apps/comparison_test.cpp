// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/comparison.h"

#include "apps/glissa/curve_picture.h"
#include "apps/glissa/picture/layout.h"
#include "tests/apps/command_run.h"

namespace
{
TEST_F(Command, TwoClipsArePairedByNameAndSubtracted)
{
    ClipCurves first = LoadClip(kClip);
    ClipCurves second = LoadClip(kClip);
    const CurveChoice hips{{"Hips/*"}, false, std::nullopt, std::nullopt};
    const TimeSpan span{KTime::FromSeconds(1.0), KTime::FromSeconds(4.0)};
    // One value differs, and each clip has a curve whose name the other does not have.
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

    // Differences have a panel below that of their unit.
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
    const Arguments plot = {"plot", kClip, "--against", other, "-o", At("a.svg")};
    const struct
    {
        int status;
        Arguments patterns;
        std::string message;
    } cases[] = {
        {0, {"-c", "Hips/R/?", "-c", "Extra/*"}, "only in " + kClip + " and left out: Hips/R/"},
        {0, {"-c", "Hips/R/X", "-c", "Extra/*"}, "only in " + other + " and left out: Extra/R/X"},
        {1, {"-c", "Extra/*"}, "none of the chosen curves is in both"},
    };
    for (const auto& each : cases) {
        const Result run = Run(plot + each.patterns);
        EXPECT_EQ(each.status, run.status);
        EXPECT_NE(std::string::npos, run.err.find(each.message)) << run.err;
    }
    const std::string edited = At("b.glissa");
    OutputOf({"key", kClip, "-c", "Hips/R/X", "--remove", "1", "-o", edited});
    OutputOf({"plot", kClip, "--against", edited, "-n", "Hips/R"});
    ExpectFailures({
        {1, plot + Arguments{"-c", "Hips/R/X", "-c", "Nobody/*"},
         "neither clip has a curve that matches 'Nobody/*'"},
        {1,
         {"plot", kClip, "--against", edited, "-c", "Hips/*", "-o", edited, "--format", "svg"},
         "clip that is read"},
        {2, {"plot", kClip, "--against", kClip, "-n", "Hips/R", "--layers"}, "--layers"},
    });
}
}  // namespace
