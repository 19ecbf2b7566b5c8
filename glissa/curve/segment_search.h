// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: from a time to the segment that holds it.
#pragma once

#include "glissa/curve/key_list.h"
#include "glissa/curve/ticks.h"

#include <algorithm>
#include <cstddef>

/// A time between key index and the key after it, or on one of them.
struct SegmentPlace
{
    int index;
    unsigned slot;  // of from in its page
    const KPriFCurveKey* from;
    const KPriFCurveKey* to;
    double fraction;  // of the segment in time, 0 at from and 1 at to

    /// The fractional key index: a sum that rounds, far up in long curves to a whole number.
    double KeyIndex() const { return index + fraction; }
};

/// The fraction of a span of time that has passed: exact differences, one rounding. The times are
/// in order, the last two differ.
inline double TimeFraction(KTime pFrom, KTime pTime, KTime pTo)
{
    std::int64_t span = 0;
    if (__builtin_sub_overflow(pTo.Get(), pFrom.Get(), &span)) [[unlikely]] {
        // Keys at both ends of time: the differences fit an unsigned number.
        return static_cast<double>(TicksBetween(pFrom, pTime)) /
               static_cast<double>(TicksBetween(pFrom, pTo));
    }
    return ToDouble(pTime.Get() - pFrom.Get()) / ToDouble(span);
}

/// Whether a time lies in a span, its ends included, by one comparison that no branch is needed
/// for: a random time is as often below as above. A span whose ends are out of order holds nearly
/// all.
inline bool IsWithin(KTime pFrom, KTime pTime, KTime pTo)
{
    return TicksBetween(pFrom, pTime) <= TicksBetween(pFrom, pTo);
}

/// The place in the segment of a key whose slot in its page is known.
inline SegmentPlace PlaceInSegment(const KeyList& pKeys, int pIndex, unsigned pSlot,
                                   const KPriFCurveKey* pFrom, KTime pTime)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex + 1 < pKeys.Count());
    CORVEKIT_ASSERT(pSlot == static_cast<unsigned>(pIndex) % KeyList::kKeysPerPage);
    const KPriFCurveKey* to = pSlot + 1 < KeyList::kKeysPerPage ? pFrom + 1 : &pKeys[pIndex + 1];
    return {pIndex, pSlot, pFrom, to, TimeFraction(pFrom->mTime, pTime, to->mTime)};
}

/// Finds a time between the neighbours of the hint, where playback finds it, and moves the hint to
/// the key that a walk would stop at: the key behind the time after a step upward, the one before
/// it after a step downward, the key itself on a key. Else false, and the hint stays.
///
/// A hint at the first or last slot of its page is left to FindInPages. Both neighbours are looked
/// at before the direction: random times fail here with one foreseeable branch.
inline bool FindBeside(const KeyList& pKeys, KTime pTime, int& pHint, SegmentPlace& pPlace)
{
    if (pHint <= 0 || pHint >= pKeys.Count() - 1) {
        return false;
    }
    const unsigned start = static_cast<unsigned>(pHint);
    const unsigned slot = start % KeyList::kKeysPerPage;
    const KPriFCurveKey* key = pKeys.Table()[start / KeyList::kKeysPerPage] + slot;
    if (slot - 1 >= KeyList::kKeysPerPage - 2) {
        return false;
    }
    const KTime before = key[-1].mTime;
    const KTime behind = key[1].mTime;
    if (!IsWithin(before, pTime, behind)) {
        return false;
    }
    const int index = static_cast<int>(start);
    const KTime at = key->mTime;
    if (at < pTime) {
        pHint = index + 1;
        pPlace = {index, slot, key, key + 1, TimeFraction(at, pTime, behind)};
    } else if (pTime < at) {
        pHint = index - 1;
        pPlace = {index - 1, slot - 1, key - 1, key, TimeFraction(before, pTime, at)};
    } else {
        pPlace = {index, slot, key, key + 1, 0.0};
    }
    return true;
}

