// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A copy of the rotation becomes four curves, each of which is smoothed, and angles again. The span
// of the copy then replaces that of the node.

#include "corvekit/math/rotation_order.h"
#include "glissa/filter/converted_curves.h"
#include "glissa/filter/euler_to_quat.h"
#include "glissa/filter/quat_to_euler.h"
#include "glissa/filter/resample.h"
#include "glissa/filter/rotation_curves.h"
#include "glissa/filter/smooth.h"
#include "glissa/node/node_state.h"
#include "glissa/settings/settings.h"

#include <algorithm>

namespace
{
// The angles in one order of a rotation in another one, next to a rotation in that order.
KgeRVector Express(const KgeRVector& pAngles, int pFrom, int pTo, const KgeRVector& pReference)
{
    const KVdRotationOrder to(pTo);
    KgeRMatrix matrix;
    KVdRotationOrder(pFrom).V2M(matrix, pAngles);
    KgeRVector angles;
    to.M2V(angles, matrix);
    to.V2VRef(angles, angles, pReference);
    return angles;
}

// Gives a rotation in another order keys in the order X, Y, Z at the times at which it is sampled
// as quaternions.
void ExpressInFixedOrder(Glissa* const* pCurves, int pOrder, const KTimeSpan& pSpan, KTime pPeriod)
{
    KgeRVector before;
    const double defaults[kRotationAxes] = {};
    ConvertCurves<kRotationAxes, kRotationAxes>(
        pCurves, pSpan, pPeriod, defaults,
        [pOrder, &before](const double* pAngles, double* pResult) {
            before = Express(KgeRVector(pAngles), pOrder, 0, before);
            std::copy_n(before.Data(), kRotationAxes, pResult);
        });
}

// The way back, key by key: the curves have keys at the same times.
void ExpressInOrder(Glissa* const* pCurves, int pOrder)
{
    for (int i = 0; i < pCurves[0]->KeyGetCount(); ++i) {
        const KgeRVector before = i > 0 ? RotationOfKey(pCurves, i - 1) : KgeRVector();
        const KgeRVector angles = Express(RotationOfKey(pCurves, i), 0, pOrder, before);
        for (int axis = 0; axis < kRotationAxes; ++axis) {
            pCurves[axis]->KeySetValue(i, static_cast<float>(angles[axis]));
        }
    }
}

// A key at the stop, where the samples end before it, with the rotation that was there.
void AddKeyAtStop(Glissa* const* pCurves, KTime pStop, const KgeRVector& pAngles, int pOrder)
{
    const int last = pCurves[0]->KeyGetCount() - 1;
    if (last < 0 || pCurves[0]->KeyGetTime(last) >= pStop) {
        return;
    }
    const KgeRVector angles = Express(pAngles, pOrder, pOrder, RotationOfKey(pCurves, last));
    for (int axis = 0; axis < kRotationAxes; ++axis) {
        pCurves[axis]->KeyAppendFast(pStop, static_cast<float>(angles[axis]));
    }
}

void SetSpan(GlissaFilter& pFilter, const KTimeSpan& pSpan)
{
    pFilter.SetStartTime(pSpan.GetStart());
    pFilter.SetStopTime(pSpan.GetStop());
}
}  // namespace

bool GlissaFilterSmooth::SmoothAsQuaternions(GlissaNode& pNode)
{
    Glissa* curves[kRotationAxes];
    if (!pNode.IsRotationLayerType() || !FindRotationCurves(pNode, curves) ||
        !AreChildCurves(pNode, curves)) {
        return Refuse(0, "FCurve Smooth, The node is not a rotation of three curves.");
    }
    if (mSampleCount > kMostSamples) {
        return Refuse(0, "FCurve Smooth, The window has more than 100000 samples.");
    }
    const KTime period = GLISSA_GetPlotPeriod();
    // What is smoothed lies between keys of the node itself: the span may be that of a longer one.
    const KTimeSpan span = SpanOfKeys(curves, kRotationAxes, GetStartTime(), GetStopTime());
    if (!(span.GetStart() < span.GetStop())) {
        return true;
    }
    if (SampleGrid(span.GetStart(), span.GetStop(), period).count == 0) {
        return Refuse(0, "FCurve Smooth, The plot period is out of range.");
    }
    const KOperation operation;
    const int order = pNode.GetRotationOrder();
    int hints[kRotationAxes] = {};
    KgeRVector atStop;
    for (int axis = 0; axis < kRotationAxes; ++axis) {
        atStop[axis] = curves[axis]->Evaluate(span.GetStop(), &hints[axis]);
    }

    const NodeHolder copy(pNode.Clone(false));
    Glissa* copies[kRotationAxes];
    FindRotationCurves(*copy, copies);
    GlissaFilterResample resample;
    SetSpan(resample, span);
    resample.SetPeriodTime(period);
    resample.SetKeysOnFrame(true);
    resample.Apply(*copy, true);
    if (order != 0) {
        ExpressInFixedOrder(copies, order, span, period);
    }
    copy->SetRotationOrder(0);
    GlissaFilterEulerToQuat toQuaternion;
    SetSpan(toQuaternion, span);
    toQuaternion.SetFramePeriod(period);
    // Otherwise the copy would still be a rotation of three curves, which comes here again.
    if (!toQuaternion.Apply(*copy, true)) {
        return Refuse(0, toQuaternion.GetLastErrorString());
    }
    Apply(*copy, true);
    GlissaFilterQuatToEuler toEuler;
    SetSpan(toEuler, span);
    toEuler.SetFramePeriod(period);
    toEuler.Apply(*copy, true);
    if (order != 0) {
        ExpressInOrder(copies, order);
    }
    copy->SetRotationOrder(order);
    AddKeyAtStop(copies, span.GetStop(), atStop, order);
    const KeptOnFailure kept(curves, kRotationAxes);
    pNode.Replace(copy.get(), span.GetStart(), span.GetStop(), false, true, KTime());
    return true;
}
