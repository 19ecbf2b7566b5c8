// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: times at even distances.
#pragma once

#include "corvekit/time.h"

#include <cstdint>
#include <limits>

/// The next multiple of a period from a time on, or the time itself where the multiple below it is
/// not above 0. The period is a tick at least.
inline KTime AlignedStart(KTime pTime, KTime pPeriod)
{
    const KTime below(pTime.Get() - pTime.Get() % pPeriod.Get());
    return below != pTime && below > KTime() ? below + pPeriod : pTime;
}

/// The times pStart, pStart + pPeriod and so on up to pStop.
struct SampleGrid
{
    SampleGrid(KTime pStart, KTime pStop, KTime pPeriod)
    {
        if (pPeriod < KTime(1) || pStop < pStart) {
            return;
        }
        // The difference may take all 64 bits.
        const std::uint64_t span =
            static_cast<std::uint64_t>(pStop.Get()) - static_cast<std::uint64_t>(pStart.Get());
        const std::uint64_t period = static_cast<std::uint64_t>(pPeriod.Get());
        constexpr std::uint64_t kMost = std::numeric_limits<int>::max() - 2;
        if (span / period <= kMost) {
            count = static_cast<int>(span / period) + 1;
            endsOnStop = span % period == 0;
        }
    }

    /// 0 for a period below a tick, a stop before the start, and more times than leave an int room
    /// for one more.
    int count = 0;
    bool endsOnStop = false;
};
