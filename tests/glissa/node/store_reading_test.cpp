// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What is read from documents written by hand, such as other writers make and such as none does.

#include "glissa/curve/curve.h"
#include "glissa/node/node.h"
#include "tests/support/stored_node.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
TEST(NodeStoreReading, ChannelsFindTheirNodes)
{
    const auto leaf_of = [](GlissaNode& pNode) {
        std::string values;
        for (int i = 0; i < pNode.GetCount(); ++i) {
            values += std::to_string(static_cast<int>(pNode.Get(i)->FCurveGet()->GetValue())) + ' ';
        }
        return values;
    };
    const auto leaves = [](const std::vector<std::string>& pNames) {
        std::string text = "Channel: S\"read\" {\n";
        for (std::size_t i = 0; i < pNames.size(); ++i) {
            text +=
                "Channel: S\"" + pNames[i] + "\" {\nDefault: D" + std::to_string(i + 1) + "\n}\n";
        }
        return text + "}\n";
    };
    const struct
    {
        KDataType* type;
        std::vector<std::string> names;
        const char* values;
    } cases[] = {
        {KDataTypeColorAndAlpha, {"R", "G", "B", "A"}, "1 2 3 4 "},
        {KDataTypeColorAndAlpha, {" ", "B", "Y", "R"}, "4 3 2 1 "},
        {KDataTypeColorAndAlpha, {"W"}, "0 0 0 0 "},
        {KDataTypeColor, {"A", "Z"}, "0 0 2 "},
        {KDataTypeVector, {"x", "Y  (old)", "Z   (old)"}, "1 2 0 "},
        {KDataTypeVector, {"R", "G", "B"}, "0 0 0 "},
        {KDataTypeVector, {"X(1)(2)", "X(3)"}, "2 0 0 "},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.names[0]);
        EXPECT_EQ(each.values,
                  leaf_of(*Retrieved(leaves(each.names), MakeChannel(each.type, "node"), false)));
    }
    // A short name means the type, before a name that is the same.
    NodePtr object = EmptyNode();
    object->Add(MakeChannel(nullptr, "R").release());
    object->Add(MakeChannel(KDataTypeLclRotation, "Turn").release());
    object = Retrieved("Channel: S\"o\" {\nChannel: S\"R\" {\nChannel: S\"Y\" {\nDefault: D4\n}\n"
                       "LayerType: I2\n}\n}\n",
                       std::move(object), false);
    EXPECT_EQ("0 4 0 ", leaf_of(*object->Get(1)));
    EXPECT_STREQ("Turn", object->Get(1)->GetName());
    // In a node of many children a name finds the first.
    std::vector<std::string> many;
    NodePtr wide = EmptyNode();
    for (int i = 0; i < 40; ++i) {
        wide->FindOrCreate(Numbered("n", i).c_str(), true);
        many.push_back(Numbered("N", 39 - i));
    }
    wide->Add(GlissaNodeCreate("N3", static_cast<KDataType*>(nullptr), 0, GlissaLayerInfo()));
    wide = Retrieved(leaves(many), std::move(wide), false);
    EXPECT_EQ(37.0f, wide->Get(3)->FCurveGet()->GetValue());
    EXPECT_EQ(nullptr, wide->Get(40)->FCurveGet());
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
    const auto channel = [](const char* pName) {
        return std::string("Channel: S\"") + pName + "\" {\nDefault: D1\nColor: D0.5 D0 D0\n}\n";
    };
    const NodePtr vector =
        Retrieved("Channel: S\"v\" {\n" + channel("no") + channel("X") + channel("Y") + "}\n",
                  MakeChannel(KDataTypeVector, "v"), false);
    EXPECT_EQ(1.0f, vector->Get(0)->FCurveGet()->GetValue());
    EXPECT_EQ(1.0f, vector->Get(0)->FCurveGet()->GetColor()[0]);
    EXPECT_EQ(0.5f, vector->Get(1)->FCurveGet()->GetColor()[0]);

    const std::string name(5000, 'n');
    const NodePtr named =
        Retrieved("Channel: S\"a\" {\nChannel: S\"" + name + "\" {\n}\n}\n", EmptyNode());
    EXPECT_EQ(name, named->Get(0)->GetName());
    EXPECT_EQ(name, named->Get(0)->GetTimeWarpName());
    KTdf none;
    EXPECT_FALSE(named->TdfRetrieve(&none, false, true, true));
    EXPECT_STREQ("a", named->GetName());
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
        {nullptr, "R", 4, 3, 3},
        {nullptr, "R", 3, 1, 2},
        {nullptr, "R", 3, 5, 5},
        {nullptr, "r", 3, 1, 1},
        {KDataTypeLclRotation, "Turn", 2, 5, 0},
        {KDataTypeTranslation, "x", 3, 3, 1},
        {KDataTypeLclTranslation, "x", 3, 2, 1},
        {KDataTypeScaling, "x", 3, 0, 3},
        {KDataTypeRotation, "x", 3, 6, 6},
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

