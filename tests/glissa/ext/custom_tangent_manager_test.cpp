// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/ext/custom_tangent_manager.h"

#include "glissa/curve/key.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
GlissaCustomTangentManager& Manager()
{
    return GlissaCustomTangentManager::TheOne();
}

class Listener final : public ICallback
{
public:
    IObject* IQuery(unsigned long, int) override { return nullptr; }
    void Destroy(int) override {}
    void Hear(IRegister* pSender, KEventBase* pEvent)
    {
        ++mHeard;
        mSender = pSender;
        mEvent = pEvent;
    }
    void HearAlso(IRegister*, KEventBase*) { ++mHeard; }

    int mHeard = 0;
    IRegister* mSender = nullptr;
    KEventBase* mEvent = nullptr;
};

const auto kHear = static_cast<KCallbackMethod>(&Listener::Hear);
const auto kHearAlso = static_cast<KCallbackMethod>(&Listener::HearAlso);
constexpr int kEventIds[] = {0xFF30E, 0xFF30F, 0xFF31F, 0xFF34F, 0xFF32F};

class CustomTangents : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(0, Manager().GetCustomTangentTypeCount()); }
    void TearDown() override
    {
        while (Manager().GetCustomTangentTypeCount() > 0) {
            Manager().RemoveCustomTangent(Manager().GetCustomTangentName(0));
        }
        for (const int id : kEventIds) {
            Manager().Unregister(id, &mListener, kHear);
            Manager().Unregister(id, &mListener, kHearAlso);
        }
    }
    // The stored names in order of position, each with a blank behind it.
    static std::string Stored()
    {
        std::string all;
        for (int i = 0; i < Manager().GetCustomTangentTypeCount(); ++i) {
            all += std::string(Manager().GetCustomTangentTDFName(i)) + ' ';
        }
        return all;
    }

    Listener mListener;
};

TEST_F(CustomTangents, NamesAreUniqueEachAmongTheirKindAndThereAreFour)
{
    const struct
    {
        const char *name, *stored;
        int expected;
    } cases[] = {
        {"Bounce", "BNC", 0}, {"BOUNCE", "x", -1}, {"y", "bnc", -1},
        {nullptr, "z", -1},   {"z", nullptr, -1},  {"bnc", "Bounce", 1},
        {"", "", 2},          {"Step", "STP", 3},  {"Fifth", "5", -1},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.expected, Manager().AddNewCustomTangent(each.name, each.stored));
    }
    EXPECT_EQ(4, Manager().GetCustomTangentTypeCount());
    EXPECT_STREQ("bnc", Manager().GetCustomTangentName(1));
    EXPECT_STREQ("Bounce", Manager().GetCustomTangentTDFName(1));
    EXPECT_STREQ("", Manager().GetCustomTangentName(4));
    EXPECT_STREQ("", Manager().GetCustomTangentTDFName(-1));

    EXPECT_EQ(0, Manager().GetCustomTangentIndexBasedOnTDFName("BNC"));
    EXPECT_EQ(-1, Manager().GetCustomTangentIndexBasedOnTDFName("bnc"));  // case matters here
    EXPECT_EQ(-1, Manager().GetCustomTangentIndexBasedOnTDFName(nullptr));
    EXPECT_EQ(0x100, Manager().GetCustomTangentFCurveEnumBasedOnTDFName("BNC"));
    EXPECT_EQ(0x200, Manager().GetCustomTangentFCurveEnumBasedOnTDFName("Bounce"));
    EXPECT_EQ(0x400, Manager().GetCustomTangentFCurveEnumBasedOnTDFName(""));
    EXPECT_EQ(-1, Manager().GetCustomTangentFCurveEnumBasedOnTDFName("STP"));
    EXPECT_EQ(-1, Manager().GetCustomTangentFCurveEnumBasedOnTDFName("none"));
}

