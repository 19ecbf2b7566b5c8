// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/node_stubs.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

namespace
{
// Three listeners, and the calls of all of them: name, type and number of events.
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
        if (listener->reaction) {
            listener->reaction();
        }
    }
    Listener& Named(char pName) { return mListeners[pName - 'a']; }
    void Register(char pName) { mNode->CallbackRegister(Hear, &Named(pName)); }
    void Unregister(char pName) { mNode->CallbackUnregister(Hear, &Named(pName)); }
    std::string Take() { return std::exchange(mHeard, std::string()); }

    std::string mHeard;
    Listener mListeners[3] = {{this, 'a', {}}, {this, 'b', {}}, {this, 'c', {}}};
    NodePtr mNode = MakeChannel(KDataTypeLclTranslation, "T");
};
}  // namespace

TEST_F(NodeEvents, AreSentAtOnceOrCollected)
{
    mNode->CallbackAddEvent(eNodeEventCurve);
    EXPECT_EQ(mNode->GetNodeUpdateId(), 0);  // nobody listens
    for (const char name : {'a', 'b', 'a'}) {
        Register(name);
    }
    mNode->CallbackAddEvent(eNodeEventCurve);
    EXPECT_EQ(Take(), "a4x1 b4x1 a4x1 ");
    EXPECT_EQ(mNode->GetNodeUpdateId(), 1);
    Unregister('a');  // the last pair
    mNode->CallbackAddEvent(eNodeEventLayers);
    EXPECT_EQ(Take(), "b16x1 a16x1 ");

    mNode->CallbackEnable(false);
    for (const int bit : {1, 4, 8, 16, 4}) {
        mNode->CallbackAddEvent(bit);
    }
    EXPECT_EQ(mNode->GetNodeUpdateId(), 7);
    EXPECT_FALSE(mNode->CallbackIsEnable());
    EXPECT_EQ(Take(), "");
    mNode->CallbackEnable(true);
    EXPECT_EQ(Take(), "a29x5 b29x5 ");
    mNode->CallbackEnable(false);
    mNode->CallbackAddEvent(1);
    mNode->CallbackClear();
    mNode->CallbackEnable(true);
    EXPECT_EQ(Take(), "");
    {
        const KOperation operation;
        mNode->CallbackEnable(false);
        mNode->CallbackAddEvent(1);
        mNode->CallbackEnable(true);
        mNode->CallbackEnable(false);
    }
    EXPECT_EQ(Take(), "a1x1 b1x1 ");
    EXPECT_FALSE(mNode->CallbackIsEnable());  // the last call decides
}

TEST_F(NodeEvents, ReachEachListenerThatIsStillRegistered)
{
    // A listener that removes others, and adds one, when it is called; who is called by an event
    // that is sent at once and by one that was collected.
    const struct
    {
        char called;
        const char* removed;
        const char* added;
        const char* atOnce;
        const char* collected;
    } cases[] = {
        {'a', "a", "", "cba", "abc"},   {'a', "c", "", "cba", "ab"},    {'b', "a", "", "cb", "abc"},

        {'c', "abcc", "b", "c", "abc"}, {'a', "abcc", "b", "cba", "a"},
    };
    for (const auto& each : cases) {
        for (const bool collects : {false, true}) {
            SCOPED_TRACE(std::string(1, each.called) + " removes " + each.removed);
            for (const char name : {'a', 'b', 'c'}) {
                Register(name);
            }
            Named(each.called).reaction = [this, &each] {
                for (const char name : std::string(each.removed)) {
                    Unregister(name);
                }
                for (const char name : std::string(each.added)) {
                    Register(name);
                }
            };
            mNode->CallbackEnable(!collects);
            mNode->CallbackAddEvent(eNodeEventCurve);
            mNode->CallbackEnable(true);
            std::string expected;
            for (const char name : std::string(collects ? each.collected : each.atOnce)) {
                expected += std::string(1, name) + "4x1 ";
            }
            EXPECT_EQ(Take(), expected);
            Named(each.called).reaction = nullptr;
            for (const char name : {'a', 'b', 'c', 'c'}) {
                Unregister(name);
            }
        }
    }
}

TEST_F(NodeEvents, FollowEachChange)
{
    Register('a');
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

    GlissaNode* layer = mNode->CreateLayerAt({3, nullptr});
    EXPECT_EQ(Take(), "a16x1 a16x1 ");
    layer->SetUseQuaternion(true);  // reported by the base
    EXPECT_EQ(Take(), "a16x1 ");

    // Listeners that are turned off are called at the end of the node too.
    mNode->CallbackEnable(false);
    mNode->CallbackAddEvent(eNodeEventCurve);
    GlissaNode* ended = mNode.get();
    ended->Destroy();
    EXPECT_EQ(Take(), "a6x2 ");
    static_cast<void>(mNode.release());
}
