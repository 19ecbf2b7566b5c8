// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/node_stubs.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

namespace
{
// Listeners by name, and what they heard in the order of the calls.
class NodeEvents : public testing::Test
{
protected:
    struct Listener
    {
        NodeEvents* test;
        char name;
        std::function<void()> reaction;
    };

    static void Hear(GlissaNode* pNode, GlissaNodeEvent* pEvent, void* pData)
    {
        auto* listener = static_cast<Listener*>(pData);
        EXPECT_EQ(pNode, listener->test->mNode.get());
        listener->test->mHeard += listener->name + std::to_string(pEvent->GetType()) + "x" +
                                  std::to_string(pEvent->GetEventCount()) + " ";
        // What the listener holds may end within the reaction.
        const std::function<void()> reaction = listener->reaction;
        if (reaction) {
            reaction();
        }
    }
    void Register(Listener& pListener) { mNode->CallbackRegister(Hear, &pListener); }
    void Unregister(Listener& pListener) { mNode->CallbackUnregister(Hear, &pListener); }
    std::string Take() { return std::exchange(mHeard, std::string()); }

    std::string mHeard;
    Listener mA{this, 'a', {}};
    Listener mB{this, 'b', {}};
    Listener mC{this, 'c', {}};
    NodePtr mNode = MakeChannel(KDataTypeLclTranslation, "T");
};
}  // namespace

TEST_F(NodeEvents, GoFromTheLastListenerToTheFirst)
{
    mNode->CallbackAddEvent(eNodeEventCurve);
    EXPECT_EQ(mNode->GetNodeUpdateId(), 0);  // nobody listens
    for (Listener* each : {&mA, &mB, &mA}) {
        Register(*each);
    }
    mNode->CallbackAddEvent(eNodeEventCurve);
    EXPECT_EQ(Take(), "a4x1 b4x1 a4x1 ");
    EXPECT_EQ(mNode->GetNodeUpdateId(), 1);
    Unregister(mA);  // the last pair
    mNode->CallbackAddEvent(eNodeEventLayers);
    EXPECT_EQ(Take(), "b16x1 a16x1 ");
}

TEST_F(NodeEvents, AreCollectedWhileTurnedOff)
{
    Register(mA);
    Register(mB);
    EXPECT_TRUE(mNode->CallbackEnable(false));
    for (int bit : {1, 4, 8, 16, 4}) {
        mNode->CallbackAddEvent(bit);
    }
    EXPECT_EQ(mNode->GetNodeUpdateId(), 5);
    EXPECT_FALSE(mNode->CallbackIsEnable());
    EXPECT_EQ(Take(), "");
    EXPECT_TRUE(mNode->CallbackEnable(true));
    EXPECT_EQ(Take(), "a29x5 b29x5 ");
    EXPECT_TRUE(mNode->CallbackIsEnable());
    mNode->CallbackEnable(false);
    mNode->CallbackAddEvent(1);
    mNode->CallbackClear();
    mNode->CallbackEnable(true);
    EXPECT_EQ(Take(), "");
}

TEST_F(NodeEvents, ReachEachListenerOnceWhoeverGoesMeanwhile)
{
    // Who goes when whom is called; all three are back for the next case.
    struct Case
    {
        Listener& called;
        Listener& goes;
        const char* lastFirst;
        const char* firstFirst;
    };
    const Case cases[] = {
        {mA, mA, "c4x1 b4x1 a4x1 ", "a4x1 b4x1 c4x1 "},
        {mC, mC, "c4x1 b4x1 a4x1 ", "a4x1 b4x1 c4x1 "},
        {mC, mA, "c4x1 b4x1 ", "a4x1 b4x1 c4x1 "},
        {mA, mC, "c4x1 b4x1 a4x1 ", "a4x1 b4x1 "},
        {mB, mA, "c4x1 b4x1 ", "a4x1 b4x1 c4x1 "},
        {mB, mC, "c4x1 b4x1 a4x1 ", "a4x1 b4x1 "},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(std::string(1, each.called.name) + each.goes.name);
        for (const bool collects : {false, true}) {
            for (Listener* listener : {&mA, &mB, &mC}) {
                Register(*listener);
            }
            each.called.reaction = [this, &each] { Unregister(each.goes); };
            mNode->CallbackEnable(!collects);
            mNode->CallbackAddEvent(eNodeEventCurve);
            mNode->CallbackEnable(true);
            EXPECT_EQ(Take(), collects ? each.firstFirst : each.lastFirst);
            each.called.reaction = nullptr;
            for (Listener* listener : {&mA, &mB, &mC}) {
                Unregister(*listener);
            }
        }
    }
}

