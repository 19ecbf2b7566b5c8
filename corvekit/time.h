// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"

#include <compare>
#include <cstdint>
#include <limits>
#include <type_traits>

/// Frame rates that a time can be counted in. Every one divides the tick rate exactly.
enum ETimeMode : int
{
    eTimeModeDefault = 0,  ///< the process-wide setting, 30 at start; KTime::SetDefaultTimeMode
    eTimeMode24,
    eTimeMode25,
    eTimeMode30,
    eTimeMode48,
    eTimeMode50,
    eTimeMode60,
    eTimeMode100,
    eTimeMode120,
    eTimeMode1000,
    eTimeMode23976,  ///< 24000/1001
    eTimeMode2997,   ///< 30000/1001
    eTimeMode5994,   ///< 60000/1001
    eTimeModeCount
};

/// A point in time or a span: a signed 64-bit count of ticks, 141120000 to the second.
///
/// A plain 8-byte value, trivially copyable, compared as the integer that it is. Arithmetic never
/// overflows: it stops at the two ends of the 64-bit range, so that an infinite time widened by a
/// tick remains infinite.
class KTime
{
public:
    static constexpr std::int64_t kTicksPerSecond = 141120000;

    /// Zero ticks.
    constexpr KTime() = default;
    constexpr explicit KTime(std::int64_t pTicks) : mTicks(pTicks) {}

    /// 0x7FFFFFFFFFFFFFFF, the greatest time, also read as "no time".
    static constexpr KTime Infinite() { return KTime(std::numeric_limits<std::int64_t>::max()); }
    /// 0x8000000000000001.
    static constexpr KTime MinusInfinite()
    {
        return KTime(-std::numeric_limits<std::int64_t>::max());
    }
    /// As SetSecondDouble.
    CORVEKIT_API static KTime FromSeconds(double pSeconds);

    constexpr std::int64_t Get() const { return mTicks; }
    constexpr void Set(std::int64_t pTicks) { mTicks = pTicks; }

    /// Seconds: the ticks as a double, divided by the tick rate.
    constexpr double GetSecondDouble() const
    {
        return static_cast<double>(mTicks) / static_cast<double>(kTicksPerSecond);
    }
    /// The nearest tick to a number of seconds, halves away from zero, without a rounding in
    /// between. Out of range gives the end of the range, NaN gives 0.
    CORVEKIT_API void SetSecondDouble(double pSeconds);

    /// Hours, minutes, seconds, frames and fields (half frames) of a mode, added up; each may be
    /// negative or beyond its usual range.
    CORVEKIT_API void SetTime(int pHour, int pMinute, int pSecond, int pFrame, int pField,
                              ETimeMode pMode);

    /// Frame number: the floor of the time over the frame length.
    CORVEKIT_API std::int64_t GetFrame(ETimeMode pMode = eTimeModeDefault) const;
    /// The time of a frame of the default mode: the nearest one (a time halfway takes the later),
    /// or with false the one at or before.
    CORVEKIT_API KTime GetFramedTime(bool pNearest = true) const;

    /// Length of one frame. An unknown mode counts as the default mode.
    CORVEKIT_API static KTime GetOneFrameValue(ETimeMode pMode = eTimeModeDefault);
    /// The rate of eTimeModeDefault. eTimeModeDefault and unknown values are ignored.
    CORVEKIT_API static void SetDefaultTimeMode(ETimeMode pMode);
    CORVEKIT_API static ETimeMode GetDefaultTimeMode();

    friend constexpr bool operator==(KTime, KTime) = default;
    friend constexpr auto operator<=>(KTime, KTime) = default;

    friend constexpr KTime operator+(KTime pLeft, KTime pRight)
    {
        std::int64_t sum = 0;
        return __builtin_add_overflow(pLeft.mTicks, pRight.mTicks, &sum) ? Limit(pLeft.mTicks < 0)
                                                                         : KTime(sum);
    }
    friend constexpr KTime operator-(KTime pLeft, KTime pRight)
    {
        std::int64_t difference = 0;
        return __builtin_sub_overflow(pLeft.mTicks, pRight.mTicks, &difference)
                   ? Limit(pLeft.mTicks < 0)
                   : KTime(difference);
    }
    friend constexpr KTime operator*(KTime pTime, int pFactor)
    {
        std::int64_t product = 0;
        return __builtin_mul_overflow(pTime.mTicks, static_cast<std::int64_t>(pFactor), &product)
                   ? Limit((pTime.mTicks < 0) != (pFactor < 0))
                   : KTime(product);
    }
    /// Truncated. Division by zero gives 0.
    friend constexpr KTime operator/(KTime pTime, int pDivisor)
    {
        return pTime / KTime(static_cast<std::int64_t>(pDivisor));
    }
    /// How many times one span fits into another, truncated, as a KTime. Division by zero gives 0.
    friend constexpr KTime operator/(KTime pTime, KTime pDivisor)
    {
        if (pDivisor.mTicks == 0) {
            return KTime();
        }
        // The one quotient beyond the range: the least time by -1.
        if (pDivisor.mTicks == -1) {
            return KTime() - pTime;
        }
        return KTime(pTime.mTicks / pDivisor.mTicks);
    }
    constexpr KTime operator-() const { return KTime() - *this; }

    constexpr KTime& operator+=(KTime pOther) { return *this = *this + pOther; }
    constexpr KTime& operator-=(KTime pOther) { return *this = *this - pOther; }
    constexpr KTime& operator*=(int pFactor) { return *this = *this * pFactor; }
    constexpr KTime& operator/=(int pDivisor) { return *this = *this / pDivisor; }

private:
    static constexpr KTime Limit(bool pNegative)
    {
        return KTime(pNegative ? std::numeric_limits<std::int64_t>::min()
                               : std::numeric_limits<std::int64_t>::max());
    }

    std::int64_t mTicks = 0;
};

static_assert(sizeof(KTime) == 8 && std::is_trivially_copyable_v<KTime>);

/// Two times: where a span starts and where it stops. A plain value; nothing keeps the two in
/// order.
class KTimeSpan
{
public:
    constexpr KTimeSpan() = default;
    constexpr KTimeSpan(KTime pStart, KTime pStop) : mStart(pStart), mStop(pStop) {}

    constexpr KTime GetStart() const { return mStart; }
    constexpr KTime GetStop() const { return mStop; }

    friend constexpr bool operator==(const KTimeSpan&, const KTimeSpan&) = default;

private:
    KTime mStart;
    KTime mStop;
};
