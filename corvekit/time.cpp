// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/time.h"

#include "corvekit/assert.h"

#include <cmath>
#include <limits>

namespace
{
constexpr std::int64_t kFrameTicks[eTimeModeCount] = {
    0,        // the default mode, looked up first
    5880000,  // 24
    5644800,  // 25
    4704000,  // 30
    2940000,  // 48
    2822400,  // 50
    2352000,  // 60
    1411200,  // 100
    1176000,  // 120
    141120,   // 1000
    5885880,  // 24000/1001
    4708704,  // 30000/1001
    2354352,  // 60000/1001
};

ETimeMode sDefaultMode = eTimeMode30;

bool IsConcreteMode(ETimeMode pMode)
{
    return pMode > eTimeModeDefault && pMode < eTimeModeCount;
}

std::int64_t FrameTicks(ETimeMode pMode)
{
    CORVEKIT_ASSERT(IsConcreteMode(sDefaultMode));
    return kFrameTicks[IsConcreteMode(pMode) ? pMode : sDefaultMode];
}

// pCount * pUnit + pRest, or the end of the range that it is beyond. pUnit is above 0.
KTime SaturatedTicks(std::int64_t pCount, std::int64_t pUnit, std::int64_t pRest)
{
    CORVEKIT_ASSERT(pUnit > 0);
    // With a rest below a unit and of the sign of the count, the sum is beyond the range where the
    // product is, and the product is where the count is beyond that of the end.
    std::int64_t count = pCount + pRest / pUnit;
    std::int64_t rest = pRest % pUnit;
    if (count > 0 && rest < 0) {
        --count;
        rest += pUnit;
    } else if (count < 0 && rest > 0) {
        ++count;
        rest -= pUnit;
    }
    constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();
    if (count > kGreatest / pUnit || count < kLeast / pUnit) {
        return KTime(count > 0 ? kGreatest : kLeast);
    }
    return KTime(count * pUnit) + KTime(rest);
}

// The nearest whole number to pFraction * pFactor, halves up, for a fraction from 0 to 1 and a
// factor below 2^31. The product of a mantissa and the tick rate needs 81 bits: it is formed in
// digits of 32 bits, of which a fraction of at least half a tick has three at most.
std::int64_t RoundedProduct(double pFraction, std::int64_t pFactor)
{
    CORVEKIT_ASSERT(pFraction >= 0.0 && pFraction < 1.0 && pFactor > 0 && pFactor >> 31 == 0);
    std::uint64_t digits[3];
    double rest = pFraction;
    for (std::uint64_t& digit : digits) {
        rest *= 4294967296.0;
        digit = static_cast<std::uint64_t>(rest);
        rest -= static_cast<double>(digit);
    }
    const auto factor = static_cast<std::uint64_t>(pFactor);
    std::uint64_t product = digits[2] * factor;
    product = digits[1] * factor + (product >> 32);
    product = digits[0] * factor + (product >> 32);
    return static_cast<std::int64_t>((product + 0x80000000u) >> 32);
}

std::int64_t FloorDivide(std::int64_t pValue, std::int64_t pDivisor)
{
    CORVEKIT_ASSERT(pDivisor > 0);
    const std::int64_t quotient = pValue / pDivisor;
    return pValue % pDivisor < 0 ? quotient - 1 : quotient;
}
}  // namespace

KTime KTime::FromSeconds(double pSeconds)
{
    KTime time;
    time.SetSecondDouble(pSeconds);
    return time;
}

void KTime::SetSecondDouble(double pSeconds)
{
    if (std::isnan(pSeconds)) {
        mTicks = 0;
        return;
    }
    // 2^37 seconds are beyond the range on both sides.
    if (std::fabs(pSeconds) >= 137438953472.0) {
        mTicks = Limit(pSeconds < 0.0).mTicks;
        return;
    }
    // Both parts are exact, and the only rounding is that of the last one.
    const std::int64_t sign = pSeconds < 0.0 ? -1 : 1;
    const double whole = std::floor(std::fabs(pSeconds));
    const std::int64_t ticks = RoundedProduct(std::fabs(pSeconds) - whole, kTicksPerSecond);
    *this = SaturatedTicks(sign * static_cast<std::int64_t>(whole), kTicksPerSecond, sign * ticks);
}

void KTime::SetTime(int pHour, int pMinute, int pSecond, int pFrame, int pField, ETimeMode pMode)
{
    const std::int64_t seconds = std::int64_t{pHour} * 3600 + std::int64_t{pMinute} * 60 + pSecond;
    const std::int64_t frame = FrameTicks(pMode);
    *this = SaturatedTicks(seconds, kTicksPerSecond, frame * pFrame + frame / 2 * pField);
}

std::int64_t KTime::GetFrame(ETimeMode pMode) const
{
    return FloorDivide(mTicks, FrameTicks(pMode));
}

KTime KTime::GetFramedTime(bool pNearest) const
{
    const std::int64_t frame = FrameTicks(eTimeModeDefault);
    const KTime asked = pNearest ? *this + KTime(frame / 2) : *this;
    return SaturatedTicks(FloorDivide(asked.mTicks, frame), frame, 0);
}

KTime KTime::GetOneFrameValue(ETimeMode pMode)
{
    return KTime(FrameTicks(pMode));
}

void KTime::SetDefaultTimeMode(ETimeMode pMode)
{
    if (IsConcreteMode(pMode)) {
        sDefaultMode = pMode;
    }
}

ETimeMode KTime::GetDefaultTimeMode()
{
    return sDefaultMode;
}
