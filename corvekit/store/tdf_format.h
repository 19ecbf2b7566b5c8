// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: used by the sources of this folder only.
#pragma once

#include "corvekit/assert.h"
#include "corvekit/store/cbor.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// The constants of the format on disk; docs/store-format.md tells how they go together.
namespace tdf
{
/// Format versions. A reader refuses what it does not know.
enum EVersion : std::uint32_t
{
    eVersionFirst = 1,
    eVersionLatest = eVersionFirst
};

constexpr std::array<std::uint8_t, 4> kMagic = {'K', 'T', 'D', 'F'};
constexpr std::size_t kHeaderSize = 8;    // magic, version
constexpr std::size_t kChecksumSize = 4;  // closes the file

// What has no type of its own in CBOR stands under a tag. Times are by far the most numerous
// integers of an animation, so the bare integer is a time and the int takes the tag. The numbers
// are free ones of the range that anybody may use: 0xCB and a letter.
constexpr std::uint64_t kTagInt = 0xCB49;
constexpr std::uint64_t kTagByteText = 0xCB53;
constexpr std::size_t kTagSize = 3;

/// A character is a byte string of one byte.
constexpr cbor::Byte kCharacterHead = cbor::eBytes | 1;

/// Up to four characters as they are stored, filled up with zero bytes: one word of eight.
using LetterBytes = std::array<std::uint8_t, 8>;
inline LetterBytes EncodeLetters(std::string_view pLetters)
{
    LetterBytes bytes{};
    CORVEKIT_ASSERT(2 * pLetters.size() <= bytes.size());
    for (std::size_t i = 0; i < pLetters.size(); ++i) {
        bytes[2 * i] = kCharacterHead;
        bytes[2 * i + 1] = static_cast<std::uint8_t>(pLetters[i]);
    }
    return bytes;
}

/// The least that an item can take: a value one byte, a field three (its own head, an empty name
/// and the head of an empty run of values).
constexpr std::uint64_t kLeastField = 3;

/// Where fields are looked up by name.
inline std::uint32_t HashName(std::string_view pName)
{
    // FNV-1a, 32 bits. Names that collide are told apart by their bytes.
    std::uint32_t hash = 0x811C9DC5;
    for (const char each : pName) {
        hash = (hash ^ static_cast<std::uint8_t>(each)) * 0x01000193;
    }
    return hash;
}
}  // namespace tdf
