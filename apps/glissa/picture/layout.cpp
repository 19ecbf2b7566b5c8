// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Space is assigned from the edges inward: title and time axis, value labels, legends, and the rest
// to the panels. The width of the labels is that of panels without legends, which have the finest
// ticks.

#include "apps/glissa/picture/layout.h"

#include "apps/glissa/picture/legend.h"
#include "apps/glissa/printable_text.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace
{
// A relative range below this is due to the rounding of floats.
constexpr double kFlatRange = 1e-6;
// Height of a panel of differences, relative to a panel of curves.
constexpr double kDifferenceShare = 0.6;

double ShareOf(const Panel& pPanel)
{
    return pPanel.isDifference ? kDifferenceShare : 1.0;
}

// pReach  the greatest magnitude of the values that differences were computed from.
ValueRange RangeOfPanel(const Panel& pPanel, const PictureOptions& pOptions, int pSteps,
                        double pReach)
{
    ValueRange range = pOptions.values;
    if (pPanel.isDifference) {
        range.Add(0.0);
    }
    if (pOptions.values.empty) {
        for (const PictureCurve* curve : pPanel.curves) {
            AddShownValues(range, *curve, pOptions, pSteps);
        }
    }
    const double reach = std::max({std::fabs(range.low), std::fabs(range.high), pReach});
    if (range.high - range.low <= reach * kFlatRange) {
        const double centre = (range.low + range.high) / 2;
        const double half = std::max(1.0, reach * 0.05);
        range.low = centre - half;
        range.high = centre + half;
    }
    return range;
}

// Sets the rectangle of a panel and its scale, with a margin for marks.
void PlacePanel(Panel& pPanel, const Metrics& pMetrics, double pTop, double pBottom)
{
    const double inset = std::max(pMetrics.mark * 2.0, (pBottom - pTop) * 0.04);
    pPanel.top = pTop;
    pPanel.bottom = pBottom;
    pPanel.scale.top = pTop + inset;
    pPanel.scale.bottom = pBottom - inset;
    const double perPixel =
        (pPanel.scale.high - pPanel.scale.low) / (pPanel.scale.bottom - pPanel.scale.top);
    const int most = std::max(2, static_cast<int>((pBottom - pTop) / (pMetrics.font * 2.0)));
    pPanel.ticks = ChooseTicks(pPanel.scale.low - inset * perPixel,
                               pPanel.scale.high + inset * perPixel, most);
}

double WidestLabel(Canvas& pCanvas, const Ticks& pTicks, double pFont)
{
    double width = 0.0;
    for (const double tick : pTicks.at) {
        width = std::max(width, pCanvas.TextWidth(TickLabel(pTicks, tick), pFont));
    }
    return width;
}

// The finest ticks of the time axis whose labels do not touch.
Ticks ChooseTimeTicks(Canvas& pCanvas, double pLow, double pHigh, double pWidth, bool pWhole,
                      const Metrics& pMetrics)
{
    Ticks ticks;
    for (int most = std::max(2, static_cast<int>(pWidth / (pMetrics.font * 4.5))); most > 0;
         --most) {
        ticks = ChooseTicks(pLow, pHigh, most, pWhole ? 1.0 : 0.0);
        const double apart = ticks.step / (pHigh - pLow) * pWidth;
        if (WidestLabel(pCanvas, ticks, pMetrics.font) + 2.0 * pMetrics.gap <= apart) {
            break;
        }
    }
    return ticks;
}
}  // namespace

Metrics Metrics::For(int pWidth, int pHeight)
{
    Metrics metrics;
    metrics.scale = std::clamp(std::min(pWidth / 1000.0, pHeight / 500.0), 0.8, 16.0);
    metrics.font *= metrics.scale;
    metrics.titleFont *= metrics.scale;
    metrics.gap *= metrics.scale;
    metrics.line *= metrics.scale;
    metrics.mark *= metrics.scale;
    return metrics;
}

double TimeTickX(const Layout& pLayout, const PictureOptions& pOptions, double pTick)
{
    const DeviceScale& scale = pLayout.panels.front().scale;
    const double low = pOptions.from.GetSecondDouble() * pLayout.unitsASecond;
    const double high = pOptions.to.GetSecondDouble() * pLayout.unitsASecond;
    return scale.left + (scale.right - scale.left) * ((pTick - low) / (high - low));
}

void AddShownValues(ValueRange& pRange, const PictureCurve& pCurve, const PictureOptions& pOptions,
                    int pSteps)
{
    AddCurveRange(pRange, pCurve.value, pCurve.breaks, pOptions.from, pOptions.to, pSteps);
    for (const PictureKey& key : pCurve.keys) {
        if (!pOptions.tangents || key.time < pOptions.from || key.time > pOptions.to) {
            continue;
        }
        for (const Handle* handle : {&key.left, &key.right}) {
            if (handle->shown) {
                pRange.Add(handle->value);
            }
        }
    }
}

