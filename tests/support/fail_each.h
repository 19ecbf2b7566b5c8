// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "tests/support/allocation_count.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>

/// Runs pStep with each of its allocations failing in turn, and once with none; pPrepare makes its
/// objects anew, and pCheck looks at them. How often it threw: a sort or a merge can do with less
/// memory.
inline int FailEach(const std::function<void()>& pPrepare, const std::function<void()>& pStep,
                    const std::function<void(bool pHasThrown)>& pCheck)
{
    int thrown = 0;
    for (std::size_t failing = 0;; ++failing) {
        pPrepare();
        bool hasThrown = false;
        const std::size_t before = AllocationCount();
        FailAllocationAfter(failing, false);
        try {
            pStep();
        } catch (const std::bad_alloc&) {
            hasThrown = true;
        }
        StopFailing();
        const bool hasFailed = AllocationCount() - before > failing;
        pCheck(hasThrown);
        thrown += hasThrown ? 1 : 0;
        if (!hasFailed) {
            EXPECT_FALSE(hasThrown);
            return thrown;
        }
    }
}
