// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/event/named_event.h"

#include "tests/support/host_listener.h"

#include <gtest/gtest.h>

namespace
{
TEST(KGlobalNamedEvent, ReachesTheListenerOfTheLastSubscriptionUntilItEnds)
{
    HostListener listener;
    KEventBase event(1);
    const auto callsOf = [&](const char* pName) {
        const int before = listener.mCalls;
        KGlobalNamedEvent::Call(pName, &event);
        return listener.mCalls - before;
    };
    EXPECT_EQ(0, callsOf("FileNew"));
    {
        KGlobalNamedEvent subscription;
        EXPECT_FALSE(subscription.Register(nullptr, &listener, kHear));
        EXPECT_TRUE(subscription.Register("FileNew", &listener, kHear));
        EXPECT_EQ(1, callsOf("FileNew"));
        EXPECT_EQ(&event, listener.mEvent);
        EXPECT_EQ(0, callsOf("filenew"));
        EXPECT_TRUE(subscription.Register("FileOpen", &listener, kHear));
        EXPECT_EQ(0, callsOf("FileNew"));
        EXPECT_EQ(1, callsOf("FileOpen"));
    }
    EXPECT_EQ(0, callsOf("FileOpen"));
}
}  // namespace
