// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Pending values: a total becomes keys of a layer so that the node evaluates to that total, for
// random stacks wherever the layers allow it; and special cases of candidates.

#include "tests/support/layer_stack.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
const KTime kNow = KTime::FromSeconds(1.25);
using Values = std::array<double, 3>;

bool Key(GlissaNode& pNode, const GlissaLayerInfo& pInfo, KTime pTime = KTime::Infinite(),
         bool pZeroKey = false, bool* pMask = nullptr)
{
    return pNode.CandidateKey(nullptr, pInfo, pMask, pZeroKey, eInterpolationLinear, eTangentUser,
                              eContinuityDefault, true, pTime);
}

// What can be reached through the layers above: not past an override, nor past a passthrough of
// full weight; with rotations past additive layers alone, and into a layer that composes.
bool IsReachable(LayerStack& pStack, std::size_t pTarget)
{
    const auto& layers = pStack.Layers();
    const StubLayer& target = layers[pTarget]->info;
    if (target.mMuted || target.mWeight <= 0.01) {
        return false;
    }
    if (pStack.IsRotation() && target.mMode == eLayerModeOverridePassthrough && layers.size() > 1) {
        return false;
    }
    double share = target.mWeight;
    for (std::size_t i = pTarget + 1; i < layers.size(); ++i) {
        const StubLayer& above = layers[i]->info;
        if (!above.mMuted && above.mMode == eLayerModeOverridePassthrough) {
            share *= 1.0 - above.mWeight;
        }
        const bool closes =
            above.mMode == eLayerModeOverride || (above.mMode == eLayerModeOverridePassthrough &&
                                                  (above.mWeight > 0.95 || pStack.IsRotation()));
        if (!above.mMuted && closes) {
            return false;
        }
    }
    // A scaling to the power of one by less than this leaves the range of floats.
    return share > 0.15 || pStack.Type() != eLayerTypeScaling;
}

// The share of a rotation must be below a half turn after the weight is taken out.
bool IsWithinHalfATurn(LayerStack& pStack, std::size_t pTarget, const RefRotation& pTotal)
{
    const int place = static_cast<int>(pTarget);
    const StubLayer& target = pStack.Layers()[pTarget]->info;
    RefRotation share = pTotal * pStack.Rotation(place + 1).Inverse();
    if (target.mMode != eLayerModeOverride) {
        share = pStack.Rotation(0, place - 1).Inverse() * share;
    }
    const double weight = pStack.Layers().size() == 1 ? 1.0 : target.mWeight;
    return share.Angle() / weight < 179.0L;
}
}  // namespace

TEST(NodeCandidates, ATotalIsReachedThroughRandomStacks)
{
    std::mt19937 random(51);
    std::uniform_real_distribution<double> number(-150.0, 150.0);
    std::uniform_real_distribution<double> scale(0.3, 3.0);
    int reached[3] = {};
    for (int i = 0; i < 100000; ++i) {
        LayerStack stack(random, true);
        const std::size_t target = random() % stack.Layers().size();
        const bool scales = stack.Type() == eLayerTypeScaling;
        Values total;
        for (double& each : total) {
            each = static_cast<double>(static_cast<float>(scales ? scale(random) : number(random)));
        }
        if (!IsReachable(stack, target) ||
            (stack.IsRotation() &&
             !IsWithinHalfATurn(stack, target,
                                RefRotation::OfAngles(total.data(), stack.Order())))) {
            continue;
        }
        // Half of the channels have keys already, so that no default value is given at once.
        const bool keyed = random() % 2 == 0;
        if (keyed) {
            for (int k = 0; k < 3; ++k) {
                const float value = stack.Layers()[0]->node->Get(k)->FCurveGet()->GetValue();
                AddKeys(stack.Node().Get(k), {{0, value}, {9, value}});
            }
        }
        GlissaNode& node = stack.Node();
        const GlissaLayerInfo info(stack.Layers()[target]->id, &stack.Layers()[target]->info);
        Values wanted = total;
        ASSERT_EQ(node.CandidateSet(kNow, wanted.data(), info), wanted.data() + 3);
        Values pending;
        node.CandidateEvaluate(pending.data(), kNow);
        // A muted base shows nothing, its candidate neither.
        ASSERT_TRUE(node.IsNodeMuted() || pending == total);
        ASSERT_TRUE(Key(node, info));
        ASSERT_FALSE(node.IsCandidate());
        ASSERT_EQ(stack.Layers()[target]->node->Get(1)->FCurveGet()->KeyGetCount(),
                  1 + (keyed && target == 0 ? 2 : 0));

        Values got;
        node.GeneralEvaluate(got.data(), kNow);
        // A weight that lets little through makes large values of float precision.
        ASSERT_TRUE(stack.IsNear(got.data(), total.data(), 1e-4, 1e-3))
            << "stack " << i << ", type " << stack.Type() << ", layer " << target << " of "
            << stack.Layers().size();
        ++reached[scales ? 0 : stack.IsRotation() ? 1 : 2];
    }
    for (const int count : reached) {
        EXPECT_GT(count, 3000);
    }
}

