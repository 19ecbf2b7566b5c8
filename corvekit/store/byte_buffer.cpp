// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Small buffers are on the heap. Large ones are mapped memory on systems that can move mappings: it
// grows without copying, is freed at once, and uses huge pages if possible, since the first access
// to each small page takes longer than writing it.

#include "corvekit/store/byte_buffer.h"

#include "corvekit/assert.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#if defined(__linux__)
#    include <sys/mman.h>
#endif

namespace
{
constexpr std::size_t kLeastRoom = 256;

#if defined(__linux__)

constexpr std::size_t kHugePage = std::size_t{2} << 20;
constexpr int kAccess = PROT_READ | PROT_WRITE;
constexpr int kPrivate = MAP_PRIVATE | MAP_ANONYMOUS;

bool IsMapped(std::size_t pRoom)
{
    return pRoom >= kHugePage;
}

// Mappings are whole huge pages; unused parts are not accessed.
std::size_t MappedSize(std::size_t pRoom)
{
    return (pRoom + kHugePage - 1) / kHugePage * kHugePage;
}

// Reserves aligned addresses without memory. MAP_FAILED if the system refuses.
void* ReserveAddresses(std::size_t pSize)
{
    void* const area = mmap(nullptr, pSize + kHugePage, PROT_NONE, kPrivate | MAP_NORESERVE, -1, 0);
    if (area == MAP_FAILED) {
        return area;
    }
    CORVEKIT_ASSERT(pSize % kHugePage == 0);
    auto* const begin = static_cast<std::uint8_t*>(area);
    const std::size_t head = (0 - reinterpret_cast<std::uintptr_t>(area)) % kHugePage;
    if (head > 0) {
        munmap(begin, head);
    }
    munmap(begin + head + pSize, kHugePage - head);
    return begin + head;
}

// Resizes a mapping or creates one. Null if the system refuses.
void* ResizeMapping(void* pData, std::size_t pOldRoom, std::size_t pNewRoom)
{
    if (pNewRoom > std::numeric_limits<std::size_t>::max() - 2 * kHugePage) {
        return nullptr;
    }
    CORVEKIT_ASSERT(IsMapped(pNewRoom) && (pOldRoom == 0 || IsMapped(pOldRoom)));
    const std::size_t oldSize = MappedSize(pOldRoom);
    const std::size_t newSize = MappedSize(pNewRoom);
    void* data = pOldRoom == 0 ? MAP_FAILED : mremap(pData, oldSize, newSize, 0);
    if (data == MAP_FAILED) {
        void* const place = ReserveAddresses(newSize);
        if (place == MAP_FAILED) {
            return nullptr;
        }
        data = pOldRoom == 0
                   ? mmap(place, newSize, kAccess, kPrivate | MAP_FIXED, -1, 0)
                   : mremap(pData, oldSize, newSize, MREMAP_MAYMOVE | MREMAP_FIXED, place);
        if (data == MAP_FAILED) {
            munmap(place, newSize);
            return nullptr;
        }
    }
    madvise(data, newSize, MADV_HUGEPAGE);  // optional
    return data;
}

void Unmap(void* pData, std::size_t pRoom)
{
    munmap(pData, MappedSize(pRoom));
}

#else

bool IsMapped(std::size_t)
{
    return false;
}

void* ResizeMapping(void*, std::size_t, std::size_t)
{
    return nullptr;
}

void Unmap(void*, std::size_t) {}

#endif

void Release(void* pData, std::size_t pRoom)
{
    if (IsMapped(pRoom)) {
        Unmap(pData, pRoom);
    } else {
        std::free(pData);
    }
}

// Like std::realloc, with the old size; pNew is not 0.
void* Reallocate(void* pData, std::size_t pOld, std::size_t pNew)
{
    CORVEKIT_ASSERT(pNew > 0);
    CORVEKIT_ASSERT((pData != nullptr) == (pOld > 0));
    if (!IsMapped(pOld) && !IsMapped(pNew)) {
        return std::realloc(pData, pNew);
    }
    if (IsMapped(pOld) && IsMapped(pNew)) {
        return ResizeMapping(pData, pOld, pNew);
    }
    void* const data = IsMapped(pNew) ? ResizeMapping(nullptr, 0, pNew) : std::malloc(pNew);
    if (data && pOld > 0) {
        std::memcpy(data, pData, std::min(pOld, pNew));
        Release(pData, pOld);
    }
    return data;
}
}  // namespace

KByteBuffer::KByteBuffer(const KByteBuffer& pOther)
{
    Resize(pOther.mRoom);
    if (mRoom > 0) {
        std::memcpy(mData, pOther.mData, mRoom);
    }
}

KByteBuffer::KByteBuffer(KByteBuffer&& pOther) noexcept
    : mData(std::exchange(pOther.mData, nullptr)), mRoom(std::exchange(pOther.mRoom, 0))
{}

KByteBuffer& KByteBuffer::operator=(KByteBuffer pOther) noexcept
{
    std::swap(mData, pOther.mData);
    std::swap(mRoom, pOther.mRoom);
    return *this;
}

KByteBuffer::~KByteBuffer()
{
    Release(mData, mRoom);
}

void KByteBuffer::Grow(std::size_t pLeast)
{
    if (pLeast > mRoom) {
        Resize(std::max({kLeastRoom, pLeast, 2 * mRoom}));
    }
}

void KByteBuffer::Resize(std::size_t pRoom)
{
    if (pRoom == 0) {
        Release(mData, mRoom);
        mData = nullptr;
    } else {
        void* const data = Reallocate(mData, mRoom, pRoom);
        if (!data) {
            throw std::bad_alloc();
        }
        mData = static_cast<std::uint8_t*>(data);
    }
    mRoom = pRoom;
}