/// The greatest slot of a page whose time is at or below pTime, 0 if there is none.
///
/// A compiler may turn a conditional into a branch or a conditional move, and g++ and clang choose
/// differently. A random seek mispredicts every second branch, so the choice is made here: the
/// comparison becomes a mask.
inline unsigned SlotBelow(const KPriFCurveKey* pPage, unsigned pCount, KTime pTime)
{
    CORVEKIT_ASSERT(pCount > 0 && pCount <= KeyList::kKeysPerPage);
    const auto step = [pTime](const KPriFCurveKey* pBase, unsigned pHalf) {
        return pBase + (pHalf & (0u - static_cast<unsigned>(pBase[pHalf].mTime <= pTime)));
    };
    const KPriFCurveKey* base = pPage;
    if (pCount == KeyList::kKeysPerPage) {
        for (const unsigned half : {21u, 10u, 5u, 3u, 1u, 1u}) {
            base = step(base, half);
        }
    } else {
        for (unsigned length = pCount; length > 1; length -= length / 2) {
            base = step(base, length / 2);
        }
    }
    return static_cast<unsigned>(base - pPage);
}

inline void PrefetchPage(const KPriFCurveKey* pPage)
{
    const char* bytes = reinterpret_cast<const char*>(pPage);
    for (std::size_t line = 0; line < KeyList::kKeysPerPage * sizeof(KPriFCurveKey); line += 64) {
        __builtin_prefetch(bytes + line);
    }
}

/// A longer list is not likely to be in the nearest cache.
constexpr unsigned kManyPages = 64;

/// Finds a time anywhere between the first and the last of two keys at least: in the page of the
/// hint, or in the page that the first times of the pages name. Moves the hint as FindBeside does.
///
/// False, with the hint untouched, where the time is not between the two keys found: it is
/// outside all keys, or times were written through a key's pointer, which is not reported.
inline bool FindInPages(KeyList& pKeys, KTime pTime, int& pHint, SegmentPlace& pPlace)
{
    CORVEKIT_ASSERT(pKeys.Count() >= 2);
    constexpr unsigned kPerPage = KeyList::kKeysPerPage;
    const unsigned count = static_cast<unsigned>(pKeys.Count());
    const unsigned last = count - 1;
    const unsigned start = static_cast<unsigned>(std::clamp(pHint, 0, static_cast<int>(last)));
    KPriFCurveKey* const* const table = pKeys.Table();

    unsigned page = start / kPerPage;
    const KPriFCurveKey* keys = table[page];
    const int isUpward = keys[start % kPerPage].mTime < pTime;
    unsigned filled = std::min(count - page * kPerPage, kPerPage);
    if (!IsWithin(keys[0].mTime, pTime, keys[filled - 1].mTime)) {
        page = pKeys.PageBelow(pTime);
        keys = table[page];
        if (last > kManyPages * kPerPage) {
            PrefetchPage(keys);
        }
        filled = std::min(count - page * kPerPage, kPerPage);
    }
    unsigned slot = SlotBelow(keys, filled, pTime);
    unsigned index = page * kPerPage + slot;
    if (index == last) [[unlikely]] {
        // The time of the last key lies at the end of the segment before it.
        --index;
        slot = index % kPerPage;
        keys = table[index / kPerPage];
    }
    const KPriFCurveKey* from = keys + slot;
    const KPriFCurveKey* to = slot + 1 < kPerPage ? from + 1 : table[index / kPerPage + 1];
    const KTime before = from->mTime;
    const KTime behind = to->mTime;
    if (pTime < before || behind < pTime || behind == before) [[unlikely]] {
        return false;
    }
    // Without a branch: the side of the hint cannot be predicted.
    const int isBehindFrom = isUpward & static_cast<int>(before < pTime);
    const int place = static_cast<int>(index);
    pHint = place + (isBehindFrom | static_cast<int>(pTime == behind));
    pPlace = {place, slot, from, to, TimeFraction(before, pTime, behind)};
    return true;
}

/// The result for keys out of order: where a walk from the hint stops, clamped to the keys. The
/// first times of the pages are read anew by the next search.
SegmentPlace FindByWalk(KeyList& pKeys, KTime pTime, int& pHint);
