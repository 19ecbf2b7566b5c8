// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/event/listener_list.h"

namespace
{
// Without a destructor, so that static objects may end at process exit in any order.
[[gnu::tls_model("initial-exec")]] constinit thread_local KListenerWalk* tInnermost = nullptr;
}  // namespace

KListenerWalk::KListenerWalk(const void* pList, int pPlace)
    : mList(pList), mOuter(tInnermost), mPlace(pPlace)
{
    tInnermost = this;
}

KListenerWalk::~KListenerWalk()
{
    CORVEKIT_ASSERT(tInnermost == this);
    tInnermost = mOuter;
}

KListenerWalk* KListenerWalk::Innermost()
{
    return tInnermost;
}