TEST(NodeStoreReading, TimeWarpsLandWhereTimeIs)
{
    // Warps outlive what they warp.
    const NodePtr second = MakeChannel(KDataTypeTimeWarp, "Slower");
    const NodePtr warp = MakeChannel(KDataTypeTimeWarp, "Slow");
    KSet<int, GlissaNode*> warps;
    warps.Add(9, warp.get());
    warps.Add(8, second.get());
    Glissa_SetTWSet(&warps);
    const auto text = [](const char* pName, int pNick, int pId) {
        return std::string("Channel: S\"T\" {\nChannel: S\"") + pName + "\" {\nLayerID: I" +
               std::to_string(pId) + "\nTimeWarpID: I" + std::to_string(pNick) + "\n}\n}\n";
    };
    const NodePtr axis = Retrieved(text("Y", 9, 0), EmptyNode());
    EXPECT_EQ(warp.get(), axis->TimeWarpGet());
    EXPECT_EQ(nullptr, axis->Get(0)->TimeWarpGet());
    const NodePtr layer = Retrieved(text("Y", 9, 3), EmptyNode());
    EXPECT_EQ(nullptr, layer->TimeWarpGet());
    EXPECT_EQ(warp.get(), layer->Get(0)->TimeWarpGet());
    const NodePtr other = Retrieved(text("y", 9, 0), EmptyNode());
    EXPECT_EQ(warp.get(), other->Get(0)->TimeWarpGet());
    EXPECT_EQ(nullptr, Retrieved(text("Y", 7, 0), EmptyNode())->TimeWarpGet());

    // Time that depends on itself has no value, so such a link is left out.
    KTdf tdf = FromText("Channel: S\"w\" {\nTimeWarpID: I8\n}\n");
    warp->TdfRetrieve(&tdf, false, true, true);
    EXPECT_EQ(second.get(), warp->TimeWarpGet());
    tdf = FromText("Channel: S\"w\" {\nTimeWarpID: I9\n}\n");
    second->TdfRetrieve(&tdf, false, true, true);
    EXPECT_EQ(nullptr, second->TimeWarpGet());
    warps.Set(7, other.get());
    tdf = FromText("Channel: S\"w\" {\nChannel: S\"y\" {\nLayerChannel: S\"y\" {\nLayerID: I1\n"
                   "TimeWarpID: I7\n}\n}\n}\n");
    other->TdfRetrieve(&tdf, false, true, true);
    EXPECT_EQ(nullptr, other->Get(0)->LayerGet()->TimeWarpGet());
    Glissa_SetTWSet(nullptr);
}

