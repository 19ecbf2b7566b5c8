// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/quat_to_euler.h"

#include "glissa/filter/converted_curves.h"
#include "glissa/filter/gimble_killer.h"
#include "glissa/filter/rotation_curves.h"
#include "glissa/filter/rotation_helpers.h"
#include "glissa/node/node.h"

#include <algorithm>

template class KClassFrame<GlissaFilterQuatToEuler, GlissaFilter>;

namespace
{
const char* const kErrors[] = {"No key", "Left unchanged", "Not a quaternion Node"};

void AnglesOf(const double* pParts, double* pAngles)
{
    const KgeRVector angles(QuaternionToMatrix(KgeQuaternion(pParts)));
    std::copy_n(angles.Data(), kRotationAxes, pAngles);
}
}  // namespace

GlissaFilterQuatToEuler::GlissaFilterQuatToEuler() : KClassFrame("Quaternion To Euler", kErrors, 3)
{
    GlissaFilterQuatToEuler::Reset();
}

void GlissaFilterQuatToEuler::Reset()
{
    mFramePeriod = KTime::GetOneFrameValue(eTimeModeDefault);
    GlissaFilter::Reset();
}

bool GlissaFilterQuatToEuler::Apply(Glissa&)
{
    return Refuse(eFilterUnchanged, "QuatToEuler, No key were changed by filter.");
}

bool GlissaFilterQuatToEuler::Apply(Glissa**, int)
{
    return Refuse(eFilterUnchanged, "QuatToEuler, No key were changed by filter.");
}

bool GlissaFilterQuatToEuler::Apply(GlissaNode& pNode, bool pRecursive)
{
    if (IsNodeOrChildLocked(pNode)) {
        return false;
    }
    Glissa* curves[kQuaternionParts] = {};
    const int realPart = pNode.Find(pNode.FindRecursive(kRealPartName));
    if (!pNode.IsRotationLayerType() || pNode.GetCount() != kQuaternionParts || realPart < 0 ||
        !FindQuaternionCurves(pNode, curves)) {
        return Refuse(kNotQuaternion, "QuatToEuler, Not a quaternion node.");
    }
    const KTimeSpan span = SpanOfKeys(curves, kQuaternionParts, GetStartTime(), GetStopTime());
    const bool hasSamples = span.GetStart() < span.GetStop();
    if (hasSamples && SampleGrid(span.GetStart(), span.GetStop(), mFramePeriod).count == 0) {
        return Refuse(eFilterUnchanged, "QuatToEuler, The frame period is out of range.");
    }
    const KOperation operation;
    if (hasSamples) {
        const double parts[] = {curves[0]->GetValue(), curves[1]->GetValue(), curves[2]->GetValue(),
                                curves[3]->GetValue()};
        double defaults[kRotationAxes];
        AnglesOf(parts, defaults);
        ConvertCurves<kQuaternionParts, kRotationAxes>(curves, span, mFramePeriod, defaults,
                                                       AnglesOf);
        pNode.Delete(realPart);
        GlissaFilterGimbleKiller gimbleKiller;
        gimbleKiller.SetStartTime(GetStartTime());
        gimbleKiller.SetStopTime(GetStopTime());
        gimbleKiller.Apply(pNode, true);
    } else {
        pNode.SetLayerType(eLayerTypeRotation);
    }
    if (GlissaNode* const layer = pNode.LayerGet()) {
        Apply(*layer, pRecursive);
    }
    return true;
}
