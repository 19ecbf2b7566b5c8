// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the slopes around a key that an edit put in, kept as the curve had them.
#pragma once

#include "glissa/curve/curve.h"

/// Slopes on both sides of a key.
struct Slopes
{
    float left;
    float right;
};

/// What the neighbours of a new or changed key had; defaults where there is none.
struct Surroundings
{
    bool hasLo = false;
    bool hasHi = false;
    GlissaTangeantInfo loLeft;
    GlissaTangeantInfo loRight;
    GlissaTangeantInfo hiLeft;
    GlissaTangeantInfo hiRight;
};

Surroundings SurroundingsOf(Glissa& pCurve, int pLo, int pHi);

/// Gives a key two slopes: by the parameters of its tangent, where they do not suffice without its
/// refinements, and at last by another kind of tangent, its own or that of TCB keys before it. The
/// slopes of the key behind stay as they are.
void HoldSlopes(Glissa& pCurve, int pIndex, Slopes pSlopes);

/// The same with a user tangent, whatever tangent the key has: beside a jump from one tick to the
/// next, where the secant leaves a parameter no digits for a slope.
void HoldSlopesByUserTangent(Glissa& pCurve, int pIndex, Slopes pSlopes);

/// Gives a new key one slope on both sides, and its neighbours those that they had.
void HoldShapeAround(Glissa& pCurve, int pIndex, const Surroundings& pAround, float pSlope);
