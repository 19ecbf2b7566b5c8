// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Random trees come back from documents, and a small one is written as the format says.

#include "glissa/curve/curve.h"
#include "glissa/node/node.h"
#include "tests/support/random_curve.h"
#include "tests/support/stored_node.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace
{
// A node as plain data. A leaf has a curve: its default value and a key a second.
struct Plain
{
    std::string name;
    std::string user;
    KDataType* type = nullptr;
    int layerType = eLayerTypeValue;
    int id = 0;
    bool leaf = false;
    float value = 0.0f;
    std::vector<float> keys = {};
    std::vector<Plain> children = {};
    std::vector<Plain> layers = {};
};

Plain PlainOf(GlissaNode& pNode)
{
    Plain plain{pNode.GetName(),
                pNode.GetTimeWarpName(),
                pNode.GetDataType(),
                pNode.GetLayerType(),
                pNode.GetLayerID(),
                pNode.FCurveGet() != nullptr,
                0.0f,
                {}};
    if (Glissa* const curve = pNode.FCurveGet()) {
        plain.value = curve->GetValue();
        for (int i = 0; i < curve->KeyGetCount(); ++i) {
            EXPECT_EQ(KTime::FromSeconds(i), curve->KeyGetTime(i));
            plain.keys.push_back(curve->KeyGetValue(i));
        }
        EXPECT_EQ(&pNode, curve->GetOwner());
    }
    for (int i = 0; i < pNode.GetCount(); ++i) {
        EXPECT_EQ(&pNode, pNode.Get(i)->GetParent());
        plain.children.push_back(PlainOf(*pNode.Get(i)));
    }
    int last = pNode.GetLayerID();
    for (GlissaNode* layer = pNode.LayerGet(); layer && pNode.ObjectLayerGet() == &pNode;
         layer = layer->LayerGet()) {
        EXPECT_LT(last, layer->GetLayerID());
        EXPECT_EQ(&pNode, layer->ObjectLayerGet());
        last = layer->GetLayerID();
        plain.layers.push_back(PlainOf(*layer));
    }
    return plain;
}

void FillNode(GlissaNode& pNode, const Plain& pPlain)
{
    if (pPlain.leaf) {
        pNode.FCurveReplace(GlissaCreate());
        pNode.FCurveGet()->SetValue(pPlain.value);
        for (std::size_t i = 0; i < pPlain.keys.size(); ++i) {
            pNode.FCurveGet()->KeyAppendFast(KTime::FromSeconds(static_cast<double>(i)),
                                             pPlain.keys[i]);
        }
    }
}

NodePtr NodeOf(const Plain& pPlain)
{
    NodePtr node(new GlissaNode(pPlain.name.c_str(), pPlain.user.c_str(), pPlain.type,
                                pPlain.layerType, GlissaLayerInfo(pPlain.id, nullptr)));
    for (const Plain& child : pPlain.children) {
        node->Add(NodeOf(child).release());
    }
    FillNode(*node, pPlain);
    for (const Plain& each : pPlain.layers) {
        GlissaNode* const layer = node->CreateLayerAt(GlissaLayerInfo(each.id, nullptr));
        FillNode(*layer, each);
        for (std::size_t i = 0; i < each.children.size(); ++i) {
            FillNode(*layer->Get(static_cast<int>(i)), each.children[i]);
        }
    }
    return node;
}

std::string TextOf(const Plain& pPlain, int pDepth = 0)
{
    std::string text = std::string(static_cast<std::size_t>(pDepth), ' ') + pPlain.name + '|' +
                       pPlain.user + " type " + std::to_string(pPlain.layerType) + " id " +
                       std::to_string(pPlain.id);
    if (pPlain.leaf) {
        text += " = " + std::to_string(pPlain.value);
        for (const float key : pPlain.keys) {
            text += ' ' + std::to_string(key);
        }
    }
    text += '\n';
    for (const Plain& each : pPlain.children) {
        text += TextOf(each, pDepth + 1);
    }
    for (const Plain& each : pPlain.layers) {
        text += TextOf(each, pDepth + 5);
    }
    return text;
}

// Empty where two trees are the same, else the first line that differs.
std::string Difference(const Plain& pExpected, const Plain& pFound)
{
    std::istringstream expected(TextOf(pExpected)), found(TextOf(pFound));
    for (int number = 1;; ++number) {
        std::string left, right;
        const bool more = static_cast<bool>(std::getline(expected, left));
        if (more != static_cast<bool>(std::getline(found, right)) || left != right) {
            return Numbered("line ", number) + ": " + left + " <> " + right;
        }
        if (!more) {
            return "";
        }
    }
}

void FillRandomly(Plain& pPlain, Random& pRandom)
{
    pPlain.leaf = true;
    pPlain.value = static_cast<float>(pRandom.Below(100));
    for (int i = pRandom.Below(4); i > 0; --i) {
        pPlain.keys.push_back(static_cast<float>(pRandom.Below(100)));
    }
}

// A channel of an object: values in children, or itself a leaf, with up to three layers.
Plain RandomChannel(const char* pName, KDataType* pType, int pLayerType,
                    const std::vector<const char*>& pAxes, Random& pRandom)
{
    Plain channel{pName, pName, pType, pLayerType};
    if (pRandom.Below(3) == 0) {
        channel.user = "seen";
    }
    for (const char* const axis : pAxes) {
        channel.children.push_back({axis, axis});
        FillRandomly(channel.children.back(), pRandom);
    }
    if (pAxes.empty()) {
        FillRandomly(channel, pRandom);
    }
    int id = 0;
    for (int i = pRandom.Below(4); i > 0; --i) {
        Plain layer = channel;
        layer.layers.clear();
        layer.id = id += 1 + pRandom.Below(5);
        for (Plain& each : layer.children) {
            each.keys.clear();
            FillRandomly(each, pRandom);
            each.id = id;
        }
        if (layer.leaf) {
            layer.keys.clear();
            FillRandomly(layer, pRandom);
        }
        channel.layers.push_back(layer);
    }
    return channel;
}

Plain RandomObject(int pDepth, Random& pRandom)
{
    Plain object{"Object", "Object"};
    const auto channel = [&](const char* pName, KDataType* pType, int pLayerType,
                             const std::vector<const char*>& pAxes) {
        if (pRandom.Below(3) > 0) {
            object.children.push_back(RandomChannel(pName, pType, pLayerType, pAxes, pRandom));
        }
    };
    channel("Move", KDataTypeLclTranslation, eLayerTypeVector, {"X", "Y", "Z"});
    channel("R", KDataTypeLclRotation, eLayerTypeRotation, {"X", "Y", "Z"});
    channel("Size", KDataTypeLclScaling, eLayerTypeScaling, {"X", "Y", "Z"});
    channel("Aim", KDataTypeVector, eLayerTypeVector, {"X", "Y", "Z"});
    channel("Roll", KDataTypeNumber, eLayerTypeVector, {});
    for (int i = pDepth > 0 ? pRandom.Below(4) : 0; i > 0; --i) {
        object.children.push_back(RandomObject(pDepth - 1, pRandom));
        object.children.back().name += std::to_string(i);
        object.children.back().user = object.children.back().name;
    }
    return object;
}

TEST(NodeStore, RandomTreesComeBack)
{
    int layers = 0;
    for (std::uint64_t seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Plain plain = RandomObject(3, random);
        const NodePtr node = NodeOf(plain);
        ASSERT_EQ("", Difference(plain, PlainOf(*node)));
        layers += plain.children.empty() ? 0 : static_cast<int>(plain.children[0].layers.size());
        KTdf tdf = Stored(*node);

        const NodePtr fresh = EmptyNode();
        ASSERT_TRUE(fresh->TdfRetrieve(&tdf, false, true, false));
        ASSERT_EQ("", Difference(plain, PlainOf(*fresh)));
        EXPECT_FALSE(fresh->TdfRetrieve(&tdf, false, true, false));

        // The same structure, which holds layers and values of its own already.
        tdf.FieldReadRewind();
        const NodePtr same(node->Copy());
        ASSERT_TRUE(same->TdfRetrieve(&tdf, false, false, false));
        ASSERT_EQ("", Difference(plain, PlainOf(*same)));
        KTdf again = Stored(*same);
        EXPECT_TRUE(TextOfDocument(tdf) == TextOfDocument(again));
    }
    EXPECT_GT(layers, 20);
}

TEST(NodeStore, FieldsStandInTheirOrder)
{
    NodePtr node = MakeChannel(KDataTypeLclTranslation, "Move");
    node->Delete(2);
    node->Delete(1);
    node->SetTimeWarpName("Moves \xE2\x86\x92");
    const NodePtr warp = MakeChannel(KDataTypeTimeWarp, "Slow");
    KSet<int, GlissaNode*> warps;
    warps.Add(9, warp.get());
    Glissa_SetTWSet(&warps);
    node->TimeWarpSet(warp.get());
    GlissaNode* const layer = node->CreateLayerAt(GlissaLayerInfo(3, nullptr));
    node->CreateLayerAt(GlissaLayerInfo(7, nullptr));
    layer->Get(0)->FCurveGet()->SetValue(5.0f);

    const std::string curve = "Default: D0\n";
    const auto text = [&](bool pDefaults, bool pShort, bool pNoUser, GlissaNode& pNode) {
        KTdf tdf;
        pNode.TdfStore(&tdf, pDefaults, pShort, pNoUser, "Here", true, false);
        std::string lines = TextOfDocument(tdf);
        lines.erase(std::remove(lines.begin(), lines.end(), ' '), lines.end());
        return lines;
    };
    EXPECT_EQ("Here:S\"T\"{\nTimeWarpID:I9\nChannel:S\"X\"{\nDefault:D0\n}\nLayerType:I1\n}\n",
              text(true, true, true, *node));
    const std::string whole = text(false, false, false, *node);
    EXPECT_EQ("Here:S\"Move\"{\nUserName:S\"Moves\xE2\x86\x92\"\nTimeWarpID:I9\n"
              "Channel:S\"X\"{\nDefault:D0\nColor:D1D1D1\n}\nLayerType:I1\n"
              "LayerChannel:S\"Move\"{\nUserName:S\"Moves\xE2\x86\x92\"\n"
              "Channel:S\"X\"{\nDefault:D5\nLayerID:I3\n}\nLayerID:I3\nLayerType:I1\n"
              "LayerChannel:S\"Move\"{\nUserName:S\"Moves\xE2\x86\x92\"\n"
              "Channel:S\"X\"{\nDefault:D0\nLayerID:I7\n}\nLayerID:I7\nLayerType:I1\n}\n}\n}\n",
              whole);
    // Of a layer by itself: its id stays, the chain goes.
    EXPECT_EQ("Here:S\"Move\"{\nChannel:S\"X\"{\nDefault:D5\nLayerID:I3\n}\nLayerID:I3\n"
              "LayerType:I1\n}\n",
              text(true, false, true, *layer));
    Glissa_SetTWSet(nullptr);
    EXPECT_EQ(std::string::npos, text(false, false, false, *node).find("TimeWarpID"));
    node.reset();
    EXPECT_EQ(0, warp->GetReferenceCount());
}
}  // namespace