TEST_F(CustomTangents, AHoleIsFilledByTheNextType)
{
    Manager().AddNewCustomTangent("a", "A");
    Manager().AddNewCustomTangent("b", "B");
    Manager().AddNewCustomTangent("c", "C");
    EXPECT_TRUE(Manager().RemoveCustomTangent("A"));
    EXPECT_EQ("B C ", Stored());
    EXPECT_EQ(0x200, Manager().GetCustomTangentFCurveEnumBasedOnTDFName("C"));
    EXPECT_EQ(0, Manager().AddNewCustomTangent("a", "A"));
    EXPECT_EQ("A B C ", Stored());

    EXPECT_TRUE(Manager().RemoveCustomTangent(Manager().GetCustomTangentName(1)));
    EXPECT_EQ(0x200, Manager().GetCustomTangentFCurveEnumBasedOnTDFName("C"));
    EXPECT_EQ(1, Manager().AddNewCustomTangent("d", "D"));
    EXPECT_EQ("A D C ", Stored());
    EXPECT_EQ(3, Manager().AddNewCustomTangent("e", "E"));
    EXPECT_FALSE(Manager().RemoveCustomTangent("none"));
    EXPECT_FALSE(Manager().RemoveCustomTangent(nullptr));
}

TEST_F(CustomTangents, TypesAreFoundByTheChecksumOfTheStoredName)
{
    const GlissaCustomTangent tangent(nullptr, "foobar");
    EXPECT_EQ(0x85944171F73967E8u, tangent.GetTangentTDFChecksum());
    EXPECT_STREQ("", tangent.GetTangentName());
    EXPECT_EQ(-1, tangent.GetTangentIndex());
    EXPECT_EQ(0xCBF29CE484222325u, GlissaCustomTangent("a", nullptr).GetTangentTDFChecksum());

    Manager().AddNewCustomTangent("first", "1");
    Manager().AddNewCustomTangent("second", "foobar");
    EXPECT_EQ(1, Manager().GetCustomTangentIndexBasedOnTDFChecksum(0x85944171F73967E8u));
    EXPECT_EQ(-1, Manager().GetCustomTangentIndexBasedOnTDFChecksum(0));
}

TEST_F(CustomTangents, PooledEventsAreClearedAndReused)
{
    auto* first = Manager().AcquireCustomTangentEvaluationEventObject();
    auto* second = Manager().AcquireCustomTangentEvaluationEventObject();
    EXPECT_NE(first, second);
    first->mKeyIndex = 2.5;
    first->mCurve = reinterpret_cast<Glissa*>(first);
    first->mReserved = 1;
    first->mReservedFirst = 2;
    first->mReservedLast = 3;
    first->mResult = 4.0;
    GlissaEvaluationEvent stranger;
    Manager().ReleaseCustomTangentEvaluationEventObject(&stranger);
    Manager().ReleaseCustomTangentEvaluationEventObject(first);
    ASSERT_EQ(first, Manager().AcquireCustomTangentEvaluationEventObject());
    auto* third = Manager().AcquireCustomTangentEvaluationEventObject();
    EXPECT_NE(first, third);
    Manager().ReleaseCustomTangentEvaluationEventObject(third);
    EXPECT_EQ(nullptr, first->mCurve);
    EXPECT_EQ(0u, first->mReserved);
    EXPECT_EQ(-1, first->mReservedFirst);
    EXPECT_EQ(-1, first->mReservedLast);
    EXPECT_EQ(0.0, first->mResult);
    EXPECT_EQ(2.5, first->mKeyIndex);  // kept until the caller fills it
    Manager().ReleaseCustomTangentEvaluationEventObject(first);
    Manager().ReleaseCustomTangentEvaluationEventObject(second);

    auto* add = Manager().AcquireCustomTangentKeyAddEventObject();
    add->mIndex = 7;
    add->mCurve = reinterpret_cast<Glissa*>(add);
    Manager().ReleaseCustomTangentKeyAddEventObject(add);
    EXPECT_EQ(add, Manager().AcquireCustomTangentKeyAddEventObject());
    EXPECT_EQ(nullptr, add->mCurve);
    EXPECT_EQ(7, add->mIndex);
    Manager().ReleaseCustomTangentKeyAddEventObject(add);

    auto* change = Manager().AcquireCustomTangentKeyChangeEventObject();
    change->mBefore = true;
    change->mCurve = reinterpret_cast<Glissa*>(change);
    Manager().ReleaseCustomTangentKeyChangeEventObject(change);
    EXPECT_EQ(change, Manager().AcquireCustomTangentKeyChangeEventObject());
    EXPECT_EQ(nullptr, change->mCurve);
    EXPECT_TRUE(change->mBefore);
    Manager().ReleaseCustomTangentKeyChangeEventObject(change);
}

