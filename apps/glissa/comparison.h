// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/picture/picture.h"

#include <string>
#include <vector>

/// The curves of two clips for one picture, paired by name.
struct Comparison
{
    /// For each unit the curves of the first clip, then those of the second, then the differences,
    /// second minus first.
    std::vector<PictureCurve> curves;
    std::vector<std::string> onlyFirst;   ///< names that the second clip does not have
    std::vector<std::string> onlySecond;  ///< names that the first clip does not have
};

/// Pairs the curves of equal names; if a name occurs several times, in the order of occurrence. The
/// label of a difference has its greatest value and the time of it, within the span and the keys of
/// both.
///
/// pFramesASecond  if greater than 0, the time is in frames, otherwise in seconds.
Comparison CompareCurves(std::vector<PictureCurve> pFirst, std::vector<PictureCurve> pSecond,
                         const TimeSpan& pSpan, double pFramesASecond);
