// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What a node evaluates to: random stacks of layers against a plain evaluation of the blending
// tables, and cases that random stacks do not reach.

#include "corvekit/math/matrix.h"
#include "tests/support/allocation_count.h"
#include "tests/support/layer_stack.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{
constexpr KTime kNow(141120000);
using Values = std::array<double, 3>;

Values Evaluated(GlissaNode& pNode, KTime pTime = kNow)
{
    Values values = {9e9, 9e9, 9e9};
    EXPECT_EQ(pNode.GeneralEvaluate(values.data(), pTime) - values.data(),
              pNode.IsNodeMuted() ? 0 : 3);
    return values;
}

void SetValues(GlissaNode& pNode, Values pValues)
{
    pNode.SetValue(pValues.data(), true);
}
}  // namespace

TEST(NodeBlending, RandomStacksFollowTheTables)
{
    std::mt19937 random(41);
    int rotations = 0;
    for (int i = 0; i < 20000; ++i) {
        LayerStack stack(random);
        // The whole chain, or a part of it where the other layers blend zero values.
        const bool isPart = i % 4 == 0;
        const std::size_t count = stack.Layers().size();
        const std::size_t first = isPart ? random() % count : 0;
        const std::size_t last = isPart ? random() % count : count - 1;
        Values got;
        stack.Node().GetZeroValues(got.data());
        if (isPart) {
            stack.Node().Internal_GeneralEvaluateLayerExcluded(
                got.data(), kNow, -1, stack.Layers()[first]->id, stack.Layers()[last]->id);
        } else {
            got = Evaluated(stack.Node());
        }
        const int from = static_cast<int>(first);
        const int to = static_cast<int>(last);
        if (stack.IsRotation()) {
            ++rotations;
            const RefRotation result = RefRotation::OfAngles(got.data(), stack.Order());
            ASSERT_LT(RefDistance(result, stack.Rotation(from, to)), 1e-5) << "stack " << i;
        } else {
            const Values expected = stack.Values(from, to);
            ASSERT_TRUE(stack.IsNear(got.data(), expected.data(), 1e-13, 0.0)) << "stack " << i;
        }
    }
    EXPECT_GT(rotations, 4000);
}

TEST(NodeBlending, OneLayerOverZerosKeepsItsAnglesInTheOlderBlend)
{
    const NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    StubLayer layer;
    GlissaNode* top = node->CreateLayerAt(GlissaLayerInfo(1, &layer));
    GLISSA_EnableBrokenRotationBlend(true);
    for (int order = 0; order < 6; ++order) {
        // A middle angle about repeated axes is read from 0 to 180, in odd parity from 0 to -180.
        const Values angles = {20, order == 3 ? -30.0 : 30.0, 40};
        SetValues(*top, angles);
        node->SetRotationOrder(order);
        const Values same = Evaluated(*node);
        for (std::size_t k = 0; k < 3; ++k) {
            EXPECT_NEAR(same[k], angles[k], 1e-9) << order;
        }
    }
    GLISSA_EnableBrokenRotationBlend(false);
}

TEST(NodeBlending, ARotationIsScaledInPlaceWhereItIsNotMixed)
{
    const NodePtr turn = MakeChannel(KDataTypeLclRotation, "R");
    for (const eLayerMode mode :
         {eLayerModeAdditive, eLayerModeOverride, eLayerModeOverridePassthrough}) {
        Values result = {0, 0, 0};
        Values values = {0, 40, 0};
        turn->BlendRotation(result.data(), values.data(), 0.5, mode);
        EXPECT_NEAR(20.0, result[1], 1e-12);
        EXPECT_NEAR(mode == eLayerModeOverridePassthrough ? 40.0 : 20.0, values[1], 1e-12);
    }
}

