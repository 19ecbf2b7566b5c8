// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The path of quaternions between keys, by what defines it: it is that of the curve where all turns
// are small and about one axis, it turns with its keys, and it meets them without a jump.

#include "corvekit/math/rotation_order.h"
#include "tests/support/layer_stack.h"

#include <gtest/gtest.h>

namespace
{
using Values = std::array<double, 3>;

struct PathKey
{
    double time;
    Values angles;
    Values slopes;  // of both sides, for user keys
    float tension, continuity, bias;
};

constexpr unsigned kKinds[] = {eInterpolationLinear, eInterpolationCubic | eTangentAuto,
                               eInterpolationCubic | eTangentUser,
                               eInterpolationCubic | eTangentTCB};

// Angles and slopes up to pLargest, of all axes or of pAxis alone.
std::vector<PathKey> RandomKeys(std::mt19937& pRandom, double pLargest, int pAxis = -1)
{
    std::uniform_real_distribution<double> angle(-pLargest, pLargest);
    std::uniform_real_distribution<float> shape(-0.9f, 0.9f);
    std::vector<PathKey> keys;
    double time = 0.0;
    for (int left = 4 + static_cast<int>(pRandom() % 3); left > 0; --left) {
        PathKey key{time, {}, {}, shape(pRandom), shape(pRandom), shape(pRandom)};
        for (int axis = 0; axis < 3; ++axis) {
            if (pAxis < 0 || axis == pAxis) {
                key.angles[static_cast<std::size_t>(axis)] = angle(pRandom);
                key.slopes[static_cast<std::size_t>(axis)] = angle(pRandom);
            }
        }
        keys.push_back(key);
        time += 0.25 * static_cast<double>(1 + pRandom() % 6);
    }
    return keys;
}

NodePtr NodeOf(const std::vector<PathKey>& pKeys, unsigned pKind, int pOrder)
{
    NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    node->SetRotationOrder(pOrder);
    node->SetUseQuaternion(true);
    for (std::size_t k = 0; k < 3; ++k) {
        for (const PathKey& key : pKeys) {
            GlissaKey made;
            const KTime time = KTime::FromSeconds(key.time);
            const auto value = static_cast<float>(key.angles[k]);
            const auto slope = static_cast<float>((pKind & eTangentUser) != 0 ? key.slopes[k] : 0);
            if ((pKind & eTangentTCB) != 0) {
                made.SetTCB(time, value, key.tension, key.continuity, key.bias);
            } else {
                made.Set(time, value, pKind & 0xF, pKind & 0xF00, slope, slope, eWeightNone,
                         kGlissaDefaultWeight, kGlissaDefaultWeight, 0.0f, 0.0f);
            }
            node->Get(static_cast<int>(k))->FCurveGet()->KeyAdd(time, made);
        }
    }
    return node;
}

RefRotation RotationAt(GlissaNode& pNode, double pSeconds, int pTicks = 0)
{
    Values angles = {};
    const KTime time = KTime::FromSeconds(pSeconds) + KTime(pTicks);
    pNode.RotationNodeEvaluate(angles.data(), time, nullptr, false);
    return RefRotation::OfAngles(angles.data(), pNode.GetRotationOrder());
}

RefRotation RotationOf(const PathKey& pKey, int pOrder)
{
    return RefRotation::OfAngles(pKey.angles.data(), pOrder);
}
}  // namespace

TEST(RotationPath, OfSmallTurnsAboutOneAxisIsThatOfTheCurve)
{
    std::mt19937 random(61);
    for (const unsigned kind : kKinds) {
        for (int i = 0; i < 300; ++i) {
            const int axis = i % 3;
            const std::vector<PathKey> keys = RandomKeys(random, 1.0, axis);
            const NodePtr node = NodeOf(keys, kind, i / 3 % 6);
            // Where both neighbours are there: beyond the end keys a curve takes one secant.
            for (std::size_t key = 1; key + 2 < keys.size(); ++key) {
                for (const double ratio : {0.1, 0.5, 0.8125}) {
                    const KTime time = KTime::FromSeconds(
                        keys[key].time + ratio * (keys[key + 1].time - keys[key].time));
                    Values got = {};
                    node->RotationNodeEvaluate(got.data(), time, nullptr, false);
                    const float expected = node->Get(axis)->FCurveGet()->Evaluate(time, nullptr);
                    // A chord of the unit sphere is short of its arc by a cube of the turn.
                    ASSERT_NEAR(static_cast<double>(expected), got[static_cast<std::size_t>(axis)],
                                1e-3)
                        << "kind " << kind << ", case " << i << ", key " << key << ", " << ratio;
                }
            }
        }
    }
}

