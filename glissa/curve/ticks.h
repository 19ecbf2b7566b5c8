// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: ticks as a number, and the times that a key can have.
#pragma once

#include "corvekit/time.h"

#include <cstdint>
#include <limits>

/// -2^63, the one time that no key has: a store reads it as no time. Sums of times that leave the
/// range end here or at KTime::Infinite().
inline constexpr KTime kNoKeyTime(std::numeric_limits<std::int64_t>::min());

/// Whether pTime + pDelta is a time that a key can have, reached without saturation.
inline bool CanShift(KTime pTime, KTime pDelta)
{
    std::int64_t sum = 0;
    return !__builtin_add_overflow(pTime.Get(), pDelta.Get(), &sum) && KTime(sum) != kNoKeyTime;
}

/// Ticks from one time to a later one, exact for any two times.
inline std::uint64_t TicksBetween(KTime pFrom, KTime pTo)
{
    return static_cast<std::uint64_t>(pTo.Get()) - static_cast<std::uint64_t>(pFrom.Get());
}

/// A time a number of ticks after another; the caller keeps it in range.
inline KTime Later(KTime pTime, std::uint64_t pTicks)
{
    return KTime(static_cast<std::int64_t>(static_cast<std::uint64_t>(pTime.Get()) + pTicks));
}

inline KTime Earlier(KTime pTime, std::uint64_t pTicks)
{
    return KTime(static_cast<std::int64_t>(static_cast<std::uint64_t>(pTime.Get()) - pTicks));
}

/// static_cast<double>, which must not wait for what the register held before.
///
/// On x86 the conversion writes half a register. Compilers clear it first, but clang leaves that
/// out near a function's entry, where it takes the old content for long known. It is the result of
/// the evaluation before: each evaluation then waits for the one before it.
inline double ToDouble(std::int64_t pTicks)
{
#if defined(__clang__) && defined(__x86_64__) && !defined(__AVX__)
    double ticks = 0.0;
    asm("cvtsi2sdq %1, %0" : "+x"(ticks) : "r"(pTicks));
    return ticks;
#else
    return static_cast<double>(pTicks);
#endif
}
