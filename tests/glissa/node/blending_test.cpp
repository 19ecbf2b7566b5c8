// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What a node evaluates to: random stacks of layers against a plain evaluation of the blending
// tables, and by hand what random stacks do not reach.

#include "corvekit/math/matrix.h"
#include "tests/support/allocation_count.h"
#include "tests/support/layer_stack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

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
        const Values got = Evaluated(stack.Node());
        if (stack.IsRotation()) {
            ++rotations;
            const RefRotation result = RefRotation::OfAngles(got.data(), stack.Order());
            ASSERT_LT(RefDistance(result, stack.Rotation()), 1e-5) << "stack " << i;
        } else {
            const Values expected = stack.Values();
            ASSERT_TRUE(stack.IsNear(got.data(), expected.data(), 1e-13, 0.0)) << "stack " << i;
        }
    }
    EXPECT_GT(rotations, 4000);
}

TEST(NodeBlending, PartsOfAChainBlendZeroValuesForTheOthers)
{
    std::mt19937 random(42);
    for (int i = 0; i < 3000; ++i) {
        LayerStack stack(random);
        const int count = static_cast<int>(stack.Layers().size());
        const int first = static_cast<int>(random() % static_cast<unsigned>(count));
        const int last = static_cast<int>(random() % static_cast<unsigned>(count));
        Values got;
        stack.Node().GetZeroValues(got.data());
        stack.Node().Internal_GeneralEvaluateLayerExcluded(
            got.data(), kNow, -1, stack.Layers()[static_cast<std::size_t>(first)]->id,
            stack.Layers()[static_cast<std::size_t>(last)]->id);
        if (stack.IsRotation()) {
            const RefRotation result = RefRotation::OfAngles(got.data(), stack.Order());
            ASSERT_LT(RefDistance(result, stack.Rotation(first, last)), 1e-5) << i;
        } else {
            const Values expected = stack.Values(first, last);
            ASSERT_TRUE(stack.IsNear(got.data(), expected.data(), 1e-13, 0.0)) << i;
        }
    }
}

