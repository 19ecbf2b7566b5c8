// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include <cstddef>

// Allocations of the whole process so far, the shared libraries included. A test program that
// lists allocation_count.cpp among its sources has its operators new and delete replaced.
std::size_t AllocationCount();
