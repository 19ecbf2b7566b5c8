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

    /// After an edit: the values of the file are no longer those of the curves.
    void DropRecordedValues() { clip.mValues.clear(); }
};

/// Which curves a command works on, and their extrapolation.
struct CurveChoice
{
    std::vector<std::string> patterns;  ///< names, with wildcards
    bool all = false;
    std::optional<ExtrapolationArgument> before;
    std::optional<ExtrapolationArgument> after;

    /// Throws WrongArguments where no curve is chosen.
    void RequireCurves() const;
};

/// A span of time, both ends included.
struct TimeSpan
{
    KTime from;
    KTime to;
};

/// Reads a BVH clip or a .glissa file; its first bytes decide which. Throws Refusal with file, line
/// and reason. A BVH clip gets a curve for each channel; a .glissa file has no values but the
/// curves.
StoredClip LoadAnyClip(const std::string& pPath);

/// The same for a command that works on the curves: a file with faults is refused.
ClipCurves LoadClip(const std::string& pPath);

/// The chosen curves in the order of the patterns, each once, with their extrapolation set.
/// Patterns and pMissing as in ChooseNames. Throws Refusal for a pattern that chooses no curve,
/// WrongArguments when nothing is chosen.
std::vector<NamedCurve*> ChooseCurves(ClipCurves& pClip, const CurveChoice& pChoice,
                                      std::vector<std::string>* pMissing = nullptr);

/// Sets the extrapolation that a choice asks for.
void SetExtrapolation(Glissa& pCurve, const CurveChoice& pChoice);

/// The least span that holds both; nothing where there is neither.
std::optional<TimeSpan> SpanOfBoth(const std::optional<TimeSpan>& pLeft,
                                   const std::optional<TimeSpan>& pRight);

/// From the first to the last key of all the curves; nothing where none has a key.
std::optional<TimeSpan> KeySpan(const std::vector<Glissa*>& pCurves);
std::optional<TimeSpan> KeySpan(const std::vector<NamedCurve*>& pCurves);