TEST(NodeCandidates, ChannelsOfManyValues)
{
    StubLayer layer;
    for (const int count : {4, 6, 16, 20}) {
        for (const int id : {0, 3}) {
            SCOPED_TRACE(std::to_string(count) + " values in layer " + std::to_string(id));
            const NodePtr node = MakeWide(count);
            const GlissaLayerInfo info(id, id == 0 ? nullptr : &layer);
            layer.mWeight = count <= 16 ? 0.5 : 1.0;  // a plain leaf takes no weight out
            std::vector<double> total, got(static_cast<std::size_t>(count));
            for (int i = 0; i < count; ++i) {
                AddKeys(node->Get(i), {{0, 100}});
                total.push_back(1.0 + i);
            }
            std::vector<double> wanted = total;
            EXPECT_EQ(node->CandidateSet(kNow, wanted.data(), info), wanted.data() + count);
            node->CandidateEvaluate(got.data(), kNow);
            EXPECT_EQ(got, total);
            const NodePtr copy = MakeWide(count);
            copy->CopyFrom(node.get(), false);
            copy->CandidateEvaluate(got.data(), kNow);
            EXPECT_EQ(got, total);
            Key(*node, info);
            // What is evaluated becomes the pending total, which is returned the second time.
            for (int round = 0; round < 2; ++round) {
                node->CandidateEvaluate(got.data(), kNow);
                EXPECT_EQ(got, total);
            }
            EXPECT_EQ(node->Get(count - 1)->FCurveGet()->KeyGetCount(), id == 0 ? 2 : 1);
        }
    }
    // A layer of more values than are blended gets no keys, and nothing remains pending.
    const NodePtr node = MakeWide(4);
    GlissaNode* const wide = node->CreateLayerAt({3, &layer});
    while (wide->GetCount() <= 16) {
        wide->Add(GlissaNodeCreate("n", static_cast<KDataType*>(nullptr), 0, {3, &layer}));
    }
    double total[] = {1, 2, 3, 4};
    node->CandidateSet(kNow, total, {3, &layer});
    Key(*node, {3, &layer});
    EXPECT_EQ(0, wide->KeyGetCount(false));
    EXPECT_FALSE(node->IsCandidate());
}

TEST(NodeCandidates, ABranchOfChannelsHasLayersOnItsChannels)
{
    const NodePtr joint = MakeJoint();
    joint->ResetValue(false);
    const GlissaLayerInfo info(2, nullptr);
    std::array<double, 6> total = {1, 2, 3, 4, 5, 6}, got = {};
    for (const bool specific : {false, true}) {
        std::array<double, 6> values = total;
        if (specific) {
            joint->CandidateSetSpecificLayer(kNow, values.data(), info, true);
            joint->CandidateKeySpecificLayer(nullptr, 2, nullptr, eInterpolationLinear,
                                             eTangentUser, eContinuityDefault, true, kNow, 0.0);
        } else {
            joint->CandidateSet(kNow, values.data(), info);
            Key(*joint, info);
        }
        EXPECT_EQ(joint->LayerGet(), nullptr);
        EXPECT_EQ(joint->Get(1)->LayerGet(2)->Get(2)->FCurveGet()->KeyGetCount(), 1);
        joint->GeneralEvaluate(got.data(), kNow);
        EXPECT_EQ(got, total);
    }
}

// A rotation with a layer that hold values at the start.
struct TurnedStack
{
    StubLayer layer;
    NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    GlissaNode* top;

    TurnedStack(const Values& pBase, const Values& pTop,
                eWeightRotationAccumulationMode pMode = eRotationByLayer)
    {
        layer.mRotationMode = pMode;
        top = node->CreateLayerAt({1, &layer});
        for (int k = 0; k < 3; ++k) {
            const auto at = static_cast<std::size_t>(k);
            AddKeys(node->Get(k), {{0, static_cast<float>(pBase[at])}});
            AddKeys(top->Get(k), {{0, static_cast<float>(pTop[at])}});
        }
    }
    // Keys a total in the layer; what the node evaluates to then.
    Values KeyTotal(Values pTotal, KTime pTime)
    {
        node->CandidateSet(pTime, pTotal.data(), {1, &layer});
        Key(*node, {1, &layer});
        node->GeneralEvaluate(pTotal.data(), pTime);
        return pTotal;
    }
    double LastKey(int pAxis) const
    {
        const Glissa& curve = *top->Get(pAxis)->FCurveGet();
        return static_cast<double>(curve.KeyGetValue(curve.KeyGetCount() - 1));
    }
};

