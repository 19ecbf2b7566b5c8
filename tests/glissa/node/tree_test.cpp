// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/node_stubs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace
{
NodePtr MakeNode(const char* pName, KDataType* pType = nullptr)
{
    return NodePtr(GlissaNodeCreate(pName, pType, eLayerTypeVector, GlissaLayerInfo::Base));
}

std::string ChildrenOf(GlissaNode* pNode)
{
    std::string names;
    for (int i = 0; i < pNode->GetCount(); ++i) {
        names += std::string(i > 0 ? " " : "") + pNode->Get(i)->GetName();
    }
    return names;
}

}  // namespace

TEST(NodeTree, KeepsChildrenInOrder)
{
    const NodePtr parent = MakeNode("P");
    EXPECT_EQ(parent->Add(MakeNode("m").release()), 0);
    EXPECT_EQ(parent->SortedAdd(MakeNode("M").release()), 0);  // before its equal
    EXPECT_EQ(parent->SortedAdd(MakeNode("z").release()), 2);
    EXPECT_EQ(parent->SortedAdd(MakeNode("A").release()), 0);
    EXPECT_EQ(ChildrenOf(parent.get()), "A M m z");
    EXPECT_EQ(parent->Get(0)->GetParent(), nullptr);  // SortedAdd sets none
    EXPECT_EQ(parent->Get(2)->GetParent(), parent.get());

    // A child with a parent takes itself out of it; one taken out lives on.
    parent->Get(2)->Destroy();
    EXPECT_EQ(ChildrenOf(parent.get()), "A M z");
    const NodePtr taken(parent->Get(1));
    parent->Remove(1);
    parent->Delete(parent->Get(0));
    EXPECT_EQ(ChildrenOf(parent.get()), "z");
    EXPECT_STREQ(taken->GetName(), "M");
}

TEST(NodeTree, IsSearchedDepthFirst)
{
    const NodePtr root = MakeNode("Root", KDataTypeLclTranslation);
    GlissaNode* first = root->FindOrCreate("first", false);
    GlissaNode* deep = MakeNode("Moves", KDataTypeLclTranslation).release();
    GlissaNode* shallow = MakeNode("T2", KDataTypeLclTranslation).release();
    first->Add(deep);
    root->Add(shallow);
    EXPECT_EQ(root->FindRecursive(KDataTypeLclTranslation), deep);
    EXPECT_EQ(root->Find(KDataTypeLclTranslation), shallow);
    EXPECT_EQ(root->Find("t2"), 1);
    EXPECT_EQ(root->Find("t"), -1);
    EXPECT_EQ(root->FindRecursive("T"), deep);
    EXPECT_EQ(root->FindRecursive("t"), nullptr);
    EXPECT_TRUE(root->IsChild(deep, true));
    EXPECT_FALSE(root->IsChild(deep, false));

    EXPECT_EQ(root->FindOrCreate("FIRST", true), first);
    EXPECT_NE(first->FCurveGet(), nullptr);
    EXPECT_EQ(root->FindOrCreate("new", true)->GetParent(), root.get());
}

TEST(NodeTree, EndsWithAllThatItOwns)
{
    NodePtr channel = MakeChannel(KDataTypeLclRotation, "R");
    GlissaNode* const layer = channel->CreateLayerAt({1, nullptr});
    const KWatch ofChild(channel->Get(2));
    const KWatch ofCurve(channel->Get(1)->FCurveGet());
    const KWatch ofLayer(layer);
    const KWatch ofLayerCurve(layer->Get(0)->FCurveGet());
    channel->Get(1)->FCurveReplace(GlissaCreate());
    channel->Delete(2);
    EXPECT_FALSE(ofCurve.IsAlive() || ofChild.IsAlive());
    channel->Clear();
    EXPECT_FALSE(ofLayer.IsAlive() || ofLayerCurve.IsAlive());
    EXPECT_EQ(channel->LayerGet(), nullptr);
}

