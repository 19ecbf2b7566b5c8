// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

// The elementary functions that the two libraries compute with. They are made of additions,
// multiplications, divisions and square roots alone, each of which IEEE 754 defines to the last
// bit, so that every processor, compiler and C library gives the same bits. Doubles are rounded to
// nearest.
//
// Angles are degrees: whole multiples of 90 degrees have exact sines and cosines, and a whole turn
// more changes nothing. Special values (signed zeros, infinities, NaN, subnormal numbers) are those
// of the C standard; for angles those of its functions of multiples of pi. No errno, no allocation.
// The errors are in units in the last place of the result; docs/accuracy.md says what was measured.

#include "corvekit/export.h"

struct KgeSineCosine
{
    double sine;
    double cosine;
};

/// Sine and cosine of an angle in degrees of any size, each within 0.51 units. NaN for an infinity.
CORVEKIT_API KgeSineCosine KgeSinCos(double pDegrees);

/// The same of three angles, in less time than three calls take.
CORVEKIT_API void KgeSinCos(const double (&pDegrees)[3], KgeSineCosine (&pResult)[3]);

/// The angle in degrees, -180 to 180, whose sine and cosine are as pSine to pCosine: atan2. Within
/// 0.51 units. Multiples of 45 degrees are exact.
CORVEKIT_API double KgeArcTangent(double pSine, double pCosine);

/// The angle in degrees, 0 to 180, that has this cosine. Within 0.51 units. NaN beyond -1 to 1.
CORVEKIT_API double KgeArcCosine(double pCosine);

/// pBase to the power pExponent: pow. Within 0.52 units; the powers 1 and 0.5 within 0.5.
CORVEKIT_API double KgePower(double pBase, double pExponent);

/// e to the power pExponent: exp. Within 0.52 units.
CORVEKIT_API double KgeExponential(double pExponent);

/// The Euclidean length of two or three numbers: hypot. Within 0.51 units; squares that leave the
/// range of doubles do no harm. Infinite if a number is, even next to NaN.
CORVEKIT_API double KgeLength(double pX, double pY);
CORVEKIT_API double KgeLength(double pX, double pY, double pZ);
