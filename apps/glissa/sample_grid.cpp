// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/sample_grid.h"

#include <algorithm>
#include <cmath>

namespace
{
long double TicksASample(double pSamplesASecond)
{
    return static_cast<long double>(KTime::kTicksPerSecond) /
           static_cast<long double>(pSamplesASecond);
}
}  // namespace

std::uint64_t SampleGrid::Count() const
{
    // Each end is within the range of a KTime; their difference may not be.
    const long double span =
        static_cast<long double>(to.Get()) - static_cast<long double>(from.Get());
    // Half a tick: At() rounds the last sample to the end.
    return static_cast<std::uint64_t>((span + 0.5L) / TicksASample(samplesASecond)) + 1;
}

KTime SampleGrid::At(std::uint64_t pIndex) const
{
    const long double offset = static_cast<long double>(pIndex) * TicksASample(samplesASecond);
    const long double ticks = static_cast<long double>(from.Get()) + offset;
    return std::min(to, KTime(std::llround(ticks)));
}