Layout MakeLayout(Canvas& pCanvas, const std::vector<PictureCurve>& pCurves,
                  const PictureOptions& pOptions)
{
    Layout layout;
    layout.metrics = Metrics::For(pCanvas.Width(), pCanvas.Height());
    const Metrics& metrics = layout.metrics;
    const double width = pCanvas.Width();
    const double height = pCanvas.Height();
    const double margin = metrics.gap * 1.5;

    for (const PictureCurve& curve : pCurves) {
        const auto panel =
            std::find_if(layout.panels.begin(), layout.panels.end(), [&](const Panel& each) {
                return each.unit == curve.unit && each.isDifference == curve.isDifference;
            });
        if (panel != layout.panels.end()) {
            panel->curves.push_back(&curve);
        } else {
            layout.panels.push_back(
                {curve.unit, curve.isDifference, {&curve}, {}, 0.0, 0.0, {}, {}});
        }
    }
    const double panelCount = static_cast<double>(layout.panels.size());
    double shares = 0.0;
    for (const Panel& panel : layout.panels) {
        shares += ShareOf(panel);
    }

    // Top and bottom.
    double top = margin;
    if (!pOptions.title.empty() && height >= 180.0) {
        layout.titleBaseline = top + metrics.titleFont;
        top += metrics.titleFont * 1.3 + metrics.gap;
    }
    layout.axisTitles = width >= 260.0 && height >= 180.0;
    double bottom = height - margin;
    layout.timeTitleBaseline = bottom - metrics.font * 0.25;
    if (layout.axisTitles) {
        bottom -= metrics.font * 1.3 + metrics.gap * 0.5;
    }
    bottom -= metrics.font * 1.2 + metrics.gap * 0.5;  // tick labels

    // The sides.
    double labelWidth = 0.0;
    std::map<Unit, double> reach;  // greatest magnitudes; curves precede their differences
    for (Panel& panel : layout.panels) {
        const ValueRange range = RangeOfPanel(panel, pOptions, pCanvas.Width() * 2,
                                              panel.isDifference ? reach[panel.unit] : 0.0);
        double& reached = reach[panel.unit];
        reached = std::max({reached, std::fabs(range.low), std::fabs(range.high)});
        panel.scale.from = pOptions.from;
        panel.scale.to = pOptions.to;
        panel.scale.low = range.low;
        panel.scale.high = range.high;
        PlacePanel(panel, metrics, 0.0, (bottom - top) * ShareOf(panel) / shares);
        labelWidth = std::max(labelWidth, WidestLabel(pCanvas, panel.ticks, metrics.font));
    }
    layout.valueTitleBaseline = margin + metrics.font;
    layout.left = margin + labelWidth + metrics.gap;
    if (layout.axisTitles) {
        layout.left += metrics.font * 1.3 + metrics.gap;
    }
    layout.unitsASecond = pOptions.framesASecond > 0.0 ? pOptions.framesASecond : 1.0;
    const double low = pOptions.from.GetSecondDouble() * layout.unitsASecond;
    const double high = pOptions.to.GetSecondDouble() * layout.unitsASecond;
    const double inset = metrics.mark * 2.0;
    double rightMargin = margin;
    for (int pass = 0; pass < 2; ++pass) {
        // The second pass leaves room for the right half of the last label.
        layout.right = width - rightMargin;
        const double perPixel = (high - low) / (layout.right - layout.left - 2.0 * inset);
        layout.timeTicks =
            ChooseTimeTicks(pCanvas, low - inset * perPixel, high + inset * perPixel,
                            layout.right - layout.left, pOptions.framesASecond > 0.0, metrics);
        rightMargin = margin + WidestLabel(pCanvas, layout.timeTicks, metrics.font) / 2;
    }
    layout.title = layout.titleBaseline > 0.0
                       ? pCanvas.FitText(PrintableText(pOptions.title), metrics.titleFont,
                                         layout.right - layout.left, true)
                       : std::string();

    // Legends have at most two fifths of the share of a panel.
    const double rowHeight = metrics.font * kLegendRow;
    double legendHeight = 0.0;
    for (Panel& panel : layout.panels) {
        const double share = (bottom - top) * ShareOf(panel) / shares;
        const int mostRows = pOptions.legend ? static_cast<int>(share * 0.4 / rowHeight) : 0;
        const int rows = mostRows > 0 ? FlowLegend(pCanvas, panel, layout, mostRows, pOptions) : 0;
        legendHeight += rows * rowHeight + metrics.gap;
    }
    const double heights = bottom - top - legendHeight - metrics.gap * (panelCount - 1.0);
    for (Panel& panel : layout.panels) {
        double rows = 0.0;
        for (LegendEntry& entry : panel.legend) {
            rows = entry.y + rowHeight;
            entry.y += top + metrics.font;
        }
        top += rows + metrics.gap;
        panel.scale.left = layout.left + inset;
        panel.scale.right = layout.right - inset;
        const double panelHeight = heights * ShareOf(panel) / shares;
        PlacePanel(panel, metrics, top, top + panelHeight);
        top += panelHeight + metrics.gap;
    }
    return layout;
}
