// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/drag_run.h"
#include "apps/glissa/picture/film.h"

#include <functional>
#include <optional>
#include <vector>

/// A film of a drag: its stages with copies of the curves. Can be moved, not copied.
struct DragFilm
{
    std::vector<FilmStage> stages;
    PictureOptions options;  ///< without a title
    std::vector<HostCurvePointer> copies;
};

/// The drag at pStages even fractions of its way; it is then at the end. The curves as they were
/// are grey. The film shows the curves with selected keys, and all of them where others follow.
/// Throws Refusal where the curves have different units or are too many.
///
/// pShown  the span of time; without it the selection at its old and new place, and what is around
///         it
DragFilm FilmOf(Drag& pDrag, int pStages, const std::optional<TimeSpan>& pShown,
                double pFramesASecond);

/// A film of any edit, at pStages even fractions of its way. Throws Refusal as above.
///
/// pTo  edits up to a fraction of the way, 1 for all of it, and sets the selection or the markers
/// of
///      the stage
DragFilm FilmOf(const std::vector<const EditedCurve*>& pShown, int pStages, const TimeSpan& pSpan,
                const std::function<void(double, FilmStage&)>& pTo);
