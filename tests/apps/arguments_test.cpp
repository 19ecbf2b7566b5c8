// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/arguments.h"
#include "apps/glissa/progress.h"
#include "apps/glissa/refusal.h"
#include "apps/glissa/sample_grid.h"
#include "glissa/curve/curve.h"

#include <gtest/gtest.h>

namespace
{
TEST(Arguments, TimesAreSecondsOrFrames)
{
    const struct
    {
        const char* text;
        double rate;
        std::int64_t ticks;
    } cases[] = {
        {"1.25", 24.0, 176400000},
        {"1.25s", 24.0, 176400000},
        {"-1e-3", 24.0, -141120},
        {"-1f", 30000.0 / 1001.0, -4708704},
        {"10000000f", 24000.0 / 1001.0, 10000000LL * 5885880},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.text);
        EXPECT_EQ(each.ticks, ParseTime(each.text).At(each.rate).Get());
    }
    for (const char* const text : {"", "f", "1,5", "1.5x", "nan", "inf", "+-1", " 1"}) {
        EXPECT_THROW(ParseTime(text), WrongArguments) << text;
    }
    EXPECT_THROW(ParseTime("1e11").At(24.0), WrongArguments);
    EXPECT_THROW(ParseTime("1e11f").At(1.0), WrongArguments);
}

TEST(Arguments, BroadcastRatesAreFractions)
{
    const std::pair<const char*, double> cases[] = {{"240", 240.0},
                                                    {"30000/1001", 30000.0 / 1001.0},
                                                    {"29.97", 30000.0 / 1001.0},
                                                    {"23.976", 24000.0 / 1001.0},
                                                    {"59.94", 60000.0 / 1001.0}};
    for (const auto& [text, rate] : cases) {
        EXPECT_EQ(rate, ParseRate(text).number);
    }
    for (const char* const text :
         {"", "0", "-24", "24/0", "1/2/3", "1e9", "1e-9", "nan", "24fps"}) {
        EXPECT_THROW(ParseRate(text), WrongArguments) << text;
    }
}

TEST(Arguments, ExtrapolationHasANameAndACount)
{
    const struct
    {
        const char* text;
        unsigned mode;
        std::uint32_t count;
    } cases[] = {
        {"none", eExtrapolationNone, 0xFFFFFFFFu},
        {"mirror:2", eExtrapolationMirror, 2},
        {"relative:4294967295", eExtrapolationRelativeRepetition, 0xFFFFFFFFu},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.mode, ParseExtrapolation(each.text).mode) << each.text;
        EXPECT_EQ(each.count, ParseExtrapolation(each.text).count) << each.text;
    }
    for (const char* const text : {"", "Mirror", "mirror:", "mirror:-1", "mirror:4294967296",
                                   "mirror:1.5", "mirror:2:2", "loop"}) {
        EXPECT_THROW(ParseExtrapolation(text), WrongArguments) << text;
    }
}

TEST(Arguments, SizesHaveLimits)
{
    const SizeArgument size = ParseSize("1200x600");
    EXPECT_TRUE(size.width == 1200 && size.height == 600);
    for (const char* const text :
         {"1200", "1200x", "1200x600x2", "10x10", "99999x600", "99999999999x600", "-800x600"}) {
        EXPECT_THROW(ParseSize(text), WrongArguments) << text;
    }
}

TEST(SampleGrid, IncludesBothEndsAndDoesNotDrift)
{
    const KTime hour = KTime(KTime::kTicksPerSecond) * 3600;
    const SampleGrid broadcast{KTime(), hour, 30000.0 / 1001.0};
    EXPECT_EQ(107893u, broadcast.Count());
    EXPECT_EQ(107892 * 4708704LL, broadcast.At(107892).Get());

    const SampleGrid exact{KTime(-7), KTime(-7) + hour, 24.0};
    EXPECT_EQ(86401u, exact.Count());
    EXPECT_EQ(exact.to, exact.At(86400));
    // 1/11 of a second is not a whole number of ticks.
    const SampleGrid rounded{KTime(), KTime(KTime::kTicksPerSecond), 11.0};
    EXPECT_EQ(12u, rounded.Count());
    EXPECT_EQ(rounded.to, rounded.At(11));
    EXPECT_GT((SampleGrid{KTime::MinusInfinite(), KTime::Infinite(), 1000.0}).Count(), 1u << 31);
}

TEST(Report, ProgressHasTheWorkAndTheTimeLeft)
{
    EXPECT_EQ("evaluating [############                  ]  40%, 3 s left",
              ProgressText("evaluating", 0.4, 2.0));
    EXPECT_EQ("evaluating [                              ]   0%",
              ProgressText("evaluating", 0.0, 1.0));
}
}  // namespace
