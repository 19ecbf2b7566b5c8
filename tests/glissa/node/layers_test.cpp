// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/node_stubs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace
{
// Ids along the chain, and of each layer the values of the keys of its first child.
std::string ChainOf(GlissaNode* pNode)
{
    std::string text;
    for (GlissaNode* node = pNode; node; node = node->LayerGet()) {
        text += node != pNode ? " " : "";
        text += std::to_string(node->GetLayerID());
        const Glissa* curve = node->GetCount() > 0 ? node->Get(0)->FCurveGet() : node->FCurveGet();
        for (int i = 0; curve && i < curve->KeyGetCount(); ++i) {
            text += ':';
            text += std::to_string(static_cast<int>(curve->KeyGetValue(i)));
        }
    }
    return text;
}

class NodeLayers : public testing::Test
{
protected:
    StubLayer mFree;
    StubLayer mLocked;
    NodePtr mNode = MakeChannel(KDataTypeLclRotation, "R");

    NodeLayers() { mLocked.mLocked = true; }

    // A layer with one key on each curve.
    GlissaNode* AddLayer(GlissaNode* pBase, int pId, float pValue, const StubLayer& pLayer)
    {
        GlissaNode* layer = pBase->CreateLayerAt({pId, &pLayer});
        for (int i = 0; i < layer->GetCount(); ++i) {
            AddKeys(layer->Get(i), {{1.0, pValue}});
        }
        return layer;
    }
};
}  // namespace

TEST_F(NodeLayers, AreInOrderOfTheirIdsWhateverTheOrderOfCreation)
{
    std::vector<int> ids = {1, 3, 4, 7};
    do {
        const NodePtr node = MakeChannel(KDataTypeVector, "V");
        for (const int id : ids) {
            GlissaNode* layer = node->CreateLayerAt({id, &mFree});
            ASSERT_NE(layer, nullptr);
            EXPECT_EQ(layer, node->CreateLayerAt({id, &mFree}));
            EXPECT_EQ(layer->ObjectLayerGet(), node.get());
            EXPECT_EQ(layer->Get(1)->ObjectLayerGet(), node->Get(1));
        }
        EXPECT_EQ(ChainOf(node.get()), "0 1 3 4 7");
    } while (std::next_permutation(ids.begin(), ids.end()));
}

TEST_F(NodeLayers, AreFoundByTheirIds)
{
    GlissaNode* three = mNode->CreateLayerAt({3, &mFree});
    GlissaNode* seven = mNode->CreateLayerAt({7, &mFree});
    EXPECT_EQ(mNode->CreateLayerAt({0, nullptr}), nullptr);
    EXPECT_EQ(seven->CreateLayerAt({5, nullptr}), nullptr);
    EXPECT_EQ(mNode->LayerGet(5), nullptr);
    const std::pair<int, GlissaNode*> previous[] = {
        {0, nullptr}, {3, mNode.get()}, {5, three}, {7, three}, {100, seven}};
    for (const auto& [id, node] : previous) {
        EXPECT_EQ(node, mNode->GetPreviousLayer(id)) << id;
    }
    EXPECT_FALSE(mNode->HasOverrideLayer());
    mFree.mMode = eLayerModeOverridePassthrough;
    EXPECT_TRUE(mNode->HasOverrideLayer());

    // With an ETI all works on the base.
    StubETI eti;
    mNode->Get(0)->SetETI(&eti);
    EXPECT_EQ(mNode->GetCorrectLayerAndCreateIfMissing({9, &mFree}), mNode.get());
    mNode->Get(0)->SetETI(nullptr);

    mNode->SetMultiLayer(false);
    EXPECT_EQ(mNode->GetLayerNode(7), mNode.get());
    EXPECT_EQ(mNode->LayerCreate({9, &mFree}, false), nullptr);
    EXPECT_EQ(mNode->CreateLayerAt({9, &mFree}), nullptr);
}

