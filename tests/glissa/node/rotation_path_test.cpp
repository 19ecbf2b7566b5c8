// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The path of quaternions between keys, against a construction of its own: quaternions by axis and
// angle, handles from the tangents' definitions, the cubic by Bernstein polynomials.

#include "tests/support/layer_stack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace
{
using Values = std::array<double, 3>;
using Quaternion = std::array<double, 4>;  // x, y, z, w

double Dot(const Quaternion& pLeft, const Quaternion& pRight)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < 4; ++i) {
        sum += pLeft[i] * pRight[i];
    }
    return sum;
}

// a * pFactor + b * pOther
Quaternion Mix(const Quaternion& pA, double pFactor, const Quaternion& pB, double pOther)
{
    Quaternion result;
    for (std::size_t i = 0; i < 4; ++i) {
        result[i] = pA[i] * pFactor + pB[i] * pOther;
    }
    return result;
}

// By Bar-Itzhack's way: the unit vector that is turned least apart, found by iterating on the
// symmetric matrix K of the rotation.
Quaternion QuaternionOf(const RefRotation& pRotation)
{
    const auto& m = pRotation.m;
    const double k[4][4] = {
        {m[0][0] - m[1][1] - m[2][2], m[1][0] + m[0][1], m[2][0] + m[0][2], m[2][1] - m[1][2]},
        {m[1][0] + m[0][1], m[1][1] - m[0][0] - m[2][2], m[2][1] + m[1][2], m[0][2] - m[2][0]},
        {m[2][0] + m[0][2], m[2][1] + m[1][2], m[2][2] - m[0][0] - m[1][1], m[1][0] - m[0][1]},
        {m[2][1] - m[1][2], m[0][2] - m[2][0], m[1][0] - m[0][1], m[0][0] + m[1][1] + m[2][2]}};
    // The eigenvalues of K are 3 and -1: K + 1 has the rank of the answer.
    std::size_t best = 0;
    for (std::size_t i = 1; i < 4; ++i) {
        best = k[i][i] > k[best][best] ? i : best;
    }
    Quaternion q;
    for (std::size_t i = 0; i < 4; ++i) {
        q[i] = k[i][best] + (i == best ? 1.0 : 0.0);
    }
    const double length = std::sqrt(Dot(q, q));
    return Mix(q, 1.0 / length, q, 0.0);
}

RefRotation RotationOf(Quaternion pQuaternion)
{
    const double length = std::sqrt(Dot(pQuaternion, pQuaternion));
    const auto [x, y, z, w] = Mix(pQuaternion, 1.0 / length, pQuaternion, 0.0);
    RefRotation r;
    const double m[3][3] = {
        {w * w + x * x - y * y - z * z, 2 * (x * y - w * z), 2 * (x * z + w * y)},
        {2 * (x * y + w * z), w * w - x * x + y * y - z * z, 2 * (y * z - w * x)},
        {2 * (x * z - w * y), 2 * (y * z + w * x), w * w - x * x - y * y + z * z}};
    std::copy(&m[0][0], &m[0][0] + 9, &r.m[0][0]);
    return r;
}

enum class Kind
{
    eLinear,
    eAuto,
    eUser,
    eTCB
};

struct PathKey
{
    double time;
    std::array<float, 3> angles;
    std::array<float, 3> slopes;  // user keys: one for both sides
    float tension, continuity, bias;
};

struct PathCase
{
    Kind kind;
    int order;
    std::vector<PathKey> keys;
};

PathCase RandomCase(std::mt19937& pRandom, Kind pKind)
{
    std::uniform_real_distribution<float> angle(-80.0f, 80.0f), slope(-60.0f, 60.0f),
        shape(-0.9f, 0.9f);
    PathCase result{pKind, static_cast<int>(pRandom() % 6), {}};
    double time = 0.0;
    const int count = 2 + static_cast<int>(pRandom() % 5);
    for (int i = 0; i < count; ++i) {
        PathKey key{time, {}, {}, shape(pRandom), shape(pRandom), shape(pRandom)};
        for (std::size_t k = 0; k < 3; ++k) {
            key.angles[k] = angle(pRandom);
            key.slopes[k] = slope(pRandom);
        }
        result.keys.push_back(key);
        time += 0.25 * static_cast<double>(1 + pRandom() % 6);
    }
    return result;
}

