// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/time.h"

#include "corvekit/assert.h"

#include <cmath>

namespace
{
// A product of a 53-bit mantissa and the tick rate needs 81 bits. __int128 is an extension that
// both supported compilers have.
__extension__ typedef __int128 Wide;

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

std::int64_t Saturate(Wide pTicks)
{
    constexpr Wide kLeast = std::numeric_limits<std::int64_t>::min();
    constexpr Wide kGreatest = std::numeric_limits<std::int64_t>::max();
    return static_cast<std::int64_t>(pTicks < kLeast      ? kLeast
                                     : pTicks > kGreatest ? kGreatest
                                                          : pTicks);
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
    // seconds = mantissa * 2^exponent with a whole mantissa of at most 53 bits, so that the product
    // with the tick rate is exact and the only rounding is the last one.
    int exponent = 0;
    const double fraction = std::frexp(std::fabs(pSeconds), &exponent);
    Wide ticks = static_cast<Wide>(std::ldexp(fraction, 53)) * kTicksPerSecond;
    exponent -= 53;
    CORVEKIT_ASSERT(exponent <= 37 - 53);  // the shift to the left below cannot overflow
    if (exponent < -100) {
        ticks = 0;  // far below half a tick
    } else if (exponent < 0) {
        const Wide half = static_cast<Wide>(1) << (-exponent - 1);
        ticks = (ticks + half) >> -exponent;
    } else {
        ticks <<= exponent;
    }
    mTicks = Saturate(pSeconds < 0.0 ? -ticks : ticks);
}

void KTime::SetTime(int pHour, int pMinute, int pSecond, int pFrame, int pField, ETimeMode pMode)
{
    const Wide seconds =
        static_cast<Wide>(pHour) * 3600 + static_cast<Wide>(pMinute) * 60 + pSecond;
    const Wide frame = FrameTicks(pMode);
    mTicks = Saturate(seconds * kTicksPerSecond + frame * pFrame + frame / 2 * pField);
}

std::int64_t KTime::GetFrame(ETimeMode pMode) const
{
    return FloorDivide(mTicks, FrameTicks(pMode));
}

KTime KTime::GetFramedTime(bool pNearest) const
{
    const std::int64_t frame = FrameTicks(eTimeModeDefault);
    const KTime asked = pNearest ? *this + KTime(frame / 2) : *this;
    return KTime(Saturate(static_cast<Wide>(FloorDivide(asked.mTicks, frame)) * frame));
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
