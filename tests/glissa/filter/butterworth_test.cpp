// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/butterworth.h"
#include "glissa/settings/settings.h"
#include "tests/support/curve_test.h"

#include <cmath>
#include <complex>

namespace
{
using Butterworth = CurveTest;

constexpr double kTurn = 2.0 * 3.14159265358979;

void Set(GlissaFilterButterworth& pFilter, const char* pName, double pValue)
{
    ASSERT_TRUE(pFilter.FastFindPropertyByName(pName)->SetPropertyConstant(&pValue)) << pName;
}

struct Cascade
{
    double coefficients[6][10];
    int count = -1;
    double delay = 0.0;
};

std::complex<double> Response(const Cascade& pCascade, double pTurns)
{
    const auto& c = pCascade.coefficients;
    const std::complex<double> back = std::polar(1.0, -kTurn * pTurns);
    std::complex<double> product = 1.0;
    for (int k = 1; k <= pCascade.count; ++k) {
        product *= c[5][k] * (1.0 + back * (c[3][k] + back * c[4][k])) /
                   (1.0 - back * (c[1][k] + back * c[2][k]));
    }
    return product;
}

// Expected: abs(sosfreqz(butter(order, 7, fs=240, output='sos'), [2, 7, 20], fs=240)) by
// SciPy 1.10.
TEST_F(Butterworth, TheCascadeRespondsAsScipyDesignsIt)
{
    constexpr double kRate = 240.0;
    const struct
    {
        int order;
        int sections;
        double at2;
        double at20;
    } rows[] = {
        {1, 1, 0.961710432, 0.324383702},   {2, 1, 0.996718431, 0.116794296},
        {3, 2, 0.999732283, 0.0402951977},  {4, 2, 0.99997825, 0.0138282329},
        {5, 3, 0.999998234, 0.00474247863}, {8, 4, 0.999999999, 0.000191256595},
        {13, 7, 1.0, 9.0704053e-07},        {18, 9, 1.0, 4.30166871e-09},
        {99, 9, 1.0, 4.30166871e-09},
    };
    GlissaFilterButterworth filter;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.order);
        Cascade cascade;
        filter.ComputeFilterCoefficients(7.0, 1.0 / kRate, row.order, cascade.coefficients,
                                         &cascade.count, &cascade.delay);
        ASSERT_EQ(row.sections, cascade.count);
        EXPECT_NEAR(row.at2, std::abs(Response(cascade, 2.0 / kRate)), 1e-8);
        EXPECT_NEAR(std::sqrt(0.5), std::abs(Response(cascade, 7.0 / kRate)), 1e-8);
        EXPECT_NEAR(1.0, std::abs(Response(cascade, 20.0 / kRate)) / row.at20, 1e-7);
        const double slow = 0.01;
        EXPECT_NEAR(-std::arg(Response(cascade, slow / kRate)) / (kTurn * slow), cascade.delay,
                    1e-6);

        // Settled on a constant, the cascade gives that constant.
        double memory[3][10];
        double output = 0.0;
        filter.InitFilterMemory(3.0, cascade.coefficients, cascade.count, memory);
        filter.ButterworthFilter(&output, 3.0, cascade.count, cascade.coefficients, memory);
        EXPECT_NEAR(3.0, output, 1e-6);
    }
    Cascade none;
    filter.ComputeFilterCoefficients(7.0, 1.0 / kRate, -3, none.coefficients, &none.count,
                                     &none.delay);
    EXPECT_EQ(0, none.count);
}

CurveHandle Wave(double pHertz, float pAmplitude)
{
    std::vector<UserKey> keys;
    for (int i = 0; i <= 480; ++i) {
        const double time = 1.0 + i / 120.0;
        const double value = 3.1 + pAmplitude * std::sin(kTurn * pHertz * time);
        keys.push_back({time, static_cast<float>(value), 0.0f, 0.0f, kRefCubic | kRefAuto});
    }
    return MakeCurve(keys);
}

