// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/picture/picture.h"

#include "apps/glissa/picture/key_marks.h"
#include "apps/glissa/picture/legend.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace
{
constexpr Colour kGrid{0.905, 0.905, 0.905};
constexpr Colour kZeroLine{0.68, 0.68, 0.68};
constexpr Colour kBorder{0.78, 0.78, 0.78};
constexpr Colour kWhite{1.0, 1.0, 1.0};
constexpr Colour kBoxInk{0.35, 0.35, 0.35};
constexpr Colour kBoxFill{0.35, 0.45, 0.60, 0.12};

// Length of a line that looks like an area, relative to width plus height of its panel.
constexpr double kAreaLength = 40.0;
constexpr double kAreaAlpha = 0.5;

// The middle of a pixel, where a line of one pixel is sharp.
double PixelCentre(double pPosition)
{
    return std::floor(pPosition) + 0.5;
}

void DrawGrid(Canvas& pCanvas, const Layout& pLayout, const Panel& pPanel,
              const PictureOptions& pOptions)
{
    const Metrics& metrics = pLayout.metrics;
    const double hairline = std::max(1.0, 0.8 * metrics.scale);
    for (const double tick : pLayout.timeTicks.at) {
        const double x = PixelCentre(TimeTickX(pLayout, pOptions, tick));
        pCanvas.Line({{x, pPanel.top}, {x, pPanel.bottom}}, hairline, kGrid);
    }
    for (const double tick : pPanel.ticks.at) {
        const double y = pPanel.scale.Y(tick);
        pCanvas.Line({{pLayout.left, PixelCentre(y)}, {pLayout.right, PixelCentre(y)}}, hairline,
                     tick == 0.0 ? kZeroLine : kGrid);
        pCanvas.Text(pLayout.left - metrics.gap, y + metrics.font * 0.36,
                     TickLabel(pPanel.ticks, tick), metrics.font, kLabelInk, Align::end);
    }
    const double left = PixelCentre(pLayout.left);
    const double right = PixelCentre(pLayout.right);
    const double top = PixelCentre(pPanel.top);
    const double bottom = PixelCentre(pPanel.bottom);
    pCanvas.Line({{left, top}, {right, top}, {right, bottom}, {left, bottom}, {left, top}},
                 hairline, kBorder);
    if (pLayout.axisTitles) {
        pCanvas.Text(
            pLayout.valueTitleBaseline, (pPanel.top + pPanel.bottom) / 2,
            pCanvas.FitText(UnitName(pPanel.unit), metrics.font, pPanel.bottom - pPanel.top),
            metrics.font, kInk, Align::centre, false, true);
    }
}

// The box of selected keys, with squares to drag it by. A side too short for three of them has one
// at each end.
void DrawMarker(Canvas& pCanvas, KTime pTime, const Panel& pPanel, const Metrics& pMetrics)
{
    const double x = pPanel.scale.X(pTime);
    pCanvas.Line({{x, pPanel.top}, {x, pPanel.bottom}}, pMetrics.scale * 1.5, kBoxInk);
}

void DrawSelection(Canvas& pCanvas, const SelectionBox& pBox, const Panel& pPanel,
                   const Metrics& pMetrics)
{
    const double margin = pMetrics.mark * 2.0;
    const double left = pPanel.scale.X(pBox.from) - margin;
    const double right = pPanel.scale.X(pBox.to) + margin;
    const double top = pPanel.scale.Y(pBox.high) - margin;
    const double bottom = pPanel.scale.Y(pBox.low) + margin;
    pCanvas.Polygon({{left, top}, {right, top}, {right, bottom}, {left, bottom}}, kBoxFill, kBoxInk,
                    pMetrics.scale);
    const double half = pMetrics.mark * 0.8;
    const auto places = [half](double pFirst, double pLast) {
        std::vector<double> at = {pFirst, pLast};
        if (pLast - pFirst > half * 12.0) {
            at.push_back((pFirst + pLast) / 2);
        }
        return at;
    };
    const std::vector<double> columns = places(left, right);
    const std::vector<double> rows = places(top, bottom);
    for (std::size_t row = 0; row < rows.size(); ++row) {
        for (std::size_t column = 0; column < columns.size(); ++column) {
            if (row == 2 && column == 2) {
                continue;  // the middle of the box
            }
            const auto [x, y] = std::pair(columns[column], rows[row]);
            pCanvas.Polygon({{x - half, y - half},
                             {x + half, y - half},
                             {x + half, y + half},
                             {x - half, y + half}},
                            kWhite, kBoxInk, pMetrics.scale);
        }
    }
}

double Length(const std::vector<DevicePoint>& pStrip)
{
    double length = 0.0;
    for (std::size_t i = 1; i < pStrip.size(); ++i) {
        length += std::hypot(pStrip[i].x - pStrip[i - 1].x, pStrip[i].y - pStrip[i - 1].y);
    }
    return length;
}

void DrawTrace(Canvas& pCanvas, const PictureCurve& pCurve, const DeviceScale& pScale, KTime pFrom,
               KTime pTo, double pLineWidth, const Colour& pColour,
               const std::vector<double>& pDashes)
{
    if (pFrom >= pTo) {
        return;
    }
    const double width = pScale.X(pTo) - pScale.X(pFrom);
    for (const auto& strip : TraceCurve(pCurve.value, pCurve.breaks, pFrom, pTo, pScale)) {
        // A line that fills an area is translucent, and solid, as it would have thousands of
        // dashes.
        const bool isArea = Length(strip) > kAreaLength * (width + pScale.bottom - pScale.top);
        Colour colour = pColour;
        colour.alpha = isArea ? kAreaAlpha : 1.0;
        pCanvas.Line(strip, pLineWidth, colour, isArea ? std::vector<double>() : pDashes);
    }
}

// Draws the extrapolated parts first, below the keyed part. Returns whether there were any.
bool DrawCurve(Canvas& pCanvas, const PictureCurve& pCurve, const CurveStyle& pStyle,
               const Panel& pPanel, const Metrics& pMetrics, const PictureOptions& pOptions)
{
    const KTime from = pOptions.from;
    const KTime to = pOptions.to;
    const std::vector<double> dashes = {pMetrics.line * 3.2, pMetrics.line * 2.4};
    const double thin = pMetrics.line * 0.85;
    const KTime first = pCurve.hasKeys ? std::clamp(pCurve.first, from, to) : to;
    const KTime last = pCurve.hasKeys ? std::clamp(pCurve.last, from, to) : to;
    DrawTrace(pCanvas, pCurve, pPanel.scale, from, first, thin, Lighter(pStyle.colour), dashes);
    DrawTrace(pCanvas, pCurve, pPanel.scale, last, to, thin, Lighter(pStyle.colour), dashes);
    DrawTrace(pCanvas, pCurve, pPanel.scale, first, last, pStyle.width, pStyle.colour,
              pStyle.dashes);
    return first > from || last < to;
}

// Labels and title of the time axis, and notes at its right.
void DrawTimeAxis(Canvas& pCanvas, const Layout& pLayout, const PictureOptions& pOptions,
                  std::vector<std::string> pNotes)
{
    const Metrics& metrics = pLayout.metrics;
    const double baseline = pLayout.panels.back().bottom + metrics.gap * 0.5 + metrics.font;
    for (const double tick : pLayout.timeTicks.at) {
        pCanvas.Text(TimeTickX(pLayout, pOptions, tick), baseline,
                     TickLabel(pLayout.timeTicks, tick), metrics.font, kLabelInk, Align::centre);
    }
    if (!pLayout.axisTitles) {
        return;
    }
    const std::string title = pOptions.framesASecond > 0.0 ? "frames" : "seconds";
    const double noteFont = metrics.font * 0.9;
    const double titleWidth = pCanvas.TextWidth(title, metrics.font);
    const double room = pLayout.right - pLayout.left - titleWidth - metrics.gap * 2.0;
    std::string notes;
    // Without room for all notes the last ones are left out.
    for (; !pNotes.empty(); pNotes.pop_back()) {
        notes = fmt::format("{}", fmt::join(pNotes, ", "));
        if (pCanvas.TextWidth(notes, noteFont) <= room) {
            break;
        }
        notes.clear();
    }
    // A long note moves the title from the middle to the left end.
    const double middle = (pLayout.left + pLayout.right) / 2;
    const double noteLeft = pLayout.right - pCanvas.TextWidth(notes, noteFont);
    const bool isCentred = middle + titleWidth / 2 + metrics.gap * 2.0 <= noteLeft;
    pCanvas.Text(isCentred ? middle : pLayout.left, pLayout.timeTitleBaseline, title, metrics.font,
                 kInk, isCentred ? Align::centre : Align::start);
    pCanvas.Text(pLayout.right, pLayout.timeTitleBaseline, notes, noteFont, kLabelInk, Align::end);
}
}  // namespace

