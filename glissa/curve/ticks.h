// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: ticks as a number.
#pragma once

#include <cstdint>

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