TEST_F(NodeLayers, BeginWithZeroValuesAndTheColourOfTheBase)
{
    const float colour[] = {0.25f, 0.5f, 0.75f};
    for (KDataType* const type : {KDataTypeLclScaling, KDataTypeLclTranslation, KDataTypeNumber}) {
        const auto leafOf = [](GlissaNode* pNode) {
            return pNode->GetCount() > 0 ? pNode->Get(2) : pNode;
        };
        const NodePtr node = MakeChannel(type, "N");
        leafOf(node.get())->SetColor(colour);
        leafOf(node.get())->FCurveGet()->SetValue(9.0f);
        const GlissaNode* leaf = leafOf(node->CreateLayerAt({1, &mFree}));
        EXPECT_EQ(leaf->FCurveGet()->GetValue(), type == KDataTypeLclScaling ? 1.0f : 0.0f);
        EXPECT_TRUE(std::equal(colour, colour + 3, leaf->GetColor()));
    }
}

TEST_F(NodeLayers, TakeOverTheEvaluationOverrideOfTheBase)
{
    int function = 0;
    int object = 0;
    Glissa* y = mNode->Get(1)->FCurveGet();
    y->CallbackEvaluationRegister(&function, &object);
    // Only an override of the first channel is looked for.
    EXPECT_FALSE(mNode->CreateLayerAt({1, &mFree})->Get(1)->FCurveGet()->IsEvaluationOverwritten());
    mNode->Get(0)->FCurveGet()->CallbackEvaluationRegister(&function, &object);
    GlissaNode* layer = mNode->CreateLayerAt({2, &mFree});
    EXPECT_TRUE(layer->Get(0)->FCurveGet()->IsEvaluationOverwritten());
    EXPECT_TRUE(layer->Get(1)->FCurveGet()->IsEvaluationOverwritten());
    EXPECT_FALSE(layer->Get(2)->FCurveGet()->IsEvaluationOverwritten());
}

TEST_F(NodeLayers, AreTakenOutOrEmptied)
{
    AddKeys(mNode->Get(0), {{0.0, 9.0f}});
    AddLayer(mNode.get(), 1, 1.0f, mFree);
    AddLayer(mNode.get(), 2, 2.0f, mLocked);
    AddLayer(mNode.get(), 3, 3.0f, mFree);
    const NodePtr taken(mNode->RemoveLayer(1, false));
    ASSERT_NE(taken, nullptr);
    EXPECT_EQ(taken->LayerGet(), nullptr);
    EXPECT_EQ(ChainOf(mNode.get()), "0:9 2:2 3:3");
    EXPECT_FALSE(mNode->RemoveLayerNode(1));

    // A locked layer remains, without keys, values and candidates.
    Glissa* locked = mNode->LayerGet(2)->Get(0)->FCurveGet();
    locked->CandidateSet(KTime(), 4.0);
    EXPECT_TRUE(mNode->RemoveLayerNode(2));
    EXPECT_EQ(ChainOf(mNode.get()), "0:9 2 3:3");
    EXPECT_EQ(locked->GetValue(), 0.0f);
    EXPECT_FALSE(locked->IsCandidate());
    EXPECT_TRUE(mNode->RemoveLayerNode(3));
    EXPECT_TRUE(mNode->RemoveLayerNode(0));
    EXPECT_EQ(ChainOf(mNode.get()), "0 2");
    EXPECT_EQ(mNode->Get(0)->FCurveGet()->GetValue(), 0.0f);
}

TEST_F(NodeLayers, AreMadeToMatchThoseOfASource)
{
    const struct
    {
        std::vector<int> ids;
        std::vector<int> locked;
        std::vector<int> source;
        const char* result;
    } cases[] = {
        {{2, 5}, {}, {3}, "0 3:30"},
        {{1, 4}, {4}, {}, "0 1 4"},
        {{2, 3, 5}, {2}, {3, 4}, "0 2 3:30 4:40"},
        {{3, 5}, {3}, {3}, "0 3:3"},  // locked, and the source has it: passed over
    };
    for (const bool transfers : {false, true}) {
        for (const auto& each : cases) {
            SCOPED_TRACE(each.result);
            const NodePtr target = MakeChannel(KDataTypeVector, "V");
            const NodePtr source = MakeChannel(KDataTypeVector, "V");
            for (const int id : each.ids) {
                const bool isLocked = std::count(each.locked.begin(), each.locked.end(), id) > 0;
                AddLayer(target.get(), id, static_cast<float>(id), isLocked ? mLocked : mFree);
            }
            for (const int id : each.source) {
                AddLayer(source.get(), id, static_cast<float>(10 * id), mFree);
            }
            target->LayerCopyFromRecursive(source.get(), transfers);
            EXPECT_EQ(ChainOf(target.get()), each.result);
        }
    }
}

