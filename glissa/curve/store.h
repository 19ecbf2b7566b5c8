// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the versions of the stored key run, and the repair of the oldest.
#pragma once

class Glissa;

/// What "KeyVer" says of the key run behind it. A change of the run takes a new number at the end;
/// a reader takes a number above the latest one for the latest.
enum EKeyVersion : int
{
    // Below 4000: a key says its right side, and the left side of the key behind it only where it
    // was broken. A repair of the whole curve finds the rest. Without the field the version is 0.

    eKeyVersionBothSides = 4000,     ///< keys say both sides; "a" the left auto parameter behind it
    eKeyVersionPlainAuto = 4001,     ///< "a" has no number any more
    eKeyVersionWeights = 4002,       ///< a weight group behind "s", "b" and "d"
    eKeyVersionSame = 4003,          ///< as 4002
    eKeyVersionConstantMode = 4004,  ///< a letter behind "C"; lines no longer turn what is before
    eKeyVersionClamp = 4005,         ///< a clamp letter behind "a", "d", "p" and "q": "n" or "c"
    eKeyVersionTimeIndependent = 4006,  ///< the clamp letters "i" and "b"; "a" leaves weights alone
    eKeyVersionProgressive = 4007,      ///< the clamp letter "g"; a weight group behind "a"

    eKeyVersionLatest = eKeyVersionProgressive
};

/// Gives keys that were read from a version below 4000 what that version left to the drawing of the
/// curve. The curve has at least one key.
void RepairOldestKeys(Glissa& pCurve);
