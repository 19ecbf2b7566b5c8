// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/assert.h"
#include "corvekit/set.h"

#include <bit>
#include <cstdint>

/// A set of positions from 0 up. Its memory is proportional to the number of words of 64 positions
/// in use, not to the greatest position.
class KBitSet
{
public:
    void ClearAll() { mWords.Clear(); }
    /// Whether a position is in the set; false for a negative one.
    bool Test(int pPosition) const
    {
        const std::uint64_t* word = pPosition >= 0 ? mWords.Find(pPosition / 64) : nullptr;
        return word && (*word & BitOf(pPosition)) != 0;
    }
    /// Adds a position, which must not be negative.
    void Set(int pPosition)
    {
        CORVEKIT_ASSERT(pPosition >= 0);
        if (pPosition < 0) {
            return;
        }
        std::uint64_t* word = mWords.Find(pPosition / 64);
        if (word) {
            *word |= BitOf(pPosition);
        } else {
            mWords.Add(pPosition / 64, BitOf(pPosition));
        }
    }
    /// Removes a position.
    void Clear(int pPosition)
    {
        std::uint64_t* word = pPosition >= 0 ? mWords.Find(pPosition / 64) : nullptr;
        if (word) {
            *word &= ~BitOf(pPosition);
            if (*word == 0) {
                mWords.Remove(pPosition / 64);
            }
        }
    }
    /// Number of positions in the set.
    int GetCount() const
    {
        int count = 0;
        for (const auto& each : mWords) {
            count += std::popcount(each.mValue);
        }
        return count;
    }
    bool IsEmpty() const { return mWords.IsEmpty(); }

private:
    static std::uint64_t BitOf(int pPosition) { return std::uint64_t{1} << (pPosition % 64); }

    KMap<int, std::uint64_t> mWords;
};
