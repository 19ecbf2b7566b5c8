// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/comparison.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <utility>

namespace
{
// Number of times, besides the breaks, at which the greatest difference is searched.
constexpr int kSteps = 4096;

std::string GreatestText(const PictureCurve& pDifference, const TimeSpan& pSpan,
                         double pFramesASecond)
{
    double greatest = 0.0;
    KTime when;
    const auto visit = [&](KTime pTime) {
        const double value = pDifference.value(pTime);
        if (std::fabs(value) > std::fabs(greatest)) {
            greatest = value;
            when = pTime;
        }
    };
    // Within the keys of both; extrapolated differences do not count.
    TimeSpan span = pSpan;
    if (pDifference.hasKeys && pDifference.first <= pSpan.to && pDifference.last >= pSpan.from) {
        span = {std::max(pSpan.from, pDifference.first), std::min(pSpan.to, pDifference.last)};
    }
    // Keys first, so that the time of a key is reported if it has the greatest difference.
    for (const KTime each : pDifference.breaks) {
        if (each >= span.from && each <= span.to) {
            visit(each);
        }
    }
    const double seconds = (span.to - span.from).GetSecondDouble();
    for (int i = 0; i <= kSteps; ++i) {
        visit(std::min(span.from + KTime::FromSeconds(seconds * i / kSteps), span.to));
    }
    if (greatest == 0.0) {
        return pDifference.name + " none";
    }
    const std::string time =
        pFramesASecond > 0.0
            ? fmt::format("frame {:.8g}",
                          std::round(when.GetSecondDouble() * pFramesASecond * 10.0) / 10.0)
            : fmt::format("{:.3f} s", when.GetSecondDouble());
    return fmt::format("{} {}{:.3g} at {}", pDifference.name, greatest < 0.0 ? "\u2212" : "+",
                       std::fabs(greatest), time);
}

PictureCurve Difference(const PictureCurve& pFirst, const PictureCurve& pSecond,
                        const TimeSpan& pSpan, double pFramesASecond)
{
    PictureCurve difference;
    difference.name = pSecond.name;
    difference.unit = pSecond.unit;
    difference.colour = pSecond.colour;
    difference.isDifference = true;
    difference.value = [first = pFirst.value, second = pSecond.value](KTime pTime) {
        return second(pTime) - first(pTime);
    };
    std::set_union(pFirst.breaks.begin(), pFirst.breaks.end(), pSecond.breaks.begin(),
                   pSecond.breaks.end(), std::back_inserter(difference.breaks));
    difference.first = std::max(pFirst.first, pSecond.first);
    difference.last = std::min(pFirst.last, pSecond.last);
    difference.hasKeys = pFirst.hasKeys && pSecond.hasKeys && difference.first <= difference.last;
    difference.label = GreatestText(difference, pSpan, pFramesASecond);
    return difference;
}
}  // namespace

Comparison CompareCurves(std::vector<PictureCurve> pFirst, std::vector<PictureCurve> pSecond,
                         const TimeSpan& pSpan, double pFramesASecond)
{
    // Curves of the second clip that are not paired, the last one of a name first.
    std::map<std::string, std::vector<PictureCurve*>> unpaired;
    for (auto each = pSecond.rbegin(); each != pSecond.rend(); ++each) {
        unpaired[each->name].push_back(&*each);
    }
    Comparison comparison;
    std::vector<std::pair<PictureCurve*, PictureCurve*>> paired;
    for (PictureCurve& first : pFirst) {
        std::vector<PictureCurve*>& named = unpaired[first.name];
        if (named.empty()) {
            comparison.onlyFirst.push_back(first.name);
        } else {
            paired.emplace_back(&first, named.back());
            named.pop_back();
        }
    }
    for (const PictureCurve& each : pSecond) {
        const std::vector<PictureCurve*>& left = unpaired[each.name];
        if (std::find(left.begin(), left.end(), &each) != left.end()) {
            comparison.onlySecond.push_back(each.name);
        }
    }
    std::vector<PictureCurve> drawn[3];
    for (const auto& [first, second] : paired) {
        if (!second->colour) {
            second->colour = first->colour;
        }
        first->colour = second->colour;
        first->part = 1;
        first->whole = second->name;
        drawn[2].push_back(Difference(*first, *second, pSpan, pFramesASecond));
        drawn[0].push_back(std::move(*first));
        drawn[1].push_back(std::move(*second));
    }
    for (const Unit unit : {Unit::degrees, Unit::sceneUnits, Unit::factor}) {
        for (std::vector<PictureCurve>& each : drawn) {
            std::copy_if(each.begin(), each.end(), std::back_inserter(comparison.curves),
                         [unit](const PictureCurve& pCurve) { return pCurve.unit == unit; });
        }
    }
    return comparison;
}
