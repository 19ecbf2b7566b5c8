// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/constant_key_reducer.h"
#include "glissa/filter/key_reducer.h"
#include "tests/support/curve_test.h"
#include "tests/support/node_stubs.h"
#include "tests/support/random_curve.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace
{
using Reducers = CurveTest;

// A recorded wave with noise, 120 Hz, automatic keys.
CurveHandle Recorded(int pCount, double pNoise)
{
    Random random(11);
    CurveHandle curve(GlissaCreate());
    for (int i = 0; i < pCount; ++i) {
        const double t = i / 120.0;
        curve->KeyAppendFast(Seconds(t),
                             static_cast<float>(20.0 * std::sin(t) + 5.0 * std::sin(7.3 * t) +
                                                pNoise * random.Signed()));
    }
    return curve;
}

// By brute force at the old keys, over curves of all kinds and spans.
TEST_F(Reducers, TheFitIsWithinThePrecisionOfEveryOldKey)
{
    for (int seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE(seed);
        Random random(static_cast<std::uint64_t>(seed));
        const CurveHandle curve =
            seed % 4 == 0 ? Recorded(300, 0.3)
                          : ToGlissa(RandomCurve(
                                static_cast<Rule>(seed % (kTensionContinuityBias + 1)), random));
        const CurveHandle before(curve->Copy());
        const int count = curve->KeyGetCount();
        if (count < 2) {
            continue;
        }
        GlissaFilterKeyReducer reducer;
        reducer.SetPrecision(std::pow(10.0, -1.0 + 2.0 * random.Signed()));
        if (seed % 2 == 1) {
            reducer.SetStartTime(before->KeyGetTime(count / 4) + KTime(1));
            reducer.SetStopTime(before->KeyGetTime(3 * count / 4));
        }
        const int first = reducer.GetStartKey(*before);
        const int last = reducer.GetStopKey(*before);
        if (!reducer.Apply(*curve)) {
            continue;
        }
        for (int i = 0; i < count; ++i) {
            const float value = before->KeyGetValue(i);
            const float got = curve->Evaluate(before->KeyGetTime(i), nullptr);
            EXPECT_LE(std::fabs(static_cast<double>(got) - static_cast<double>(value)),
                      i >= first && i <= last ? reducer.GetPrecision() : 0.0)
                << "key " << i;
        }
    }
}

// Two cubics with a corner between them, keyed densely: three keys have the same shape.
TEST_F(Reducers, ACurveOfCubicsIsFoundAgain)
{
    const auto value = [](double t) { return t < 1.0 ? 5 * t * t * t - 2 * t : t * (4 - t); };
    std::vector<UserKey> keys;
    for (int i = 0; i <= 40; ++i) {
        const double t = i / 20.0;
        const auto slope = [i](double u) { return i < 20 ? 15 * u * u - 2 : 4 - 2 * u; };
        keys.push_back({t, static_cast<float>(value(t)), static_cast<float>(slope(t)),
                        static_cast<float>(slope(t + 0.05))});
    }
    const CurveHandle curve = MakeCurve(keys);
    GlissaFilterKeyReducer reducer;
    reducer.SetPrecision(1e-4);
    ASSERT_TRUE(reducer.Apply(*curve));
    EXPECT_EQ(3, curve->KeyGetCount()) << KeysOf(*curve);
}

class Reporting final : public GlissaFilterKeyReducer
{
public:
    std::vector<std::pair<std::int64_t, std::int64_t>> mSpans;

private:
    void UpdateProgressInformation(KTime pStart, KTime pStop) override
    {
        mSpans.emplace_back(pStart.Get(), pStop.Get());
    }
};

TEST_F(Reducers, AFitOfTwoKeysIsCubicAndProgressEndsWithTheHalvesOfTheWhole)
{
    const CurveHandle line = MakeCurve({{0.0, 1.0f, 0.0f, 0.0f, kRefLinear}, {1.0, 3.0f}});
    Reporting reducer;
    ASSERT_TRUE(reducer.Apply(*line));
    ASSERT_EQ(2, line->KeyGetCount());
    EXPECT_EQ(eTangentUser, line->KeyGetTangeantMode(0, true));
    EXPECT_EQ(eTangentAuto, line->KeyGetTangeantMode(1, true));
    EXPECT_FLOAT_EQ(2.5f, line->Evaluate(Seconds(0.75), nullptr));
    EXPECT_TRUE(reducer.mSpans.empty());

    const CurveHandle wave = Recorded(3000, 0.0);
    const int count = wave->KeyGetCount();
    reducer.SetPrecision(0.01);
    ASSERT_TRUE(reducer.Apply(*wave));
    EXPECT_LT(wave->KeyGetCount(), count / 10);
    ASSERT_GE(reducer.mSpans.size(), 2u);
    const auto [split, stop] = reducer.mSpans.back();
    EXPECT_EQ(count - 1, stop);
    EXPECT_EQ(1, std::count(reducer.mSpans.begin(), reducer.mSpans.end(),
                            std::pair(std::int64_t{0}, split)));
}

// Long flat stretches of noise below the tolerance between moves, recorded with automatic keys.
TEST_F(Reducers, APlateauOfNoiseStaysFlatWithoutItsKeys)
{
    Random random(3);
    const CurveHandle curve(GlissaCreate());
    for (int i = 0; i < 3000; ++i) {
        const double move = i % 1000 < 100 ? std::sin(i % 1000 * 0.0628) * 10.0 : 0.0;
        curve->KeyAppendFast(Seconds(i / 120.0),
                             static_cast<float>(move + 0.004 * random.Signed()));
    }
    const CurveHandle before(curve->Copy());
    ASSERT_TRUE(GlissaFilterConstantKeyReducer().Apply(*curve));
    EXPECT_LT(curve->KeyGetCount(), 400);
    const std::int64_t last = curve->KeyGetTime(curve->KeyGetCount() - 1).Get();
    for (int i = 0; i <= 9000; ++i) {
        const KTime time(last / 9000 * i);
        EXPECT_NEAR(before->Evaluate(time, nullptr), curve->Evaluate(time, nullptr), 2 * 0.009);
    }
}

TEST_F(Reducers, ANodeIsReducedByTheThresholdOfItsNameAndSynchronisedOnDemand)
{
    const NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
    Glissa* const curves[] = {node->Get(0)->FCurveGet(), node->Get(1)->FCurveGet()};
    for (int i = 0; i < 9; ++i) {
        curves[0]->KeyAppendFast(Seconds(i), 0.001f * static_cast<float>(i % 2));
        curves[1]->KeyAppendFast(Seconds(i), static_cast<float>(i % 3));
    }
    GlissaFilterKeyReducer fit;
    fit.SetPrecision(0.01);
    fit.SetKeySync(true);
    EXPECT_TRUE(fit.Apply(*node, true));
    EXPECT_TRUE(fit.GetKeySync());
    EXPECT_GT(curves[0]->KeyGetCount(), 2);
    EXPECT_EQ(curves[1]->KeyGetCount(), curves[0]->KeyGetCount());

    GlissaFilterConstantKeyReducer filter;
    filter.SetTranslationThreshold(0.004);
    filter.SetValueTolerance(0.0);
    EXPECT_TRUE(filter.Apply(*node, true));
    EXPECT_EQ(0.0, filter.GetValueTolerance());
    node->SetUseQuaternion(true);
    EXPECT_FALSE(filter.Apply(*node, true));
}
}  // namespace