// Two passes square the response, 0.77541876 at 6 Hz by SciPy as above, and keep the phase.
TEST_F(Butterworth, TwoPassesWeakenAWaveWithoutDelay)
{
    constexpr double kHertz = 6.0;
    const CurveHandle curve = Wave(kHertz, 1.0f);
    GlissaFilterButterworth filter;
    Set(filter, "Start", 1.99);
    Set(filter, "Stop", 4.008);
    Set(filter, "SamplingRate", 60.0);
    filter.SetStartTime(Seconds(3.0));  // is not read
    ASSERT_TRUE(filter.Apply(*curve));
    // Old keys up to 1.983 s, then a key each 60th of a second from 2 to 4 s, old ones from 4.017
    // s.
    ASSERT_EQ(119 + 121 + 120, curve->KeyGetCount());
    for (int i = 119; i < 119 + 121; ++i) {
        const double time = curve->KeyGetTime(i).GetSecondDouble();
        ASSERT_NEAR(2.0 + (i - 119) / 60.0, time, 1e-8);
        ASSERT_TRUE(curve->IsKeyInterpolationPureCubicAuto(i) || i == 119 || i == 239) << i;
        // The lead-in is a straight line, which some tenths of a second forget.
        if (i == 119 || (i > 170 && i < 190)) {
            const double share = i == 119 ? 1.0 : 0.77541876;
            EXPECT_NEAR(3.1 + share * std::sin(kTurn * kHertz * time), curve->KeyGetValue(i), 1e-3);
        }
    }
    const CurveHandle constant = Wave(kHertz, 0.0f);
    constant->SetValue(7.0f);
    GlissaFilterButterworth steep;  // over the whole curve
    Set(steep, "OrderOfFilter", 18.9);
    ASSERT_TRUE(steep.Apply(*constant));
    EXPECT_EQ(7.0f, constant->GetValue());
    for (int i = 0; i < constant->KeyGetCount(); ++i) {
        ASSERT_EQ(3.1f, constant->KeyGetValue(i)) << i;
    }
}

// 25 frames a second are no whole number of internal samples. The line behind the span starts at
// the last internal sample with the value of the stop, 0.33 too high: half of that step is left.
TEST_F(Butterworth, ASteadyMotionStaysSteadyToItsEnd)
{
    const CurveHandle curve = MakeCurve({{0.0, 0.0f, 100.0f, 100.0f}, {10.0, 1000.0f}});
    GlissaFilterButterworth filter;
    Set(filter, "SamplingRate", 25.0);
    ASSERT_TRUE(filter.Apply(*curve));
    ASSERT_EQ(251, curve->KeyGetCount());
    for (int i = 0; i < curve->KeyGetCount(); ++i) {
        EXPECT_NEAR(4.0 * i, curve->KeyGetValue(i), 0.2) << i;
    }
}

TEST_F(Butterworth, RefusalsNameTheirReasonAndCopiesHaveTheirOwnProperties)
{
    GLISSA_SetButterworthFilterInternalRate(300.0);
    GlissaFilterButterworth filter;
    GLISSA_SetButterworthFilterInternalRate(240.0);
    double value = 0.0;
    EXPECT_TRUE(filter.FastFindPropertyByName("InternalRate")->GetPropertyConstant(&value));
    EXPECT_EQ(300.0, value);
    Set(filter, "SamplingRate", 0.0);
    GlissaFilterButterworth copy(filter);
    Set(copy, "SamplingRate", 30.0);
    const CurveHandle curve = MakeCurve({});
    EXPECT_FALSE(filter.Apply(*curve));
    EXPECT_STREQ("Bad Sampling Rate", filter.GetLastErrorString());
    for (const double end : {0.0, 0.05}) {  // one key, and less than two sample periods
        curve->KeyAdd(Seconds(end));
        EXPECT_FALSE(copy.Apply(*curve));
        EXPECT_STREQ("Bad Interval", copy.GetLastErrorString());
    }
}
}  // namespace
