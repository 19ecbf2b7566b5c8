// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/utils/span_edits.h"

#include "glissa/curve/curve.h"
#include "glissa/curve/key_index.h"
#include "glissa/utils/held_sides.h"

std::optional<KeyRange> KeysBetween(Glissa& pCurve, KTime pFrom, KTime pTo, bool pInclusive)
{
    KeyRange range{};
    if (!FindKeyRange(pCurve, pFrom, pTo, pInclusive, range.first, range.last) ||
        range.first > range.last || range.first < 0 || range.last >= pCurve.KeyGetCount()) {
        return std::nullopt;
    }
    return range;
}

OuterSlopes::OuterSlopes(Glissa& pCurve, int pFirst, int pLast)
    : front(pFirst > 0 ? pCurve.KeyGetLeftDerivative(pFirst - 1) : 0.0f),
      behind(pLast + 1 < pCurve.KeyGetCount() ? pCurve.KeyGetRightDerivative(pLast + 1) : 0.0f)
{}

void OuterSlopes::Hold(Glissa& pCurve, int pFront, int pBehind) const
{
    if (pFront >= 0) {
        HoldLeftSlope(pCurve, pFront, front);
    }
    if (pBehind < pCurve.KeyGetCount()) {
        HoldRightSlope(pCurve, pBehind, behind);
    }
}

void RemoveKeys(Glissa& pCurve, const KeyRange& pRange)
{
    const OuterSlopes outer(pCurve, pRange.first, pRange.last);
    pCurve.Delete(pRange.first, pRange.last);
    outer.Hold(pCurve, pRange.first - 1, pRange.first);
}

void ReplaceSpan(Glissa& pCurve, Glissa& pSource, KTime pStart, KTime pStop, bool pExactSpan)
{
    const int count = pCurve.KeyGetCount();
    const int first = count > 0 ? Ceil(pCurve.KeyFind(pStart, nullptr)) : 0;
    const int last = count > 0 ? Floor(pCurve.KeyFind(pStop, nullptr)) : -1;
    const OuterSlopes outer(pCurve, first, last);
    pCurve.Replace(&pSource, pStart, pStop, pExactSpan, true, KTime());
    outer.Hold(pCurve, first - 1, pCurve.KeyGetCount() - (count - 1 - last));
}
