// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/event/named_event.h"

#include <gtest/gtest.h>

namespace
{
class Listener final : public ICallback
{
public:
    IObject* IQuery(unsigned long, int) override { return nullptr; }
    void Destroy(int) override {}
    void Hear(IRegister* pSender, KEventBase* pEvent)
    {
        EXPECT_EQ(nullptr, pSender);
        mEvent = pEvent;
        ++mHeard;
    }

    int mHeard = 0;
    KEventBase* mEvent = nullptr;
};

TEST(KGlobalNamedEvent, ReachesThoseWhoSubscribedToTheNameWhileTheyAreThere)
{
    Listener listener;
    KEventBase event(1);
    KGlobalNamedEvent::Call("FileNew", &event);
    {
        KGlobalNamedEvent subscription;
        EXPECT_FALSE(subscription.Register(nullptr, &listener, &Listener::Hear));
        EXPECT_FALSE(subscription.IsRegistered());
        EXPECT_TRUE(subscription.Register("FileNew", &listener, &Listener::Hear));
        KGlobalNamedEvent::Call("FileNew", &event);
        EXPECT_EQ(&event, listener.mEvent);
        KGlobalNamedEvent::Call("filenew");
        EXPECT_EQ(1, listener.mHeard);

        EXPECT_TRUE(subscription.Register("FileOpen", &listener, &Listener::Hear));
        KGlobalNamedEvent::Call("FileNew");
        EXPECT_EQ(1, listener.mHeard);
        KGlobalNamedEvent::Call("FileOpen");
        EXPECT_EQ(2, listener.mHeard);
    }
    KGlobalNamedEvent::Call("FileOpen");
    EXPECT_EQ(2, listener.mHeard);
}
}  // namespace