TEST(NodeBlending, OneLayerAloneAndAllOthers)
{
    const NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
    StubLayer layers[3];
    for (int i = 0; i < 3; ++i) {
        SetValues(*node->CreateLayerAt(GlissaLayerInfo(i + 1, &layers[i])), {1.0 * i + 1, 0, 0});
    }
    SetValues(*node, {10, 0, 0});
    const auto others = [&node](int pId) {
        Values values = {0, 0, 0};
        node->EvaluateCurvesExceptLayerRecursiveAdd(values.data(), kNow, pId, nullptr);
        return values[0];
    };
    StubLayer& top = layers[2];
    EXPECT_EQ(others(2), 14);
    top.mMode = eLayerModeOverride;  // above the layer asked for, it ends the walk
    EXPECT_EQ(others(2), 11);
    EXPECT_EQ(others(3), 0);  // at it, it resets what was below
    Values values = {7, 7, 7};
    EXPECT_EQ(node->EvaluateSpecificLayer(values.data(), kNow, 4), values.data());
    top.mWeight = 0.25;
    EXPECT_EQ(node->EvaluateSpecificLayer(values.data(), kNow, 3), values.data() + 3);
    EXPECT_EQ(values, (Values{0.75, 0, 0}));
    top.mMuted = true;
    EXPECT_EQ(node->EvaluateSpecificLayer(values.data(), kNow, 3), values.data());
    EXPECT_EQ(values, (Values{0, 0, 0}));
    // By force without mute and weight.
    const NodePtr turn = MakeChannel(KDataTypeLclRotation, "R");
    SetValues(*turn->CreateLayerAt(GlissaLayerInfo(3, &top)), {1, 2, 3});
    turn->EvaluateSpecificLayer(values.data(), kNow, 3, nullptr, true);
    EXPECT_EQ(values, (Values{1, 2, 3}));
}

TEST(NodeEvaluation, TimeWarpsApplyAlongTheChainAndNotToOneLayer)
{
    const NodePtr warp = MakeChannel(KDataTypeTimeWarp, "half speed");
    AddKeys(warp.get(), {{0, 0}, {10, 5}});
    const NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
    GlissaNode* top = node->CreateLayerAt(GlissaLayerInfo(1, nullptr));
    AddKeys(node->Get(0), {{0, 0}, {10, 10}});
    AddKeys(top->Get(0), {{0, 0}, {10, 100}});
    node->TimeWarpSet(warp.get());
    EXPECT_EQ(Evaluated(*node, KTime::FromSeconds(4.0))[0], 22);
    Values values = {};
    node->EvaluateSpecificLayer(values.data(), KTime::FromSeconds(4.0), 1);
    EXPECT_EQ(values[0], 40);
    node->Evaluate(values.data(), KTime::FromSeconds(4.0));
    EXPECT_EQ(values[0], 4);
    node->TimeWarpSet(nullptr);
}

TEST(NodeEvaluation, ANodeWithACurveIsOneValueWhateverHangsBelow)
{
    const NodePtr parent(GlissaNodeCreate("P", nullptr, eLayerTypeVector, {}));
    GlissaNode* const node = MakeChannel(KDataTypeLclRotation, "R").release();
    parent->Add(node);
    parent->FindOrCreate("next", true)->FCurveGet()->SetValue(5.0f);
    SetValues(*node, {1, 2, 3});
    StubLayer layer;
    layer.mWeight = 0.5;
    node->SetLayerInfo(GlissaLayerInfo(0, &layer));
    node->FCurveSet(GlissaCreate(), false);
    node->FCurveGet()->SetValue(9.0f);
    for (int round = 0; round < 2; ++round) {
        Values got = {-1, -1, -1};
        EXPECT_EQ(node->GetZeroValues(got.data()), got.data() + 1);
        EXPECT_EQ(parent->GeneralEvaluate(got.data(), kNow), got.data() + 2);
        EXPECT_EQ(got, (Values{9, 5, -1}));
        node->EvaluateSpecificLayer(got.data(), kNow, 0);
        EXPECT_EQ(got, (Values{4.5, 5, -1}));
        // What was asked of the children does not make the node theirs.
        node->RotationNodeEvaluate(got.data(), kNow, nullptr, false);
        EXPECT_EQ(got, (Values{1, 2, 3}));
    }
}

TEST(NodeEvaluation, ACurveThatGoesWhileItsNodeIsClearedIsNotAskedAgain)
{
    // The end of a child of X evaluates the channel when X is about to let its curve go.
    struct EvaluatingETI final : StubETI
    {
        GlissaNode* mNode = nullptr;
        void ReleaseReference() override
        {
            Values values;
            mNode->GeneralEvaluate(values.data(), kNow);
        }
    };
    const NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
    SetValues(*node, {1, 2, 3});
    EvaluatingETI eti;
    eti.mNode = node.get();
    node->Get(0)->FindOrCreate("below", true)->SetETI(&eti);
    node->Get(0)->Clear();
    EXPECT_EQ(Evaluated(*node), (Values{0, 2, 3}));
}