TEST(NodeCandidates, KeysOfAWeightedRotationDoNotJumpByATurn)
{
    // At half weight the layer passes half a turn while the total is far from it.
    TurnedStack stack({0, 0, 0}, {0, 0, 170});
    stack.layer.mWeight = 0.5;
    stack.KeyTotal({0, 0, 89}, kNow);
    EXPECT_NEAR(stack.LastKey(2), 178, 1e-3);
    AddKeys(stack.top->Get(2), {{2, 500}});  // 140 and a turn
    EXPECT_NEAR(stack.KeyTotal({0, 0, 60}, KTime::FromSeconds(3))[2], 60, 1e-3);
    EXPECT_NEAR(stack.LastKey(2), 480, 1e-3);
}

TEST(NodeCandidates, ASumOfAnglesIsNotFlipped)
{
    // The base composes, the layer adds angle by angle.
    TurnedStack stack({10, 20, 30}, {170, 80, 170}, eRotationByChannel);
    stack.KeyTotal({-15, 100, 10}, kNow);
    EXPECT_NEAR(stack.LastKey(0), 335, 1e-3);
}

TEST(NodeCandidates, AKeylessChannelTakesItsShareAtOnce)
{
    const NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
    StubLayer layer;
    const GlissaLayerInfo info(5, &layer);
    AddKeys(node->CreateLayerAt({3, nullptr})->Get(0), {{0, 1}});  // X has a key there
    Values total = {4, 5, 6};
    node->CandidateSet(kNow, total.data(), info);
    GlissaNode* top = node->LayerGet(5);  // made for it
    ASSERT_NE(top, nullptr);
    EXPECT_EQ(top->Get(0)->FCurveGet()->GetValue(), 0.0f);
    EXPECT_EQ(top->Get(1)->FCurveGet()->GetValue(), 5.0f);
    node->CandidateClear(0, true);
    Values got;
    node->GeneralEvaluate(got.data(), kNow);
    EXPECT_EQ(got, (Values{1, 5, 6}));

    // Nothing for a muted layer, on a layer node, and for a locked layer.
    layer.mMuted = true;
    EXPECT_EQ(node->CandidateEvaluateSpecificLayer(got.data(), kNow, 5), got.data());
    EXPECT_EQ(top->CandidateSet(kNow, total.data(), info), total.data());
    layer.mLocked = true;
    EXPECT_EQ(node->CandidateSet(kNow, total.data(), info), total.data());
    EXPECT_EQ(node->CandidateSetSpecificLayer(kNow, total.data(), info, true), total.data());
    EXPECT_FALSE(node->IsCandidate());
}

TEST(NodeCandidates, ZeroKeysAndMasks)
{
    const NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
    const GlissaLayerInfo info(1, nullptr);
    GlissaNode* top = node->CreateLayerAt(info);
    Values held = {5, 5, 5};
    top->SetValue(held.data());
    bool mask[] = {true, false, true};
    Key(*node, info, kNow, true, mask);
    EXPECT_EQ(top->Get(0)->FCurveGet()->KeyGetCount(), 1);
    EXPECT_EQ(top->Get(1)->FCurveGet()->KeyGetCount(), 0);
    EXPECT_EQ(top->Get(2)->FCurveGet()->KeyGetValue(0), 0.0f);
}

TEST(NodeCandidates, AStateComesBackWithItsLayers)
{
    const NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    node->CreateLayerAt(GlissaLayerInfo(2, nullptr));
    Values total = {1, 2, 3};
    node->CandidateSet(kNow, total.data(), GlissaLayerInfo(2, nullptr));
    GlissaNodeCandidateState state;
    node->GetCandidateState(state);
    EXPECT_EQ(state.mLayerState->mLayerID, 2);
    node->CandidateClear(0, true);
    node->CreateLayerAt(GlissaLayerInfo(1, nullptr));
    node->CreateLayerAt(GlissaLayerInfo(7, nullptr));
    // Each layer takes what was kept of it; a new one keeps what it has.
    const auto valueOf = [&node](int pId) {
        return node->LayerGet(pId)->Get(0)->FCurveGet()->GetValue();
    };
    const float kept = valueOf(2);
    node->LayerGet(1)->Get(0)->FCurveGet()->SetValue(6.0f);
    node->LayerGet(2)->Get(0)->FCurveGet()->SetValue(8.0f);
    node->SetCandidateState(state, false);
    EXPECT_EQ(valueOf(1), 6.0f);
    EXPECT_EQ(valueOf(2), kept);
    node->SetCandidateState(state, true);
    EXPECT_EQ(node->LayerGet(1), nullptr);
    EXPECT_EQ(node->LayerGet(7), nullptr);
    ASSERT_NE(node->LayerGet(2), nullptr);
    Values got;
    EXPECT_EQ(node->CandidateGet(got.data()), got.data() + 3);
    EXPECT_EQ(got, total);
}
