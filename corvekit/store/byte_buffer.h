// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

/// Room for bytes that grows where it stands if the heap can do it. What is new is not set to
/// anything: the holder counts what it has written. A copy copies the whole room.
///
/// Where a std::vector would throw for want of memory, this does too.
class CORVEKIT_API KByteBuffer
{
public:
    KByteBuffer() = default;
    KByteBuffer(const KByteBuffer& pOther);
    KByteBuffer(KByteBuffer&& pOther) noexcept;
    KByteBuffer& operator=(KByteBuffer pOther) noexcept;
    ~KByteBuffer() = default;

    /// Null as long as there is no room.
    std::uint8_t* GetData() { return mData.get(); }
    const std::uint8_t* GetData() const { return mData.get(); }
    std::size_t GetRoom() const { return mRoom; }

    /// Room for at least so many bytes. Grows to twice the room, so that appending costs a
    /// constant time a byte.
    void Grow(std::size_t pLeast);
    /// Exactly so much room, larger or smaller.
    void Resize(std::size_t pRoom);

private:
    struct Free
    {
        void operator()(std::uint8_t* pData) const { std::free(pData); }
    };

    std::unique_ptr<std::uint8_t, Free> mData;
    std::size_t mRoom = 0;
};
