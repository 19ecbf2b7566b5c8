// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// How do ticks, seconds and frames go together?

#include "corvekit/time.h"

#include <cstdio>
#include <cstdlib>

int main()
{
    // [snippet times]
    const KTime second(KTime::kTicksPerSecond);                // 141120000 ticks
    const KTime time = KTime::FromSeconds(1.5);                // the nearest tick
    const KTime frame = KTime::GetOneFrameValue(eTimeMode25);  // exact in every mode

    std::printf("%.1f s is frame %lld of 25 a second\n", time.GetSecondDouble(),
                static_cast<long long>(time.GetFrame(eTimeMode25)));
    // [end]
    const bool right = second * 3 == time * 2 && frame * 25 == second;
    return right && time.GetFrame(eTimeMode25) == 37 ? EXIT_SUCCESS : EXIT_FAILURE;
}
