// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/picture/film.h"

#include "apps/glissa/picture/legend.h"
#include "apps/glissa/printable_text.h"

#include <cmath>

namespace
{
// The values of the edit's start and end, and the boxes between them. Stages on the way may have
// far greater ones: where a selection turns over, its keys are next to each other and slopes steep.
ValueRange RangeOf(const std::vector<FilmStage>& pStages, const PictureOptions& pOptions,
                   int pSteps)
{
    ValueRange range;
    for (const PictureCurve& each : pStages.back().curves) {
        AddShownValues(range, each, pOptions, pSteps);
    }
    for (const FilmStage& stage : pStages) {
        if (stage.markers.empty()) {
            range.Add(stage.selection.low);
            range.Add(stage.selection.high);
        }
    }
    return range;
}

// Draws title and legend. Returns the height that they take.
double DrawHead(Canvas& pCanvas, const FilmStage& pStage, const PictureOptions& pOptions,
                const Metrics& pMetrics)
{
    const double margin = pMetrics.gap * 1.5;
    Layout layout;
    layout.metrics = pMetrics;
    layout.left = margin;
    layout.right = pCanvas.Width() - margin;
    double y = margin + pMetrics.titleFont;
    pCanvas.Text(margin, y,
                 pCanvas.FitText(PrintableText(pOptions.title), pMetrics.titleFont,
                                 layout.right - layout.left, true),
                 pMetrics.titleFont, kInk, Align::start, true);
    y += pMetrics.titleFont * 0.3 + pMetrics.gap;
    Panel panel;
    for (const PictureCurve& each : pStage.curves) {
        panel.curves.push_back(&each);
    }
    const double row = pMetrics.font * kLegendRow;
    const int most = std::max(1, static_cast<int>(pCanvas.Height() * 0.2 / row));
    const int rows = FlowLegend(pCanvas, panel, layout, most, pOptions);
    for (LegendEntry& each : panel.legend) {
        each.y += y + pMetrics.font;
    }
    DrawLegend(pCanvas, panel, ChooseStyles(panel.curves, pMetrics), pMetrics);
    return y + rows * row;
}
}  // namespace

FilmGrid FilmGrid::For(int pStages)
{
    const int root = static_cast<int>(std::ceil(std::sqrt(pStages)));
    FilmGrid best;
    int leastEmpty = pStages;
    for (int columns = root; columns <= root + 1; ++columns) {
        const int rows = (pStages + columns - 1) / columns;
        if (const int empty = rows * columns - pStages; empty < leastEmpty) {
            leastEmpty = empty;
            best = {columns, rows};
        }
    }
    return best;
}

void DrawFilm(Canvas& pCanvas, const std::vector<FilmStage>& pStages,
              const PictureOptions& pOptions)
{
    const FilmGrid grid = FilmGrid::For(static_cast<int>(pStages.size()));
    const Metrics metrics =
        Metrics::For(pCanvas.Width() / grid.columns * 2, pCanvas.Height() / grid.rows * 2);
    const double top = DrawHead(pCanvas, pStages.front(), pOptions, metrics);
    const int width = pCanvas.Width() / grid.columns;
    const int height = (pCanvas.Height() - static_cast<int>(top)) / grid.rows;
    PictureOptions options = pOptions;
    options.legend = false;
    options.values = RangeOf(pStages, pOptions, width * 2);
    for (std::size_t i = 0; i < pStages.size(); ++i) {
        const int place = static_cast<int>(i);
        options.title = pStages[i].title;
        options.markers = pStages[i].markers;
        if (options.markers.empty()) {
            options.selection = pStages[i].selection;
        }
        pCanvas.PushPart(place % grid.columns * width,
                         static_cast<int>(top) + place / grid.columns * height, width, height);
        DrawPicture(pCanvas, pStages[i].curves, options);
        pCanvas.PopPart();
    }
}
