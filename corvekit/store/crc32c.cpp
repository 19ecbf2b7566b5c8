// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Two methods: the instruction of the processor if it has one, otherwise tables. The method is
// chosen at the first call.

#include "corvekit/store/crc32c.h"

#include "corvekit/assert.h"

#include <array>
#include <cstring>

#if defined(__x86_64__)
#    include <nmmintrin.h>
#endif

namespace
{
constexpr std::uint32_t kPolynomial = 0x82F63B78;  // 0x1EDC6F41 with its bits reflected

using Tables = std::array<std::array<std::uint32_t, 256>, 8>;

// Table k has the sum of a byte followed by k zero bytes.
constexpr Tables MakeTables()
{
    Tables tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t sum = byte;
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum >> 1) ^ ((sum & 1) != 0 ? kPolynomial : 0);
        }
        tables[0][byte] = sum;
    }
    for (std::size_t k = 1; k < 8; ++k) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t before = tables[k - 1][byte];
            tables[k][byte] = (before >> 8) ^ tables[0][before & 0xFF];
        }
    }
    return tables;
}

constexpr Tables kTables = MakeTables();

std::uint32_t LittleEndian32(const unsigned char* pBytes)
{
    return static_cast<std::uint32_t>(pBytes[0]) | static_cast<std::uint32_t>(pBytes[1]) << 8 |
           static_cast<std::uint32_t>(pBytes[2]) << 16 |
           static_cast<std::uint32_t>(pBytes[3]) << 24;
}
}  // namespace

std::uint32_t Crc32cByTable(const void* pBytes, std::size_t pSize, std::uint32_t pSum)
{
    CORVEKIT_ASSERT(pBytes || pSize == 0);
    const unsigned char* at = static_cast<const unsigned char*>(pBytes);
    std::uint32_t sum = ~pSum;
    for (; pSize >= 8; pSize -= 8, at += 8) {
        const std::uint32_t low = sum ^ LittleEndian32(at);
        const std::uint32_t high = LittleEndian32(at + 4);
        sum = kTables[7][low & 0xFF] ^ kTables[6][(low >> 8) & 0xFF] ^
              kTables[5][(low >> 16) & 0xFF] ^ kTables[4][low >> 24] ^ kTables[3][high & 0xFF] ^
              kTables[2][(high >> 8) & 0xFF] ^ kTables[1][(high >> 16) & 0xFF] ^
              kTables[0][high >> 24];
    }
    for (; pSize > 0; --pSize, ++at) {
        sum = (sum >> 8) ^ kTables[0][(sum ^ *at) & 0xFF];
    }
    return ~sum;
}

#if defined(__x86_64__)

bool Crc32cHasInstruction()
{
    static const bool has = __builtin_cpu_supports("sse4.2") != 0;
    return has;
}

__attribute__((target("sse4.2"))) std::uint32_t
Crc32cByInstruction(const void* pBytes, std::size_t pSize, std::uint32_t pSum)
{
    CORVEKIT_ASSERT(pBytes || pSize == 0);
    const unsigned char* at = static_cast<const unsigned char*>(pBytes);
    std::uint64_t sum = ~pSum;
    for (; pSize >= 8; pSize -= 8, at += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, at, 8);
        sum = _mm_crc32_u64(sum, word);
    }
    std::uint32_t rest = static_cast<std::uint32_t>(sum);
    for (; pSize > 0; --pSize, ++at) {
        rest = _mm_crc32_u8(rest, *at);
    }
    return ~rest;
}

#else

bool Crc32cHasInstruction()
{
    return false;
}

std::uint32_t Crc32cByInstruction(const void* pBytes, std::size_t pSize, std::uint32_t pSum)
{
    return Crc32cByTable(pBytes, pSize, pSum);
}

#endif

std::uint32_t Crc32c(const void* pBytes, std::size_t pSize, std::uint32_t pSum)
{
    return Crc32cHasInstruction() ? Crc32cByInstruction(pBytes, pSize, pSum)
                                  : Crc32cByTable(pBytes, pSize, pSum);
}
