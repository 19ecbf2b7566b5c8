// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/euler_to_quat.h"

#include "corvekit/math/rotation_order.h"
#include "glissa/ext/color_manager.h"
#include "glissa/filter/converted_curves.h"
#include "glissa/filter/rotation_curves.h"
#include "glissa/filter/rotation_helpers.h"
#include "glissa/node/tree.h"

#include <algorithm>

template class KClassFrame<GlissaFilterEulerToQuat, GlissaFilter>;

namespace
{
const char* const kErrors[] = {"No key", "Left unchanged", "Node not in Euler", nullptr};

// The child for the real part. None where the node refuses it.
void AddRealPart(GlissaNode& pNode)
{
    GlissaNode* const child =
        AddNew(pNode, GlissaNodeCreate(kRealPartName, KDataTypeNumber, eLayerTypeValue,
                                       pNode.GetLayerInfo()));
    if (!child) {
        return;
    }
    child->CreateFCurve();
    IFCurveColorManager* const colors = GlissaColor_GetManager();
    IFCurveColorManager::Entry* const entry =
        colors->FindColor(IFCurveColorManager::kDefaultTable, "Quaternion");
    if (entry) {
        child->SetColor(colors->GetColor(entry, 0));
    }
}

KgeQuaternion QuaternionOf(const double* pAngles)
{
    return MatrixToQuaternion(EulerToMatrix(KgeRVector(pAngles)));
}
}  // namespace

GlissaFilterEulerToQuat::GlissaFilterEulerToQuat() : KClassFrame("Euler To Quaternion", kErrors, 4)
{
    GlissaFilterEulerToQuat::Reset();
}

void GlissaFilterEulerToQuat::Reset()
{
    mFramePeriod = KTime::FromSeconds(1.0 / 24.0);
    GlissaFilter::Reset();
}

bool GlissaFilterEulerToQuat::Apply(Glissa&)
{
    return Refuse(kNodesOnly, "EulerToQuat, This filters works only on FCurveNodes.");
}

bool GlissaFilterEulerToQuat::Apply(Glissa**, int)
{
    return Refuse(kNodesOnly, "EulerToQuat, This filters works only on FCurveNodes.");
}

bool GlissaFilterEulerToQuat::Apply(GlissaNode& pNode, bool pRecursive)
{
    if (IsNodeOrChildLocked(pNode)) {
        return false;
    }
    if (!pNode.IsRotationLayerType()) {
        return Refuse(kNotEuler, "EulerToQuat, Node is not a Euler node.");
    }
    Glissa* angles[kRotationAxes];
    KTimeSpan span;
    if (FindRotationCurves(pNode, angles)) {
        span = SpanOfKeys(angles, kRotationAxes, GetStartTime(), GetStopTime());
    }
    const bool hasSamples = span.GetStart() < span.GetStop();
    if (hasSamples && SampleGrid(span.GetStart(), span.GetStop(), mFramePeriod).count == 0) {
        return Refuse(eFilterUnchanged, "EulerToQuat, The frame period is out of range.");
    }
    const KOperation operation;
    AddRealPart(pNode);
    Glissa* curves[kQuaternionParts];
    if (!FindQuaternionCurves(pNode, curves)) {
        GetError().SetLastErrorID(eFilterUnchanged);
        return false;
    }
    if (hasSamples) {
        const double defaults[] = {curves[0]->GetValue(), curves[1]->GetValue(),
                                   curves[2]->GetValue()};
        KgeQuaternion before;
        ConvertCurves<kRotationAxes, kQuaternionParts>(
            curves, span, mFramePeriod, QuaternionOf(defaults).Data(),
            [&before](const double* pAngles, double* pParts) {
                const KgeQuaternion turn = QuaternionOf(pAngles);
                before = before.Dot(turn) < 0.0 ? -turn : turn;
                std::copy_n(before.Data(), kQuaternionParts, pParts);
            });
    }
    if (GlissaNode* const layer = pNode.LayerGet()) {
        Apply(*layer, pRecursive);
    }
    return true;
}