NodePtr NodeOf(const PathCase& pCase)
{
    NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    node->SetRotationOrder(pCase.order);
    node->SetUseQuaternion(true);
    for (int k = 0; k < 3; ++k) {
        Glissa* curve = node->Get(k)->FCurveGet();
        const auto axis = static_cast<std::size_t>(k);
        for (const PathKey& key : pCase.keys) {
            GlissaKey made;
            const KTime time = KTime::FromSeconds(key.time);
            if (pCase.kind == Kind::eTCB) {
                made.SetTCB(time, key.angles[axis], key.tension, key.continuity, key.bias);
            } else {
                const bool linear = pCase.kind == Kind::eLinear;
                made.Set(time, key.angles[axis],
                         linear ? eInterpolationLinear : eInterpolationCubic,
                         pCase.kind == Kind::eUser ? eTangentUser : eTangentAuto, 0.0f, 0.0f,
                         eWeightNone, kGlissaDefaultWeight, kGlissaDefaultWeight, 0.0f, 0.0f);
            }
            curve->KeyAdd(time, made);
        }
        if (pCase.kind == Kind::eUser) {
            for (int i = 0; i < curve->KeyGetCount(); ++i) {
                const float slope = pCase.keys[static_cast<std::size_t>(i)].slopes[axis];
                curve->KeySetLeftDerivative(i, slope);
                curve->KeySetRightDerivative(i, slope);
            }
        }
    }
    return node;
}

RefRotation Keyed(const PathCase& pCase, std::size_t pKey)
{
    const auto& angles = pCase.keys[pKey].angles;
    const Values values = {angles[0], angles[1], angles[2]};
    return RefRotation::OfAngles(values.data(), pCase.order);
}

RefRotation Expected(const PathCase& pCase, std::size_t pFirst, double pRatio)
{
    const auto& keys = pCase.keys;
    const std::size_t second = pFirst + 1;
    const bool has_previous = pFirst > 0;
    const bool has_next = second + 1 < keys.size();
    const double gap = keys[second].time - keys[pFirst].time;
    const double before = has_previous ? keys[pFirst].time - keys[pFirst - 1].time : gap;
    const double behind = has_next ? keys[second + 1].time - keys[second].time : gap;

    const RefRotation origin = Keyed(pCase, pFirst);
    const RefRotation inverse = origin.Inverse();
    const RefRotation step = inverse * Keyed(pCase, second);
    const Quaternion q0 = {0, 0, 0, 1};
    Quaternion previous =
        QuaternionOf(has_previous ? inverse * Keyed(pCase, pFirst - 1) : step.Inverse());
    Quaternion q1 = QuaternionOf(step);
    Quaternion next = QuaternionOf(has_next ? inverse * Keyed(pCase, second + 1) : step * step);
    // Only differences count, so the sign that all share does not.
    const auto nearer = [](Quaternion& pQuaternion, const Quaternion& pBefore) {
        if (Dot(pQuaternion, pBefore) < 0.0) {
            pQuaternion = Mix(pQuaternion, -1.0, pQuaternion, 0.0);
        }
    };
    nearer(previous, q0);
    nearer(q1, q0);
    nearer(next, q1);
    if (pCase.kind == Kind::eLinear) {
        return origin * RotationOf(Mix(q0, 1.0 - pRatio, q1, pRatio));
    }
    const Quaternion left = Mix(q0, 1.0 / before, previous, -1.0 / before);
    const Quaternion slope = Mix(q1, 1.0 / gap, q0, -1.0 / gap);
    const Quaternion right = Mix(next, 1.0 / behind, q1, -1.0 / behind);
    Quaternion c1, c2;
    if (pCase.kind == Kind::eUser) {
        Values out, in;
        for (std::size_t k = 0; k < 3; ++k) {
            out[k] = static_cast<double>(keys[pFirst].angles[k]) +
                     static_cast<double>(keys[pFirst].slopes[k]) * gap / 3.0;
            in[k] = static_cast<double>(keys[second].angles[k]) -
                    static_cast<double>(keys[second].slopes[k]) * gap / 3.0;
        }
        c1 = QuaternionOf(inverse * RefRotation::OfAngles(out.data(), pCase.order));
        c2 = QuaternionOf(inverse * RefRotation::OfAngles(in.data(), pCase.order));
        nearer(c1, q0);
        nearer(c2, c1);
    } else {
        double out_left = 0.5, out_right = 0.5, in_left = 0.5, in_right = 0.5;
        if (pCase.kind == Kind::eTCB) {
            const auto factor = [](const PathKey& pKey, double pContinuity, double pBias) {
                return 0.5 * (1.0 - static_cast<double>(pKey.tension)) *
                       (1.0 + pContinuity * static_cast<double>(pKey.continuity)) *
                       (1.0 + pBias * static_cast<double>(pKey.bias));
            };
            out_left = factor(keys[pFirst], 1, 1);
            out_right = factor(keys[pFirst], -1, -1);
            in_left = factor(keys[second], -1, 1);
            in_right = factor(keys[second], 1, -1);
        }
        c1 = Mix(q0, 1.0, Mix(left, out_left, slope, out_right), gap / 3.0);
        c2 = Mix(q1, 1.0, Mix(slope, in_left, right, in_right), -gap / 3.0);
        nearer(c1, q0);
        nearer(c2, c1);
    }
    nearer(q1, c2);
    const double t = pRatio;
    const double s = 1.0 - t;
    const Quaternion q =
        Mix(Mix(q0, s * s * s, c1, 3 * s * s * t), 1.0, Mix(c2, 3 * s * t * t, q1, t * t * t), 1.0);
    return origin * RotationOf(q);
}
}  // namespace

