// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include <bit>
#include <cstdint>

/// The bits of results as one number, by FNV-1a of 64 bits. All NaN count as one: their signs
/// differ between processors.
class BitHash
{
public:
    void Add(float pValue)
    {
        AddBytes(pValue == pValue ? std::bit_cast<std::uint32_t>(pValue) : 0x7FC00000u, 4);
    }
    void Add(double pValue)
    {
        AddBytes(pValue == pValue ? std::bit_cast<std::uint64_t>(pValue) : 0x7FF8ull << 48, 8);
    }
    void Add(int pValue) { AddBytes(static_cast<std::uint32_t>(pValue), 4); }
    void Add(const double* pValues, int pCount)
    {
        for (int i = 0; i < pCount; ++i) {
            Add(pValues[i]);
        }
    }
    std::uint64_t Get() const { return mHash; }

private:
    void AddBytes(std::uint64_t pBits, int pCount)
    {
        for (int i = 0; i < pCount; ++i) {
            mHash = (mHash ^ (pBits >> (8 * i) & 0xFF)) * 0x100000001B3u;
        }
    }

    std::uint64_t mHash = 0xCBF29CE484222325u;
};
