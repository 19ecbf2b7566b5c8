// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/picture/picture.h"

#include <optional>
#include <vector>

/// A curve for the picture of a span of time. The picture evaluates it while it is drawn, so the
/// curve has to stay.
PictureCurve MakePictureCurve(NamedCurve& pCurve, const TimeSpan& pSpan, bool pTangents);

/// The display colour that a curve or node was given: red, green, blue. None for white, which every
/// curve has at first, and for numbers that are no colour.
std::optional<Colour> OwnColour(const float* pColour);

/// Times of a span at which a curve may bend or jump, ascending: keys, the ends of repetitions, and
/// the keys that extrapolation repeats. Where those are too many for any picture, evenly spaced
/// times stand for them.
std::vector<KTime> CurveBreaks(Glissa& pCurve, const TimeSpan& pSpan);