TEST(RotationPath, MeetsItsKeysAndTurnsWithThem)
{
    // Where each key is turned by the same rotation, the path is turned by it. Slopes of user keys
    // are of angles and do not turn.
    std::mt19937 random(63);
    for (const unsigned kind : kKinds) {
        for (int i = 0; i < 200; ++i) {
            const std::vector<PathKey> keys = RandomKeys(random, 80.0);
            const int order = i % 6;
            const Values by = {-35.0, 20.0, 50.0};
            const RefRotation turn = RefRotation::OfAngles(by.data(), order);
            std::vector<PathKey> turned = keys;
            const KVdRotationOrder angles(order);
            for (PathKey& key : turned) {
                const RefRotation rotation = turn * RotationOf(key, order);
                KgeRMatrix matrix;
                for (int e = 0; e < 9; ++e) {
                    matrix(e / 3, e % 3) = static_cast<double>(rotation.m[e / 3][e % 3]);
                }
                KgeRVector read;
                angles.M2V(read, matrix);
                key.angles = {read[0], read[1], read[2]};
            }
            const NodePtr node = NodeOf(keys, kind, order);
            const NodePtr other = NodeOf(turned, kind, order);
            for (const PathKey& key : keys) {
                for (const int ticks : {-20, 0, 20}) {
                    ASSERT_LT(
                        RefDistance(RotationAt(*node, key.time, ticks), RotationOf(key, order)),
                        1e-3);
                }
            }
            const bool turns = kind != (eInterpolationCubic | eTangentUser);
            for (double time = 0.0; turns && time < keys.back().time; time += 0.11) {
                ASSERT_LT(RefDistance(turn * RotationAt(*node, time), RotationAt(*other, time)),
                          1e-3)
                    << "kind " << kind << ", case " << i << " at " << time;
            }
        }
    }
}

TEST(RotationPath, ContinuesByTheSameStepBeyondItsEnds)
{
    const NodePtr node =
        NodeOf({{0.0, {0, 0, 0}, {}, 0, 0, 0}, {1.0, {1, 0, 0}, {}, 0, 0, 0}}, kKinds[3], 0);
    for (const double time : {0.25, 0.75}) {
        Values got = {};
        node->RotationNodeEvaluate(got.data(), KTime::FromSeconds(time), nullptr, false);
        EXPECT_NEAR(time, got[0], 1e-4);
    }
}

TEST(RotationPath, IsLeftToTheChannelsWhereThereIsNone)
{
    std::mt19937 random(63);
    const NodePtr node = NodeOf(RandomKeys(random, 80.0), kKinds[3], 2);
    const KTime between = KTime::FromSeconds(0.1);
    const auto isPlain = [&] {
        Values plain = {}, got = {};
        node->Evaluate(plain.data(), between);
        node->RotationNodeEvaluate(got.data(), between, nullptr, false);
        return got == plain;
    };
    EXPECT_FALSE(isPlain());
    node->SetUseQuaternion(false);
    EXPECT_TRUE(isPlain());
    node->SetUseQuaternion(true);
    node->Get(0)->FCurveGet()->KeySetInterpolation(0, eInterpolationConstant);
    EXPECT_TRUE(isPlain());
    while (node->Get(0)->FCurveGet()->KeyGetCount() > 1) {
        node->Get(0)->FCurveGet()->KeyRemove(1);
    }
    EXPECT_TRUE(isPlain());
}

TEST(RotationPath, BecomesTheCandidate)
{
    std::mt19937 random(64);
    const NodePtr node = NodeOf(RandomKeys(random, 80.0), kKinds[1], 0);
    const KTime between = KTime::FromSeconds(0.1);
    node->Get(1)->FCurveGet()->CandidateSet(between, 5.0);
    Values seen = {}, got = {};
    node->GeneralEvaluate(seen.data(), between);
    node->CandidateEvaluate(got.data(), between);
    EXPECT_EQ(got, seen);
    EXPECT_FALSE(node->Get(1)->FCurveGet()->IsCandidate());
}
