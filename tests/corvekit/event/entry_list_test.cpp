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
    // The listeners that a call reaches, in order.
    std::string Called()
    {
        mLog.clear();
        mList.Call(nullptr, nullptr);
        return mLog;
    }

    std::string mLog;
    RegisterEntryList mList;
    std::function<void()> mThen = [] {};  // what mA does
    HostListener mA{[this](KEventBase*) {
        mLog += 'a';
        const std::function<void()> then = mThen;  // it may set mThen
        then();
    }};
    HostListener mB{[this](KEventBase*) { mLog += 'b'; }};
    HostListener mC{[this](KEventBase*) { mLog += 'c'; }};
};

TEST_F(EntryList, CallsByPriorityAndThenByAge)
{
    mList.Add(&mA, kHear, -1);
    mList.Add(&mB, kHear, 5);
    mList.Add(&mC, kHear, 5);
    mList.Add(nullptr, kHear, 5);
    EXPECT_EQ("bca", Called());
    EXPECT_EQ(3, mList.GetCount());
    EXPECT_TRUE(mList.Remove(&mB, kHear));
    EXPECT_FALSE(mList.Remove(&mB, kHear));
    EXPECT_EQ("ca", Called());
}

TEST_F(EntryList, AListenerAddedDuringACallIsCalledFromTheNextCallOn)
{
    mList.Add(&mA, kHear);
    mThen = [this] {
        if (!mList.Find(&mB, kHear)) {
            mList.Add(&mB, kHear, 1);
            mList.Add(&mC, kHear, -1);
        }
    };
    EXPECT_EQ("a", Called());
    EXPECT_EQ("bac", Called());
}

TEST_F(EntryList, ANestedCallReachesTheListenersOfItsTime)
{
    mList.Add(&mA, kHear);
    mList.Add(&mB, kHear);
    mThen = [this] {
        mThen = [] {};
        mList.Remove(&mB, kHear);
        mList.Add(&mC, kHear);
        mList.Call(nullptr, nullptr);
        mLog += '|';
    };
    EXPECT_EQ("aac|", Called());
    EXPECT_EQ("ac", Called());
}
}  // namespace