TEST(NodeBlending, TheOlderBlendIsExactInOrderXYZOnly)
{
    const NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    StubLayer layer;
    GlissaNode* top = node->CreateLayerAt(GlissaLayerInfo(1, &layer));
    SetValues(*node, {20, 30, 40});
    SetValues(*top, {-15, 25, 5});
    for (const eLayerMode mode : {eLayerModeAdditive, eLayerModeOverridePassthrough}) {
        layer.mMode = mode;
        layer.mWeight = mode == eLayerModeAdditive ? 1.0 : 0.25;
        const Values normal = Evaluated(*node);
        GLISSA_EnableBrokenRotationBlend(true);
        const Values older = Evaluated(*node);
        // The number of the order YXZ is a code for another one: angles about repeated axes.
        node->SetRotationOrder(3);
        const Values repeated = Evaluated(*node);
        GLISSA_EnableBrokenRotationBlend(false);
        const Values turned = Evaluated(*node);
        node->SetRotationOrder(0);
        for (std::size_t k = 0; k < 3; ++k) {
            EXPECT_NEAR(normal[k], older[k], 1e-9);
        }
        EXPECT_GT(std::fabs(repeated[0] - turned[0]) + std::fabs(repeated[1] - turned[1]) +
                      std::fabs(repeated[2] - turned[2]),
                  1.0);
    }
    // Orders of repeated axes rebuild the angles that went in: one layer of full weight over a base
    // at rest comes out as it is, since the conversions are each other's inverse.
    GLISSA_EnableBrokenRotationBlend(true);
    layer.mMode = eLayerModeOverridePassthrough;
    layer.mWeight = 1.0;
    for (int order = 0; order < 6; ++order) {
        // A middle angle about repeated axes is read from 0 to 180, in odd parity from 0 to -180.
        const double middle = order == 3 ? -30 : 30;
        SetValues(*top, {20, middle, 40});
        node->SetRotationOrder(order);
        const Values same = Evaluated(*node);
        EXPECT_NEAR(same[0], 20, 1e-9) << order;
        EXPECT_NEAR(same[1], middle, 1e-9) << order;
        EXPECT_NEAR(same[2], 40, 1e-9) << order;
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

TEST(NodeBlending, WeightedValuesAndTheirInverse)
{
    const NodePtr scaling = MakeChannel(KDataTypeLclScaling, "S");
    Values values = {4, 9, 16};
    scaling->AddWeightedValue(values.data(), 0.5);
    EXPECT_EQ(values, (Values{2, 3, 4}));
    scaling->ResolveWeightedValue(values.data(), 0.5);
    EXPECT_EQ(values, (Values{4, 9, 16}));
    scaling->AddWeightedValue(values.data(), 0.999991);
    scaling->ResolveWeightedValue(values.data(), 0.9e-5);
    EXPECT_EQ(values, (Values{4, 9, 16}));
    scaling->AddWeightedValue(values.data(), 0.9e-5);
    EXPECT_EQ(values, (Values{1, 1, 1}));
    values = {-4, 4, -2};
    scaling->ApplyWeightedValue(values.data(), 3.0);
    EXPECT_EQ(values, (Values{64, 64, 8}));

    const NodePtr rotation = MakeChannel(KDataTypeLclRotation, "R");
    values = {90, 0, 0};
    rotation->ApplyWeightedValue(values.data(), 0.5);
    EXPECT_NEAR(values[0], 45, 1e-12);
    const NodePtr leaf(GlissaNodeCreate("X", static_cast<KDataType*>(nullptr), eLayerTypeValue,
                                        GlissaLayerInfo::Base));
    leaf->ApplyWeightedValue(values.data(), 0.5);
    EXPECT_NEAR(values[0], 45, 1e-12);  // a plain value is weighted by what it is a channel of
    leaf->SetLayerType(eLayerTypeVector);
    leaf->ApplyWeightedValue(values.data(), 0.5);
    EXPECT_NEAR(values[0], 22.5, 1e-12);
}

TEST(NodeBlending, OneLayerByItself)
{
    const NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
    StubLayer layer;
    layer.mWeight = 0.25;
    GlissaNode* top = node->CreateLayerAt(GlissaLayerInfo(4, &layer));
    SetValues(*top, {8, 16, 24});
    Values values = {1, 1, 1};
    EXPECT_EQ(node->EvaluateSpecificLayer(values.data(), kNow, 3), values.data());
    EXPECT_EQ(values, (Values{1, 1, 1}));
    EXPECT_EQ(node->EvaluateSpecificLayer(values.data(), kNow, 4), values.data() + 3);
    EXPECT_EQ(values, (Values{2, 4, 6}));
    layer.mMuted = true;
    node->EvaluateSpecificLayer(values.data(), kNow, 4, nullptr, true);
    EXPECT_EQ(values, (Values{8, 16, 24}));
    EXPECT_EQ(node->EvaluateSpecificLayer(values.data(), kNow, 4), values.data());
    EXPECT_EQ(values, (Values{0, 0, 0}));
    const NodePtr turn = MakeChannel(KDataTypeLclRotation, "R");
    SetValues(*turn->CreateLayerAt(GlissaLayerInfo(4, &layer)), {1, 2, 3});
    turn->EvaluateSpecificLayer(values.data(), kNow, 4, nullptr, true);
    EXPECT_EQ(values, (Values{1, 2, 3}));
}

TEST(NodeBlending, WhatALayerDoesToOthers)
{
    const NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
    StubLayer layers[3];
    for (int i = 0; i < 3; ++i) {
        SetValues(*node->CreateLayerAt(GlissaLayerInfo(i + 1, &layers[i])), {1.0 * i + 1, 0, 0});
    }
    SetValues(*node, {10, 0, 0});
    const auto sum = [&node](int pId) {
        Values values = {0, 0, 0};
        node->EvaluateCurvesExceptLayerRecursiveAdd(values.data(), kNow, pId, nullptr);
        return values[0];
    };
    EXPECT_EQ(sum(2), 14);
    layers[2].mMode = eLayerModeOverride;  // above the layer asked for, it ends the walk
    EXPECT_EQ(sum(2), 11);
    EXPECT_EQ(sum(3), 0);  // at it, it resets what was below
    layers[2].mMode = eLayerModeOverridePassthrough;
    layers[2].mWeight = 0.25;
    EXPECT_EQ(sum(2), 11 * 0.75 + 0.75);
    layers[2].mMuted = true;
    EXPECT_EQ(node->LayerGet(3)->CheckLayerMode(kNow, 2), GlissaNode::eModeCaseSkip);
}

TEST(NodeEvaluation, TimeWarpsApplyAlongTheChainAndNotToOneLayer)
{
    const NodePtr warp(
        GlissaNodeCreate("half speed", KDataTypeTimeWarp, eLayerTypeVector, GlissaLayerInfo::Base));
    warp->CreateFCurve();
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
    const NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    SetValues(*node, {1, 2, 3});
    StubLayer layer;
    layer.mWeight = 0.5;
    node->SetLayerInfo(GlissaLayerInfo(0, &layer));
    node->FCurveSet(GlissaCreate(), false);
    for (int round = 0; round < 2; ++round) {
        node->FCurveGet()->SetValue(9.0f);
        Values got = {-1, -1, -1};
        EXPECT_EQ(node->GetZeroValues(got.data()), got.data() + 1);
        EXPECT_EQ(node->GeneralEvaluate(got.data(), kNow), got.data() + 1);
        EXPECT_EQ(got, (Values{9, -1, -1}));
        node->EvaluateSpecificLayer(got.data(), kNow, 0);
        EXPECT_EQ(got, (Values{4.5, -1, -1}));
        EXPECT_EQ(node->CandidateSet(kNow, got.data(), GlissaLayerInfo::Base), got.data() + 1);
        EXPECT_EQ(node->CandidateSetSpecificLayer(kNow, got.data(), GlissaLayerInfo::Base, false),
                  got.data() + 1);
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
    // Along a path of quaternions those beyond the third go their own way.
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

TEST(NodeEvaluation, ExtremeTimesWeightsAndValuesRunThrough)
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
            EXPECT_EQ(node.GeneralEvaluate(values.data(), time) - values.data(),
                      node.IsNodeMuted() ? 0 : 3);
        }
    }
}

TEST(NodeEvaluation, NothingIsAllocated)
{
    std::mt19937 random(43);
    for (int i = 0; i < 50; ++i) {
        LayerStack stack(random);
        stack.Node().SetUseQuaternion(i % 2 == 0);
        for (auto& layer : stack.Layers()) {
            for (int k = 0; k < 3; ++k) {
                AddKeys(layer->node->Get(k), {{0, 1}, {1.5, 2}, {3, 4}});
            }
        }
        double values[3];
        int hint = 0;
        const std::size_t before = AllocationCount();
        for (int time = 0; time < 40; ++time) {
            const KTime at = KTime::FromSeconds(0.1 * time);
            stack.Node().GeneralEvaluate(values, at, &hint);
            stack.Node().EvaluateSpecificLayer(values, at, stack.Layers().back()->id, &hint, true);
            stack.Node().CandidateEvaluate(values, at, &hint);
        }
        EXPECT_EQ(AllocationCount(), before);
    }
}
