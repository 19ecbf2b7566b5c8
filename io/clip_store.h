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

/// The clip file of this project: hierarchy, frame time, layers and the tree of nodes with all keys
/// and tangents of the curves, as a document of the field store. docs/command.md lists the fields.

/// A clip whose motion is curves.
struct StoredClip
{
    Clip mClip;  ///< without values; SampleClip computes them from the curves
    CurveClip mCurves;
    /// Keys that were lost and values that no curve may have, as "curve <name>: <fault>". Empty for
    /// a file without damage.
    std::vector<std::string> mFaults;
};

/// Whether bytes start like a document of the field store.
bool IsStore(std::string_view pBytes);

/// Writes a clip, its tree of nodes and its layers to an empty document. The values of the clip are
/// not used. A write that fails is reported by the document.
void StoreClip(const Clip& pClip, const CurveClip& pCurves, KTdf& pTdf);

/// Reads a clip file and checks everything in it. An error has the file, the place and the reason;
/// so has a file that does not fit into memory. Damage within a curve is not an error but is listed
/// in mFaults, so that all of it can be reported.
IoResult<StoredClip> ParseClipStore(std::string_view pBytes, const std::string& pFileName);

/// The clip with the values of the curves at its frames, blended where there are layers. A value is
/// the ShortestDouble of the float of the curve, so that a recorded 0.1 is 0.1 again. Allocates
/// eight bytes for each frame and channel; the caller checks that this is acceptable.
Clip SampleClip(const Clip& pClip, const CurveClip& pCurves);

/// The double nearest to the shortest decimal of a float: 0.1 for 0.1f. Infinities and NaN are
/// widened as they are.
double ShortestDouble(float pValue);