TEST(NodeTree, RefusesANodeThatHoldsItself)
{
    const NodePtr root = MakeNode("root");
    GlissaNode* const child = root->FindOrCreate("child", false);
    GlissaNode* const low = child->FindOrCreate("low", true);
    GlissaNode* const layer = low->CreateLayerAt({1, nullptr});
    const NodePtr container = MakeNode("container");
    container->SetContainerType(8);
    ASSERT_EQ(0, container->Add(low));
    const NodePtr warp = MakeNode("warp", KDataTypeTimeWarp);
    layer->TimeWarpSet(warp.get());
    // By children, layers, containers and warps.
    const struct
    {
        GlissaNode* holder;
        GlissaNode* held;
    } circles[] = {{root.get(), root.get()}, {low, root.get()},        {layer, root.get()},
                   {low, container.get()},   {warp.get(), root.get()}, {warp.get(), layer}};
    for (const auto& [holder, held] : circles) {
        GlissaNode* const next = holder->LayerGet();
        EXPECT_EQ(-1, holder->Add(held)) << holder->GetTimeWarpName();
        EXPECT_EQ(-1, holder->SortedAdd(held));
        holder->LayerSet(held, false);
        EXPECT_EQ(next, holder->LayerGet());
        EXPECT_EQ(0, holder->Find(held) + 1);
    }
    root->SetParent(low);
    EXPECT_EQ(nullptr, root->GetParent());
    low->TimeWarpSet(root.get());
    EXPECT_EQ(nullptr, low->TimeWarpGet());
    container->Remove(0);
    EXPECT_EQ(0, low->Add(container.get()));
    low->Remove(0);
}

TEST(NodeTree, HasOneOwnerForEachNodeAndCurve)
{
    const NodePtr first = MakeNode("first");
    const NodePtr second = MakeNode("second");
    GlissaNode* const child = first->FindOrCreate("child", true);
    for (GlissaNode* const other : {first.get(), second.get()}) {
        EXPECT_EQ(-1, other->Add(child));
        EXPECT_EQ(-1, other->SortedAdd(child));
        other->LayerSet(child, false);
        EXPECT_EQ(nullptr, other->LayerGet());
    }
    GlissaNode* const sorted = MakeNode("sorted").release();
    EXPECT_EQ(0, second->SortedAdd(sorted));
    sorted->Destroy();
    EXPECT_EQ(0, second->GetCount());

    Glissa* const curve = child->FCurveGet();
    GlissaNode* const taker = second->FindOrCreate("taker", false);
    taker->FCurveSet(curve, false);
    EXPECT_EQ(nullptr, child->FCurveGet());
    EXPECT_EQ(taker, curve->GetOwner());
    // Whatever owner a host has set.
    curve->SetOwner(nullptr);
    child->FCurveSet(curve, false);
    EXPECT_EQ(nullptr, taker->FCurveGet());
}

TEST(NodeTree, TakesOverCopiesOfWhatItHoldsItself)
{
    const NodePtr root = MakeNode("root");
    GlissaNode* const branch = MakeChannel(KDataTypeLclTranslation, "T").release();
    root->Add(branch);
    GlissaNode* const low = branch->CreateLayerAt({1, nullptr});
    low->CreateLayerAt({2, nullptr});
    // The layers of the branch end with this, and the source with them.
    root->CopyFrom(low, true);
    EXPECT_EQ(nullptr, branch->LayerGet());

    const NodePtr channel = MakeChannel(KDataTypeLclTranslation, "T");
    channel->CreateLayerAt({1, nullptr})->Get(0)->FCurveGet()->SetValue(5.0f);
    channel->CopyFrom(channel->LayerGet(), true);
    EXPECT_EQ(nullptr, channel->LayerGet());
    EXPECT_EQ(5.0f, channel->Get(0)->FCurveGet()->GetValue());
}

TEST(NodeTree, IsAsDeepAsItsWalksCanGo)
{
    // From above and from below, with a container on the way.
    for (const bool fromAbove : {true, false}) {
        NodePtr root = MakeNode("root");
        int levels = 1;
        for (GlissaNode* last = root.get(); levels < 2000; ++levels) {
            NodePtr next = MakeNode("n");
            next->SetContainerType(levels == 5 ? 8 : 0);
            if ((fromAbove ? last->Add(next.get()) : next->Add(root.get())) < 0) {
                break;
            }
            if (fromAbove) {
                last = next.release();
            } else {
                (void)root.release();
                root = std::move(next);
            }
        }
        EXPECT_EQ(GlissaNode::kMaxLevels, levels);
        root->CreateFCurve();
        double value = 1.0;
        EXPECT_EQ(&value + 1, root->GeneralEvaluate(&value, KTime(), nullptr, true));
        EXPECT_FALSE(root->IsNodeLockedInHierarchy(true));
        EXPECT_EQ(1, NodePtr(root->Copy())->GetCount());
        EXPECT_EQ(nullptr, root->CreateLayerAt({1, nullptr}));
        // Children of the container are not its own to destroy.
        for (GlissaNode* node = root.get(); node; node = node->Get(0)) {
            node->SetContainerType(0);
        }
    }
    const NodePtr chain = MakeChannel(KDataTypeVector, "v");
    int layers = 0;
    for (int id = 3000; chain->CreateLayerAt({id, nullptr}); --id) {
        ++layers;
    }
    EXPECT_EQ(GlissaNode::kMaxLevels - 2, layers);
    EXPECT_EQ(nullptr, chain->CreateLayerAt({5000, nullptr}));
    EXPECT_NE(nullptr, NodePtr(chain->Copy())->LayerGet(3000));
}

