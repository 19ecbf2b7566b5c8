// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/picture/style.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

namespace
{
// Okabe and Ito 2008, "Color Universal Design", without yellow, which is too light on white.
constexpr std::array<Colour, 7> kPalette{{
    {0.000, 0.447, 0.698},  // blue
    {0.835, 0.369, 0.000},  // vermilion
    {0.000, 0.620, 0.451},  // bluish green
    {0.800, 0.475, 0.655},  // reddish purple
    {0.902, 0.624, 0.000},  // orange
    {0.337, 0.706, 0.914},  // sky blue
    {0.000, 0.000, 0.000},  // black
}};
constexpr int kBlue = 0;
constexpr int kVermilion = 1;
constexpr int kGreen = 2;

// Greatest relative luminance (WCAG 2) of a line that is easy to see on white, that of the orange.
constexpr double kGreatestLuminance = 0.45;

// Strokes and gaps of parts after the first, in line widths: dots, dashes and dots, long dashes,
// dashes with two dots. All differ from the pattern of extrapolated parts.
const std::array<std::vector<double>, 4> kPatterns{{
    {1.4, 1.8},
    {5.0, 1.8, 1.4, 1.8},
    {9.0, 3.0},
    {5.0, 1.8, 1.4, 1.8, 1.4, 1.8},
}};

// sRGB to linear light and back (IEC 61966-2-1).
double ToLight(double pPart)
{
    return pPart <= 0.04045 ? pPart / 12.92 : std::pow((pPart + 0.055) / 1.055, 2.4);
}

double FromLight(double pLight)
{
    return pLight <= 0.0031308 ? pLight * 12.92 : 1.055 * std::pow(pLight, 1 / 2.4) - 0.055;
}

bool IsSame(const Colour& pLeft, const Colour& pRight)
{
    return pLeft.red == pRight.red && pLeft.green == pRight.green && pLeft.blue == pRight.blue;
}

// The first part is pale and solid, further parts have patterns.
CurveStyle StyleOf(const PictureCurve& pCurve, const Colour& pColour, int pShape,
                   const Metrics& pMetrics)
{
    CurveStyle style{pColour, pShape, pMetrics.line, {}};
    if (pCurve.strong) {
        style.width *= 1.7;
    }
    if (pCurve.part > 0) {
        style.shape = (pCurve.part - 1) % 4;
    }
    if (pCurve.part == 1) {
        style.colour = Lighter(style.colour);
    }
    // Differences of one colour have patterns, as they have no marks.
    const int pattern = pCurve.isDifference ? pShape : pCurve.part - 1;
    if (pattern > 0) {
        style.dashes = kPatterns[static_cast<std::size_t>(pattern - 1) % kPatterns.size()];
        for (double& each : style.dashes) {
            each *= pMetrics.line;
        }
    }
    return style;
}

}  // namespace

Colour Lighter(const Colour& pColour)
{
    const auto mix = [](double pPart) { return pPart + (1.0 - pPart) * 0.42; };
    return {mix(pColour.red), mix(pColour.green), mix(pColour.blue)};
}

Colour OnWhite(const Colour& pColour)
{
    const double red = ToLight(std::clamp(pColour.red, 0.0, 1.0));
    const double green = ToLight(std::clamp(pColour.green, 0.0, 1.0));
    const double blue = ToLight(std::clamp(pColour.blue, 0.0, 1.0));
    const double luminance = 0.2126 * red + 0.7152 * green + 0.0722 * blue;
    const double share = luminance > kGreatestLuminance ? kGreatestLuminance / luminance : 1.0;
    return {FromLight(red * share), FromLight(green * share), FromLight(blue * share)};
}

std::vector<int> ChooseColours(const std::vector<const PictureCurve*>& pCurves)
{
    std::vector<const PictureCurve*> wholes;
    std::copy_if(pCurves.begin(), pCurves.end(), std::back_inserter(wholes),
                 [](const PictureCurve* pCurve) { return pCurve->part == 0; });
    std::vector<int> colours;
    std::array<bool, 3> used{};
    for (const PictureCurve* curve : wholes) {
        const std::string& name = curve->name;
        const bool hasAxis = name.size() >= 2 && name[name.size() - 2] == '/';
        const int index = hasAxis ? name.back() - 'X' : -1;
        if (index < 0 || index > 2 || used[static_cast<std::size_t>(index)]) {
            colours.clear();
            break;
        }
        used[static_cast<std::size_t>(index)] = true;
        colours.push_back(index == 0 ? kVermilion : index == 1 ? kGreen : kBlue);
    }
    while (colours.size() < wholes.size()) {
        colours.push_back(static_cast<int>(colours.size() % kPalette.size()));
    }
    std::vector<int> all;
    std::size_t next = 0;
    for (const PictureCurve* curve : pCurves) {
        const auto whole =
            std::find_if(wholes.begin(), wholes.end(), [curve](const PictureCurve* pWhole) {
                return pWhole->name == curve->whole;
            });
        const bool hasWhole = curve->part > 0 && whole != wholes.end();
        all.push_back(curve->part == 0 ? colours[next++]
                      : hasWhole       ? colours[static_cast<std::size_t>(whole - wholes.begin())]
                                       : 0);
    }
    return all;
}

std::vector<CurveStyle> ChooseStyles(const std::vector<const PictureCurve*>& pCurves,
                                     const Metrics& pMetrics)
{
    const std::vector<int> chosen = ChooseColours(pCurves);
    std::vector<Colour> wholes;
    std::vector<CurveStyle> styles;
    for (std::size_t i = 0; i < pCurves.size(); ++i) {
        const PictureCurve& curve = *pCurves[i];
        const Colour colour =
            curve.colour ? OnWhite(*curve.colour) : kPalette[static_cast<std::size_t>(chosen[i])];
        const auto same = std::count_if(wholes.begin(), wholes.end(),
                                        [&](const Colour& pEach) { return IsSame(pEach, colour); });
        if (curve.part == 0) {
            wholes.push_back(colour);
        }
        styles.push_back(StyleOf(curve, colour, static_cast<int>(same % 4), pMetrics));
    }
    return styles;
}
