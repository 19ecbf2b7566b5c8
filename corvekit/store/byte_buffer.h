// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"

#include <cstddef>
#include <cstdint>

/// Room for bytes that grows where it stands if the system can do it. What is new is not set to
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
    ~KByteBuffer();

    /// Null as long as there is no room.
    std::uint8_t* GetData() { return mData; }
    const std::uint8_t* GetData() const { return mData; }
    std::size_t GetRoom() const { return mRoom; }

    /// Room for at least so many bytes. Grows to twice the room, so that appending costs a
    /// constant time a byte.
    void Grow(std::size_t pLeast);
    /// Exactly so much room, larger or smaller.
    void Resize(std::size_t pRoom);

private:
    std::uint8_t* mData = nullptr;
    std::size_t mRoom = 0;
};
