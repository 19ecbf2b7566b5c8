// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/sample_grid.h"

#include <algorithm>
#include <cmath>

namespace
{
long double TicksPerSample(double pSamplesASecond)
{
    return static_cast<long double>(KTime::kTicksPerSecond) /
           static_cast<long double>(pSamplesASecond);
}
}  // namespace

std::uint64_t SampleGrid::Count() const
{
    // The difference of two times may exceed the range of KTime.
    const long double span =
        static_cast<long double>(to.Get()) - static_cast<long double>(from.Get());
    // Half a tick more, since At() rounds the last sample to the end.
    return static_cast<std::uint64_t>((span + 0.5L) / TicksPerSample(samplesASecond)) + 1;
}

KTime SampleGrid::At(std::uint64_t pIndex) const
{
    const long double offset = static_cast<long double>(pIndex) * TicksPerSample(samplesASecond);
    const long double ticks = static_cast<long double>(from.Get()) + offset;
    return std::min(to, KTime(std::llround(ticks)));
}
