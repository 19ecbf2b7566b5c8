// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: keys put on a reference curve.
#pragma once

#include "corvekit/time.h"

class Glissa;

/// When the tangents of a key are broken.
struct BreakRule
{
    KTime period;      ///< over which the slope of the reference is measured
    double tolerance;  ///< of a slope, value per second
};

/// Gives a cubic key the slopes of a reference where one of them differs, see GLISSA_BreakTangents.
void BreakKey(Glissa& pCurve, int pIndex, Glissa& pReference, const BreakRule& pRule);

/// Inserts a key at a time, or finds the one that is there, and sets its value. Returns its index.
int InsertKey(Glissa& pCurve, KTime pTime, float pValue);
