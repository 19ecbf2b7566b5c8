// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Random trees are read as they were written, and a small one is written in the documented form.

#include "glissa/curve/curve.h"
#include "glissa/node/node.h"
#include "tests/support/random_curve.h"
#include "tests/support/stored_node.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace
{
void FillRandomly(GlissaNode& pLeaf, Random& pRandom)
{
    pLeaf.FCurveReplace(GlissaCreate());
    pLeaf.FCurveGet()->SetValue(static_cast<float>(pRandom.Below(100)));
    for (int i = pRandom.Below(4); i > 0; --i) {
        pLeaf.FCurveGet()->KeyAppendFast(KTime::FromSeconds(-i),
                                         static_cast<float>(pRandom.Below(100)));
    }
}

// A channel with values in its children, or itself a leaf, and up to three layers.
GlissaNode* RandomChannel(const char* pName, KDataType* pType, Random& pRandom)
{
    GlissaNode* const channel = MakeChannel(pType, pName).release();
    if (pRandom.Below(3) == 0) {
        channel->SetTimeWarpName("seen");
    }
    int id = 0;
    for (int i = pRandom.Below(4); i > 0; --i) {
        channel->CreateLayerAt(GlissaLayerInfo(id += 1 + pRandom.Below(5), nullptr));
    }
    for (GlissaNode* layer = channel; layer; layer = layer->LayerGet()) {
        for (int i = 0; i < layer->GetCount(); ++i) {
            FillRandomly(*layer->Get(i), pRandom);
        }
        if (layer->GetCount() == 0) {
            FillRandomly(*layer, pRandom);
        }
    }
    return channel;
}

GlissaNode* RandomObject(const std::string& pName, int pDepth, Random& pRandom)
{
    GlissaNode* const object = GlissaNodeCreate(pName.c_str(), static_cast<KDataType*>(nullptr),
                                                eLayerTypeValue, GlissaLayerInfo::Base);
    const std::pair<const char*, KDataType*> channels[] = {{"Move", KDataTypeLclTranslation},
                                                           {"R", KDataTypeLclRotation},
                                                           {"Size", KDataTypeLclScaling},
                                                           {"Aim", KDataTypeVector},
                                                           {"Roll", KDataTypeNumber}};
    for (const auto& [name, type] : channels) {
        if (pRandom.Below(3) > 0) {
            object->Add(RandomChannel(name, type, pRandom));
        }
    }
    for (int i = pDepth > 0 ? pRandom.Below(4) : 0; i > 0; --i) {
        object->Add(RandomObject(Numbered("Object", i), pDepth - 1, pRandom));
    }
    return object;
}

// Parents, owners and bases are those of a tree that was built with the library.
int ExpectJoined(GlissaNode& pNode)
{
    int layers = 0;
    EXPECT_TRUE(!pNode.FCurveGet() || pNode.FCurveGet()->GetOwner() == &pNode);
    for (int i = 0; i < pNode.GetCount(); ++i) {
        EXPECT_EQ(&pNode, pNode.Get(i)->GetParent());
        layers += ExpectJoined(*pNode.Get(i));
    }
    for (GlissaNode* layer = pNode.LayerGet(); layer && pNode.ObjectLayerGet() == &pNode;
         layer = layer->LayerGet()) {
        EXPECT_EQ(&pNode, layer->ObjectLayerGet());
        layers += 1 + ExpectJoined(*layer);
    }
    return layers;
}

TEST(NodeStore, RandomTreesAreReadAsWritten)
{
    int layers = 0;
    for (std::uint64_t seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const NodePtr node(RandomObject("Object", 3, random));
        KTdf tdf = Stored(*node);
        const std::string text = TextOfDocument(tdf);
        // Into an empty node, which becomes the tree, and into one that has values and layers.
        const NodePtr fresh = EmptyNode();
        const NodePtr same(node->Copy());
        for (GlissaNode* const each : {fresh.get(), same.get()}) {
            tdf.FieldReadRewind();
            ASSERT_TRUE(each->TdfRetrieve(&tdf, false, each == fresh.get(), false));
            KTdf again = Stored(*each);
            ASSERT_TRUE(text == TextOfDocument(again));
            layers += ExpectJoined(*each);
            EXPECT_FALSE(each->TdfRetrieve(&tdf, false, true, false));
        }
    }
    EXPECT_GT(layers, 20);
}

TEST(NodeStore, FieldsAreInTheDocumentedOrder)
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
    // A layer by itself is written with its id and without its chain.
    EXPECT_EQ("Here:S\"Move\"{\nChannel:S\"X\"{\nDefault:D5\nLayerID:I3\n}\nLayerID:I3\n"
              "LayerType:I1\n}\n",
              text(true, false, true, *layer));
    Glissa_SetTWSet(nullptr);
    EXPECT_EQ(std::string::npos, text(false, false, false, *node).find("TimeWarpID"));
    node.reset();
    EXPECT_EQ(0, warp->GetReferenceCount());
}
}  // namespace
