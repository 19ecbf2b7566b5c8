// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/ext/custom_tangent_manager.h"

#include "tests/support/host_listener.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
GlissaCustomTangentManager& Manager()
{
    return GlissaCustomTangentManager::TheOne();
}

class CustomTangents : public testing::Test
{
protected:
    void TearDown() override
    {
        while (Manager().GetCustomTangentTypeCount() > 0) {
            Manager().RemoveCustomTangent(Manager().GetCustomTangentName(0));
        }
    }
    // The stored names in order of position, each with a blank after it.
    static std::string Stored()
    {
        std::string all;
        for (int i = 0; i < Manager().GetCustomTangentTypeCount(); ++i) {
            all += std::string(Manager().GetCustomTangentTDFName(i)) + ' ';
        }
        return all;
    }
};

TEST_F(CustomTangents, NamesAreUniqueEachAmongTheirKindAndThereAreFour)
{
    const struct
    {
        const char *name, *stored;
        int expected;
        int keyBits;  // of the stored name afterwards
    } cases[] = {
        {"Bounce", "BNC", 0, 0x100}, {"BOUNCE", "x", -1, -1}, {"y", "bnc", -1, -1},
        {nullptr, "z", -1, -1},      {"z", nullptr, -1, -1},  {"bnc", "Bounce", 1, 0x200},
        {"", "", 2, 0x400},          {"Step", "STP", 3, -1},  {"Fifth", "5", -1, -1},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.expected, Manager().AddNewCustomTangent(each.name, each.stored));
        EXPECT_EQ(each.keyBits, Manager().GetCustomTangentFCurveEnumBasedOnTDFName(each.stored));
    }
    EXPECT_STREQ("bnc", Manager().GetCustomTangentName(1));
    EXPECT_STREQ("", Manager().GetCustomTangentName(4));
}

TEST_F(CustomTangents, AFreedPlaceIsTakenByTheNextType)
{
    for (const char* const name : {"A", "B", "C"}) {
        Manager().AddNewCustomTangent(name, name);
    }
    EXPECT_TRUE(Manager().RemoveCustomTangent("a"));
    EXPECT_EQ("B C ", Stored());
    EXPECT_EQ(0, Manager().AddNewCustomTangent("A", "A"));
    EXPECT_EQ("A B C ", Stored());
    EXPECT_EQ(3, Manager().AddNewCustomTangent("E", "foobar"));
    EXPECT_EQ("A B C foobar ", Stored());
    EXPECT_EQ(3, Manager().GetCustomTangentIndexBasedOnTDFChecksum(0x85944171F73967E8u));
    EXPECT_EQ(-1, Manager().GetCustomTangentIndexBasedOnTDFChecksum(0));
}

// Acquires two events, releases one and acquires it again, without its curve.
template <typename Event>
void ExpectPooled(Event* (GlissaCustomTangentManager::*pAcquire)(),
                  void (GlissaCustomTangentManager::*pRelease)(Event*))
{
    Event* const first = (Manager().*pAcquire)();
    Event* const second = (Manager().*pAcquire)();
    EXPECT_NE(first, second);
    first->mCurve = reinterpret_cast<Glissa*>(first);
    Event stranger;
    (Manager().*pRelease)(&stranger);
    (Manager().*pRelease)(first);
    EXPECT_EQ(first, (Manager().*pAcquire)());
    EXPECT_EQ(nullptr, first->mCurve);
    (Manager().*pRelease)(first);
    (Manager().*pRelease)(second);
}

TEST_F(CustomTangents, PooledEventsAreClearedAndReused)
{
    using M = GlissaCustomTangentManager;
    ExpectPooled(&M::AcquireCustomTangentEvaluationEventObject,
                 &M::ReleaseCustomTangentEvaluationEventObject);
    ExpectPooled(&M::AcquireCustomTangentKeyAddEventObject,
                 &M::ReleaseCustomTangentKeyAddEventObject);
    ExpectPooled(&M::AcquireCustomTangentKeyChangeEventObject,
                 &M::ReleaseCustomTangentKeyChangeEventObject);
}

// The other events are tested where curves send them, in events_test.cpp of the curve.
TEST_F(CustomTangents, AListenerIsRegisteredOnceAndCalledWhenTypesChange)
{
    HostListener listener;
    EXPECT_TRUE(Manager().Register(0xFF30E, &listener, kHear, 0));
    EXPECT_TRUE(Manager().Register(0xFF30E, &listener, kHear, 5));
    Manager().AddNewCustomTangent("a", "A");
    EXPECT_EQ(1, listener.mCalls);
    EXPECT_EQ(nullptr, listener.mEvent);
    EXPECT_EQ(static_cast<IRegister*>(&Manager()), listener.mSender);
    Manager().RemoveCustomTangent("a");
    EXPECT_EQ(2, listener.mCalls);
    EXPECT_TRUE(Manager().Unregister(0xFF30E, &listener, kHear));
    EXPECT_FALSE(Manager().Register(0xFC30E, &listener, kHear, 0));
}
}  // namespace
