// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: used by the sources of this folder only.
#pragma once

#include <cstddef>
#include <cstdint>

// CRC-32C (Castagnoli 1993; RFC 3720 appendix B.4 has test vectors): polynomial 0x1EDC6F41, bits
// reflected, register preset to and result inverted with all ones. The sum of two consecutive
// pieces is Crc32c(second, n, Crc32c(first, m)), starting from 0.

/// The sum by the fastest method for this processor, chosen once.
std::uint32_t Crc32c(const void* pBytes, std::size_t pSize, std::uint32_t pSum = 0);

/// The same by eight table look-ups for eight bytes (Kounavis and Berry 2005), for any processor.
std::uint32_t Crc32cByTable(const void* pBytes, std::size_t pSize, std::uint32_t pSum = 0);

/// Whether the processor has an instruction for the sum, so that Crc32cByInstruction may be called.
bool Crc32cHasInstruction();
std::uint32_t Crc32cByInstruction(const void* pBytes, std::size_t pSize, std::uint32_t pSum = 0);
