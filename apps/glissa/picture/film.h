// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/picture/picture.h"

#include <string>
#include <vector>

/// One picture of a film.
struct FilmStage
{
    std::string title;
    /// The curves before the edit, parts 1 of those at this stage, and these.
    std::vector<PictureCurve> curves;
    SelectionBox selection;
    std::vector<KTime> markers;  ///< drawn instead of the selection, if there are any
};

/// Numbers of columns and rows of a film: about as many of both, with few empty places.
struct FilmGrid
{
    int columns = 1;
    int rows = 1;

    static FilmGrid For(int pStages);
};

/// Draws the stages of an edit as small pictures in rows, all with the same axes, under one title
/// and one legend. Their curves have one unit.
///
/// pOptions  title, span and names of the curves before and after; the scale is chosen here
void DrawFilm(Canvas& pCanvas, const std::vector<FilmStage>& pStages,
              const PictureOptions& pOptions);
