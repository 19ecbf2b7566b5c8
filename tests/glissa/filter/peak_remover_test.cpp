// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/peak_remover.h"
#include "tests/support/span_test.h"

namespace
{
using PeakRemover = SpanTest;

// Expected: a script of plain loops that searches the tame keys anew for each peak.
TEST_F(PeakRemover, PeaksGoToTheLineBetweenTheirTameNeighbours)
{
    const struct
    {
        std::vector<float> values;
        double timeTolerance;
        double valueTolerance;
        std::vector<float> expected;
    } rows[] = {
        {{0, 1, 2, 3, 4, 15, 6, 7, 8, 9, 10, 11}, 3, 3, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}},
        {{0, 1, 2, 3, 4, 15, -6, 7, 8, 9, 10, 11}, 3, 3, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}},
        {{0, 1, 2, 3, 4, 15, 26, 7, 8, 9, 10, 11},
         3,
         3,
         {0, 1, 2, 3, 4, 9.444444f, 9.888889f, 10.333333f, 8, 9, 10, 11}},
        {{0, 1, 2, 3, 4, 15, 26, 7, 8, 9, 10, 11}, 9, 1, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}},
        {{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 50}, 3, 3, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 50}},
    };
    for (const auto& row : rows) {
        std::vector<UserKey> keys;
        for (const float value : row.values) {
            keys.push_back({static_cast<double>(keys.size()), value, 2.0f, 3.0f});
        }
        const CurveHandle curve = MakeCurve(keys);
        GlissaFilterPeakRemover filter;
        filter.SetTimeTolerance(row.timeTolerance);
        filter.SetValueTolerance(row.valueTolerance);
        ASSERT_TRUE(filter.Apply(*curve));
        for (int i = 0; i < curve->KeyGetCount(); ++i) {
            EXPECT_FLOAT_EQ(row.expected[static_cast<std::size_t>(i)], curve->KeyGetValue(i)) << i;
            EXPECT_TRUE(curve->IsKeyInterpolationPureCubicAuto(i));
        }
    }
}

TEST_F(PeakRemover, AStopOnAKeyLeavesItOutWithItsTangent)
{
    const CurveHandle curve =
        MakeCurve({{-1, 0, 7, 300}, {0, 0, 7}, {1, 9, 7}, {2, 0, 7, 5}, {3, 0, 7}, {4, 0, 7}});
    GlissaFilterPeakRemover filter;
    filter.SetValueTolerance(1.0);
    filter.SetStartTime(Seconds(0.0));
    filter.SetStopTime(Seconds(3.0));
    ASSERT_TRUE(filter.Apply(*curve));
    EXPECT_EQ("-1:0 0:0 1:0 2:0 3:0 4:0 ", KeysOf(*curve));
    EXPECT_EQ(7.0f, curve->KeyGetRightDerivative(0));
    EXPECT_TRUE(curve->IsKeyInterpolationPureCubicAuto(1));
    EXPECT_EQ(5.0f, curve->KeyGetLeftDerivative(4));
    EXPECT_EQ(7.0f, curve->KeyGetRightDerivative(4));
    filter.SetStartTime(Seconds(4.5));
    filter.SetStopTime(kToEnd);
    EXPECT_FALSE(filter.Apply(*curve));
    EXPECT_EQ(eFilterNoKey, filter.GetLastErrorID());
    EXPECT_STREQ("PeakRemover, No key to be filtered.", filter.GetLastErrorString());
}
}  // namespace
