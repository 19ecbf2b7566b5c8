// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Documents written by hand: those of other writers, and such as no writer makes.

#include "glissa/curve/curve.h"
#include "glissa/node/node.h"
#include "tests/support/stored_node.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
// Channels with the default values pFirst, pFirst + 1 and so on, of a layer where pLayer is not 0.
std::string Channels(const std::vector<std::string>& pNames, int pFirst, int pLayer = 0)
{
    std::string text;
    for (const std::string& name : pNames) {
        text += "Channel: S\"" + name + Numbered("\" {\nDefault: D", pFirst++) +
                (pLayer > 0 ? Numbered("\nLayerID: I", pLayer) : "") + "\n}\n";
    }
    return text;
}

// The default values of the children.
std::string ValuesOf(GlissaNode& pNode)
{
    std::string values;
    for (int i = 0; i < pNode.GetCount(); ++i) {
        values += std::to_string(static_cast<int>(pNode.Get(i)->FCurveGet()->GetValue())) + ' ';
    }
    return values;
}

TEST(NodeStoreReading, ChannelsFindTheirNodes)
{
    const struct
    {
        KDataType* type;
        std::vector<std::string> names;
        const char* values;
    } cases[] = {
        {KDataTypeColorAndAlpha, {"R", "G", "B", "A"}, "1 2 3 4 "},
        {KDataTypeColorAndAlpha, {" ", "B", "Y", "R"}, "4 3 2 1 "},
        {KDataTypeVector, {"x", "Y  (old)", "Z   (old)"}, "1 2 0 "},
        {KDataTypeVector, {"X(1)(2)", "X(3)"}, "2 0 0 "},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.names[0]);
        const std::string text = "Channel: S\"read\" {\n" + Channels(each.names, 1) + "}\n";
        EXPECT_EQ(each.values, ValuesOf(*Retrieved(text, MakeChannel(each.type, "node"), false)));
    }
    // A short name means the type, before a name that is the same.
    NodePtr object = EmptyNode();
    object->Add(MakeChannel(nullptr, "R").release());
    object->Add(MakeChannel(KDataTypeLclRotation, "Turn").release());
    object = Retrieved("Channel: S\"o\" {\nChannel: S\"R\" {\n" + Channels({"Y"}, 4) +
                           "LayerType: I2\n}\n}\n",
                       std::move(object), false);
    EXPECT_EQ("0 4 0 ", ValuesOf(*object->Get(1)));
    EXPECT_STREQ("Turn", object->Get(1)->GetName());
    // In a node of many children a name finds the first.
    NodePtr wide = MakeWide(26);
    wide->Add(GlissaNodeCreate("C", static_cast<KDataType*>(nullptr), 0, GlissaLayerInfo()));
    wide = Retrieved("Channel: S\"read\" {\n" + Channels({"C"}, 5) + "}\n", std::move(wide), false);
    EXPECT_EQ(5.0f, wide->Get(2)->FCurveGet()->GetValue());
    EXPECT_EQ(nullptr, wide->Get(26)->FCurveGet());
}

TEST(NodeStoreReading, WhatDoesNotFitIsLeftOut)
{
    // A leaf keeps its curve and takes no channel, a branch keeps its children and takes no curve.
    NodePtr leaf = MakeChannel(KDataTypeNumber, "leaf");
    leaf = Retrieved("Channel: S\"leaf\" {\nDefault: D3\nChannel: S\"X\" {\nDefault: D1\n}\n}\n",
                     std::move(leaf));
    EXPECT_EQ(0, leaf->GetCount());
    EXPECT_EQ(3.0f, leaf->FCurveGet()->GetValue());
    const NodePtr branch =
        Retrieved("Channel: S\"T\" {\nDefault: D3\n}\n", MakeChannel(KDataTypeVector, "T"));
    EXPECT_EQ(nullptr, branch->FCurveGet());
    EXPECT_EQ(3, branch->GetCount());

    // Behind a channel that was left out the next one is read without its colour.
    std::string text = "Channel: S\"v\" {\n";
    for (const char* const name : {"no", "X", "Y"}) {
        text += std::string("Channel: S\"") + name + "\" {\nDefault: D1\nColor: D0.5 D0 D0\n}\n";
    }
    const NodePtr vector = Retrieved(text + "}\n", MakeChannel(KDataTypeVector, "v"), false);
    EXPECT_EQ(1.0f, vector->Get(0)->FCurveGet()->GetColor()[0]);
    EXPECT_EQ(0.5f, vector->Get(1)->FCurveGet()->GetColor()[0]);
}

