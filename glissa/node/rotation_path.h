// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the path of quaternions along which a rotation runs between two keys.
#pragma once

#include "corvekit/math/vector.h"
#include "corvekit/time.h"

class Glissa;

/// How a rotation of three curves runs at a time.
enum class PathKind
{
    none,       ///< the time is not between two keys of X
    byChannel,  ///< each curve by itself: the key before is neither cubic nor linear
    path,       ///< along a path of quaternions
};

/// The angles of a rotation at a time, on a Bezier curve of quaternions (Shoemake 1985) through the
/// keyed orientations. Its keys are those of the curve of X.
///
/// pCurves  the curves of X, Y and Z.
/// pHint    in and out, may be null: the key index hint of X, as in Glissa::Evaluate.
/// pAngles  out, for a path: degrees, in the place of X, Y and Z.
PathKind EvaluateRotationPath(Glissa* const (&pCurves)[3], int pRotationOrder, KTime pTime,
                              int* pHint, KgeRVector& pAngles);
