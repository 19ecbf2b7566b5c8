// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the 16-bit form of weights and velocities.
#pragma once

#include "glissa/curve/key.h"

#include <cstdint>
#include <cstring>

/// Stored numbers are the real value times this.
constexpr float kStoredScale = 9999.0f;
constexpr std::int16_t kDefaultWeightNumber = 3333;

/// Two numbers that share a float slot, a weight or a velocity of each side: the right one in the
/// low half of its bits, whatever the order of bytes in memory.
struct WeightPair
{
    std::int16_t mRight;
    std::int16_t mNextLeft;

    static WeightPair FromSlot(const float& pSlot)
    {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &pSlot, sizeof bits);
        return {static_cast<std::int16_t>(static_cast<std::uint16_t>(bits)),
                static_cast<std::int16_t>(static_cast<std::uint16_t>(bits >> 16))};
    }
    /// Written in place: a float that is returned may pass through a register that changes the bits
    /// of a NaN, which some pairs are.
    void ToSlot(float& pSlot) const
    {
        const std::uint32_t bits = static_cast<std::uint16_t>(mRight) |
                                   static_cast<std::uint32_t>(static_cast<std::uint16_t>(mNextLeft))
                                       << 16;
        std::memcpy(&pSlot, &bits, sizeof bits);
    }
};

inline float FromStoredNumber(std::int16_t pNumber)
{
    return static_cast<float>(pNumber) / kStoredScale;
}

/// Truncated toward zero, but the result of FromStoredNumber for n becomes n again, where n / 9999
/// times 9999 is rounded to less than n. The argument times 9999 is below 2^15.
inline std::int16_t ToStoredNumber(float pReal)
{
    const int truncated = static_cast<int>(pReal * kStoredScale);
    const int next = truncated + (pReal < 0.0f ? -1 : 1);
    const bool isNext = static_cast<float>(next) / kStoredScale == pReal;
    return static_cast<std::int16_t>(isNext ? next : truncated);
}

/// NaN becomes the least weight.
inline float ClampedWeight(float pWeight)
{
    return !(pWeight > kGlissaMinWeight) ? kGlissaMinWeight
           : pWeight > kGlissaMaxWeight  ? kGlissaMaxWeight
                                         : pWeight;
}

/// Clamped to 1..9899.
inline std::int16_t ToStoredWeight(float pWeight)
{
    return ToStoredNumber(ClampedWeight(pWeight));
}

/// The same as the curve format defines it: truncated, whatever it was before.
inline std::int16_t ToTruncatedWeight(float pWeight)
{
    return static_cast<std::int16_t>(ClampedWeight(pWeight) * kStoredScale);
}

/// Values beyond the 16-bit range become its ends, NaN becomes 0.
inline std::int16_t ToStoredVelocity(float pVelocity)
{
    const float number = pVelocity * kStoredScale;
    if (number >= 32767.0f) {
        return 32767;
    }
    if (number <= -32768.0f) {
        return -32768;
    }
    return number == number ? ToStoredNumber(pVelocity) : std::int16_t{0};
}