TEST(NodeStoreReading, LayerTypesFollowTheTypeOfData)
{
    const struct
    {
        KDataType* type;
        const char* name;
        int children;
        int stored;
        int becomes;
    } cases[] = {
        {nullptr, "R", 4, 2, 0},
        {nullptr, "R", 3, 1, 2},
        {nullptr, "r", 3, 1, 1},
        {KDataTypeLclRotation, "Turn", 2, 5, 0},
        {KDataTypeTranslation, "x", 3, 3, 1},
        {KDataTypeScaling, "x", 3, 0, 3},
        {KDataTypeVector, "x", 3, 4, 1},  // 4 is none: the node keeps what it has
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(std::string(each.name) + std::to_string(each.stored));
        std::string text = std::string("Channel: S\"") + each.name + "\" {\n";
        for (int i = 0; i < each.children; ++i) {
            text += Numbered("Channel: S\"", i) + "\" {\n}\n";
        }
        text += "LayerType: I" + std::to_string(each.stored) + "\n}\n";
        NodePtr node(GlissaNodeCreate(each.name, each.type, eLayerTypeVector, GlissaLayerInfo()));
        EXPECT_EQ(each.becomes, Retrieved(text, std::move(node))->GetLayerType());
    }
}

TEST(NodeStoreReading, TimeWarpsAreThoseOfBranchesAndOfTheirChannelsInLayers)
{
    // Warps outlive what they warp.
    const NodePtr second = MakeChannel(KDataTypeTimeWarp, "Slower");
    const NodePtr warp = MakeChannel(KDataTypeTimeWarp, "Slow");
    KSet<int, GlissaNode*> warps;
    warps.Add(9, warp.get());
    warps.Add(8, second.get());
    Glissa_SetTWSet(&warps);
    const struct
    {
        const char* name;
        int number;
        int layer;
        GlissaNode* branch;
        GlissaNode* channel;
    } cases[] = {{"Y", 9, 0, warp.get(), nullptr},
                 {"Y", 9, 3, nullptr, warp.get()},
                 {"y", 9, 0, nullptr, warp.get()},
                 {"Y", 7, 0, nullptr, nullptr}};
    for (const auto& each : cases) {
        const NodePtr node = Retrieved(std::string("Channel: S\"T\" {\nChannel: S\"") + each.name +
                                           Numbered("\" {\nLayerID: I", each.layer) +
                                           Numbered("\nTimeWarpID: I", each.number) + "\n}\n}\n",
                                       EmptyNode());
        EXPECT_EQ(each.branch, node->TimeWarpGet());
        EXPECT_EQ(each.channel, node->Get(0)->TimeWarpGet());
    }
    // Time that depends on itself has no value, so such a link is left out.
    const auto read = [](GlissaNode& pNode, const char* pText) {
        KTdf tdf = FromText(std::string("Channel: S\"w\" {\n") + pText + "}\n");
        pNode.TdfRetrieve(&tdf, false, true, true);
    };
    read(*warp, "TimeWarpID: I8\n");
    EXPECT_EQ(second.get(), warp->TimeWarpGet());
    read(*second, "TimeWarpID: I9\n");
    EXPECT_EQ(nullptr, second->TimeWarpGet());
    Glissa_SetTWSet(nullptr);
}

