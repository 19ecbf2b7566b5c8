// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/time.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace
{
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();

TEST(KTime, SecondsRoundToTheNearestTickHalvesAwayFromZero)
{
    const struct
    {
        double seconds;
        std::int64_t ticks;
    } cases[] = {
        {1.0 / 30.0, 4704000},    {0.0009765625, 137813},  // 2^-10 s are 137812.5 ticks
        {-0.0009765625, -137813}, {std::nextafter(0.0009765625, 0.0), 137812},
        {std::nan(""), 0},        {-INFINITY, kLeast},
        {6.6e10, kGreatest},      {-1e300, kLeast},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.seconds);
        EXPECT_EQ(each.ticks, KTime::FromSeconds(each.seconds).Get());
    }
}

TEST(KTime, TicksSurviveTheWayThroughSeconds)
{
    std::mt19937_64 random(1);
    for (int i = 0; i < 100000; ++i) {
        // 2^52 ticks are a year of animation; their seconds hold them to a fraction of a tick.
        const std::int64_t ticks = static_cast<std::int64_t>(random() >> 12) - (1LL << 51);
        ASSERT_EQ(ticks, KTime::FromSeconds(KTime(ticks).GetSecondDouble()).Get());
    }
}

TEST(KTime, ArithmeticStopsAtTheEndsOfTheRange)
{
    const KTime one(1);
    EXPECT_EQ(KTime::Infinite(), KTime::Infinite() + one);
    EXPECT_EQ(kLeast, (KTime::MinusInfinite() - one - one).Get());
    EXPECT_EQ(kGreatest, (one - KTime(kLeast)).Get());
    EXPECT_EQ(kLeast, (KTime(1LL << 40) * -2000000000).Get());
    EXPECT_EQ(kGreatest, (KTime(kLeast) / -1).Get());
    EXPECT_EQ(0, (one / 0).Get());
    EXPECT_EQ(-3, (KTime(-7) / KTime(2)).Get());
}

TEST(KTime, FramesAreFlooredAndFramedTimesAreFrames)
{
    const std::int64_t frame = 4704000;
    EXPECT_EQ(-1, KTime(-1).GetFrame());
    EXPECT_EQ(1, KTime(frame).GetFrame());
    EXPECT_EQ(frame, KTime(frame / 2).GetFramedTime(true).Get());
    EXPECT_EQ(-frame, KTime(-1).GetFramedTime(false).Get());
    for (const std::int64_t end : {kLeast, kGreatest}) {
        EXPECT_LE(std::abs(static_cast<double>(KTime(end).GetFramedTime(true).Get()) -
                           static_cast<double>(end)),
                  static_cast<double>(frame));
    }

    KTime time;
    time.SetTime(1, 2, 3, 4, 1, eTimeMode24);
    EXPECT_EQ(3723 * KTime::kTicksPerSecond + 4 * 5880000 + 2940000, time.Get());
}

TEST(KTime, EveryModeHoldsAWholeNumberOfTicks)
{
    const double rates[] = {30.0,           24.0,           25.0,          30.0,  48.0,
                            50.0,           60.0,           100.0,         120.0, 1000.0,
                            24000.0 / 1001, 30000.0 / 1001, 60000.0 / 1001};
    ASSERT_EQ(static_cast<int>(eTimeModeCount), static_cast<int>(std::size(rates)));
    for (int mode = 0; mode < eTimeModeCount; ++mode) {
        const std::int64_t ticks = KTime::GetOneFrameValue(static_cast<ETimeMode>(mode)).Get();
        EXPECT_NEAR(141120000.0, static_cast<double>(ticks) * rates[mode], 1e-6) << mode;
    }

    KTime::SetDefaultTimeMode(eTimeMode25);
    KTime::SetDefaultTimeMode(eTimeModeDefault);
    EXPECT_EQ(eTimeMode25, KTime::GetDefaultTimeMode());
    EXPECT_EQ(5644800, KTime::GetOneFrameValue().Get());
    KTime::SetDefaultTimeMode(eTimeMode30);
}
}  // namespace
