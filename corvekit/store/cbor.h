// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: used by the sources of this folder only.
#pragma once

#include "corvekit/assert.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

/// The part of CBOR (RFC 8949) that the field store uses, in the core deterministic encoding of
/// section 4.2.1: every head and every float in its shortest form, every length definite.
///
/// The Put functions write at pOut, where the caller reserves memory, and return the end of the
/// written bytes. The Take functions read valid bytes and move pAt past them; ParseHead reads bytes
/// that are not checked yet.
namespace cbor
{
using Byte = std::uint8_t;

/// Major types, in the upper three bits of a head.
enum EMajor : std::uint8_t
{
    eUnsigned = 0x00,
    eNegative = 0x20,
    eBytes = 0x40,
    eText = 0x60,
    eArray = 0x80,
    eTag = 0xC0,
    eFloat = 0xE0
};

constexpr Byte kMajorMask = 0xE0;
constexpr Byte kHalf = 0xF9;
constexpr Byte kSingle = 0xFA;
constexpr Byte kDouble = 0xFB;
constexpr std::uint16_t kHalfNaN = 0x7E00;
constexpr std::size_t kMaxHead = 9;

/// Converts between big-endian and the byte order of this machine.
template <class T>
inline T SwapToBigEndian(T pValue)
{
    if constexpr (std::endian::native == std::endian::big) {
        return pValue;
    } else if constexpr (sizeof(T) == 8) {
        return __builtin_bswap64(pValue);
    } else if constexpr (sizeof(T) == 4) {
        return __builtin_bswap32(pValue);
    } else {
        static_assert(sizeof(T) == 2);
        return __builtin_bswap16(pValue);
    }
}

inline std::uint64_t ToLittleEndian(std::uint64_t pValue)
{
    return std::endian::native == std::endian::big ? __builtin_bswap64(pValue) : pValue;
}

template <class T>
inline Byte* PutBigEndian(Byte* pOut, T pValue)
{
    const T swapped = SwapToBigEndian(pValue);
    std::memcpy(pOut, &swapped, sizeof(T));
    return pOut + sizeof(T);
}

template <class T>
inline T GetBigEndian(const Byte* pAt)
{
    T value = 0;
    std::memcpy(&value, pAt, sizeof(T));
    return SwapToBigEndian(value);
}

inline Byte* PutHead(Byte* pOut, Byte pMajor, std::uint64_t pArgument)
{
    CORVEKIT_ASSERT((pMajor & ~kMajorMask) == 0);
    if (pArgument < 24) {
        *pOut = static_cast<Byte>(pMajor | pArgument);
        return pOut + 1;
    }
    if (pArgument <= 0xFF) {
        pOut[0] = static_cast<Byte>(pMajor | 24);
        pOut[1] = static_cast<Byte>(pArgument);
        return pOut + 2;
    }
    if (pArgument <= 0xFFFF) {
        *pOut = static_cast<Byte>(pMajor | 25);
        return PutBigEndian(pOut + 1, static_cast<std::uint16_t>(pArgument));
    }
    if (pArgument <= 0xFFFFFFFF) {
        *pOut = static_cast<Byte>(pMajor | 26);
        return PutBigEndian(pOut + 1, static_cast<std::uint32_t>(pArgument));
    }
    *pOut = static_cast<Byte>(pMajor | 27);
    return PutBigEndian(pOut + 1, pArgument);
}

/// Size of the argument after the first byte of a head, or -1 for a form that is not used.
inline int GetArgumentSize(Byte pFirst)
{
    const int form = pFirst & 0x1F;
    if (form < 24) {
        return 0;
    }
    return form <= 27 ? 1 << (form - 24) : -1;
}

inline std::uint64_t TakeArgument(const Byte*& pAt)
{
    const Byte form = *pAt++ & 0x1F;
    switch (form) {
    case 24:
        return *pAt++;
    case 25:
        pAt += 2;
        return GetBigEndian<std::uint16_t>(pAt - 2);
    case 26:
        pAt += 4;
        return GetBigEndian<std::uint32_t>(pAt - 4);
    case 27:
        pAt += 8;
        return GetBigEndian<std::uint64_t>(pAt - 8);
    default:
        CORVEKIT_ASSERT(form < 24);
        return form;
    }
}

/// Integers: n if not negative, otherwise -1 - n, which is the complement of n.
inline Byte* PutInteger(Byte* pOut, std::int64_t pValue)
{
    return pValue < 0 ? PutHead(pOut, eNegative, ~static_cast<std::uint64_t>(pValue))
                      : PutHead(pOut, eUnsigned, static_cast<std::uint64_t>(pValue));
}

inline std::int64_t TakeInteger(const Byte*& pAt)
{
    CORVEKIT_ASSERT(*pAt < eBytes);
    const bool negative = (*pAt & kMajorMask) == eNegative;
    const std::uint64_t argument = TakeArgument(pAt);
    return static_cast<std::int64_t>(negative ? ~argument : argument);
}

/// Sets the half of exactly this value. False if there is none.
inline bool ToHalf(float pValue, std::uint16_t* pHalf)
{
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(pValue);
    const std::uint32_t sign = (bits >> 16) & 0x8000;
    const std::uint32_t exponent = (bits >> 23) & 0xFF;
    const std::uint32_t fraction = bits & 0x7FFFFF;
    if ((fraction & 0x1FFF) != 0) {
        return false;
    }
    if (exponent >= 113 && exponent <= 142) {  // 2^-14 to below 2^16: normal halves
        *pHalf = static_cast<std::uint16_t>(sign | (exponent - 112) << 10 | fraction >> 13);
        return true;
    }
    if (exponent >= 103 && exponent <= 112) {  // multiples of 2^-24 below 2^-14
        const std::uint32_t shift = 126 - exponent;
        const std::uint32_t whole = fraction | 0x800000;
        if ((whole & ((1u << shift) - 1)) != 0) {
            return false;
        }
        *pHalf = static_cast<std::uint16_t>(sign | whole >> shift);
        return true;
    }
    if (fraction == 0 && (exponent == 0 || exponent == 255)) {
        *pHalf = static_cast<std::uint16_t>(sign | (exponent == 0 ? 0 : 0x7C00));
        return true;
    }
    return false;
}

inline double FromHalf(std::uint16_t pHalf)
{
    const int exponent = (pHalf >> 10) & 0x1F;
    const int fraction = pHalf & 0x3FF;
    double value = 0.0;
    if (exponent == 0) {
        value = fraction * 0x1p-24;
    } else if (exponent == 31) {
        value = fraction == 0 ? std::numeric_limits<double>::infinity()
                              : std::numeric_limits<double>::quiet_NaN();
    } else {
        // The exponent of 2^0 is 15 in a half and 1023 in a double.
        value = std::bit_cast<double>(static_cast<std::uint64_t>(exponent + 1008) << 52 |
                                      static_cast<std::uint64_t>(fraction) << 42);
    }
    return (pHalf & 0x8000) != 0 ? -value : value;
}

/// Whether a float has exactly this value; true for infinities, false for NaN.
inline bool IsSingle(double pValue)
{
    const double size = std::fabs(pValue);
    if (size > static_cast<double>(std::numeric_limits<float>::max())) {
        return size == std::numeric_limits<double>::infinity();
    }
    return static_cast<double>(static_cast<float>(pValue)) == pValue;
}

inline Byte* PutFloat(Byte* pOut, float pValue)
{
    std::uint16_t half = kHalfNaN;
    if (pValue != pValue || ToHalf(pValue, &half)) {
        *pOut = kHalf;
        return PutBigEndian(pOut + 1, half);
    }
    *pOut = kSingle;
    return PutBigEndian(pOut + 1, std::bit_cast<std::uint32_t>(pValue));
}

/// The shortest of half, single and double with the same value. All NaNs are the one of section
/// 4.2.2, the half 0x7E00: sign and payload are lost.
inline Byte* PutDouble(Byte* pOut, double pValue)
{
    if (IsSingle(pValue)) {
        return PutFloat(pOut, static_cast<float>(pValue));
    }
    if (pValue != pValue) {
        *pOut = kHalf;
        return PutBigEndian(pOut + 1, kHalfNaN);
    }
    *pOut = kDouble;
    return PutBigEndian(pOut + 1, std::bit_cast<std::uint64_t>(pValue));
}

inline double TakeFloat(const Byte*& pAt)
{
    const Byte first = *pAt++;
    if (first == kSingle) {
        pAt += 4;
        return static_cast<double>(std::bit_cast<float>(GetBigEndian<std::uint32_t>(pAt - 4)));
    }
    if (first == kHalf) {
        pAt += 2;
        return FromHalf(GetBigEndian<std::uint16_t>(pAt - 2));
    }
    CORVEKIT_ASSERT(first == kDouble);
    pAt += 8;
    return std::bit_cast<double>(GetBigEndian<std::uint64_t>(pAt - 8));
}

/// Whether an encoded float has the shortest width, and for a NaN the form that is written. All its
/// bytes must be available.
inline bool IsShortestFloat(const Byte* pAt)
{
    CORVEKIT_ASSERT(*pAt >= kHalf && *pAt <= kDouble);
    if (*pAt == kHalf) {
        const std::uint16_t half = GetBigEndian<std::uint16_t>(pAt + 1);
        return (half & 0x7C00) != 0x7C00 || (half & 0x3FF) == 0 || half == kHalfNaN;
    }
    const bool single = *pAt == kSingle;
    const double value = TakeFloat(pAt);
    if (value != value) {
        return false;
    }
    std::uint16_t half = 0;
    return single ? !ToHalf(static_cast<float>(value), &half) : !IsSingle(value);
}

/// Errors of a head.
enum EHead : int
{
    eHeadGood = 0,
    eHeadCut,         ///< the bytes end within the head
    eHeadUnknown,     ///< a form that is not used: reserved, or of indefinite length
    eHeadNotShortest  ///< the argument has a shorter form
};

/// Reads the head at pAt, before pEnd. On success moves pAt past it.
inline EHead ParseHead(const Byte*& pAt, const Byte* pEnd, std::uint64_t* pArgument)
{
    CORVEKIT_ASSERT(pAt <= pEnd);
    if (pAt == pEnd) {
        return eHeadCut;
    }
    const int size = GetArgumentSize(*pAt);
    if (size < 0) {
        return eHeadUnknown;
    }
    if (pEnd - pAt <= size) {
        return eHeadCut;
    }
    const Byte* at = pAt;
    *pArgument = TakeArgument(at);
    // One byte is used only for arguments that do not fit in the head itself, each wider form only
    // for those that do not fit in half its width.
    if ((size == 1 && *pArgument < 24) || (size > 1 && *pArgument >> (4 * size) == 0)) {
        return eHeadNotShortest;
    }
    pAt = at;
    return eHeadGood;
}

/// Whether the bytes are UTF-8 by table 3-7 of the Unicode standard: without overlong forms,
/// surrogates and code points above U+10FFFF.
bool IsUtf8(std::string_view pText);
}  // namespace cbor
