// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/time.h"
#include "glissa/export.h"

class GlissaNode;

/// Applies the rotation filter of GLISSA_GetRotationFilterToApply to a node and all below it: 1
/// GlissaFilterGimbleKiller, 2 GlissaFilterUnrollDof, or GlissaFilterUnroll where one of the four
/// arrays is null; other values none. Locked nodes stay as they are.
///
/// pStart, pStop             the span of the filter.
/// pMinEnable, pMaxEnable    may be null: which limits of X, Y and Z hold.
/// pMin, pMax                may be null: limits of X, Y and Z in degrees.
GLISSA_API void GLISSA_ApplyRotationFilter(GlissaNode* pNode, KTime pStart, KTime pStop,
                                           bool* pMinEnable, double* pMin, bool* pMaxEnable,
                                           double* pMax);

/// The angles, in degrees and in the order X, Y, Z, of the shortest rotation about a point that
/// turns the direction to pFirst into that to pSecond. Always true.
///
/// Directions that agree to 0.001 in every component give 0, 0, 0, and so does a point that is the
/// origin. **Opposite ones give 180, 0, 0 whatever their axis**: along X that turn changes nothing.
///
/// pOrigin, pFirst, pSecond  three coordinates each.
/// pAngles                   out: three angles.
GLISSA_API bool AxisAlignmentInEulerAngle(double* const pOrigin, double* const pFirst,
                                          double* const pSecond, double* const pAngles);
