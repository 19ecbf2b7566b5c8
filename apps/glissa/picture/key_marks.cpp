// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/picture/key_marks.h"

#include <cmath>

namespace
{
constexpr Colour kWhite{1.0, 1.0, 1.0};

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
}  // namespace

void DrawMark(Canvas& pCanvas, const DevicePoint& pAt, const CurveStyle& pStyle,
              const Metrics& pMetrics, bool pHollow)
{
    const double r = pHollow ? pMetrics.mark * 0.75 : pMetrics.mark;
    const double width = 0.9 * pMetrics.scale;
    const Colour fill = pHollow ? kWhite : pStyle.colour;
    const Colour outline = pHollow ? Lighter(pStyle.colour) : kWhite;
    const auto [x, y] = pAt;
    switch (pStyle.shape) {
    case 1:
        pCanvas.Polygon({{x - r * 0.9, y - r * 0.9},
                         {x + r * 0.9, y - r * 0.9},
                         {x + r * 0.9, y + r * 0.9},
                         {x - r * 0.9, y + r * 0.9}},
                        fill, outline, width);
        break;
    case 2:
        pCanvas.Polygon(
            {{x, y - r * 1.2}, {x + r * 1.15, y + r * 0.85}, {x - r * 1.15, y + r * 0.85}}, fill,
            outline, width);
        break;
    case 3:
        pCanvas.Polygon({{x, y - r * 1.3}, {x + r * 1.3, y}, {x, y + r * 1.3}, {x - r * 1.3, y}},
                        fill, outline, width);
        break;
    default:
        pCanvas.Circle(pAt, r, fill, outline, width);
    }
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
    const bool isComparison = !pOptions.firstClip.empty() && !pOptions.selection;
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
        DrawMark(pCanvas, points[index], pStyle, pMetrics, keys[index]->hollow);
    }
    return isThinned ? Marks::some : Marks::all;
}
