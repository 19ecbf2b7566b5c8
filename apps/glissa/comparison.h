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
    std::vector<std::string> onlySecond;  ///< likewise
};

/// Pairs the curves that have the same name; where a clip has a name several times, the first one
/// with the first one and so on. A difference says in its label how large it is at most between the
/// keys of both, as far as these are in the span, and when.
///
/// pFramesASecond  above 0 that time is counted in frames, otherwise in seconds.
Comparison CompareCurves(std::vector<PictureCurve> pFirst, std::vector<PictureCurve> pSecond,
                         const TimeSpan& pSpan, double pFramesASecond);
