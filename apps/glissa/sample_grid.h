// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/time.h"

#include <cstdint>

/// Evenly spaced times from one time to another, both included if the span is a whole number of
/// samples. Each time is computed from its index, to the nearest tick, so that times do not drift.
struct SampleGrid
{
    KTime from;
    KTime to;  ///< not before from
    double samplesASecond = 0.0;

    std::uint64_t Count() const;
    KTime At(std::uint64_t pIndex) const;
};