// Layers: what the members of a chain take along, and chains that no writer makes.
TEST(NodeStoreReading, AChainThatWasReadIsAChain)
{
    const auto layer = [](int pId, const std::string& pInner, const std::string& pChannels) {
        return "LayerChannel: S\"other\" {\nUserName: S\"other\"\n" + pChannels +
               Numbered("LayerID: I", pId) + "\n" + pInner + "}\n";
    };
    const std::string axes = "Channel: S\"Z\" {\nDefault: D3\nLayerID: I5\n}\n"
                             "Channel: S\"x\" {\nDefault: D1\nLayerID: I5\n}\n"
                             "Channel: S\"W\" {\nDefault: D9\nLayerID: I5\n}\n";
    NodePtr node = MakeChannel(KDataTypeLclScaling, "S");
    node->SetRotationOrder(4);
    node->SetUseQuaternion(true);
    node->CreateLayerAt(GlissaLayerInfo(2, nullptr));
    KProperty* const property = node->GetProperty();
    // 5, 3, 7, 7, 9 behind one another: 3 and the second 7 are no layers there.
    const std::string chain =
        layer(5, layer(3, layer(7, layer(7, layer(9, "", ""), ""), ""), ""), axes);
    node = Retrieved("Channel: S\"S\" {\nUserName: S\"Size\"\n" + chain + "}\n", std::move(node),
                     false);
    std::string ids;
    for (GlissaNode* each = node.get(); each; each = each->LayerGet()) {
        ids += std::to_string(each->GetLayerID()) + ' ';
        EXPECT_EQ(node.get(), each->ObjectLayerGet());
        EXPECT_EQ(node->GetNameInfo(), each->GetNameInfo());
        EXPECT_EQ(4, each->GetRotationOrder());
        EXPECT_TRUE(each->GetUseQuaternion());
        EXPECT_EQ(eLayerTypeScaling, each->GetLayerType());
        ASSERT_EQ(3, each->GetCount());
    }
    EXPECT_EQ("0 5 7 9 ", ids);
    EXPECT_STREQ("Size", node->GetTimeWarpName());
    EXPECT_EQ(property, node->GetProperty());

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
    double values[3] = {};
    EXPECT_EQ(values + 3, node->GeneralEvaluate(values, KTime()));

    // Only what is stored replaces a chain; one that is no longer behind its node goes.
    KTdf tdf = FromText("Channel: S\"S\" {\nLayerID: I7\n}\n");
    node->TdfRetrieve(&tdf, false, false, false);
    ASSERT_NE(nullptr, node->LayerGet());
    EXPECT_EQ(9, node->LayerGet()->GetLayerID());
}

TEST(NodeStoreReading, LayersKeepChannelsThatTheBaseKnowsOtherwise)
{
    // By the letters of a colour, in any order.
    const auto channels = [](const std::vector<const char*>& pNames, int pFirst, int pLayer) {
        std::string text;
        for (const char* name : pNames) {
            text += std::string("Channel: S\"") + name + "\" {\nDefault: D" +
                    std::to_string(pFirst++) + "\n" +
                    (pLayer > 0 ? "LayerID: I" + std::to_string(pLayer) + "\n" : "") + "}\n";
        }
        return text;
    };
    const NodePtr color = Retrieved("Channel: S\"color\" {\n" + channels({"R", "G", "B"}, 1, 0) +
                                        "LayerChannel: S\"color\" {\n" +
                                        channels({"B", "G", "R"}, 5, 3) + "LayerID: I3\n}\n}\n",
                                    MakeChannel(KDataTypeColor, "color"));
    GlissaNode* const layer = color->LayerGet(3);
    ASSERT_NE(nullptr, layer);
    ASSERT_EQ(3, layer->GetCount());
    EXPECT_EQ(7.0f, layer->Get(0)->FCurveGet()->GetValue());
    EXPECT_EQ(6.0f, layer->Get(1)->FCurveGet()->GetValue());
    EXPECT_EQ(5.0f, layer->Get(2)->FCurveGet()->GetValue());
    EXPECT_EQ(color->Get(2), layer->Get(2)->ObjectLayerGet());
    EXPECT_STREQ("Z", layer->Get(2)->GetName());

    // Our own short names, of a parent that has layers itself.
    const auto joint = [] {
        NodePtr node(GlissaNodeCreate("joint", static_cast<KDataType*>(nullptr), eLayerTypeVector,
                                      GlissaLayerInfo::Base));
        node->Add(MakeChannel(KDataTypeLclRotation, "Lcl Rotation").release());
        return node;
    };
    const NodePtr source = joint();
    source->CreateLayerAt(GlissaLayerInfo(3, nullptr))->Get(0)->Get(1)->FCurveGet()->SetValue(9.0f);
    KTdf tdf = Stored(*source, true);
    const NodePtr target = joint();
    ASSERT_TRUE(target->TdfRetrieve(&tdf, false, false, false));
    EXPECT_EQ(9.0f, target->LayerGet(3)->Get(0)->Get(1)->FCurveGet()->GetValue());
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
    // A tree that is deeper than documents are is refused by the document.
    NodePtr deep = EmptyNode();
    GlissaNode* last = deep.get();
    for (int i = 0; i < 5000; ++i) {
        last = last->FindOrCreate("a", false);
    }
    KTdf tdf;
    EXPECT_TRUE(deep->TdfStore(&tdf, false, false, false, "Channel", false, false));
    EXPECT_EQ(eTdfErrorNesting, tdf.GetError().GetLastErrorID());
}
}  // namespace
