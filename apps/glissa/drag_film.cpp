// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/drag_film.h"

#include "apps/glissa/curve_picture.h"
#include "apps/glissa/picture/style.h"
#include "apps/glissa/refusal.h"
#include "glissa/curve/curve.h"

#include <fmt/format.h>

#include <algorithm>

namespace
{
// The span of a film around the selection, in lengths of the selection and in frames.
constexpr double kMarginLength = 0.4;
constexpr double kLeastMarginFrames = 6.0;

void CheckShown(const std::vector<const EditedCurve*>& pShown)
{
    const bool isOneUnit = std::all_of(pShown.begin(), pShown.end(), [&](const EditedCurve* pEach) {
        return pEach->unit == pShown.front()->unit;
    });
    if (!isOneUnit) {
        throw Refusal("a film has curves of one unit: choose rotations (--node '*/R') or "
                      "translations ('*/T')");
    }
    if (pShown.size() > static_cast<std::size_t>(kMostCurvesAPanel)) {
        throw Refusal(fmt::format("{} curves are chosen; a film has at most {}", pShown.size(),
                                  kMostCurvesAPanel));
    }
}

std::vector<const EditedCurve*> ShownCurves(const Drag& pDrag)
{
    std::vector<const EditedCurve*> shown;
    for (const EditedCurve& each : pDrag.GetCurves()) {
        if (pDrag.GetRequest().rippleValues != ValueRipple::none ||
            each.before->KeyGetSelectionCount() > 0) {
            shown.push_back(&each);
        }
    }
    return shown;
}

TimeSpan SpanAround(const SelectionBox& pBefore, const SelectionBox& pAfter, double pFalloff,
                    double pFramesASecond)
{
    const KTime from = std::min(pBefore.from, pAfter.from);
    const KTime to = std::max(pBefore.to, pAfter.to);
    const double margin = std::max(kMarginLength * (to - from).GetSecondDouble(),
                                   std::max(kLeastMarginFrames, 1.2 * pFalloff) / pFramesASecond);
    return {from - KTime::FromSeconds(margin), to + KTime::FromSeconds(margin)};
}

// Selected keys have their handles, the others are hollow.
PictureCurve StageOf(NamedCurve& pCurve, const TimeSpan& pSpan)
{
    PictureCurve picture = MakePictureCurve(pCurve, pSpan, true);
    std::size_t shown = 0;
    for (int i = 0; i < pCurve.curve->KeyGetCount() && shown < picture.keys.size(); ++i) {
        PictureKey& key = picture.keys[shown];
        if (pCurve.curve->KeyGetTime(i) != key.time) {
            continue;
        }
        ++shown;
        key.hollow = !pCurve.curve->KeyGetSelected(i);
        if (key.hollow) {
            key.left.shown = false;
            key.right.shown = false;
        }
    }
    return picture;
}

PictureCurve BeforeOf(const EditedCurve& pCurve, const TimeSpan& pSpan)
{
    NamedCurve named{pCurve.name, pCurve.unit, pCurve.before.get()};
    PictureCurve picture = MakePictureCurve(named, pSpan, false);
    picture.part = 1;
    picture.whole = pCurve.name;
    picture.colour = Lighter(kLabelInk);
    picture.keys.clear();
    return picture;
}
}  // namespace

DragFilm FilmOf(Drag& pDrag, int pStages, const std::optional<TimeSpan>& pShown,
                double pFramesASecond)
{
    const std::vector<const EditedCurve*> shown = ShownCurves(pDrag);
    const SelectionBox before = pDrag.GetBox();
    pDrag.To(1.0);
    const TimeSpan span = pShown.value_or(
        SpanAround(before, pDrag.GetBox(), pDrag.GetRequest().falloff, pFramesASecond));
    return FilmOf(shown, pStages, span, [&](double pFraction, FilmStage& pStage) {
        pDrag.To(pFraction);
        pStage.selection = pDrag.GetBox();
    });
}

DragFilm FilmOf(const std::vector<const EditedCurve*>& pShown, int pStages, const TimeSpan& pSpan,
                const std::function<void(double, FilmStage&)>& pTo)
{
    CheckShown(pShown);
    DragFilm film;
    film.options.from = pSpan.from;
    film.options.to = pSpan.to;
    film.options.tangents = true;
    film.options.firstClip = "before";
    for (int i = 1; i <= pStages; ++i) {
        FilmStage stage;
        pTo(static_cast<double>(i) / pStages, stage);
        stage.title = fmt::format("{} of {}", i, pStages);
        for (const EditedCurve* const each : pShown) {
            stage.curves.push_back(BeforeOf(*each, pSpan));
        }
        for (const EditedCurve* const each : pShown) {
            Glissa& copy = *film.copies.emplace_back(GlissaCreate());
            copy.CopyFrom(*each->curve, true);
            NamedCurve named{each->name, each->unit, &copy};
            stage.curves.push_back(StageOf(named, pSpan));
        }
        film.stages.push_back(std::move(stage));
    }
    return film;
}
