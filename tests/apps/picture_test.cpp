// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/curve_picture.h"
#include "apps/glissa/picture/film.h"
#include "apps/glissa/picture/legend.h"
#include "tests/support/museum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace
{
TEST(Picture, CurveBreaksIncludeRepeatedKeys)
{
    // Keys at 0, 1 and 4 seconds.
    const CurveHandle curve(GlissaCreate());
    const KTime second(KTime::kTicksPerSecond);
    for (const int at : {0, 1, 4}) {
        curve->KeyAppendFast(second * at, static_cast<float>(at));
    }
    curve->SetPreExtrapolation(eExtrapolationRepetition);
    curve->SetPreExtrapolationCount(2);
    curve->SetPostExtrapolation(eExtrapolationMirror);
    curve->SetPostExtrapolationCount(2);
    std::vector<double> seconds;
    for (const KTime each : CurveBreaks(*curve, {second * -20, second * 20})) {
        seconds.push_back(each.GetSecondDouble());
    }
    EXPECT_EQ((std::vector<double>{-8, -7, -4, -3, 0, 1, 4, 7, 8, 9, 12}), seconds);

    // A hundred million repetitions: evenly spaced times of a limited number.
    curve->SetPostExtrapolationCount(0xFFFFFFFFul);
    const std::size_t many = CurveBreaks(*curve, {KTime(), second * 400000000}).size();
    EXPECT_TRUE(many > 8192u && many < 1000000u);
}

// Texts and panels are inside the page and do not overlap.
TEST(Layout, FitsAnySize)
{
    std::vector<PictureCurve> curves(30);
    for (std::size_t i = 0; i < curves.size(); ++i) {
        curves[i].name = i == 0 ? std::string(3000, 'n') : "Joint" + std::string(i, 'x') + "/R/X";
        curves[i].unit = i % 4 == 0 ? Unit::sceneUnits : Unit::degrees;
        curves[i].value = [i](KTime pTime) {
            return std::sin(pTime.GetSecondDouble() * static_cast<double>(i)) *
                   std::pow(10.0, static_cast<double>(i) - 5.0);
        };
    }
    for (const auto& [width, height] :
         {std::pair(160, 120), std::pair(200, 900), std::pair(2000, 130), std::pair(3000, 3000)}) {
        for (const std::size_t count : {1u, 2u, 7u, 30u, 29u}) {
            SCOPED_TRACE(testing::Message() << width << "x" << height << ", " << count);
            PictureOptions options;
            options.title = "A title\xff that is " + std::string(300, 'w');
            options.from = KTime::FromSeconds(-3.0);
            options.to = KTime::FromSeconds(100000.0);
            if (count == 29u) {
                // Labels of ten digits.
                options.from = KTime::FromSeconds(123456.0001);
                options.to = KTime::FromSeconds(123456.0009);
            }
            Canvas canvas(PictureFormat::png, width, height, "", [](std::string_view) {});
            const Layout layout = MakeLayout(
                canvas, {curves.begin(), curves.begin() + static_cast<std::ptrdiff_t>(count)},
                options);
            const double font = layout.metrics.font;
            EXPECT_GE(layout.right - layout.left, width * 0.3);
            EXPECT_LE(layout.left + canvas.TextWidth(layout.title, layout.metrics.titleFont, true),
                      width);
            double above = layout.titleBaseline;
            for (const Panel& panel : layout.panels) {
                double row = 0.0;
                double end = 0.0;
                for (const LegendEntry& entry : panel.legend) {
                    EXPECT_GE(entry.y - font * 0.8, above);
                    EXPECT_LE(entry.y + font * 0.25, panel.top);
                    EXPECT_TRUE(entry.y > row || entry.x >= end);
                    row = entry.y;
                    end = entry.x + canvas.TextWidth(entry.text, font) +
                          (entry.curve >= 0 ? LegendSampleWidth(layout.metrics) + layout.metrics.gap
                                            : 0.0);
                    EXPECT_LE(end, width);
                }
                EXPECT_GE(panel.bottom - panel.top, height * 0.09);
                for (std::size_t i = 0; i < panel.ticks.at.size(); ++i) {
                    const std::string label = TickLabel(panel.ticks, panel.ticks.at[i]);
                    EXPECT_LE(canvas.TextWidth(label, font) + layout.metrics.gap, layout.left);
                    if (i > 0) {
                        EXPECT_GE(panel.scale.Y(panel.ticks.at[i - 1]) -
                                      panel.scale.Y(panel.ticks.at[i]),
                                  font);
                    }
                }
                above = panel.bottom;
            }
            EXPECT_LE(above + font * 1.2, height);
            double end = 0.0;
            for (const double tick : layout.timeTicks.at) {
                const double half = canvas.TextWidth(TickLabel(layout.timeTicks, tick), font) / 2;
                const double x = TimeTickX(layout, options, tick);
                EXPECT_GT(x - half, end);
                end = x + half;
            }
            EXPECT_LE(end, width);
        }
    }
}

TEST(Picture, HandlesHaveTheWeightAndTheSlopeOfTheirTangent)
{
    for (const char* const name : {"handles at their limits", "overshoot"}) {
        const CurveHandle handle = ToGlissa(MuseumCurve(name));
        Glissa& curve = *handle;
        NamedCurve named{"Hips/R/Z", Unit::degrees, &curve};
        const PictureCurve picture = MakePictureCurve(named, {named.First(), named.Last()}, true);
        const int count = curve.KeyGetCount();
        ASSERT_EQ(static_cast<std::size_t>(count), picture.keys.size());
        EXPECT_FALSE(picture.keys.front().left.shown || picture.keys.back().right.shown);
        for (int i = 0; i + 1 < count; ++i) {
            if (curve.KeyGetInterpolation(i) != eInterpolationCubic) {
                continue;
            }
            const PictureKey& key = picture.keys[static_cast<std::size_t>(i)];
            const PictureKey& next = picture.keys[static_cast<std::size_t>(i) + 1];
            const double gap = (next.time - key.time).GetSecondDouble();
            const double length = (key.right.time - key.time).GetSecondDouble();
            const double nextLength = (next.time - next.left.time).GetSecondDouble();
            EXPECT_NEAR(gap * static_cast<double>(curve.KeyGetRightTangeantWeight(i)), length,
                        1e-7);
            EXPECT_NEAR(static_cast<double>(curve.KeyGetRightDerivative(i)) * length,
                        key.right.value - key.value, 1e-4);
            EXPECT_GT(nextLength, 0.0);
            EXPECT_NEAR(static_cast<double>(curve.KeyGetLeftDerivative(i + 1)) * nextLength,
                        next.value - next.left.value, 1e-4);
        }
    }
}

// The curve of each stage has a red of its own.
TEST(Film, HasOnePictureForEachStage)
{
    for (const int count : {1, 2, 5, 8, 24}) {
        SCOPED_TRACE(count);
        const FilmGrid grid = FilmGrid::For(count);
        EXPECT_GE(grid.columns * grid.rows, count);
        EXPECT_GT(count, (grid.columns - 1) * grid.rows);
        EXPECT_GT(count, grid.columns * (grid.rows - 1));
        std::vector<FilmStage> stages(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            PictureCurve& curve = stages[static_cast<std::size_t>(i)].curves.emplace_back();
            curve.value = [](KTime) { return 1.0; };
            curve.hasKeys = true;
            curve.last = KTime::FromSeconds(1.0);
            curve.colour = Colour{(i + 1) / 25.0, 0.0, 0.0};
        }
        PictureOptions options;
        options.to = KTime::FromSeconds(1.0);
        std::string svg;
        Canvas canvas(PictureFormat::svg, 900, 600, "",
                      [&svg](std::string_view pBytes) { svg += pBytes; });
        DrawFilm(canvas, stages, options);
        canvas.Finish();
        const std::regex red("rgb\\([0-9.]+%, ?0%, ?0%\\)");
        std::set<std::string> found;
        for (std::sregex_iterator at(svg.begin(), svg.end(), red), end; at != end; ++at) {
            found.insert(at->str());
        }
        EXPECT_EQ(stages.size(), found.size());
    }
}
}  // namespace
