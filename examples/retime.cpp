// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// How does a host make a line of retime markers, and move a locked chain of them with the keys?

#include "glissa/retime/retime.h"
#include "glissa/curve/curve.h"
#include "glissa/manip/manipulator.h"
#include "glissa/node/node.h"

#include <climits>
#include <cstdio>
#include <initializer_list>

namespace
{
// [snippet callback]
// The keys around the marker follow it. Each move is a manipulation of its own.
void Moved(void* pContext, KTime pLeft, KTime pTime, KTime pRight, KTime pDelta)
{
    auto& manipulator = *static_cast<GlissaManipulator*>(pContext);
    manipulator.BeginManipulation(eManipLeftEdge, false, 0.0);
    manipulator.OffsetXForRetiming(pLeft, pTime, pRight, pDelta);
    manipulator.EndManipulation();
}
// [end]

// [snippet append]
// Appends an element to a list. The constructors leave the links of the neighbours to the host.
void Append(KRetimeLinkListHead& pList, KRetimeElement* pElement)
{
    KRetimeElement* last = pList.mFirst;
    while (last && last->mNext) {
        last = last->mNext;
    }
    (last ? last->mNext : pList.mFirst) = pElement;
    pElement->mPrevious = last;
}
// [end]

void PrintKeys(const Glissa& pCurve)
{
    std::printf("keys at");
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        std::printf(" %g", pCurve.KeyGetTime(i).GetSecondDouble());
    }
    std::puts(" s");
}
}  // namespace

int main()
{
    GlissaNode* const node = GlissaNodeCreate("angle", nullptr, eLayerTypeVector, {});
    node->CreateFCurve();
    Glissa* const curve = node->FCurveGet();
    for (const double seconds : {0.0, 10.0, 15.0, 20.0, 30.0}) {
        curve->KeyAppendFast(KTime::FromSeconds(seconds), 0.0f);
    }
    PrintKeys(*curve);

    GlissaManipulator manipulator;
    // [snippet list]
    manipulator.Add(node);
    manipulator.MarkAllCurveNodeForManip(true);
    manipulator.MarkKeysForManip(true, node, 0, INT_MAX);  // all keys

    RetimeCallbackEntry entry;
    entry.mContext = &manipulator;
    entry.mMove = Moved;

    KRetimeLinkListHead list;
    auto* const first = new KRetimeMarker(entry, KTime::FromSeconds(10.0));
    auto* const span = new KRetimeNormalSpan(entry, nullptr, nullptr, KRetimeNormalSpanState{});
    auto* const second = new KRetimeMarker(entry, KTime::FromSeconds(20.0));
    Append(list, new KRetimeSpecialSpan(entry, nullptr, eRetimeLeftInfinite));
    Append(list, first);
    Append(list, span);
    Append(list, second);
    Append(list, new KRetimeSpecialSpan(entry, nullptr, eRetimeRightInfinite));
    // [end]

    first->Move(KTime::FromSeconds(2.0), true);
    PrintKeys(*curve);

    // [snippet chain]
    span->SetLocked(true);
    first->SetSelected();
    first->SelectLockedNeighborMarkers(nullptr);  // selects second

    // To the right: the last marker of a chain first, so that none passes the one after it.
    for (KRetimeMarker* marker : {second, first}) {
        if (marker->IsSelected()) {
            marker->Move(KTime::FromSeconds(15.0), true);
        }
    }
    // [end]
    PrintKeys(*curve);

    list.DestroyLinkList();
    node->Destroy();
    return 0;
}
