// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"

#include <cstddef>
#include <cstdint>

/// A buffer of bytes that grows in place if the system supports it. New bytes are not initialized;
/// the user counts the bytes written. A copy copies the whole buffer.
///
/// Throws std::bad_alloc without memory.
class CORVEKIT_API KByteBuffer
{
public:
    KByteBuffer() = default;
    KByteBuffer(const KByteBuffer& pOther);
    KByteBuffer(KByteBuffer&& pOther) noexcept;
    KByteBuffer& operator=(KByteBuffer pOther) noexcept;
    ~KByteBuffer();

    /// Null for an empty buffer.
    std::uint8_t* GetData() { return mData; }
    const std::uint8_t* GetData() const { return mData; }
    std::size_t GetRoom() const { return mRoom; }

    /// Grows to at least this size, and at least to twice the size, so that appending takes
    /// constant time per byte.
    void Grow(std::size_t pLeast);
    /// Grows or shrinks to exactly this size.
    void Resize(std::size_t pRoom);

private:
    std::uint8_t* mData = nullptr;
    std::size_t mRoom = 0;
};