TEST(NodeTree, LetsTheChildrenOfAContainerLive)
{
    NodePtr owner = MakeNode("Owner");
    NodePtr container = MakeNode("Container");
    container->SetContainerType(0xFF);
    EXPECT_EQ(container->GetContainerType(), 8);
    GlissaNode* child = owner->FindOrCreate("X", true);
    const KWatch watch(child);
    container->Add(child);
    container->Clear();
    ASSERT_TRUE(watch.IsAlive());
    EXPECT_EQ(child->GetParent(), owner.get());

    // One that becomes a container lets go of the children that it had.
    owner->SetContainerType(8);
    owner.reset();
    ASSERT_TRUE(watch.IsAlive());
    EXPECT_EQ(child->GetParent(), nullptr);
    child->Destroy();

    // A child that ends leaves all that hold it, in whatever order they took it.
    const NodePtr taker = MakeNode("Taker");
    const NodePtr other = MakeNode("Other");
    other->SetContainerType(8);
    std::vector<GlissaNode*> holders = {container.get(), other.get(), taker.get()};
    std::ranges::sort(holders);  // the first permutation
    do {
        child = MakeNode("Y").release();
        for (GlissaNode* const holder : holders) {
            EXPECT_EQ(0, holder->Add(child));
        }
        child->Destroy();
        for (GlissaNode* const holder : holders) {
            EXPECT_EQ(0, holder->GetCount());
        }
    } while (std::ranges::next_permutation(holders).found);
}

TEST(NodeTree, KeepsALayerThatOthersHold)
{
    StubLockQuery query;
    KPropertyTemplate<double> property;
    NodePtr base = MakeChannel(KDataTypeLclTranslation, "T");
    base->SetProperty(&property);
    base->SetLockQuery(&query);
    GlissaNode* layer = base->CreateLayerAt({1, nullptr});
    GlissaNode* behind = base->CreateLayerAt({2, nullptr});
    layer->IncReferenceCount();
    layer->IncReferenceCount();
    EXPECT_TRUE(layer->IsNodeLocked());
    base.reset();
    EXPECT_EQ(layer->GetReferenceCount(), 1);
    EXPECT_EQ(behind->ObjectLayerGet(), layer);
    EXPECT_EQ(behind->Get(2)->ObjectLayerGet(), layer->Get(2));
    EXPECT_FALSE(layer->Get(2)->IsNodeLocked());  // its base and the property are gone
    layer->Destroy();
}

TEST(NodeTree, SharesItsNamesWithWhatIsMadeFromIt)
{
    NodePtr original(GlissaNodeCreate("Name", "User", "Lcl Rotation", eLayerTypeRotation, {}));
    const NodePtr copy(GlissaNodeCreate(original.get()));
    EXPECT_EQ(copy->TemplateGet(), original.get());
    const NodePtr other = MakeNode("Other");
    other->FindOrCreate("X", false);
    original->FindOrCreate("X", false)->SetTimeWarpName("shared");
    for (int round = 0; round < 2; ++round) {
        other->TemplateSet(original.get());
        EXPECT_EQ(copy->GetNameInfo()->mReferenceCount, 3);
    }
    EXPECT_STREQ(other->Get(0)->GetTimeWarpName(), "shared");
    original.reset();
    other->SetNameInfo(nullptr);
    EXPECT_STREQ(other->GetName(), "");
    EXPECT_STREQ(copy->GetName(), "Name");
    EXPECT_EQ(copy->GetNameInfo()->mReferenceCount, 1);
}
