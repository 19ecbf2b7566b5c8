// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the tolerance of a smart plot, held between the points that refinement compares.
#pragma once

class Glissa;
struct KSmartPlotOptions;

/// Inserts keys where a curve differs from a reference by more than the fidelity tolerance,
/// anywhere between their ends. Both curves have cubic keys without weights. New keys are more than
/// 1/120 s from the others; where that leaves no place, the difference remains.
void HoldFidelity(Glissa& pCurve, Glissa& pReference, const KSmartPlotOptions& pOptions);
