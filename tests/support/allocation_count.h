// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include <cstddef>

// A test program that lists allocation_count.cpp among its sources counts the allocations of the
// whole process, the shared libraries included, and can make one fail. Counted are malloc, calloc
// and realloc; under the address sanitizer, which has these itself, the operators new.

/// Whether malloc, calloc and realloc are counted.
bool CountsAllocationsOfC();

/// Allocations so far.
std::size_t AllocationCount();

/// Lets the allocation after pBefore more of them fail, and with pAndAllAfter every later one too.
void FailAllocationAfter(std::size_t pBefore, bool pAndAllAfter);
/// Lets no allocation fail any more.
void StopFailing();