TEST(RotationPath, FollowsTheConstruction)
{
    std::mt19937 random(61);
    for (const Kind kind : {Kind::eLinear, Kind::eAuto, Kind::eUser, Kind::eTCB}) {
        for (int i = 0; i < 500; ++i) {
            const PathCase path = RandomCase(random, kind);
            const NodePtr node = NodeOf(path);
            int hint = 0;
            for (std::size_t key = 0; key + 1 < path.keys.size(); ++key) {
                // Where only X has a key at its ends, Y and Z go their own way; so all have one.
                // The very first key of Y and Z counts as none, hence from the second on.
                if (kind == Kind::eUser && key == 0) {
                    continue;
                }
                for (const double ratio : {0.1, 0.5, 0.8125}) {
                    const double time = path.keys[key].time +
                                        ratio * (path.keys[key + 1].time - path.keys[key].time);
                    Values got = {};
                    node->RotationNodeEvaluate(got.data(), KTime::FromSeconds(time), &hint, false);
                    const RefRotation result = RefRotation::OfAngles(got.data(), path.order);
                    ASSERT_LT(RefDistance(result, Expected(path, key, ratio)), 2e-4)
                        << "kind " << static_cast<int>(kind) << ", case " << i << ", key " << key
                        << " of " << path.keys.size() << ", ratio " << ratio;
                }
            }
        }
    }
}

TEST(RotationPath, MeetsItsKeysWithoutAJump)
{
    std::mt19937 random(62);
    for (const Kind kind : {Kind::eLinear, Kind::eAuto, Kind::eUser, Kind::eTCB}) {
        for (int i = 0; i < 200; ++i) {
            const PathCase path = RandomCase(random, kind);
            const NodePtr node = NodeOf(path);
            for (std::size_t key = 0; key < path.keys.size(); ++key) {
                const KTime time = KTime::FromSeconds(path.keys[key].time);
                for (const int ticks : {-20, 0, 20}) {
                    Values got = {};
                    node->RotationNodeEvaluate(got.data(), time + KTime(ticks), nullptr, false);
                    const RefRotation result = RefRotation::OfAngles(got.data(), path.order);
                    ASSERT_LT(RefDistance(result, Keyed(path, key)), 1e-3);
                }
            }
        }
    }
}

TEST(RotationPath, ChannelsGoTheirOwnWayWithoutIt)
{
    std::mt19937 random(63);
    const PathCase path = RandomCase(random, Kind::eTCB);
    const NodePtr node = NodeOf(path);
    const KTime between = KTime::FromSeconds(path.keys[0].time + 0.1);
    Values path_values = {}, plain = {}, got = {};
    node->RotationNodeEvaluate(path_values.data(), between, nullptr, false);
    node->Evaluate(plain.data(), between);
    EXPECT_NE(path_values, plain);
    // Off, constant, or with a single key on X.
    node->SetUseQuaternion(false);
    node->RotationNodeEvaluate(got.data(), between, nullptr, false);
    EXPECT_EQ(got, plain);
    node->SetUseQuaternion(true);
    node->Get(0)->FCurveGet()->KeySetInterpolation(0, eInterpolationConstant);
    node->Evaluate(plain.data(), between);
    node->RotationNodeEvaluate(got.data(), between, nullptr, false);
    EXPECT_EQ(got, plain);
    while (node->Get(0)->FCurveGet()->KeyGetCount() > 1) {
        node->Get(0)->FCurveGet()->KeyRemove(1);
    }
    node->Evaluate(plain.data(), between);
    node->RotationNodeEvaluate(got.data(), between, nullptr, false);
    EXPECT_EQ(got, plain);
}

TEST(RotationPath, BecomesTheCandidateWhereAskedFor)
{
    std::mt19937 random(64);
    const PathCase path = RandomCase(random, Kind::eAuto);
    const NodePtr node = NodeOf(path);
    const KTime between = KTime::FromSeconds(path.keys[0].time + 0.1);
    node->Get(1)->FCurveGet()->CandidateSet(between, 5.0);
    Values seen = {}, got = {};
    node->GeneralEvaluate(seen.data(), between);
    node->CandidateEvaluate(got.data(), between);
    EXPECT_EQ(got, seen);
    EXPECT_FALSE(node->Get(1)->FCurveGet()->IsCandidate());
    EXPECT_TRUE(node->Get(1)->IsCandidate());
    double child = 0.0;
    node->Get(1)->CandidateGet(&child);
    EXPECT_EQ(child, static_cast<double>(static_cast<float>(seen[1])));
}
