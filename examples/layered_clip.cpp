// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// How does a clip get a layer, a place on a timeline, and locks?

#include "glissa/glissa.h"
#include "io/bvh_reader.h"
#include "io/curve_clip.h"
#include "io/host_timeline.h"

#include "corvekit/object/property.h"

#include <cstdio>

int main(int pCount, char** pArguments)
{
    const IoResult<Clip> clip = ReadBvh(pCount > 1 ? pArguments[1] : "walk.bvh");
    if (!clip) {
        std::puts(clip.GetError().GetText().c_str());
        return 1;
    }
    CurveClip curves(*clip);
    NodeClip& nodes = curves.GetNodes();
    GlissaNode* const turn = nodes.GetTransform(0, KDataTypeLclRotation);

    HostLayer& bow = nodes.GetLayers().Add("bow");
    bow.mWeight->SetValue(0.5f);
    GlissaNode* const layer = turn->CreateLayerAt(GlissaLayerInfo(bow.mId, &bow));
    layer->Get(0)->FCurveGet()->SetValue(30.0f);  // half of 30 degrees about X

    double below[3], blended[3];
    turn->Evaluate(below, KTime());
    turn->GeneralEvaluate(blended, KTime());
    std::printf("X: %.2f below, %.2f blended\n", below[0], blended[0]);

    // The clip begins at 2 s of the timeline and runs twice as slow.
    auto* const place = new HostClipPlace;
    place->mOffset = KTime::FromSeconds(2.0);
    place->mSpeed = 2.0;
    nodes.GetRoot()->SetETI(place);
    place->ReleaseReference();
    const KTime inside = turn->ETIGlobalTime2NodeTime(KTime::FromSeconds(5.0));
    std::printf("5 s of the timeline are %.2f s of the clip\n", inside.GetSecondDouble());

    KPropertyTemplate<double> property;
    HostLocks locks;
    turn->SetProperty(&property);
    turn->SetLockQuery(&locks);
    locks.SetLocked(&property, true);
    std::printf("locked: %s\n", turn->IsNodeLocked() ? "yes" : "no");
    turn->SetLockQuery(nullptr);
    turn->SetProperty(nullptr);

    const bool right = inside == KTime::FromSeconds(1.5) && blended[0] != below[0];
    return right ? 0 : 1;
}