TEST_F(CustomTangents, EachEventReachesItsOwnListeners)
{
    GlissaEvaluationEvent evaluation;
    GlissaCustomKeyAddEvent add;
    GlissaCustomKeyChangeEvent change;
    for (std::size_t i = 0; i < std::size(kEventIds); ++i) {
        SCOPED_TRACE(kEventIds[i]);
        EXPECT_TRUE(Manager().Register(kEventIds[i], &mListener, kHear, 0));
        EXPECT_TRUE(Manager().Register(kEventIds[i], &mListener, kHear, 5));  // stays one entry
        KEventBase* const expected[] = {nullptr, &evaluation, &add, &add, &change};
        mListener = Listener();
        Manager().AddNewCustomTangent("a", "A");
        EXPECT_EQ(i == 0 ? 1 : 0, mListener.mHeard);
        Manager().CallCustomEvaluation(&evaluation);
        EXPECT_EQ(i <= 1 ? 1 : 0, mListener.mHeard);
        Manager().CallCustomAddKey(&add);
        EXPECT_EQ(i <= 2 ? 1 : 0, mListener.mHeard);
        Manager().CallCustomAddCustomKey(&add);
        EXPECT_EQ(i <= 3 ? 1 : 0, mListener.mHeard);
        Manager().CallCustomKeyChange(&change);
        EXPECT_EQ(1, mListener.mHeard);
        EXPECT_EQ(expected[i], mListener.mEvent);
        EXPECT_EQ(static_cast<IRegister*>(&Manager()), mListener.mSender);
        Manager().RemoveCustomTangent("none");
        EXPECT_EQ(1, mListener.mHeard);
        Manager().RemoveCustomTangent("a");
        EXPECT_EQ(i == 0 ? 2 : 1, mListener.mHeard);
        EXPECT_TRUE(Manager().Unregister(kEventIds[i], &mListener, kHear));
        EXPECT_TRUE(Manager().Unregister(kEventIds[i], &mListener, kHear));
    }
    EXPECT_FALSE(Manager().Register(0xFC30E, &mListener, kHear, 0));
    EXPECT_FALSE(Manager().Unregister(0xFF33F, &mListener, kHear));

    // Two members of one listener are two entries.
    Manager().Register(0xFF30F, &mListener, kHear, 0);
    Manager().Register(0xFF30F, &mListener, kHearAlso, 0);
    mListener = Listener();
    Manager().CallCustomEvaluation(&evaluation);
    EXPECT_EQ(2, mListener.mHeard);
}

TEST_F(CustomTangents, AKeyNamesATypeOnlyWhileThereAreSoMany)
{
    GlissaKey key;
    key.SetCustomIndex(0x100);
    EXPECT_EQ(0u, key.GetCustomIndex());
    const char* const names[] = {"a", "b", "c"};
    for (unsigned count = 1; count <= 3; ++count) {
        Manager().AddNewCustomTangent(names[count - 1], names[count - 1]);
        for (unsigned wanted = 1; wanted <= 3; ++wanted) {
            key.Init();
            key.SetInterpolation(eInterpolationCustom);
            key.SetCustomIndex(0x80u << wanted);
            EXPECT_EQ(wanted <= count ? 0x80u << wanted : 0x100u, key.GetCustomIndex())
                << count << ' ' << wanted;
        }
    }
}

TEST_F(CustomTangents, TheManagerAnswersForItsInterfacesAndCannotBeEnded)
{
    EXPECT_EQ(static_cast<IRegister*>(&Manager()), static_cast<IRegister*>(Manager().IQuery(3, 0)));
    EXPECT_EQ(static_cast<KObject*>(&Manager()), Manager().IQuery(0, 0));
    EXPECT_EQ(nullptr, Manager().IQuery(4, 0));
    EXPECT_STREQ("GlissaCustomTangentManager", Manager().GetClassIdName());
    EXPECT_TRUE(Manager().Is(KObject::ClassId));
    EXPECT_FALSE(Manager().Is(GlissaCustomTangent::ClassId));
    EXPECT_EQ(&GlissaCustomTangentManager::ClassDefinition,
              KClassDefinition::Find("GlissaCustomTangentManager"));
    EXPECT_NE(nullptr, KClassDefinition::Find("GlissaCustomTangent"));
    Manager().AddNewCustomTangent("a", "A");
    Manager().Destroy(0);
    EXPECT_EQ(1, Manager().GetCustomTangentTypeCount());
}
}  // namespace
