// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/picture/ticks.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace
{
std::string Labels(const Ticks& pTicks)
{
    std::string text;
    for (const double tick : pTicks.at) {
        text += text.empty() ? "" : " ";
        text += TickLabel(pTicks, tick);
    }
    return text;
}

TEST(Ticks, AreTheFinestThatFit)
{
    const struct
    {
        double low, high;
        int most;
        double least;
        const char* labels;
    } cases[] = {
        {0.0, 1.0, 6, 0.0, "0 0.2 0.4 0.6 0.8 1.0"},
        {-0.35, 0.35, 8, 0.0, "\u22120.3 \u22120.2 \u22120.1 0 0.1 0.2 0.3"},
        {0.0, 7.5, 20, 1.0, "0 1 2 3 4 5 6 7"},  // whole frames only
        {0.0, 4e8, 3, 0.0, "0 2e+08 4e+08"},
        {1e-9, 4e-9, 4, 0.0, "1e-09 2e-09 3e-09 4e-09"},
        {2.0, 1.0, 5, 0.0, ""},
        {0.0, INFINITY, 5, 0.0, ""},
        {std::nan(""), 1.0, 5, 0.0, ""},
        {1e15, std::nextafter(1e15, 2e15), 5, 0.0, ""},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.low << " to " << each.high);
        EXPECT_EQ(each.labels, Labels(ChooseTicks(each.low, each.high, each.most, each.least)));
    }
}

TEST(Ticks, FitAnyRange)
{
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> exponent(-30.0, 38.0);
    std::uniform_real_distribution<double> place(-2.0, 2.0);
    for (int i = 0; i < 20000; ++i) {
        const double range = std::pow(10.0, exponent(random));
        const double low = range * place(random);
        const int most = 2 + i % 12;
        const Ticks ticks = ChooseTicks(low, low + range, most);
        ASSERT_GT(ticks.step, 0.0);
        ASSERT_LE(static_cast<int>(ticks.at.size()), most);
        // The next finer step would be at least two fifths of this one.
        ASSERT_GE(range / ticks.step + 1.0, most * 0.4 - 1.0);
        std::string last;
        for (const double tick : ticks.at) {
            ASSERT_GE(tick, low - ticks.step * 1e-6);
            ASSERT_LE(tick, low + range + ticks.step * 1e-6);
            ASSERT_NE(last, TickLabel(ticks, tick));
            last = TickLabel(ticks, tick);
        }
    }
}
}  // namespace