TEST_F(NodeEvents, StopWhenTheListIsBroughtDown)
{
    const auto bring_down = [this] {
        for (Listener* listener : {&mA, &mB, &mC, &mC}) {
            Unregister(*listener);
        }
    };
    for (const bool collects : {false, true}) {
        for (const bool comes_back : {false, true}) {
            Register(mA);
            Register(mB);
            Register(mC);
            Listener& first = collects ? mA : mC;
            first.reaction = [this, &bring_down, comes_back] {
                bring_down();
                if (comes_back) {
                    Register(mB);  // on a new list, which the event does not reach
                }
            };
            mNode->CallbackEnable(!collects);
            mNode->CallbackAddEvent(eNodeEventCurve);
            mNode->CallbackEnable(true);
            EXPECT_EQ(Take(), std::string(1, first.name) + "4x1 ");
            first.reaction = nullptr;
            bring_down();
        }
    }
}

TEST_F(NodeEvents, TellWhatWasDone)
{
    Register(mA);
    Glissa* curve = GlissaCreate();
    EXPECT_EQ(mNode->FCurveSet(curve, false), nullptr);
    EXPECT_EQ(mNode->FCurveSet(curve, true), nullptr);  // the same curve lives, and no event
    EXPECT_EQ(Take(), "a4x1 ");
    mNode->FCurveReplace(nullptr);
    EXPECT_EQ(Take(), "a4x1 ");

    const NodePtr warp = MakeChannel(KDataTypeTimeWarp, "W");
    mNode->TimeWarpSet(warp.get());
    mNode->TimeWarpSet(warp.get());
    EXPECT_EQ(Take(), "a8x1 ");
    mNode->SetVisibility(true, true, true, 1);
    EXPECT_EQ(Take(), "a1x1 ");
    EXPECT_FALSE(mNode->GetVisibility());
    EXPECT_TRUE(mNode->Get(1)->GetVisibility());
    EXPECT_FALSE(mNode->Get(0)->GetVisibility());
    mNode->SetVisibility(true, false, false, -1);
    EXPECT_TRUE(mNode->GetVisibility());
    EXPECT_FALSE(mNode->Get(0)->GetVisibility());
    Take();

    GlissaNode* layer = mNode->CreateLayerAt({3, nullptr});
    EXPECT_EQ(Take(), "a16x1 a16x1 ");
    EXPECT_EQ(mNode->CreateLayerAt({3, nullptr}), layer);
    EXPECT_EQ(Take(), "");
    layer->SetUseQuaternion(true);  // told to the base
    EXPECT_EQ(Take(), "a16x1 ");
    mNode->SetUseQuaternion(true);
    EXPECT_EQ(Take(), "a16x1 ");
    mNode->SetVisibility(false, true, true, -1);
    EXPECT_FALSE(mNode->Get(1)->GetVisibility());
    mNode->RemoveLayer(3, true);
    EXPECT_EQ(Take(), "a1x1 ");

    // The end is heard by those who have turned listening off, too.
    mNode->CallbackEnable(false);
    mNode->CallbackAddEvent(eNodeEventCurve);
    GlissaNode* ended = mNode.get();
    ended->Destroy();
    EXPECT_EQ(Take(), "a6x2 ");
    static_cast<void>(mNode.release());
}
