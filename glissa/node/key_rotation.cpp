// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Keys of rotations that join without a turn. A rotation has many forms as Euler angles: each angle
// may differ by whole turns, and in the flipped form half a turn is added to the first and the
// third angle in rotation order, and the middle one is subtracted from half a turn. The form that
// is written is the one nearest to the keys before.

#include "corvekit/event/operation.h"
#include "corvekit/math/rotation_order.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node_state.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace
{
constexpr int kAxes = 3;
// Just above one half, so that a difference of half a turn is not rounded to a whole one.
constexpr double kOverHalf = 0.5000000000000002;

// The three curves of a rotation, by axis.
struct RotationCurves
{
    Glissa* axes[kAxes];

    // The values of the curves, also of a muted node.
    KgeRVector Evaluate(KTime pTime) const
    {
        return KgeRVector(axes[0]->Evaluate(pTime, nullptr), axes[1]->Evaluate(pTime, nullptr),
                          axes[2]->Evaluate(pTime, nullptr));
    }
    // False where the node is no branch of three curves.
    bool TakeFrom(GlissaNode* pNode)
    {
        CORVEKIT_ASSERT(pNode);
        if (pNode->GetCount() != kAxes) {
            return false;
        }
        for (int i = 0; i < kAxes; ++i) {
            axes[i] = pNode->Get(i)->FCurveGet();
        }
        return axes[0] && axes[1] && axes[2];
    }
};

// The change of form that brings a rotation nearest to another one: the offsets are added to the
// angles; in the flipped form the middle angle is subtracted from its offset.
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
    CORVEKIT_ASSERT(pOrder.GetAxes()[1] >= 0 && pOrder.GetAxes()[1] < kAxes);
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

// Replaces a span of three curves so that the rotations join without a turn. False where a node has
// other than three curves.
bool ReplaceRotation(GlissaNode& pNode, GlissaNode& pSource, KTime pStart, KTime pStop,
                     bool pExactSpan, bool pKeyEndsWhenEmpty, KTime pOffset)
{
    CORVEKIT_ASSERT(pNode.IsRotationLayerType());
    RotationCurves own;
    RotationCurves source;
    if (!own.TakeFrom(&pNode) || !source.TakeFrom(&pSource)) {
        return false;
    }
    const KTime start = pStart + pOffset;
    // The flipped form of some of the angles would be another rotation.
    bool mayFlip = true;
    bool hasKeysBefore = false;
    for (int i = 0; i < kAxes; ++i) {
        mayFlip = mayFlip && !pNode.Get(i)->IsNodeLocked() && HasKeyFrom(*source.axes[i], pStart);
        hasKeysBefore = hasKeysBefore || own.axes[i]->KeyFind(start, nullptr) > 0.0;
    }
    const KVdRotationOrder order(pNode.GetRotationOrder());
    const int middle = order.GetAxes()[1];
    // The keys of the source are moved next to the keys before them, and the keys after the span
    // next to those of the source.
    Turns before;
    if (hasKeysBefore) {
        before = TurnsBetween(order, source.Evaluate(pStart), own.Evaluate(start), mayFlip);
    }
    KgeRVector sourceEnd = source.Evaluate(pStop);
    before.Apply(sourceEnd, middle);
    const Turns after = TurnsBetween(order, own.Evaluate(pStop + pOffset), sourceEnd, mayFlip);

    for (int i = 0; i < kAxes; ++i) {
        if (!pNode.Get(i)->IsNodeLocked()) {
            own.axes[i]->ReplaceForEulerXYZ(
                source.axes[i], pStart, pStop, static_cast<float>(before.offset[i]),
                static_cast<float>(after.offset[i]), i == middle && before.isFlipped,
                i == middle && after.isFlipped, pExactSpan, pKeyEndsWhenEmpty, pOffset);
        }
    }
    return true;
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

void GlissaNode::Replace(GlissaNode* pSource, KTime pStart, KTime pStop, bool pExactSpan,
                         bool pKeyEndsWhenEmpty, KTime pOffset)
{
    CORVEKIT_ASSERT(pSource);
    const KOperation operation;
    if (IsRotationLayerType() &&
        ReplaceRotation(*this, *pSource, pStart, pStop, pExactSpan, pKeyEndsWhenEmpty, pOffset)) {
        return;
    }
    if (mState->mCurve && pSource->FCurveGet()) {
        if (!IsNodeLocked()) {
            mState->mCurve->Replace(pSource->FCurveGet(), pStart, pStop, pExactSpan,
                                    pKeyEndsWhenEmpty, pOffset);
        }
    } else if (GetCount() == pSource->GetCount()) {
        for (int i = 0; i < GetCount(); ++i) {
            Get(i)->Replace(pSource->Get(i), pStart, pStop, pExactSpan, pKeyEndsWhenEmpty, pOffset);
        }
    }
}
