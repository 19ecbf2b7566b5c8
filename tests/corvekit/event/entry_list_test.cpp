// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/event/entry_list.h"

#include "tests/support/host_listener.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace
{
class EntryList : public testing::Test
{
protected:
    std::string Called()
    {
        mLog.clear();
        mList.Call(nullptr, nullptr);
        return mLog;
    }

    void Log(char pName)
    {
        mLog += pName;
        if (pName == 'a' && mThen) {
            mThen();
        }
    }

    std::string mLog;
    RegisterEntryList mList;
    HostListener a{[this](KEventBase*) { Log('a'); }};
    HostListener b{[this](KEventBase*) { Log('b'); }};
    HostListener c{[this](KEventBase*) { Log('c'); }};
    std::function<void()> mThen;  // of a
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
    EXPECT_EQ(&event, a.mEvent);
    EXPECT_EQ(3, mList.GetCount());
    EXPECT_TRUE(mList.Find(&b, kHear));
    EXPECT_TRUE(mList.Remove(&b, kHear));
    EXPECT_FALSE(mList.Remove(&b, kHear));
    EXPECT_FALSE(mList.Find(&b, kHear));
    EXPECT_FALSE(mList.Remove(nullptr, kHear));
    EXPECT_EQ("ca", Called());
}

TEST_F(EntryList, AListenerAddedDuringACallIsCalledFromTheNextOne)
{
    mList.Add(&a, kHear);
    mThen = [this] {
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
    mThen = [&] {
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
}  // namespace
