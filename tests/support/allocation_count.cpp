// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#include "tests/support/allocation_count.h"

#include <atomic>
#include <cstdlib>
#include <new>

// The operators stand apart from the tests: where a compiler can inline one of a pair into a caller
// and not the other, it warns of a mismatch.

namespace
{
std::atomic<std::size_t> allocations{0};
}

std::size_t AllocationCount()
{
    return allocations;
}

void* operator new(std::size_t pSize)
{
    ++allocations;
    if (void* memory = std::malloc(pSize != 0 ? pSize : 1)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* pMemory) noexcept
{
    std::free(pMemory);
}

void operator delete(void* pMemory, std::size_t) noexcept
{
    std::free(pMemory);
}