// Chains that no writer makes.
TEST(NodeStoreReading, AChainThatWasReadIsAChain)
{
    const auto layer = [](int pId, const std::string& pInner, const std::string& pChannels) {
        return "LayerChannel: S\"other\" {\nUserName: S\"other\"\n" + pChannels +
               Numbered("LayerID: I", pId) + "\n" + pInner + "}\n";
    };
    NodePtr node = MakeChannel(KDataTypeLclScaling, "S");
    node->CreateLayerAt(GlissaLayerInfo(2, nullptr));
    // 5, 3, 7, 7, 9 in this order: 3 and the second 7 are left out.
    const std::string chain = layer(5, layer(3, layer(7, layer(7, layer(9, "", ""), ""), ""), ""),
                                    Channels({"x", "W", "Z"}, 1, 5));
    node = Retrieved("Channel: S\"S\" {\nUserName: S\"Size\"\n" + chain + "}\n", std::move(node),
                     false);
    std::string ids;
    for (GlissaNode* each = node.get(); each; each = each->LayerGet()) {
        ids += std::to_string(each->GetLayerID()) + ' ';
        EXPECT_EQ(node.get(), each->ObjectLayerGet());
        EXPECT_EQ(node->GetNameInfo(), each->GetNameInfo());
        EXPECT_EQ(eLayerTypeScaling, each->GetLayerType());
        ASSERT_EQ(3, each->GetCount());
    }
    EXPECT_EQ("0 5 7 9 ", ids);
    EXPECT_STREQ("Size", node->GetTimeWarpName());

    GlissaNode* const five = node->LayerGet(5);
    for (int i = 0; i < 3; ++i) {
        GlissaNode* const channel = five->Get(i);
        EXPECT_EQ(node->Get(i), channel->ObjectLayerGet());
        EXPECT_STREQ(node->Get(i)->GetName(), channel->GetName());
        // Y was not stored: it is neutral. The case of a stored name does not matter.
        EXPECT_EQ(i == 1 ? 1.0f : static_cast<float>(i + 1), channel->FCurveGet()->GetValue());
        EXPECT_EQ(i == 1, node->Get(i)->GetNameInfo() != channel->GetNameInfo());
        EXPECT_EQ(5, channel->GetLayerID());
    }
    // Without stored layers the chain remains, but for layers whose id no longer ascends.
    node = Retrieved("Channel: S\"S\" {\nLayerID: I7\n}\n", std::move(node), false);
    ASSERT_NE(nullptr, node->LayerGet());
    EXPECT_EQ(9, node->LayerGet()->GetLayerID());
}

TEST(NodeStoreReading, ChannelsOfLayersFindThoseOfTheBase)
{
    // By the letters of a colour, in any order.
    const NodePtr color = Retrieved("Channel: S\"color\" {\n" + Channels({"R", "G", "B"}, 1) +
                                        "LayerChannel: S\"color\" {\n" +
                                        Channels({"B", "G", "R"}, 5, 3) + "LayerID: I3\n}\n}\n",
                                    MakeChannel(KDataTypeColor, "color"));
    GlissaNode* const layer = color->LayerGet(3);
    ASSERT_NE(nullptr, layer);
    EXPECT_EQ("7 6 5 ", ValuesOf(*layer));
    EXPECT_EQ(color->Get(2), layer->Get(2)->ObjectLayerGet());
    EXPECT_STREQ("Z", layer->Get(2)->GetName());

    // By short names, of a parent that has layers itself.
    NodePtr joints[] = {MakeJoint(), MakeJoint()};
    joints[0]->CreateLayerAt({3, nullptr})->Get(0)->Get(1)->FCurveGet()->SetValue(9.0f);
    KTdf tdf = Stored(*joints[0], true);
    ASSERT_TRUE(joints[1]->TdfRetrieve(&tdf, false, false, false));
    EXPECT_EQ("0 9 0 ", ValuesOf(*joints[1]->LayerGet(3)->Get(0)));
}

TEST(NodeStoreReading, DepthIsThatOfTheDocument)
{
    for (const bool chain : {false, true}) {
        std::string text = "Channel: S\"a\" {\n";
        std::string end = "}\n";
        for (int i = 1; i < KTdf::kMaxNesting; ++i) {
            text += chain ? Numbered("LayerChannel: S\"a\" {\nLayerID: I", i) + '\n'
                          : std::string("Channel: S\"a\" {\n");
            end += "}\n";
        }
        const NodePtr node = Retrieved(text + end, EmptyNode());
        int depth = 0;
        for (GlissaNode* each = node.get(); each; each = chain ? each->LayerGet() : each->Get(0)) {
            ++depth;
        }
        EXPECT_EQ(KTdf::kMaxNesting, depth);
    }
    NodePtr deep = EmptyNode();
    GlissaNode* last = deep.get();
    while (GlissaNode* const below = last->FindOrCreate("a", false)) {
        last = below;
    }
    // What a document has beyond the levels of the tree that reads it is left out.
    KTdf tdf = Stored(*deep);
    std::vector<GlissaStoreFault> faults;
    EXPECT_TRUE(last->GetParent()->TdfRetrieve(&tdf, false, true, false, &faults));
    ASSERT_EQ(1u, faults.size());
    EXPECT_EQ(eStoreFaultChannelUnknown, faults[0].mKind);
    EXPECT_EQ(last, faults[0].mNode);
}

