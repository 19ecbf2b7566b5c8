// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: edits of a span that leave the curve outside it alone.
#pragma once

#include "corvekit/time.h"

#include <optional>

class Glissa;

struct KeyRange
{
    int first;
    int last;
};

/// The keys that Glissa::Delete of the same arguments removes, or nothing.
std::optional<KeyRange> KeysBetween(Glissa& pCurve, KTime pFrom, KTime pTo, bool pInclusive);

/// Slopes of the two keys next to a range of keys, on the sides that face away from it; 0 where
/// there is no such key.
struct OuterSlopes
{
    OuterSlopes(Glissa& pCurve, int pFirst, int pLast);
    /// Gives them back to the keys pFront and pBehind, where there are such. TCB keys stay as they
    /// are.
    void Hold(Glissa& pCurve, int pFront, int pBehind) const;

    float front;
    float behind;
};

/// Removes keys. The two keys next to them keep the slopes on their other sides.
void RemoveKeys(Glissa& pCurve, const KeyRange& pRange);

/// Glissa::Replace without an offset. The two keys next to the span keep the slopes on their other
/// sides.
void ReplaceSpan(Glissa& pCurve, Glissa& pSource, KTime pStart, KTime pStop, bool pExactSpan);
