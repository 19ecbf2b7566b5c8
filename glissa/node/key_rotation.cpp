// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Keys of rotations that join without a turn. The same rotation has many Euler angles: each may be
// whole turns away, and there is a flipped form, with half a turn added to the first and third
// turned angle and the middle one taken from half a turn. Of all these the one next to the keys
// that are there is written.

#include "corvekit/math/rotation_order.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node_state.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace
{
constexpr int kAxes = 3;
// A difference of half a turn stays as it is, rounding or not.
constexpr double kOverHalf = 0.5000000000000002;

// The three curves of a rotation, by axis.
struct RotationCurves
{
    Glissa* axes[kAxes];

    // What the keys say, though the node may be muted.
    KgeRVector Evaluate(KTime pTime) const
    {
        return KgeRVector(axes[0]->Evaluate(pTime, nullptr), axes[1]->Evaluate(pTime, nullptr),
                          axes[2]->Evaluate(pTime, nullptr));
    }
    // False where the node is no branch of three curves.
    bool TakeFrom(GlissaNode* pNode)
    {
        if (pNode->GetCount() != kAxes) {
            return false;
        }
        for (int i = 0; i < kAxes; ++i) {
            axes[i] = pNode->Get(i)->FCurveGet();
        }
        return axes[0] && axes[1] && axes[2];
    }
};

// What brings one form of a rotation next to another rotation: the offsets are added to the angles,
// in the flipped form the middle angle is taken from its offset.
struct Turns
{
    double offset[kAxes] = {};
    bool isFlipped = false;

    void Apply(KgeRVector& pAngles, int pMiddle) const
    {
        for (int i = 0; i < kAxes; ++i) {
            pAngles[i] =
                isFlipped && i == pMiddle ? offset[i] - pAngles[i] : offset[i] + pAngles[i];
        }
    }
};

double WholeTurns(double pDegrees)
{
    double whole = 0.0;
    const double rest = std::modf(pDegrees / 360.0, &whole);
    if (rest > kOverHalf) {
        whole += 1.0;
    } else if (rest < -kOverHalf) {
        whole -= 1.0;
    }
    return 360.0 * whole;
}

Turns TurnsBetween(const KVdRotationOrder& pOrder, const KgeRVector& pSource,
                   const KgeRVector& pTarget, bool pMayFlip)
{
    Turns turns;
    KgeRVector nearest;
    turns.isFlipped = pMayFlip && pOrder.V2VRef(nearest, pSource, pTarget);
    const int middle = pOrder.GetAxes()[1];
    const double half = turns.isFlipped ? 180.0 : 0.0;
    for (int i = 0; i < kAxes; ++i) {
        const double angle = turns.isFlipped && i == middle ? half - pSource[i] : half + pSource[i];
        turns.offset[i] = WholeTurns(pTarget[i] - angle) + half;
    }
    return turns;
}

bool HasKeyFrom(const Glissa& pCurve, KTime pStart)
{
    return pCurve.KeyGetCount() > 0 && pCurve.KeyGetTime(pCurve.KeyGetCount() - 1) >= pStart;
}
}  // namespace

void GlissaNode::KeyAppendWithCheckForContinuousRotation(KTime pTime, double* pValues)
{
    if (IsNodeLocked()) {
        return;
    }
    double nearest[kAxes];
    double* values = pValues;
    if (GetCount() == kAxes) {
        GetContinuousRotation(nearest, pValues, pTime);
        values = nearest;
    }
    KeyAppend(pTime, values);
}

void GlissaNode::GetContinuousRotation(double* pResult, double* pRotation, KTime pTime)
{
    CORVEKIT_ASSERT(pResult && pRotation);
    if (GetCount() != kAxes) {
        return;
    }
    const KTime before = GetPrevKeyTime(pTime, nullptr);
    KgeRVector reference;
    for (int i = 0; i < kAxes; ++i) {
        if (Glissa* curve = Get(i)->FCurveGet()) {
            reference[i] = curve->Evaluate(before, nullptr);
        }
    }
    KgeRVector nearest;
    const KgeRVector rotation(pRotation[0], pRotation[1], pRotation[2]);
    KVdRotationOrder(mState->mRotationOrder).V2VRef(nearest, rotation, reference);
    for (int i = 0; i < kAxes; ++i) {
        pResult[i] = nearest[i];
    }
}

bool GlissaNode::GetContinuousOffset(double* pOffset, double* pSource, double* pTarget)
{
    CORVEKIT_ASSERT(pOffset && pSource && pTarget);
    const Turns turns = TurnsBetween(KVdRotationOrder(mState->mRotationOrder),
                                     KgeRVector(pSource[0], pSource[1], pSource[2]),
                                     KgeRVector(pTarget[0], pTarget[1], pTarget[2]), true);
    std::copy_n(turns.offset, kAxes, pOffset);
    return turns.isFlipped;
}

bool GlissaNode::ReplaceRotation(GlissaNode* pSource, KTime pStart, KTime pStop, bool pExactSpan,
                                 bool pKeyEndsWhenEmpty, KTime pOffset)
{
    CORVEKIT_ASSERT(pSource && IsRotationLayerType());
    RotationCurves own;
    RotationCurves source;
    if (!own.TakeFrom(this) || !source.TakeFrom(pSource)) {
        return false;
    }
    const KTime start = pStart + pOffset;
    // The flipped form of some of the angles would be another rotation.
    bool may_flip = true;
    bool has_keys_before = false;
    for (int i = 0; i < kAxes; ++i) {
        may_flip = may_flip && !Get(i)->IsNodeLocked() && HasKeyFrom(*source.axes[i], pStart);
        has_keys_before = has_keys_before || own.axes[i]->KeyFind(start, nullptr) > 0.0;
    }
    const KVdRotationOrder order(mState->mRotationOrder);
    const int middle = order.GetAxes()[1];
    // The source comes next to the keys in front of it, and those behind it next to the source.
    Turns in_front;
    if (has_keys_before) {
        in_front = TurnsBetween(order, source.Evaluate(pStart), own.Evaluate(start), may_flip);
    }
    KgeRVector source_end = source.Evaluate(pStop);
    in_front.Apply(source_end, middle);
    const Turns behind = TurnsBetween(order, own.Evaluate(pStop + pOffset), source_end, may_flip);

    for (int i = 0; i < kAxes; ++i) {
        if (!Get(i)->IsNodeLocked()) {
            own.axes[i]->ReplaceForEulerXYZ(
                source.axes[i], pStart, pStop, static_cast<float>(in_front.offset[i]),
                static_cast<float>(behind.offset[i]), i == middle && in_front.isFlipped,
                i == middle && behind.isFlipped, pExactSpan, pKeyEndsWhenEmpty, pOffset);
        }
    }
    return true;
}