// A node's layers are its own, whatever names lead to it and however often it is stored.
TEST(NodeStoreReading, ALayerBelongsToTheNodeThatHoldsIt)
{
    const std::string once = "Channel: S\"R\" {\nLayerID: I2\n"
                             "LayerChannel: S\"R\" {\nLayerID: I5\n"
                             "Channel: S\"X\" {\nLayerID: I5\n}\n}\n}\n";
    for (const std::string& text : {once, "Channel: S\"R\" {\nLayerID: I3\n}\n" + once}) {
        NodePtr root = EmptyNode();
        GlissaNode* const turn = MakeChannel(KDataTypeLclRotation, "Turn").release();
        GlissaNode* const named = MakeChannel(KDataTypeColor, "R").release();
        root->Add(turn);
        root->Add(named);
        root = Retrieved("Channel: S\"r\" {\n" + text + "}\n", std::move(root), false);
        GlissaNode* const layer = turn->LayerGet(5);
        ASSERT_NE(nullptr, layer);
        EXPECT_EQ(turn, layer->ObjectLayerGet());
        EXPECT_EQ(turn, turn->ObjectLayerGet());
        EXPECT_EQ(turn->Get(0), layer->Get(0)->ObjectLayerGet());
        root->Delete(named);
        EXPECT_FALSE(layer->Get(0)->IsNodeLocked());
    }
}

TEST(NodeStoreReading, ALayerKeepsChannelsWithKeysThatItsBaseLacks)
{
    const NodePtr source = MakeChannel(KDataTypeVector, "v");
    GlissaNode* const layer = source->CreateLayerAt(GlissaLayerInfo(3, nullptr));
    for (const char* name : {"W", "V", "X"}) {
        layer->Add(GlissaNodeCreate(name, static_cast<KDataType*>(nullptr), 0, {3, nullptr}));
    }
    layer->CreateFCurve();
    layer->Delete(1);
    AddKeys(layer->Get(0), {{1, 1}});
    AddKeys(layer->Get(2), {{1, 5}});
    AddKeys(layer->Get(4), {{1, 6}, {2, 7}});  // a second X
    KTdf tdf = Stored(*source);
    NodePtr read = MakeChannel(KDataTypeVector, "v");
    std::vector<GlissaStoreFault> faults;
    ASSERT_TRUE(read->TdfRetrieve(&tdf, false, false, false, &faults));
    std::string found;
    for (const GlissaStoreFault& fault : faults) {
        EXPECT_EQ(read.get(), fault.mNode);
        EXPECT_EQ(3, fault.mLayerID);
        found += std::to_string(fault.mKind) + fault.mChannel.GetBuffer() + ' ';
    }
    EXPECT_EQ(Numbered("", eStoreFaultChannelMade) + "Y " + Numbered("", eStoreFaultChannelKept) +
                  "W " + Numbered("", eStoreFaultChannelUnknown) + "V " +
                  Numbered("", eStoreFaultChannelKept) + "X ",
              found);
    // Copies and documents keep them too.
    EXPECT_EQ(2, NodePtr(read->Copy())->LayerGet(3)->GetUnmatchedCount());
    const NodePtr back = MakeChannel(KDataTypeVector, "v");
    KTdf again = Stored(*read);
    ASSERT_TRUE(back->TdfRetrieve(&again, false, false, false));
    for (GlissaNode* const node : {read->LayerGet(3), back->LayerGet(3)}) {
        ASSERT_EQ(3, node->GetCount());
        EXPECT_EQ(1, node->KeyGetCount(false));
        ASSERT_EQ(2, node->GetUnmatchedCount());
        EXPECT_EQ(5.0f, node->GetUnmatched(0)->FCurveGet()->KeyGetValue(0));
        EXPECT_EQ(2, node->GetUnmatched(1)->KeyGetCount(false));
    }
    // Only layers have them.
    read->SingleLayerCopyFrom(read->LayerGet(3), false);
    EXPECT_EQ(0, read->GetUnmatchedCount());
    EXPECT_EQ(2, read->LayerGet(3)->GetUnmatchedCount());
    // Emptied with a layer that may not be removed.
    StubLayer locked;
    locked.mLocked = true;
    back->LayerGet(3)->SetLayerInfo(GlissaLayerInfo(3, &locked));
    ASSERT_TRUE(back->RemoveLayerNode(3));
    EXPECT_EQ(0, back->LayerGet(3)->GetUnmatchedCount());
}
}  // namespace
