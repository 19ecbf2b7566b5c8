// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/picture/picture.h"

#include "apps/glissa/picture/layout.h"
#include "apps/glissa/picture/style.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace
{
constexpr Colour kInk{0.13, 0.13, 0.13};
constexpr Colour kLabelInk{0.30, 0.30, 0.30};
constexpr Colour kGrid{0.905, 0.905, 0.905};
constexpr Colour kZeroLine{0.68, 0.68, 0.68};
constexpr Colour kBorder{0.78, 0.78, 0.78};
constexpr Colour kWhite{1.0, 1.0, 1.0};

// Length of a line that looks like an area, relative to width plus height of its panel.
constexpr double kAreaLength = 40.0;
constexpr double kAreaAlpha = 0.5;

// The middle of a pixel, where a line of one pixel is sharp.
double PixelCentre(double pPosition)
{
    return std::floor(pPosition) + 0.5;
}

void DrawMark(Canvas& pCanvas, const DevicePoint& pAt, const CurveStyle& pStyle,
              const Metrics& pMetrics)
{
    const double r = pMetrics.mark;
    const double outline = 0.9 * pMetrics.scale;
    const auto [x, y] = pAt;
    switch (pStyle.shape) {
    case 1:
        pCanvas.Polygon({{x - r * 0.9, y - r * 0.9},
                         {x + r * 0.9, y - r * 0.9},
                         {x + r * 0.9, y + r * 0.9},
                         {x - r * 0.9, y + r * 0.9}},
                        pStyle.colour, kWhite, outline);
        break;
    case 2:
        pCanvas.Polygon(
            {{x, y - r * 1.2}, {x + r * 1.15, y + r * 0.85}, {x - r * 1.15, y + r * 0.85}},
            pStyle.colour, kWhite, outline);
        break;
    case 3:
        pCanvas.Polygon({{x, y - r * 1.3}, {x + r * 1.3, y}, {x, y + r * 1.3}, {x - r * 1.3, y}},
                        pStyle.colour, kWhite, outline);
        break;
    default:
        pCanvas.Circle(pAt, r, pStyle.colour, kWhite, outline);
    }
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

void DrawHandle(Canvas& pCanvas, const DevicePoint& pKey, const Handle& pHandle,
                const CurveStyle& pStyle, const Panel& pPanel, const Metrics& pMetrics)
{
    if (!pHandle.shown) {
        return;
    }
    const DevicePoint end{pPanel.scale.X(pHandle.time), pPanel.scale.Y(pHandle.value)};
    if (!std::isfinite(end.y)) {
        return;
    }
    pCanvas.Line({pKey, end}, pMetrics.scale, Lighter(pStyle.colour));
    pCanvas.Circle(end, pMetrics.mark * 0.55, kWhite, pStyle.colour, pMetrics.scale);
}

// Which keys of a curve have marks.
enum class Marks : int
{
    all,
    some,
    none
};

// Marks and tangents.
Marks DrawKeys(Canvas& pCanvas, const PictureCurve& pCurve, const CurveStyle& pStyle,
               bool pShapesDiffer, const Panel& pPanel, const Metrics& pMetrics,
               const PictureOptions& pOptions)
{
    std::vector<const PictureKey*> keys;
    std::vector<DevicePoint> points;
    for (const PictureKey& key : pCurve.keys) {
        const double y = pPanel.scale.Y(key.value);
        if (key.time >= pOptions.from && key.time <= pOptions.to && std::isfinite(y)) {
            keys.push_back(&key);
            points.push_back({pPanel.scale.X(key.time), y});
        }
    }
    // With more keys than pixels marks are useful only if their shapes differ between curves.
    const double width = pPanel.scale.right - pPanel.scale.left;
    if (static_cast<double>(keys.size()) > width && !pShapesDiffer) {
        return Marks::none;
    }
    // Marks that almost touch would hide the line, so once some are left out, the others are
    // farther apart.
    const double apart = pMetrics.mark * 2.0 + pMetrics.scale;
    std::vector<std::size_t> kept = ThinPoints(points, apart);
    const bool isThinned = kept.size() < points.size();
    // The line of a part is often the same as that of its whole, whose marks would hide it. In a
    // comparison marks show which keys are left, so a selection of them would be misleading.
    const bool isComparison = !pOptions.firstClip.empty();
    if (isThinned && (pCurve.part > 0 || (isComparison && kept.size() * 2 < points.size()))) {
        return Marks::none;
    }
    if (isThinned && !isComparison) {
        kept = ThinPoints(points, apart * 4.0);
    }
    if (pOptions.tangents) {
        for (const std::size_t index : kept) {
            DrawHandle(pCanvas, points[index], keys[index]->left, pStyle, pPanel, pMetrics);
            DrawHandle(pCanvas, points[index], keys[index]->right, pStyle, pPanel, pMetrics);
        }
    }
    for (const std::size_t index : kept) {
        DrawMark(pCanvas, points[index], pStyle, pMetrics);
    }
    return isThinned ? Marks::some : Marks::all;
}

bool HasMarks(const PictureCurve& pCurve)
{
    return !pCurve.strong && !pCurve.isDifference;
}

void DrawLegend(Canvas& pCanvas, const Panel& pPanel, const std::vector<CurveStyle>& pStyles,
                const Metrics& pMetrics)
{
    const double sample = LegendSampleWidth(pMetrics);
    for (const LegendEntry& entry : pPanel.legend) {
        if (entry.curve == LegendEntry::kNote) {
            pCanvas.Text(entry.x, entry.y, entry.text, pMetrics.font, kLabelInk, Align::start);
            continue;
        }
        const bool isClip = entry.curve < 0;
        CurveStyle clip{kLabelInk, 0, pMetrics.line, {}};
        if (entry.curve == LegendEntry::kFirstClip) {
            clip.colour = Lighter(Lighter(kLabelInk));
        }
        const CurveStyle& style = isClip ? clip : pStyles[static_cast<std::size_t>(entry.curve)];
        const double y = entry.y - pMetrics.font * 0.33;
        pCanvas.Line({{entry.x, y}, {entry.x + sample, y}}, style.width, style.colour,
                     style.dashes);
        if (!isClip && HasMarks(*pPanel.curves[static_cast<std::size_t>(entry.curve)])) {
            DrawMark(pCanvas, {entry.x + sample / 2, y}, style, pMetrics);
        }
        pCanvas.Text(entry.x + sample + pMetrics.gap, entry.y, entry.text, pMetrics.font, kInk,
                     Align::start);
    }
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

std::vector<std::size_t> ThinPoints(const std::vector<DevicePoint>& pPoints, double pDistance)
{
    std::vector<std::size_t> kept;
    for (std::size_t i = 0; i < pPoints.size(); ++i) {
        // Points are in order of x, so only the last kept ones can be too near.
        const bool isFar = [&] {
            for (auto at = kept.rbegin(); at != kept.rend(); ++at) {
                const double dx = pPoints[i].x - pPoints[*at].x;
                if (dx >= pDistance) {
                    break;
                }
                if (std::hypot(dx, pPoints[i].y - pPoints[*at].y) < pDistance) {
                    return false;
                }
            }
            return true;
        }();
        if (isFar) {
            kept.push_back(i);
        }
    }
    return kept;
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
