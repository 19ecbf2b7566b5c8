// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/event/entry_list.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace
{
// Writes its letter into a log and then does what the test asks of it.
class Listener final : public ICallback
{
public:
    Listener(char pLetter, std::string& pLog) : mLetter(pLetter), mLog(pLog) {}
    IObject* IQuery(unsigned long, int) override { return nullptr; }
    void Destroy(int) override {}
    void Hear(IRegister*, KEventBase* pEvent)
    {
        mLog += mLetter;
        mHeard = pEvent;
        if (mThen) {
            mThen();
        }
    }

    std::function<void()> mThen;
    KEventBase* mHeard = nullptr;

private:
    char mLetter;
    std::string& mLog;
};

const auto kHear = static_cast<KCallbackMethod>(&Listener::Hear);

class EntryList : public testing::Test
{
protected:
    std::string Called()
    {
        mLog.clear();
        mList.Call(nullptr, nullptr);
        return mLog;
    }

    std::string mLog;
    RegisterEntryList mList;
    Listener a{'a', mLog}, b{'b', mLog}, c{'c', mLog};
};

TEST_F(EntryList, CallsByPriorityAndThenByAge)
{
    mList.Add(&a, kHear, -1);
    mList.Add(&b, kHear, 5);
    mList.Add(&c, kHear, 5);
    mList.Add(nullptr, kHear, 5);
    KEventBase event(3);
    mList.Call(nullptr, &event);
    EXPECT_EQ("bca", mLog);
    EXPECT_EQ(&event, a.mHeard);
    EXPECT_EQ(3, mList.GetCount());
    EXPECT_TRUE(mList.Find(&b, kHear));
    EXPECT_TRUE(mList.Remove(&b, kHear));
    EXPECT_FALSE(mList.Remove(&b, kHear));
    EXPECT_FALSE(mList.Find(&b, kHear));
    EXPECT_FALSE(mList.Remove(nullptr, kHear));
    EXPECT_EQ("ca", Called());
}

TEST_F(EntryList, AListenerRemovedDuringACallIsNotCalledAnyMore)
{
    for (Listener* each : {&a, &b, &c}) {
        mList.Add(each, kHear);
    }
    a.mThen = [this] {
        mList.Remove(&a, kHear);
        mList.Remove(&b, kHear);
        EXPECT_EQ(1, mList.GetCount());
    };
    EXPECT_EQ("ac", Called());
    EXPECT_EQ("c", Called());
}

TEST_F(EntryList, AListenerAddedDuringACallIsCalledFromTheNextOne)
{
    mList.Add(&a, kHear);
    a.mThen = [this] {
        if (!mList.Find(&b, kHear)) {
            mList.Add(&b, kHear, 1);
            mList.Add(&c, kHear, -1);
        }
    };
    EXPECT_EQ("a", Called());
    EXPECT_EQ("bac", Called());
}

TEST_F(EntryList, NestedCallsSeeWhatWasAddedAndRemovedBeforeThem)
{
    mList.Add(&a, kHear);
    mList.Add(&b, kHear);
    bool nested = false;
    a.mThen = [&] {
        if (!nested) {
            nested = true;
            mList.Remove(&b, kHear);
            mList.Add(&c, kHear);
            mList.Call(nullptr, nullptr);
            mLog += '|';
        }
    };
    EXPECT_EQ("aac|", Called());
    EXPECT_EQ("ac", Called());
}

TEST_F(EntryList, AListenerThatThrowsLeavesTheListInOrder)
{
    mList.Add(&a, kHear);
    a.mThen = [this] {
        mList.Remove(&a, kHear);
        throw std::runtime_error("refused");
    };
    EXPECT_THROW(Called(), std::runtime_error);
    mList.Add(&b, kHear);
    EXPECT_EQ("b", Called());
}
}  // namespace
