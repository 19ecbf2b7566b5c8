// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the versions of the stored key run, and the repair of the oldest.
#pragma once

class Glissa;

/// "KeyVer", the version of the key run that follows. A change of the run takes a new number at the
/// end; a reader treats a number above the latest one as the latest.
enum EKeyVersion : int
{
    // Below 4000: a key stores its right side, and the left side of the next key only where that is
    // broken. RepairOldestKeys computes the rest. Without the field the version is 0.

    eKeyVersionBothSides = 4000,     ///< keys store both sides; "a" the next left auto parameter
    eKeyVersionPlainAuto = 4001,     ///< "a" has no number any more
    eKeyVersionWeights = 4002,       ///< a weight group behind "s", "b" and "d"
    eKeyVersionSame = 4003,          ///< as 4002
    eKeyVersionConstantMode = 4004,  ///< a letter behind "C"; a line leaves the key before as it is
    eKeyVersionClamp = 4005,         ///< a clamp letter behind "a", "d", "p" and "q": "n" or "c"
    eKeyVersionTimeIndependent = 4006,  ///< the clamp letters "i" and "b"; "a" keeps weights
    eKeyVersionProgressive = 4007,      ///< the clamp letter "g"; a weight group behind "a"

    eKeyVersionLatest = eKeyVersionProgressive
};

/// Computes the sides that a version below 4000 did not store. The curve has at least one key.
void RepairOldestKeys(Glissa& pCurve);
