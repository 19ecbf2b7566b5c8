// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "tests/support/reference.h"

#include <cmath>
#include <cstdint>
#include <random>

// Random curves whose keys all follow one slope rule, the same on every platform.

// The same numbers on every platform: the standard distributions promise none.
class Random
{
public:
    explicit Random(std::uint64_t pSeed) : mEngine(pSeed) {}

    std::uint64_t Bits() { return mEngine(); }
    int Below(int pCount) { return static_cast<int>(Bits() % static_cast<std::uint64_t>(pCount)); }
    /// In [-1, 1).
    double Signed()
    {
        return static_cast<double>(static_cast<std::int64_t>(Bits()) >> 11) * 0x1p-52;
    }
    /// From 2 to the one power to 2 to the other, each power as often.
    double Scale(int pLeastPower, int pGreatestPower)
    {
        const int power = pLeastPower + Below(pGreatestPower - pLeastPower);
        return std::ldexp(1.5 + Signed() / 2, power);
    }

private:
    std::mt19937_64 mEngine;
};

/// What the slopes of a curve's keys are made of.
enum Rule
{
    kUser,
    kLine,
    kAutomatic,
    kFarAutomatic,
    kIndependent,
    kProgressiveClamp,
    kTensionContinuityBias,
};

/// Two to eight keys of one rule. Values and gaps (a tick to a minute) spread over many orders of
/// magnitude, some neighbours are equal, and slopes are in proportion to both.
RefCurve RandomCurve(Rule pRule, Random& pRandom);
/// Keys of all rules next to each other, constant ones among them.
RefCurve RandomMixedCurve(Random& pRandom);
/// Keys of one rule with stored weights (times 9999) in a range, on one or both sides of each
/// segment.
RefCurve RandomWeightedCurve(Rule pRule, int pLeastWeight, int pGreatestWeight, Random& pRandom);
/// In the segment behind a key: one time in four on the key, just after it or just before the next.
std::int64_t RandomTime(const RefCurve& pCurve, int pKey, Random& pRandom);
