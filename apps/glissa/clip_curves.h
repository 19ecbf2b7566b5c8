// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/arguments.h"
#include "apps/glissa/picture/picture.h"
#include "glissa/curve/curve.h"
#include "io/clip.h"
#include "io/clip_store.h"
#include "io/curve_clip.h"

#include <optional>
#include <string>
#include <vector>

/// A curve of a clip, owned by the clip. Evaluation moves a hint inside the curve, so it is never
/// constant.
struct NamedCurve
{
    std::string name;
    Unit unit = Unit::factor;
    Glissa* curve = nullptr;

    bool HasKeys() const { return curve->KeyGetCount() > 0; }
    KTime First() const { return curve->KeyGetTime(0); }
    KTime Last() const { return curve->KeyGetTime(curve->KeyGetCount() - 1); }
};

/// A clip as it was read, with a curve for each channel in the order of the file.
struct ClipCurves
{
    std::string path;
    Clip clip;
    double framesASecond = 0.0;
    CurveClip owner;
    std::vector<NamedCurve> curves;
    unsigned recordingBytes = 0;  ///< memory that the curves took
};

/// Which curves a command works on, and how they go on beyond their keys.
struct CurveChoice
{
    std::vector<std::string> patterns;  ///< names, with wildcards
    bool all = false;
    std::optional<ExtrapolationArgument> before;
    std::optional<ExtrapolationArgument> after;
};

/// A span of time, both ends belong to it.
struct TimeSpan
{
    KTime from;
    KTime to;
};

/// A BVH clip or a .glissa file, told apart by how it starts. Throws Refusal with file, line and
/// reason. A clip with values has a curve of each channel; one without is its curves.
StoredClip LoadAnyClip(const std::string& pPath);

/// The same for a command that works on the curves: what is damaged is refused.
ClipCurves LoadClip(const std::string& pPath);

/// The chosen curves in the order of the patterns, each once, with their extrapolation set. Throws
/// Refusal for a pattern that names no curve, WrongArguments when nothing is chosen.
///
/// pMissing  takes the patterns that name no curve, which are no refusal then.
std::vector<NamedCurve*> ChooseCurves(ClipCurves& pClip, const CurveChoice& pChoice,
                                      std::vector<std::string>* pMissing = nullptr);

/// Sets the extrapolation that a choice asks for.
void SetExtrapolation(Glissa& pCurve, const CurveChoice& pChoice);

/// From the first to the last key of all the curves; nothing where none has a key.
std::optional<TimeSpan> KeySpan(const std::vector<NamedCurve*>& pCurves);
