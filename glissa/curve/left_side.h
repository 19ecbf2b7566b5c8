// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the left side of a key, which the key before it stores.
#pragma once

#include "glissa/curve/curve.h"

/// Restores the left side that a key had before an edit of the keys before it, so that the
/// segment that it ends arrives as it did. The right side, and with it the segment behind, stays:
/// unlike KeySetLeftDerivativeInfo, the left slope of a user tangent does not take the right one
/// along. Does nothing for an index without a left side, and for a cubic key with the TCB bit,
/// whose left side is its own.
void KeepLeftSide(Glissa& pCurve, int pIndex, const GlissaTangeantInfo& pInfo,
                  bool pForceDerivative = false);

/// Whether slot 1 of a cubic key, TCB ones aside, is a slope and not an automatic parameter: a
/// cubic key behind it decides, any other leaves it to the key.
bool StoresNextLeftSlope(const Glissa& pCurve, int pIndex);
