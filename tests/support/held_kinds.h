// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "tests/support/museum.h"

#include <gtest/gtest.h>

/// Calls pCall with the museum's tangent pair of all kinds whose slopes can be held next to a new
/// key: those with a name, but for TCB tangents and segments of the host.
template <typename Call>
void ForEachPairOfHeldKinds(Call&& pCall)
{
    const auto isHeld = [](std::uint32_t pFlags) {
        const std::uint32_t interpolation = pFlags & 0xF;
        return interpolation == kRefCubic
                   ? (pFlags & kRefTcb) == 0 && (pFlags & 0xF00) != 0
                   : interpolation > kRefCustom && (pFlags & kRefProgressive) == 0;
    };
    int pairs = 0;
    for (const std::uint32_t previous : MuseumKinds()) {
        for (const std::uint32_t key : MuseumKinds()) {
            if (isHeld(previous) && isHeld(key)) {
                SCOPED_TRACE(testing::Message() << std::hex << previous << " and " << key);
                pCall(MuseumTangentPair(previous, key));
                ++pairs;
            }
        }
    }
    EXPECT_EQ(121, pairs);
}
