// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The bits of results that are computed in double, as one number a group: the same from every
// compiler, on every processor, with every C library. What curves give is hashed in
// curve/hash_test.cpp; the rule for a change is the same: a line under "Results that change" in
// CHANGELOG.md, then the number that the test prints.

#include "corvekit/math/rotation_order.h"
#include "glissa/filter/butterworth.h"
#include "glissa/filter/gaussian.h"
#include "glissa/filter/smooth.h"
#include "tests/support/bit_hash.h"
#include "tests/support/node_stubs.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace
{
// Random numbers that are the same with every standard library.
class Numbers
{
public:
    double Between(double pLeast, double pGreatest)
    {
        mState = mState * 6364136223846793005u + 1442695040888963407u;
        return pLeast + (pGreatest - pLeast) * (static_cast<double>(mState >> 11) * 0x1p-53);
    }
    int Below(int pCount) { return static_cast<int>(Between(0.0, pCount)); }
    // Anything, right angles, and next to them.
    KgeRVector Angles()
    {
        KgeRVector angles;
        for (int i = 0; i < 3; ++i) {
            const double fold = 90.0 * (Below(9) - 4);
            const int places = Below(100);  // one statement a number: arguments have no order
            const double part = Between(-1.0, 1.0);
            angles[i] = places < 50   ? 900.0 * part
                        : places < 75 ? fold
                                      : fold + std::ldexp(part, 50 - places);
        }
        return angles;
    }

private:
    std::uint64_t mState = 11;
};

void Fill(Numbers& pNumbers, Glissa& pCurve, int pCount, double pLeast, double pGreatest)
{
    constexpr unsigned kKinds[] = {eInterpolationLinear, eInterpolationCubic,
                                   eInterpolationConstant};
    constexpr unsigned kModes[] = {eTangentAuto, eTangentUser, eTangentTCB};
    for (int i = 0; i < pCount; ++i) {
        const KTime time(KTime::kTicksPerSecond / 10 * (3 * i + pNumbers.Below(3)));
        const auto value = static_cast<float>(pNumbers.Between(pLeast, pGreatest));
        const auto slope = static_cast<float>(pNumbers.Between(-1.0, 1.0));
        const unsigned kind = kKinds[pNumbers.Below(3)];
        const unsigned mode = kModes[pNumbers.Below(3)];
        GlissaKey key;
        key.Set(time, value, kind, mode, slope, 0.5f, eWeightRight, 0.2f, 0.7f, 0.0f, 0.0f);
        pCurve.KeyAdd(time, key);
    }
}

void AddValues(BitHash& pHash, GlissaNode& pNode)
{
    int hint = 0;
    for (int i = -5; i < 80; ++i) {
        double values[3];
        pNode.GeneralEvaluate(values, KTime(KTime::kTicksPerSecond / 30 * i), &hint);
        pHash.Add(values, 3);
    }
}

TEST(NodeHash, RotationsGiveTheSameBitsEverywhere)
{
    BitHash hash;
    Numbers numbers;
    for (int i = 0; i < 6000; ++i) {
        const KVdRotationOrder order(i % kRotationOrderCount);
        KgeRMatrix matrix;
        order.V2M(matrix, numbers.Angles());
        KgeRVector angles;
        order.M2V(angles, matrix.Power(numbers.Between(-2.0, 2.0)));
        hash.Add(angles.Data(), 3);
        KgeQuaternion from, to;
        order.V2Q(from, angles);
        order.V2Q(to, numbers.Angles());
        const KgeQuaternion between = KgeSlerp(from, to, numbers.Between(-0.5, 1.5));
        hash.Add(between.Data(), 4);
        hash.Add(between.Length());
        order.Q2V(angles, between);
        hash.Add(order.V2VRef(angles, angles, numbers.Angles()) ? 1 : 0);
        hash.Add(angles.Data(), 3);
        const KgeAMatrix whole(KgeTVector(angles.Data()), angles, KgeSVector(2.0, -0.5, 3.0));
        hash.Add(KgeRVector(KgeRMatrix(whole.Inverse())).Data(), 3);
        hash.Add(KgeTVector(from.Data()).Length());
        GetQuaternionFromPositionToPosition(from, KgeTVector(to.Data()), KgeTVector(angles.Data()));
        hash.Add(from.Data(), 4);
    }
    EXPECT_EQ(0x9E16490FE44A0A6Au, hash.Get());
}

// Every type of channel, order, mode and weight, with the newer and the older conversions.
TEST(NodeHash, LayersGiveTheSameBitsEverywhere)
{
    BitHash hash;
    Numbers numbers;
    for (int i = 0; i < 432; ++i) {
        KDataType* const types[] = {KDataTypeLclRotation, KDataTypeLclScaling,
                                    KDataTypeLclTranslation};
        const NodePtr node = MakeChannel(types[i % 3], "channel");
        node->SetRotationOrder(i / 3 % 6);
        std::array<StubLayer, 2> layers;
        int id = 0;
        for (StubLayer& layer : layers) {
            const int mode = id == 0 ? i / 18 % 3 : i / 54 % 3;
            layer.mMode = static_cast<eLayerMode>(mode);
            layer.mWeight = i % 5 == 0 ? 1.0 : numbers.Between(0.0, 1.0);
            layer.mRotationMode = i % 4 == 3 ? eRotationByChannel : eRotationByLayer;
            node->CreateLayerAt(GlissaLayerInfo(++id, &layer));
        }
        for (GlissaNode* each = node.get(); each; each = each->LayerGet()) {
            for (int k = 0; k < 3; ++k) {
                Fill(numbers, *each->Get(k)->FCurveGet(), 8, i % 3 == 1 ? 0.1 : -180.0,
                     i % 3 == 1 ? 3.0 : 180.0);
            }
        }
        GLISSA_EnableBrokenRotationBlend(i % 7 == 0);
        AddValues(hash, *node);
        // A total becomes keys of the last layer.
        const KTime time(KTime::kTicksPerSecond);
        double total[3] = {numbers.Between(0.1, 2.0), numbers.Between(0.1, 90.0), 1.0};
        const GlissaLayerInfo info(id, &layers.back());
        node->CandidateSet(time, total, info);
        int last = 0;
        node->CandidateKey(&last, info, nullptr, false, eInterpolationCubic, eTangentAuto, 0, true,
                           time);
        AddValues(hash, *node);
        GLISSA_EnableBrokenRotationBlend(false);
    }
    EXPECT_EQ(0xF6C4F963054C4D53u, hash.Get());
}

TEST(NodeHash, RotationPathsGiveTheSameBitsEverywhere)
{
    BitHash hash;
    Numbers numbers;
    for (int i = 0; i < 120; ++i) {
        const NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
        node->SetRotationOrder(i % 6);
        node->SetUseQuaternion(true);
        for (int k = 0; k < 3; ++k) {
            Fill(numbers, *node->Get(k)->FCurveGet(), 8, -180.0, 180.0);
        }
        AddValues(hash, *node);
    }
    EXPECT_EQ(0x0D5A2F1153DA2E3Du, hash.Get());
}

TEST(NodeHash, FiltersGiveTheSameBitsEverywhere)
{
    BitHash hash;
    Numbers numbers;
    for (int i = 0; i < 30; ++i) {
        const NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
        GlissaFilterGaussian gaussian;
        GlissaFilterButterworth butterworth;
        GlissaFilterSmooth smooth;
        GlissaFilter* const filters[] = {&gaussian, &butterworth, &smooth};
        for (int k = 0; k < 3; ++k) {
            Glissa& curve = *node->Get(k)->FCurveGet();
            Fill(numbers, curve, 20, -100.0, 100.0);
            EXPECT_TRUE(filters[k]->Apply(curve)) << k;
        }
        AddValues(hash, *node);
    }
    EXPECT_EQ(0x215AC430757783E1u, hash.Get());
}
}  // namespace
