// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/picture/legend.h"

#include "apps/glissa/picture/key_marks.h"
#include "apps/glissa/printable_text.h"

#include <fmt/format.h>

namespace
{
std::string MoreText(std::size_t pCount)
{
    return fmt::format("+{} more", pCount);
}

// The entries of the legend of a panel. In a comparison of two clips there is one entry for both
// curves of a name, and one for each clip.
std::vector<LegendEntry> LegendOf(const Panel& pPanel, const PictureOptions& pOptions)
{
    const bool isComparison = !pOptions.firstClip.empty();
    std::vector<LegendEntry> entries;
    if (pPanel.isDifference) {
        entries.push_back({"greatest difference:", LegendEntry::kNote});
    }
    for (std::size_t i = 0; i < pPanel.curves.size(); ++i) {
        const PictureCurve& curve = *pPanel.curves[i];
        if (!isComparison || curve.part == 0) {
            entries.push_back(
                {curve.label.empty() ? curve.name : curve.label, static_cast<int>(i)});
        }
    }
    if (isComparison && !pPanel.isDifference) {
        entries.push_back({pOptions.firstClip, LegendEntry::kFirstClip});
        if (!pOptions.secondClip.empty()) {
            entries.push_back({pOptions.secondClip, LegendEntry::kSecondClip});
        }
    }
    return entries;
}

bool HasMarks(const PictureCurve& pCurve)
{
    return !pCurve.strong && !pCurve.isDifference;
}
}  // namespace

double LegendSampleWidth(const Metrics& pMetrics)
{
    return pMetrics.font * 2.0;
}

int FlowLegend(Canvas& pCanvas, Panel& pPanel, const Layout& pLayout, int pMostRows,
               const PictureOptions& pOptions)
{
    const std::vector<LegendEntry> entries = LegendOf(pPanel, pOptions);
    const double font = pLayout.metrics.font;
    const double withSample = LegendSampleWidth(pLayout.metrics) + pLayout.metrics.gap;
    const double between = pLayout.metrics.gap * 3.0;
    double x = pLayout.left;
    int row = 0;
    const auto add = [&](const std::string& pText, int pCurve) {
        pPanel.legend.push_back({pText, pCurve, x, row * font * kLegendRow});
    };
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::string name = PrintableText(entries[i].text);
        const double sample = entries[i].curve == LegendEntry::kNote ? 0.0 : withSample;
        const double room = pLayout.right - pLayout.left - sample;
        std::string text = pCanvas.FitText(name, font, room);
        if (x > pLayout.left && row + 1 < pMostRows &&
            x + sample + pCanvas.TextWidth(text, font) > pLayout.right) {
            ++row;
            x = pLayout.left;
        }
        // In the last row each entry leaves room for the count of the following ones.
        const std::size_t after = entries.size() - i - 1;
        const double reserve = row + 1 == pMostRows && after > 0
                                   ? between + pCanvas.TextWidth(MoreText(after), font)
                                   : 0.0;
        if (x == pLayout.left) {
            text = pCanvas.FitText(name, font, room - reserve);
        }
        const double width = sample + pCanvas.TextWidth(text, font);
        if (text.empty() || x + width + reserve > pLayout.right + 0.01) {
            add(MoreText(after + 1), LegendEntry::kNote);
            break;
        }
        add(text, entries[i].curve);
        x += width + between;
    }
    return row + 1;
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
