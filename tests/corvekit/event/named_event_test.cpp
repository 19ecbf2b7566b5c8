// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/event/named_event.h"

#include "tests/support/host_listener.h"

#include <gtest/gtest.h>

namespace
{
TEST(KGlobalNamedEvent, ReachesThoseWhoSubscribedToTheNameWhileTheyAreThere)
{
    HostListener listener;
    KEventBase event(1);
    KGlobalNamedEvent::Call("FileNew", &event);
    {
        KGlobalNamedEvent subscription;
        EXPECT_FALSE(subscription.Register(nullptr, &listener, kHear));
        EXPECT_FALSE(subscription.IsRegistered());
        EXPECT_TRUE(subscription.Register("FileNew", &listener, kHear));
        KGlobalNamedEvent::Call("FileNew", &event);
        EXPECT_EQ(&event, listener.mEvent);
        KGlobalNamedEvent::Call("filenew");
        EXPECT_EQ(1, listener.mCalls);

        EXPECT_TRUE(subscription.Register("FileOpen", &listener, kHear));
        KGlobalNamedEvent::Call("FileNew");
        EXPECT_EQ(1, listener.mCalls);
        KGlobalNamedEvent::Call("FileOpen");
        EXPECT_EQ(2, listener.mCalls);
    }
    KGlobalNamedEvent::Call("FileOpen");
    EXPECT_EQ(2, listener.mCalls);
}
}  // namespace
