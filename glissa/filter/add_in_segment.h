// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: a key put between two others.
#pragma once

#include "glissa/curve/curve.h"

/// Adds a key at a time inside the segment behind a key. The slope of the curve arrives at it, and
/// its neighbours keep the slopes that they had; a weighted segment gets the weights of its pieces.
/// What follows from TCB tangents changes. Gives the index of the key.
int AddInSegment(Glissa& pCurve, int pIndex, const GlissaKey& pKey);