TEST(NodeEvaluation, ARotationMayHaveMoreOrFewerThanThreeChildren)
{
    for (const int count : {2, 5}) {
        const NodePtr node = MakeWide(count, eLayerTypeRotation);
        StubLayer layer;
        GlissaNode* top = node->CreateLayerAt(GlissaLayerInfo(1, &layer));
        std::array<double, 6> base = {10, 0, 0, 4, 5, 6}, above = {20, 0, 0, 1, 1, 1}, got = {};
        node->SetValue(base.data());
        top->SetValue(above.data());
        node->GeneralEvaluate(got.data(), kNow);
        EXPECT_NEAR(got[0], 30, 1e-9);
        std::array<double, 6> total = {50, 0, 0, 0, 0, 0}, share = {};
        node->ComputeCandidateForLayer(share.data(), total.data(), kNow, 1);
        EXPECT_NEAR(share[0], 40, 1e-9);
    }
    // Children after the third are no part of a path of quaternions.
    const NodePtr node = MakeWide(4, eLayerTypeRotation);
    for (int i = 0; i < 4; ++i) {
        AddKeys(node->Get(i), {{0, 0.0f}, {2, 40.0f}});
    }
    node->SetUseQuaternion(true);
    for (const bool candidate : {false, true}) {
        std::array<double, 4> got = {9, 9, 9, 9};
        node->GeneralEvaluate(got.data(), kNow, nullptr, candidate);
        EXPECT_NE(got[0], 20);
        EXPECT_EQ(got[3], 20);
    }
}

TEST(NodeEvaluation, ALayerMayHaveMoreChildrenThanItsBase)
{
    StubLayer layer;
    layer.mWeight = 0.5;
    for (const EGlissaLayerType type :
         {eLayerTypeVector, eLayerTypeScaling, eLayerTypeRotation, eLayerTypeRotationByChannel}) {
        const NodePtr node = MakeWide(2, type);
        GlissaNode* const top = node->CreateLayerAt(GlissaLayerInfo(1, &layer));
        for (const char* name : {"third", "fourth"}) {
            top->FindOrCreate(name, true)->FCurveGet()->SetValue(7.0f);
        }
        // Hosts have room for the values of the base.
        Values values = {3, 4, 99};
        node->CandidateSetSpecificLayer(kNow, values.data(), GlissaLayerInfo(1, &layer), true);
        node->GeneralEvaluate(values.data(), kNow);
        EXPECT_EQ(values[2], 99);
        EXPECT_EQ(top->Get(2)->LayerGet(), nullptr);
    }
}

TEST(NodeEvaluation, ExtremeTimesWeightsAndValuesRunThroughAndAllocateNothing)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const double numbers[] = {std::nan(""), kInfinity, -kInfinity, 1e300, -2.0, 0.0};
    std::mt19937 random(44);
    for (int i = 0; i < 300; ++i) {
        LayerStack stack(random);
        GlissaNode& node = stack.Node();
        node.SetUseQuaternion(i % 2 == 0);
        for (auto& layer : stack.Layers()) {
            layer->info.mWeight = numbers[random() % 6];
            for (int k = 0; k < 3 && i % 3 == 0; ++k) {
                const double ends = i % 4 == 0 ? 6e10 : 1.0;
                AddKeys(layer->node->Get(k), {{-ends, 1}, {0, 2}, {ends, 4}});
            }
        }
        for (const KTime time : {KTime::MinusInfinite(), KTime(), kNow, KTime::Infinite()}) {
            Values values = {numbers[random() % 6], numbers[random() % 6], numbers[random() % 6]};
            const int id = stack.Layers().back()->id;
            const GlissaLayerInfo info(id, &stack.Layers().back()->info);
            node.CandidateSet(time, values.data(), info);
            node.CandidateSetSpecificLayer(time, values.data(), info, true);
            node.EvaluateCurvesExceptLayerRecursiveAdd(values.data(), time, id, nullptr);
            node.EvaluateCurvesExceptLayerRecursiveMult(values.data(), time, 0, nullptr);
            KgeRMatrix matrix;
            node.EvaluateCurvesAfterLayerRecursiveEulerXYZ(matrix, time, 0, nullptr);
            node.CandidateKey(nullptr, info, nullptr, i % 2 == 0, eInterpolationLinear,
                              eTangentUser, eContinuityDefault, true, time);
            int hint = 0;
            const std::size_t before = AllocationCount();
            const double* const end = node.GeneralEvaluate(values.data(), time, &hint);
            node.EvaluateSpecificLayer(values.data(), time, id, &hint, true);
            node.CandidateEvaluate(values.data(), time, &hint);
            EXPECT_EQ(AllocationCount(), before);
            EXPECT_EQ(end - values.data(), node.IsNodeMuted() ? 0 : 3);
        }
    }
}
