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

/// The constants of the file format, which docs/store-format.md describes.
namespace tdf
{
/// Format versions. A reader refuses unknown ones.
enum EVersion : std::uint32_t
{
    eVersionFirst = 1,
    eVersionLatest = eVersionFirst
};

constexpr std::array<std::uint8_t, 4> kMagic = {'K', 'T', 'D', 'F'};
constexpr std::size_t kHeaderSize = 8;    // magic, version
constexpr std::size_t kChecksumSize = 4;  // closes the file

// Types without a type in CBOR have a tag. Times are by far the most frequent integers of an
// animation, so an integer without a tag is a time, and an int has a tag. The numbers are in the
// range for free use: 0xCB and a letter.
constexpr std::uint64_t kTagInt = 0xCB49;
constexpr std::uint64_t kTagByteText = 0xCB53;
constexpr std::size_t kTagSize = 3;

/// A character is a byte string of one byte.
constexpr cbor::Byte kCharacterHead = cbor::eBytes | 1;

/// Up to four encoded characters, padded with zero bytes to a word of eight.
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

/// Least size of a field: its head, an empty name, and the head of an empty array of values. The
/// least size of a value is one byte.
constexpr std::uint64_t kLeastField = 3;

/// Hash of the name of a field.
inline std::uint32_t HashName(std::string_view pName)
{
    // FNV-1a, 32 bits. Names of equal hash are compared byte by byte.
    std::uint32_t hash = 0x811C9DC5;
    for (const char each : pName) {
        hash = (hash ^ static_cast<std::uint8_t>(each)) * 0x01000193;
    }
    return hash;
}
}  // namespace tdf
