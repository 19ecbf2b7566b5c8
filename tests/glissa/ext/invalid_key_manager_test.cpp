// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/ext/invalid_key_manager.h"

#include "glissa/curve/key.h"
#include "tests/support/host_listener.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

TEST(InvalidKeyManager, AValueThatIsNotFiniteIsReportedAndThenZeroWhileSomebodyListens)
{
    using Limits = std::numeric_limits<float>;
    GlissaInvalidKeyManager& manager = GlissaInvalidKeyManager::TheOne();
    GlissaKey key;
    HostListener listener([&key](KEventBase* pEvent) {
        EXPECT_EQ(2, static_cast<GlissaInvalidKeyEvent*>(pEvent)->GetKind());
        EXPECT_FALSE(std::isfinite(key.GetValue()));
    });
    key.SetValue(Limits::infinity());
    EXPECT_EQ(Limits::infinity(), key.GetValue());
    EXPECT_FALSE(manager.Register(0xFC30F, &listener, kHear, 0));
    EXPECT_TRUE(manager.Register(0xFC30E, &listener, kHear, 0));
    EXPECT_TRUE(manager.Register(0xFC30E, &listener, kHear, 0));
    for (const float value : {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()}) {
        listener.mCalls = 0;
        key.SetValue(value);
        EXPECT_EQ(1, listener.mCalls) << value;
        EXPECT_EQ(static_cast<IRegister*>(&manager), listener.mSender);
        EXPECT_EQ(0.0f, key.GetValue());
    }
    for (const float value : {-0.0f, Limits::denorm_min(), Limits::max(), Limits::lowest()}) {
        key.SetValue(value);
        EXPECT_EQ(value, key.GetValue());
    }
    EXPECT_EQ(1, listener.mCalls);
    EXPECT_TRUE(manager.Unregister(0xFC30E, &listener, kHear));
    EXPECT_FALSE(manager.IsActive());
    key.SetValue(Limits::quiet_NaN());
    EXPECT_TRUE(std::isnan(key.GetValue()));
}
