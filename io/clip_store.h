// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "io/clip.h"
#include "io/curve_clip.h"
#include "io/result.h"

#include <string>
#include <string_view>
#include <vector>

class KTdf;

/// The project's own clip file: hierarchy, frame time, layers and the tree of nodes with the curves
/// themselves, every key with its tangents, in the field store. docs/command.md lists the fields.

/// A clip whose motion is curves.
struct StoredClip
{
    Clip mClip;  ///< without values: SampleClip makes them of the curves
    CurveClip mCurves;
    /// What the curves have lost or hold that no curve should, a sentence each with the name of the
    /// curve in front. Empty for a sound file.
    std::vector<std::string> mFaults;
};

/// Whether bytes start as a field store does.
bool IsStore(std::string_view pBytes);

/// Writes a clip, its tree of nodes and its layers into an empty document. The clip's values are
/// not looked at. A document that refuses a write says so itself.
void StoreClip(const Clip& pClip, const CurveClip& pCurves, KTdf& pTdf);

/// Reads a clip file. Trusts nothing: an error names the file, the place and the reason. Damage
/// within a curve is no error, but listed in mFaults, so that all of it can be told. A file that
/// does not fit into memory is an error.
IoResult<StoredClip> ParseClipStore(std::string_view pBytes, const std::string& pFileName);

/// The clip with the curves' values at its frames, blended where there are layers. A value is the
/// ShortestDouble of the curve's float: a recorded 0.1 comes back as 0.1. Takes eight bytes for
/// each frame and channel; the caller checks that this is acceptable.
Clip SampleClip(const Clip& pClip, const CurveClip& pCurves);

/// The double with the shortest decimals of a float: 0.1 for 0.1f. Infinities and NaN stay.
double ShortestDouble(float pValue);
