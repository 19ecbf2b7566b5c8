// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#include "tests/support/allocation_count.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>

// The functions are in a file of their own: where a compiler can inline one of a pair into a caller
// and not the other, it warns of a mismatch.

// g++ has a macro for each sanitizer, clang a feature.
#if defined(__has_feature)
#    if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#        define GLISSA_HAS_SANITIZER
#    endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#    define GLISSA_HAS_SANITIZER
#endif

namespace
{
constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

std::atomic<std::size_t> sAllocations{0};
std::atomic<std::size_t> sFirstToFail{kNever};
std::atomic<std::size_t> sLastToFail{0};

bool Fails()
{
    const std::size_t number = sAllocations++;
    const bool fails = number >= sFirstToFail && number <= sLastToFail;
    errno = fails ? ENOMEM : errno;
    return fails;
}
}  // namespace

std::size_t AllocationCount()
{
    return sAllocations;
}

void FailAllocationAfter(std::size_t pBefore, bool pAndAllAfter)
{
    sFirstToFail = sAllocations + pBefore;
    sLastToFail = pAndAllAfter ? kNever : sFirstToFail.load();
}

void StopFailing()
{
    sFirstToFail = kNever;
}

bool CountsAllocationsOfC()
{
#ifdef GLISSA_HAS_SANITIZER
    return false;
#else
    return true;
#endif
}

#ifdef GLISSA_HAS_SANITIZER

void* operator new(std::size_t pSize)
{
    void* const memory = Fails() ? nullptr : std::malloc(pSize != 0 ? pSize : 1);
    if (!memory) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new(std::size_t pSize, const std::nothrow_t&) noexcept
{
    return Fails() ? nullptr : std::malloc(pSize != 0 ? pSize : 1);
}

void operator delete(void* pMemory) noexcept
{
    std::free(pMemory);
}

void operator delete(void* pMemory, std::size_t) noexcept
{
    std::free(pMemory);
}

void operator delete(void* pMemory, const std::nothrow_t&) noexcept
{
    std::free(pMemory);
}

#else

extern "C" {
// The functions of the C library under their other names.
void* __libc_malloc(std::size_t pSize);
void* __libc_calloc(std::size_t pCount, std::size_t pSize);
void* __libc_realloc(void* pMemory, std::size_t pSize);

void* malloc(std::size_t pSize) noexcept
{
    return Fails() ? nullptr : __libc_malloc(pSize);
}

void* calloc(std::size_t pCount, std::size_t pSize) noexcept
{
    return Fails() ? nullptr : __libc_calloc(pCount, pSize);
}

void* realloc(void* pMemory, std::size_t pSize) noexcept
{
    return Fails() ? nullptr : __libc_realloc(pMemory, pSize);
}
}

#endif
