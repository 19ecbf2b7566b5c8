// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/roll.h"

#include "corvekit/event/operation.h"
#include "corvekit/math/rotation_order.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/filter/rotation_curves.h"
#include "glissa/filter/rotation_helpers.h"
#include "glissa/filter/value_scope.h"
#include "glissa/node/node.h"

#include <cmath>
#include <deque>

template class KClassFrame<GlissaFilterRoll, GlissaFilter>;

namespace
{
const char* const kErrors[] = {"No key", "Left unchanged",
                               "The filter must be applied on 3 euler rotation FCurves",
                               "Unexpected error.", nullptr};

constexpr double kTolerance = 1e-5;

/// A key with its angles in range.
struct Folded
{
    Folded(const KgeRVector& pAngles, const KVdRotationOrder& pOrder)
    {
        KgeRMatrix matrix;
        pOrder.V2M(matrix, pAngles);
        pOrder.M2V(angles, matrix);
        for (int i = 0; i < kRotationAxes; ++i) {
            // Half a turn back is in range like half a turn.
            if (std::fabs(pAngles[i] + 180.0) <= kTolerance) {
                angles[i] = NearestTurn(angles[i], pAngles[i]);
            }
            // NaN is left alone.
            isInRange = isInRange && !(std::fabs(angles[i] - pAngles[i]) > kTolerance);
        }
        const int axis = pOrder.GetAxes()[1];
        if (std::fabs(std::remainder(pAngles[axis], 360.0)) > 90.0) {
            mirrored = axis;
        }
    }

    KgeRVector angles;
    bool isInRange = true;
    int mirrored = -1;  // the middle axis where its angle takes the opposite direction
};

// Makes the step from the key before to a key that jumps a held one.
void HoldBefore(Glissa& pCurve, int pIndex)
{
    CORVEKIT_ASSERT(pIndex > 0);
    if (pIndex > 1) {
        pCurve.KeySetInterpolation(pIndex - 2, eInterpolationLinear);
    }
    pCurve.KeySetInterpolation(pIndex - 1, eInterpolationConstant);
    pCurve.KeySetInterpolation(pIndex, eInterpolationLinear);
}

void FoldKey(Glissa* const* pCurves, int pIndex, const Folded& pFolded)
{
    for (int axis = 0; axis < kRotationAxes && pIndex > 0; ++axis) {
        Glissa& curve = *pCurves[axis];
        const double slope = curve.EvaluateLeftDerivative(curve.KeyGetTime(pIndex), nullptr);
        const double before = curve.KeyGetValue(pIndex - 1);
        const double angle = pFolded.angles[axis];
        if ((slope > 0.0 && before > angle) || (slope < 0.0 && angle > before)) {
            HoldBefore(curve, pIndex);
        }
    }
    WriteRotation(pCurves, pIndex, pFolded.angles, pFolded.mirrored);
}
}  // namespace

GlissaFilterRoll::GlissaFilterRoll() : KClassFrame("Filter Roll", kErrors, 5)
{
    GlissaFilterRoll::Reset();
}

void GlissaFilterRoll::Reset()
{
    mAngleInterval = eAngleIntervalHalfTurns;
    mKeyRateMode = eKeyRateFixed;
    GlissaFilter::Reset();
}

bool GlissaFilterRoll::RefuseCurves()
{
    return Refuse(kNotRotation, "FilterRoll, You need 3 rotation curves.");
}

bool GlissaFilterRoll::Apply(Glissa&)
{
    return RefuseCurves();
}

bool GlissaFilterRoll::Apply(GlissaNode& pNode, bool)
{
    if (IsNodeOrChildLocked(pNode)) {
        return false;
    }
    if (GetStartTime() >= GetStopTime()) {
        return Refuse(kBadInterval, "FilterRoll. StartTime is after StopTime.");
    }
    Glissa* curves[kRotationAxes];
    if (!IsNamedRotation(pNode) || !FindRotationCurves(pNode, curves)) {
        return RefuseCurves();
    }
    // Listeners may destroy the filter: they are called after the scope.
    const KOperation operation;
    const ValueScope<int> order(mRotationOrder, pNode.GetRotationOrder());
    return Apply(curves, kRotationAxes);
}

bool GlissaFilterRoll::Apply(Glissa** pCurves, int pCount)
{
    if (pCount != kRotationAxes) {
        return RefuseCurves();
    }
    if (mKeyRateMode != eKeyRateFixed && mKeyRateMode != eKeyRateVariable) {
        return Refuse(kBadKeyRateMode, "FilterRoll, Unexpected Key Rate Mode");
    }
    const KTimeSpan keys = SpanOfKeys(pCurves, kRotationAxes);
    if (keys.GetStart() > keys.GetStop()) {
        return Refuse(eFilterNoKey, "FilterRoll, No key to be filtered.");
    }
    return ApplyFixed(pCurves);
}

bool GlissaFilterRoll::ApplyFixed(Glissa** pCurves)
{
    for (int i = 0; i < kRotationAxes; ++i) {
        if (pCurves[i]->IsLocked()) {
            return false;
        }
    }
    if (!HasKeyToFold(pCurves)) {
        return Refuse(eFilterUnchanged, "FilterRoll, No key were changed by filter.");
    }
    const KOperation operation;  // brackets of a deque do not end in reverse order
    std::deque<KeyModifyBracket> brackets;
    for (int i = 0; i < kRotationAxes; ++i) {
        brackets.emplace_back(*pCurves[i]);
    }
    const KeptOnFailure kept(pCurves, kRotationAxes);
    SyncRotation(pCurves, KTime::MinusInfinite(), KTime::Infinite());
    const KVdRotationOrder order(mRotationOrder);
    for (int i = 0; i < pCurves[0]->KeyGetCount(); ++i) {
        const Folded folded(RotationOfKey(pCurves, i), order);
        if (!folded.isInRange) {
            FoldKey(pCurves, i, folded);
        }
    }
    return true;
}

// Also at keys that a curve does not have yet.
bool GlissaFilterRoll::HasKeyToFold(Glissa* const* pCurves) const
{
    const KVdRotationOrder order(mRotationOrder);
    for (int axis = 0; axis < kRotationAxes; ++axis) {
        // Each curve is the first one once.
        Glissa* const curves[] = {pCurves[axis], pCurves[(axis + 1) % kRotationAxes],
                                  pCurves[(axis + 2) % kRotationAxes]};
        for (int i = 0; i < curves[0]->KeyGetCount(); ++i) {
            const KgeRVector turned = RotationAtKey(curves, i);
            KgeRVector angles;
            for (int k = 0; k < kRotationAxes; ++k) {
                angles[(axis + k) % kRotationAxes] = turned[k];
            }
            if (!Folded(angles, order).isInRange) {
                return true;
            }
        }
    }
    return false;
}
