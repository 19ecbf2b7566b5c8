// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/time.h"

#include <cstdint>

/// Evenly spaced times from one time to another: from, and every whole number of samples after it
/// up to and with to. Each time is the nearest tick, formed from its number and not by adding up,
/// so that nothing drifts.
struct SampleGrid
{
    KTime from;
    KTime to;  ///< not before from
    double samplesASecond = 0.0;

    std::uint64_t Count() const;
    KTime At(std::uint64_t pIndex) const;
};
