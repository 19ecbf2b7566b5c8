// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/gaussian.h"
#include "tests/support/curve_test.h"
#include "tests/support/random_curve.h"

#include <array>
#include <cmath>

namespace
{
using Gaussian = CurveTest;

GlissaFilterGaussian WithDeviation(double pSeconds, double pRate)
{
    GlissaFilterGaussian filter;
    filter.SetStandardDeviation(pSeconds);
    filter.SetSamplingRate(pRate);
    return filter;
}

// Expected: scipy.ndimage.gaussian_filter1d(x[:n], s, mode='mirror', radius=ceil(5 * s)),
// SciPy 1.10.
TEST_F(Gaussian, OneSampleAKeyGivesWhatScipyGives)
{
    const std::array<float, 12> values = {3, -1, 4, 1, -5, 9, 2, -6, 5, 3, 5, -8};
    const struct
    {
        int count;
        double deviation;
        std::vector<double> expected;
    } rows[] = {
        {12,
         1.5,
         {1.26149544, 1.26199243, 1.17362163, 1.06411594, 1.26753143, 1.55466577, 1.3746425,
          1.16335816, 1.49716779, 1.73948808, 1.30644712, 0.932442824}},
        {5, 2.0, {1.10856835, 1.01620214, 0.767979776, 0.483797699, 0.355472424}},
        {2, 3.0, {0.999999695, 1.0000003}},
    };
    for (const auto& row : rows) {
        std::vector<UserKey> keys;
        for (int i = 0; i < row.count; ++i) {
            keys.push_back({i / 30.0, values[static_cast<std::size_t>(i)]});
        }
        const CurveHandle curve = MakeCurve(keys);
        ASSERT_TRUE(WithDeviation(row.deviation / 30.0, 30.0).Apply(*curve));
        for (int i = 0; i < row.count; ++i) {
            EXPECT_NEAR(row.expected[static_cast<std::size_t>(i)], curve->KeyGetValue(i), 3e-7);
        }
    }
}

// Keys at odd times, so that each has samples of its own. A wave of frequency f keeps the share
// exp(-2 (pi f d)^2), in its values and in the slopes of user tangents.
TEST_F(Gaussian, AWaveKeepsItsPhaseAndALineStaysStraight)
{
    constexpr double kDeviation = 0.04;
    constexpr double kTurn = 2.0 * 3.14159265358979 * 3.0;  // 3 Hz
    Random random(5);
    std::vector<UserKey> keys;
    for (double time = -1.0; time < 1.0; time += 0.012 + 0.004 * random.Signed()) {
        keys.push_back({time, static_cast<float>(std::sin(kTurn * time) + 5.0 * time),
                        static_cast<float>(kTurn * std::cos(kTurn * time) + 5.0), 0.0f,
                        kRefCubic | kRefUser});
    }
    for (std::size_t i = 0; i + 1 < keys.size(); ++i) {
        keys[i].nextLeft = keys[i + 1].right;
    }
    const CurveHandle curve = MakeCurve(keys);
    ASSERT_TRUE(WithDeviation(kDeviation, 300.0).Apply(*curve));
    const double share = std::exp(-0.5 * kTurn * kTurn * kDeviation * kDeviation);
    for (int i = 0; i < curve->KeyGetCount(); ++i) {
        const double time = curve->KeyGetTime(i).GetSecondDouble();
        if (std::fabs(time) < 0.75) {
            EXPECT_NEAR(share * std::sin(kTurn * time) + 5.0 * time, curve->KeyGetValue(i), 2e-5);
            const double slope = share * kTurn * std::cos(kTurn * time) + 5.0;
            EXPECT_NEAR(slope, curve->KeyGetRightDerivative(i), 2e-3);
            EXPECT_NEAR(slope, curve->KeyGetLeftDerivative(i), 2e-3);
        }
    }
}

// A deviation of next to nothing moves nothing, corners included, and a constant is one to the bit.
TEST_F(Gaussian, WhatHasNothingToSmoothStaysAsItIs)
{
    for (const MuseumPiece& piece : Museum()) {
        const CurveHandle curve = ToGlissa(piece.curve);
        const CurveHandle before(curve->Copy());
        WithDeviation(1e-9, 120.0).Apply(*curve);
        for (int i = 0; i < curve->KeyGetCount(); ++i) {
            ASSERT_TRUE(HasSameKey(*before, i, *curve, i)) << piece.name << " key " << i;
        }
    }
    const CurveHandle constant = MakeCurve({{0.0, 0.1f}, {0.3, 0.1f}, {1.0, 0.1f}, {1.7, 0.1f}});
    EXPECT_TRUE(WithDeviation(0.7, 113.0).Apply(*constant));
    EXPECT_EQ("0:0.1 0.3:0.1 1:0.1 1.7:0.1 ", KeysOf(*constant));
}
}  // namespace
