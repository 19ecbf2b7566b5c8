// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the slopes around a key that an edit put in, kept as the curve had them.
#pragma once

#include "glissa/curve/curve.h"

#include <algorithm>
#include <cmath>

// How near a slope has to come to the one wanted.

inline bool IsNear(double pGot, double pWanted, double pTolerance)
{
    return pGot == pWanted || std::fabs(pGot - pWanted) <= pTolerance;
}

/// Whether nothing needs to be written: the difference is a rounding.
inline bool IsSameSlope(double pGot, double pWanted)
{
    return IsNear(pGot, pWanted, 0x1p-22 * std::fabs(pWanted));
}

/// Whether a slope is kept, to some roundings of float more than the parameters of a well-placed
/// key need.
inline bool IsKeptSlope(double pGot, double pWanted)
{
    return IsNear(pGot, pWanted, 0x1p-20 * std::fabs(pWanted));
}

/// The same for a slope that follows from a parameter and the secants of its key, of which pSecant
/// is the steepest. Slopes and differences of secants below 1e-5 count as zero where a parameter is
/// computed, and the mean of the secants may then replace a slope that differs by 2.5 of these.
inline bool IsKeptAutoSlope(double pGot, double pWanted, double pSecant)
{
    return IsNear(pGot, pWanted, 0x1p-20 * std::max(pSecant, std::fabs(pWanted)) + 4e-5);
}

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

/// Sets the two slopes of a key: by the parameters of its tangent; where these cannot express them,
/// without its refinements; at last by another kind of tangent of its own or of TCB keys before it.
/// The slopes of the next key stay.
void HoldSlopes(Glissa& pCurve, int pIndex, Slopes pSlopes);

/// The same with a user tangent, whatever tangent the key has. For keys next to a jump within one
/// tick: its secant is so steep that a parameter has no digits left for the slope.
void HoldSlopesByUserTangent(Glissa& pCurve, int pIndex, Slopes pSlopes);

/// Sets one slope on both sides of a new key, and on its neighbours those that they had.
void HoldShapeAround(Glissa& pCurve, int pIndex, const Surroundings& pAround, float pSlope);
