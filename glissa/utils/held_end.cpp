// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/utils/held_end.h"

#include "glissa/curve/curve.h"
#include "glissa/curve/hold_slopes.h"
#include "glissa/utils/held_sides.h"

bool HoldsEnd(const Glissa& pCurve, bool pBehind)
{
    const unsigned mode = pBehind ? pCurve.GetPostExtrapolation() : pCurve.GetPreExtrapolation();
    const unsigned long count =
        pBehind ? pCurve.GetPostExtrapolationCount() : pCurve.GetPreExtrapolationCount();
    const bool isHeldMode = mode != eExtrapolationRepetition && mode != eExtrapolationMirror &&
                            mode != eExtrapolationKeepSlope &&
                            mode != eExtrapolationRelativeRepetition;
    return isHeldMode || count == 0;
}

void HoldEndUpTo(Glissa& pCurve, int pOuter, bool pBehind, float pInside)
{
    CORVEKIT_ASSERT(pOuter >= 0 && pOuter < pCurve.KeyGetCount());
    const int end = pBehind ? pOuter - 1 : pOuter + 1;
    if (pCurve.KeyGetValue(pOuter) != pCurve.KeyGetValue(end)) {
        // The first key of the segment holds the value of the old end key.
        MakeConstant(pCurve, pBehind ? end : pOuter);
        pCurve.KeySetConstantMode(pBehind ? end : pOuter,
                                  pBehind ? eConstantStandard : eConstantNext);
    } else if (pBehind) {
        HoldSlopes(pCurve, pOuter, {0.0f, pCurve.KeyGetRightDerivative(pOuter)});
    } else {
        HoldSlopes(pCurve, pOuter, {pCurve.KeyGetLeftDerivative(pOuter), 0.0f});
    }
    HoldSlopes(pCurve, end, {pBehind ? pInside : 0.0f, pBehind ? 0.0f : pInside});
}
