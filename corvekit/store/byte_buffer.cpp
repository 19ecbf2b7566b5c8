// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/store/byte_buffer.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace
{
constexpr std::size_t kLeastRoom = 256;
}  // namespace

KByteBuffer::KByteBuffer(const KByteBuffer& pOther)
{
    Resize(pOther.mRoom);
    if (mRoom > 0) {
        std::memcpy(mData.get(), pOther.mData.get(), mRoom);
    }
}

KByteBuffer::KByteBuffer(KByteBuffer&& pOther) noexcept
    : mData(std::move(pOther.mData)), mRoom(std::exchange(pOther.mRoom, 0))
{}

KByteBuffer& KByteBuffer::operator=(KByteBuffer pOther) noexcept
{
    std::swap(mData, pOther.mData);
    std::swap(mRoom, pOther.mRoom);
    return *this;
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
        mData.reset();
    } else {
        void* const data = std::realloc(mData.get(), pRoom);
        if (!data) {
            throw std::bad_alloc();
        }
        static_cast<void>(mData.release());
        mData.reset(static_cast<std::uint8_t*>(data));
    }
    mRoom = pRoom;
}
