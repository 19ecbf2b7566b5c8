// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/unroll_keys.h"

#include "glissa/curve/modify_bracket.h"
#include "glissa/filter/rotation_curves.h"
#include "glissa/filter/rotation_helpers.h"

#include <cmath>
#include <deque>

namespace
{
// What a key has to move by to be written, in degrees. Less is what sharing an angle in gimbal lock
// leaves to round in floats, at every application.
constexpr double kLeastMove = 1e-4;

bool IsFinite(const KgeRVector& pAngles)
{
    return std::isfinite(pAngles.SquareLength());
}

bool IsMoved(const KgeRVector& pFrom, const KgeRVector& pTo)
{
    const KgeRVector way = pTo - pFrom;
    return std::fabs(way[0]) >= kLeastMove || std::fabs(way[1]) >= kLeastMove ||
           std::fabs(way[2]) >= kLeastMove;
}
}  // namespace

bool UnrollKeys(Glissa* const* pCurves, int pFirst, int pLast, const UnrollRules& pRules)
{
    CORVEKIT_ASSERT(pFirst >= 0);
    if (pFirst == pLast) {
        return false;  // a single key stays where it is
    }
    const bool takesTurnsOnly = pRules.isLocked[0] || pRules.isLocked[1] || pRules.isLocked[2];
    const int middle = pRules.order.GetAxes()[1];
    Glissa* written[kRotationAxes];
    for (int axis = 0; axis < kRotationAxes; ++axis) {
        written[axis] = pRules.isLocked[axis] ? nullptr : pCurves[axis];
    }
    std::deque<KeyModifyBracket> brackets;  // from the first change on
    bool isChanged = false;
    KgeRVector reference;
    if (pFirst > 0) {
        reference = RotationOfKey(pCurves, pFirst);
        reference = IsFinite(reference) ? reference : KgeRVector();
    }
    for (int i = pFirst; i <= pLast; ++i) {
        const KgeRVector in = RotationOfKey(pCurves, i);
        KgeRVector out = in;
        bool isMirrored = false;
        if (takesTurnsOnly) {
            for (int axis = 0; axis < kRotationAxes; ++axis) {
                out[axis] =
                    pRules.isLocked[axis] ? in[axis] : NearestTurn(in[axis], reference[axis]);
            }
        } else {
            isMirrored = pRules.order.V2VRef(out, in, reference, pRules.enableMin, pRules.min,
                                             pRules.enableMax, pRules.max);
        }
        if (IsMoved(in, out)) {
            for (int axis = 0; !isChanged && axis < kRotationAxes; ++axis) {
                if (written[axis]) {
                    brackets.emplace_back(*written[axis]);
                }
            }
            isChanged = true;
            WriteRotation(written, i, out, isMirrored ? middle : -1);
        } else {
            out = in;
        }
        const bool isGood = !pRules.testForPath ||
                            RotationInterpolationQuality(reference, out) >= pRules.qualityTolerance;
        // No angle is near to one that is not finite.
        if (isGood && IsFinite(out)) {
            reference = out;
        }
    }
    return isChanged;
}
