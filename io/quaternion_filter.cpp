// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A copy of the node is converted, so that a refusal half-way leaves the node as it is.

#include "io/quaternion_filter.h"

#include "corvekit/math/rotation_order.h"
#include "glissa/curve/curve.h"
#include "glissa/filter/gimble_killer.h"
#include "glissa/filter/quat_to_euler.h"
#include "glissa/node/node.h"

#include <algorithm>
#include <memory>

namespace
{
constexpr int kAxes = 3;

struct DestroyNode
{
    void operator()(GlissaNode* pNode) const { pNode->Destroy(); }
};

/// The curves X, Y and Z of a rotation in some order.
class Angles
{
public:
    /// Of a node with three children that have curves.
    explicit Angles(GlissaNode& pNode)
    {
        for (int axis = 0; axis < kAxes; ++axis) {
            mCurves[axis] = pNode.Get(axis)->FCurveGet();
        }
    }

    Glissa& operator[](int pAxis) { return *mCurves[pAxis]; }

    KgeRVector At(KTime pTime)
    {
        KgeRVector angles;
        for (int axis = 0; axis < kAxes; ++axis) {
            angles[axis] = mCurves[axis]->Evaluate(pTime, &mHints[axis]);
        }
        return angles;
    }

    KgeRVector OfKey(int pKey) const
    {
        return KgeRVector(mCurves[0]->KeyGetValue(pKey), mCurves[1]->KeyGetValue(pKey),
                          mCurves[2]->KeyGetValue(pKey));
    }

    void SetKey(int pKey, const KgeRVector& pAngles)
    {
        for (int axis = 0; axis < kAxes; ++axis) {
            mCurves[axis]->KeySetValue(pKey, static_cast<float>(pAngles[axis]));
        }
    }

    void Append(KTime pTime, const KgeRVector& pAngles)
    {
        for (int axis = 0; axis < kAxes; ++axis) {
            mCurves[axis]->KeyAppendFast(pTime, static_cast<float>(pAngles[axis]));
        }
    }

private:
    Glissa* mCurves[kAxes];
    int mHints[kAxes] = {};
};

bool HasThreeCurves(GlissaNode& pNode)
{
    bool has = pNode.GetCount() == kAxes;
    for (int axis = 0; has && axis < kAxes; ++axis) {
        has = pNode.Get(axis)->FCurveGet() != nullptr;
    }
    return has;
}

// The angles of a rotation in one order, in another one and next to some angles in that order.
KgeRVector Express(const KgeRVector& pAngles, int pFrom, int pTo, const KgeRVector& pReference)
{
    KgeRVector angles = pAngles;
    if (pFrom != pTo) {
        KgeRMatrix matrix;
        KVdRotationOrder(pFrom).V2M(matrix, pAngles);
        KVdRotationOrder(pTo).M2V(angles, matrix);
    }
    KVdRotationOrder(pTo).V2VRef(angles, angles, pReference);
    return angles;
}
}  // namespace

bool QuaternionFilter::Apply(GlissaNode& pNode, bool pRecursive)
{
    if (!pNode.IsRotationLayerType() || !HasThreeCurves(pNode)) {
        return Refuse(kNotEuler, "Quaternions, The node is not a rotation of three curves.");
    }
    for (int axis = 0; axis < kAxes; ++axis) {
        if (pNode.Get(axis)->IsNodeLocked() || pNode.IsNodeLocked()) {
            return false;
        }
    }
    KTime start;
    KTime stop;
    pNode.GetTimeSpan(start, stop);
    start = std::max(start, GetStartTime());
    stop = std::min(stop, GetStopTime());
    if (start >= stop) {
        return Refuse(eFilterNoKey, "Quaternions, No key to be filtered.");
    }
    const int order = pNode.GetRotationOrder();
    const KTime period = GetFramePeriod();
    Angles old(pNode);
    const std::unique_ptr<GlissaNode, DestroyNode> copy(pNode.Clone(false));
    Angles angles(*copy);
    for (int axis = 0; axis < kAxes; ++axis) {
        angles[axis].KeyClear();
    }
    KgeRVector before;
    for (KTime time = start; time <= stop && period > KTime(); time += period) {
        before = Express(old.At(time), order, 0, before);
        angles.Append(time, before);
    }
    copy->SetRotationOrder(0);
    GlissaFilterQuatToEuler back;
    KTime backPeriod = period;
    back.SetFramePeriod(backPeriod);
    if (!GlissaFilterEulerToQuat::Apply(*copy, pRecursive) || !back.Apply(*copy, pRecursive)) {
        return Refuse(eFilterUnchanged, "Quaternions, The period is out of range.");
    }

    copy->SetRotationOrder(order);
    if (order != 0) {
        for (int key = 0; key < angles[0].KeyGetCount(); ++key) {
            before = Express(angles.OfKey(key), 0, order, before);
            angles.SetKey(key, before);
        }
        GlissaFilterGimbleKiller killer;
        killer.Apply(*copy, pRecursive);
    }
    const int count = angles[0].KeyGetCount();
    for (int key = 0; key < count; ++key) {
        const KgeRVector reference = old.At(angles[0].KeyGetTime(key));
        angles.SetKey(key, Express(angles.OfKey(key), order, order, reference));
    }
    if (angles[0].KeyGetTime(count - 1) < stop) {
        angles.Append(stop, old.At(stop));
    }
    pNode.Replace(copy.get(), start, stop, false, true, KTime());
    return true;
}
