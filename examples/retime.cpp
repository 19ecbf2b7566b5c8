// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// How does a host make a line of retime markers, and move a locked chain of them?

#include "glissa/retime/retime.h"

#include <cstdio>
#include <cstdlib>
#include <initializer_list>

namespace
{
// [snippet callback]
// A host moves the keys between the outer times here.
void Moved(void* pContext, KTime pLeft, KTime pTime, KTime pRight, KTime pDelta)
{
    ++*static_cast<int*>(pContext);
    std::printf("%.0f s moves by %.0f s", pTime.GetSecondDouble(), pDelta.GetSecondDouble());
    if (pLeft != KTime::MinusInfinite()) {
        std::printf(", keys from %.0f s", pLeft.GetSecondDouble());
    }
    if (pRight != KTime::Infinite()) {
        std::printf(", keys up to %.0f s", pRight.GetSecondDouble());
    }
    std::puts("");
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
}  // namespace

int main()
{
    int calls = 0;
    // [snippet list]
    RetimeCallbackEntry entry;
    entry.mContext = &calls;
    entry.mMove = Moved;

    KRetimeLinkListHead list;
    Append(list, new KRetimeSpecialSpan(entry, nullptr, eRetimeLeftInfinite));
    auto* const first = new KRetimeMarker(entry, KTime::FromSeconds(10.0));
    auto* const span = new KRetimeNormalSpan(entry, nullptr, nullptr, KRetimeNormalSpanState{});
    auto* const second = new KRetimeMarker(entry, KTime::FromSeconds(20.0));
    Append(list, first);
    Append(list, span);
    Append(list, second);
    Append(list, new KRetimeSpecialSpan(entry, nullptr, eRetimeRightInfinite));
    // [end]

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
    std::printf("%.0f s and %.0f s\n", first->GetTime().GetSecondDouble(),
                second->GetTime().GetSecondDouble());
    list.DestroyLinkList();
    return calls == 2 ? EXIT_SUCCESS : EXIT_FAILURE;
}
