// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/ext/invalid_key_manager.h"

#include "glissa/curve/key.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{
class Listener final : public ICallback
{
public:
    IObject* IQuery(unsigned long, int) override { return nullptr; }
    void Destroy(int) override {}
    void Hear(IRegister* pSender, KEventBase* pEvent)
    {
        ++mHeard;
        mSender = pSender;
        mKind = static_cast<GlissaInvalidKeyEvent*>(pEvent)->GetKind();
        mSeen = mKey.GetValue();
    }

    int mHeard = 0;
    IRegister* mSender = nullptr;
    int mKind = 0;
    GlissaKey mKey;
    float mSeen = 0.0f;  // the key's value while the listener ran
};

const auto kHear = static_cast<KCallbackMethod>(&Listener::Hear);

TEST(InvalidKeyManager, IsActiveWhileSomebodyListens)
{
    GlissaInvalidKeyManager& manager = GlissaInvalidKeyManager::TheOne();
    Listener listener;
    EXPECT_FALSE(manager.Register(0xFC30F, &listener, kHear, 0));
    EXPECT_FALSE(manager.IsActive());
    EXPECT_TRUE(manager.Register(0xFC30E, &listener, kHear, 0));
    EXPECT_TRUE(manager.Register(0xFC30E, &listener, kHear, 0));
    EXPECT_TRUE(manager.IsActive());

    GlissaInvalidKeyEvent event;
    manager.CallInvalidKey(&event);
    EXPECT_EQ(1, listener.mHeard);
    EXPECT_EQ(1, listener.mKind);
    EXPECT_EQ(static_cast<IRegister*>(&manager), listener.mSender);
    EXPECT_EQ(listener.mSender, static_cast<IRegister*>(manager.IQuery(3, 0)));
    EXPECT_STREQ("GlissaInvalidKeyManager", manager.GetClassIdName());

    EXPECT_FALSE(manager.Unregister(0xFC30F, &listener, kHear));
    EXPECT_TRUE(manager.IsActive());
    EXPECT_TRUE(manager.Unregister(0xFC30E, &listener, kHear));
    EXPECT_TRUE(manager.Unregister(0xFC30E, &listener, kHear));
    EXPECT_FALSE(manager.IsActive());
}

TEST(InvalidKeyManager, AValueThatIsNoNumberIsReportedAndThenZero)
{
    using Limits = std::numeric_limits<float>;
    GlissaInvalidKeyManager& manager = GlissaInvalidKeyManager::TheOne();
    Listener listener;
    GlissaKey& key = listener.mKey;
    key.SetValue(Limits::infinity());
    EXPECT_EQ(Limits::infinity(), key.GetValue());

    manager.Register(0xFC30E, &listener, kHear, 0);
    for (const float value : {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()}) {
        listener.mHeard = 0;
        key.SetValue(value);
        EXPECT_EQ(1, listener.mHeard) << value;
        EXPECT_EQ(2, listener.mKind);
        EXPECT_FALSE(std::isfinite(listener.mSeen));
        EXPECT_EQ(0.0f, key.GetValue());
    }
    listener.mHeard = 0;
    for (const float value : {0.0f, -0.0f, Limits::denorm_min(), Limits::max(), Limits::lowest()}) {
        key.SetValue(value);
        EXPECT_EQ(value, key.GetValue());
    }
    EXPECT_EQ(0, listener.mHeard);

    manager.Unregister(0xFC30E, &listener, kHear);
    key.SetValue(Limits::quiet_NaN());
    EXPECT_TRUE(std::isnan(key.GetValue()));
}
}  // namespace
