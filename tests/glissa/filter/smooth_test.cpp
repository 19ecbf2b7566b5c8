// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/smooth.h"
#include "tests/support/curve_test.h"
#include "tests/support/node_stubs.h"

#include <climits>

namespace
{
using Smooth = CurveTest;

CurveHandle ZigZag()
{
    const float values[] = {3, -1, 4, 1, -5, 9, 2, -6};
    std::vector<UserKey> keys;
    for (const float value : values) {
        keys.push_back(
            {0.1 * static_cast<double>(keys.size()), value, 0.0f, 0.0f, std::uint32_t{kRefLinear}});
    }
    return MakeCurve(keys);
}

// Expected: the window summed up with numpy 1.24 over numpy.interp of the keys. The last key but
// one keeps its value: the change fades out towards it.
TEST_F(Smooth, ValuesAreTheMeansOfTheWindowAndFadeAtTheEndsOfTheSpan)
{
    const struct
    {
        double width;
        int samples;
        KTime start;
        KTime stop;
        std::vector<double> expected;
    } rows[] = {
        {0.3,
         8,
         kFromStart,
         kToEnd,
         {3, 2.044204, 0.8372754, -0.1420726, 3.438484, 3.208401, 2, -6}},
        {-0.3,
         -3,
         Seconds(0.15),
         Seconds(0.55),
         {3, -1, 2.103792, -0.3661125, 0.08720197, 9, 2, -6}},
        {1.0, 0, kFromStart, kToEnd, {3, 3, 3.2, 2.2, -1.8, 7.8, 2, -6}},
        {0.0, 8, kFromStart, kToEnd, {3, -1, 4, 1, -5, 9, 2, -6}},
        {0.3, 8, Seconds(9.0), kToEnd, {3, -1, 4, 1, -5, 9, 2, -6}},
    };
    for (const auto& row : rows) {
        const CurveHandle curve = ZigZag();
        GlissaFilterSmooth filter;
        filter.SetWidth(Seconds(row.width));
        filter.SetSampleCount(row.samples);
        filter.SetStartTime(row.start);
        filter.SetStopTime(row.stop);
        EXPECT_TRUE(filter.Apply(*curve));
        for (int i = 0; i < curve->KeyGetCount(); ++i) {
            EXPECT_NEAR(row.expected[static_cast<std::size_t>(i)], curve->KeyGetValue(i), 2e-6)
                << row.width << " key " << i;
        }
    }
    GlissaFilterSmooth filter;
    filter.SetSampleCount(INT_MIN);
    filter.SetWidth(KTime(INT64_MIN));
    EXPECT_EQ(INT_MAX, filter.GetSampleCount());
    EXPECT_EQ(KTime(INT64_MAX), filter.GetWidth());
}

TEST_F(Smooth, ARotationNodeIsNotSmoothedAngleByAngleUnlessAskedTo)
{
    const NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    GlissaFilterSmooth filter;
    EXPECT_FALSE(filter.Apply(*node, true));  // nothing to smooth
    for (int i = 0; i < 3; ++i) {
        node->Get(i)->FCurveGet()->CopyFrom(*ZigZag());
    }
    EXPECT_EQ(KError::kNone, filter.GetLastErrorID());
    EXPECT_FALSE(filter.Apply(*node, true));
    EXPECT_EQ(0, filter.GetLastErrorID());
    EXPECT_EQ(Seconds(0.0), filter.GetStartTime());
    EXPECT_EQ(Seconds(0.7), filter.GetStopTime());
    EXPECT_EQ(-1.0f, node->Get(2)->FCurveGet()->KeyGetValue(1));
    filter.SetStopTime(filter.GetStartTime());
    EXPECT_TRUE(filter.Apply(*node, true));  // an empty span
    filter.Reset();
    filter.SetUseQuaternion(false);
    EXPECT_TRUE(filter.Apply(*node, true));
    EXPECT_NE(-1.0f, node->Get(2)->FCurveGet()->KeyGetValue(1));
}
}  // namespace
