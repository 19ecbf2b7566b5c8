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

/// A curve of a clip, which owns it. Not constant, as evaluation changes the hint of the curve.
struct NamedCurve
{
    std::string name;
    Unit unit = Unit::factor;
    Glissa* curve = nullptr;

    bool HasKeys() const { return curve->KeyGetCount() > 0; }
    KTime First() const { return curve->KeyGetTime(0); }
    KTime Last() const { return curve->KeyGetTime(curve->KeyGetCount() - 1); }
};

/// A clip that was read, with a curve for each channel in the order of the file.
struct ClipCurves
{
    std::string path;
    Clip clip;
    double framesASecond = 0.0;
    CurveClip owner;
    std::vector<NamedCurve> curves;
    unsigned recordingBytes = 0;  ///< memory of the curves

    /// After an edit: the curves no longer have the values of the file.
    void DropRecordedValues() { clip.mValues.clear(); }

    /// Sets the curves to those of the owner, as after a change of its channels.
    void NameCurves();

    /// After keys moved in time: the clip gets as many frames as it takes to reach the last key.
    /// Throws Refusal if these are too many.
    void FitFrameCount();
};

/// The curves that a command works on, and their extrapolation.
struct CurveChoice
{
    std::vector<std::string> patterns;  ///< names, with wildcards
    bool all = false;
    std::optional<ExtrapolationArgument> before;
    std::optional<ExtrapolationArgument> after;

    /// Throws WrongArguments if no curve is chosen.
    void RequireCurves() const;
};

/// A span of time, both ends included.
struct TimeSpan
{
    KTime from;
    KTime to;
};

/// Reads a BVH clip or a .glissa file, by its first bytes. Throws Refusal with file, line and
/// reason. A BVH clip gets a curve for each channel; the clip of a .glissa file has no recorded
/// values.
StoredClip LoadAnyClip(const std::string& pPath);

/// The same, and a file with faults is refused.
ClipCurves LoadClip(const std::string& pPath);

/// The chosen curves in the order of the patterns, each once, with their extrapolation set.
/// Patterns and pMissing as in ChooseNames. Throws Refusal for a pattern that chooses no curve,
/// WrongArguments when nothing is chosen.
std::vector<NamedCurve*> ChooseCurves(ClipCurves& pClip, const CurveChoice& pChoice,
                                      std::vector<std::string>* pMissing = nullptr);

/// Sets the extrapolation of a choice.
void SetExtrapolation(Glissa& pCurve, const CurveChoice& pChoice);

/// The least span that includes both; nullopt without any.
std::optional<TimeSpan> SpanOfBoth(const std::optional<TimeSpan>& pLeft,
                                   const std::optional<TimeSpan>& pRight);

/// From the first to the last key of all curves; nullopt without keys.
std::optional<TimeSpan> KeySpan(const std::vector<Glissa*>& pCurves);
std::optional<TimeSpan> KeySpan(const std::vector<NamedCurve*>& pCurves);
