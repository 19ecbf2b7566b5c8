// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/picture/picture.h"

#include <optional>
#include <vector>

/// A curve in the picture of a span of time. It is evaluated while the picture is drawn, so it must
/// exist until then.
PictureCurve MakePictureCurve(NamedCurve& pCurve, const TimeSpan& pSpan, bool pTangents);

/// The display colour of a curve or node: red, green, blue. nullopt for white, the default, and for
/// numbers that are not finite.
std::optional<Colour> OwnColour(const float* pColour);

/// Times of a span at which a curve may have a corner or a jump, ascending: keys, the ends of
/// repetitions, and repeated keys. Too many repeated keys for a picture are replaced by evenly
/// spaced times.
std::vector<KTime> CurveBreaks(Glissa& pCurve, const TimeSpan& pSpan);