TEST_F(NodeLayers, ChangeHandsWithTheirCurves)
{
    AddKeys(mNode->Get(0), {{0.0, 9.0f}});
    AddLayer(mNode.get(), 2, 2.0f, mFree);
    Glissa* base = mNode->Get(0)->FCurveGet();
    Glissa* layer = mNode->LayerGet(2)->Get(1)->FCurveGet();
    const NodePtr target = MakeChannel(KDataTypeLclRotation, "R");
    target->CopyFrom(mNode.get(), true);
    EXPECT_EQ(target->Get(0)->FCurveGet(), base);
    EXPECT_EQ(base->GetOwner(), target->Get(0));
    EXPECT_EQ(target->LayerGet(2)->Get(1)->FCurveGet(), layer);
    EXPECT_EQ(layer->GetOwner(), target->LayerGet(2)->Get(1));
    EXPECT_EQ(mNode->Get(0)->FCurveGet(), nullptr);
    EXPECT_EQ(mNode->LayerGet(2)->Get(1)->FCurveGet(), nullptr);
    target->CopyFrom(target.get(), true);
    EXPECT_EQ(ChainOf(target.get()), "0:9 2:2");
}

TEST_F(NodeLayers, ComeAlongWithACopy)
{
    KPropertyTemplate<double> property;
    mNode->SetProperty(&property);
    mNode->SetRotationOrder(2);
    AddKeys(mNode->Get(0), {{0.0, 9.0f}, {1.0, 8.0f}});
    AddLayer(mNode.get(), 2, 2.0f, mLocked);
    AddLayer(mNode.get(), 5, 5.0f, mFree);
    const NodePtr copy(mNode->Copy());
    EXPECT_EQ(ChainOf(copy.get()), "0:9:8 2:2 5:5");
    EXPECT_EQ(copy->LayerGet(5)->ObjectLayerGet(), copy.get());
    EXPECT_EQ(copy->LayerGet(5)->GetRotationOrder(), 2);
    EXPECT_EQ(copy->GetProperty(), &property);
    EXPECT_NE(copy->GetNameInfo(), mNode->GetNameInfo());
    // A span is that of the base.
    EXPECT_EQ(ChainOf(NodePtr(mNode->Copy(KTime(), KTime(1))).get()), "0 2:2 5:5");
    EXPECT_EQ(ChainOf(NodePtr(mNode->LayerGet(5)->SingleLayerCopy()).get()), "5:5");

    for (const bool attached : {false, true}) {
        const NodePtr clone(mNode->Clone(attached));
        EXPECT_EQ(ChainOf(clone.get()), "0:9:8");
        EXPECT_EQ(clone->Get(0)->TemplateGet(), attached ? mNode->Get(0) : nullptr);
        clone->Get(0)->FCurveGet()->KeySetValue(0, 1.0f);
        EXPECT_EQ(ChainOf(mNode.get()), "0:9:8 2:2 5:5");
    }
    const NodePtr bare(mNode->CloneTemplate(false, false, false, {7, &mFree}));
    EXPECT_EQ(bare->Get(2)->GetLayerID(), 7);
    // Without its base a layer is its own base, and so is a channel.
    const NodePtr taken(mNode->RemoveLayer(2, false));
    EXPECT_EQ(taken->Get(1)->ObjectLayerGet(), mNode->Get(1));
    mNode->Delete(1);
    EXPECT_EQ(taken->Get(1)->ObjectLayerGet(), taken->Get(1));
    mNode.reset();
    EXPECT_EQ(taken->ObjectLayerGet(), taken.get());
    EXPECT_EQ(bare->ObjectLayerGet(), bare.get());
}