const char* UnitName(Unit pUnit)
{
    switch (pUnit) {
    case Unit::degrees:
        return "degrees";
    case Unit::sceneUnits:
        return "scene units";
    case Unit::factor:
        break;
    }
    return "factor";
}

void DrawPicture(Canvas& pCanvas, const std::vector<PictureCurve>& pCurves,
                 const PictureOptions& pOptions)
{
    const Layout layout = MakeLayout(pCanvas, pCurves, pOptions);
    const Metrics& metrics = layout.metrics;
    bool extrapolated = false;
    bool anyMarks = false;
    bool allMarks = true;
    if (!layout.title.empty()) {
        pCanvas.Text(layout.left, layout.titleBaseline, layout.title, metrics.titleFont, kInk,
                     Align::start, true);
    }
    for (const Panel& panel : layout.panels) {
        const std::vector<CurveStyle> styles = ChooseStyles(panel.curves, metrics);
        bool shapesDiffer = false;
        for (std::size_t i = 0; i < styles.size(); ++i) {
            shapesDiffer |= panel.curves[i]->part == 0 && styles[i].shape > 0;
        }
        DrawGrid(pCanvas, layout, panel, pOptions);
        pCanvas.PushClip(layout.left, panel.top, layout.right - layout.left,
                         panel.bottom - panel.top);
        for (const KTime each : pOptions.markers) {
            DrawMarker(pCanvas, each, panel, metrics);
        }
        if (pOptions.selection) {
            DrawSelection(pCanvas, *pOptions.selection, panel, metrics);
        }
        for (const bool strong : {false, true}) {
            for (std::size_t i = 0; i < panel.curves.size(); ++i) {
                if (panel.curves[i]->strong == strong) {
                    extrapolated |=
                        DrawCurve(pCanvas, *panel.curves[i], styles[i], panel, metrics, pOptions);
                }
            }
        }
        for (std::size_t i = 0; i < panel.curves.size(); ++i) {
            if (panel.curves[i]->keys.empty()) {
                continue;
            }
            const Marks drawn = DrawKeys(pCanvas, *panel.curves[i], styles[i], shapesDiffer, panel,
                                         metrics, pOptions);
            anyMarks |= drawn != Marks::none;
            allMarks &= drawn == Marks::all;
        }
        pCanvas.PopClip();
        DrawLegend(pCanvas, panel, styles, metrics);
    }
    std::vector<std::string> notes;
    if (extrapolated) {
        notes.emplace_back("dashed: extrapolated");
    }
    if (!allMarks) {
        notes.emplace_back(anyMarks ? "not every key is marked" : "keys too close to be marked");
    }
    DrawTimeAxis(pCanvas, layout, pOptions, notes);
}
