// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// From a time to a fractional key index, and to the key before or after it.

#include "glissa/curve/curve.h"
#include "glissa/curve/segment_search.h"

#include <cmath>

namespace
{
// A time this far, in key index steps, from a key counts as on it: a search from the time of a key
// continues to the next one.
constexpr double kOnKey = 1e-6;
// 2^-18 of a step, 4e-6, is clearly more than that.
constexpr int kClearOfKey = 18;
// Up to this many keys a bisection is faster than a search from the hint.
constexpr int kFewKeys = 16;

// The keys around a time between the first and the last, where one page holds them all. The hint is
// left for FindBeside. False for keys out of order.
bool FindInOnePage(const KeyList& pKeys, KTime pTime, int& pHint, SegmentPlace& pPlace)
{
    CORVEKIT_ASSERT(pKeys.Count() >= 2 && pKeys.Count() <= KeyList::kKeysPerPage);
    const unsigned count = static_cast<unsigned>(pKeys.Count());
    const KPriFCurveKey* page = pKeys.Table()[0];
    const unsigned slot = std::min(SlotBelow(page, count, pTime), count - 2);
    pPlace.from = page + slot;
    pPlace.to = pPlace.from + 1;
    pHint = static_cast<int>(slot) + 1;
    return pPlace.from->mTime <= pTime && pTime <= pPlace.to->mTime;
}

// The key index of a time. A whole one means a key: where the sum rounds to one without a key at
// the time, the next number within the segment is taken.
double IndexOf(const SegmentPlace& pPlace, KTime pTime)
{
    const double index = pPlace.KeyIndex();
    if (index == pPlace.index && pPlace.from->mTime != pTime) [[unlikely]] {
        return std::nextafter(index, index + 1.0);
    }
    if (index == pPlace.index + 1 && pPlace.to->mTime != pTime) [[unlikely]] {
        return std::nextafter(index, index - 1.0);
    }
    return index;
}
}  // namespace

double Glissa::KeyFind(KTime pTime, int* pHint)
{
    const int count = KeyGetCount();
    if (count == 0) {
        return -1.0;
    }
    if (!pHint) {
        return WithOwnHint([this, pTime](int& pOwn) { return KeyFind(pTime, &pOwn); });
    }
    int& hint = *pHint;
    SegmentPlace place;
    if (count > 1 &&
        (FindBeside(mKeys, pTime, hint, place) || FindInPages(mKeys, pTime, hint, place))) {
        return IndexOf(place, pTime);
    }
    if (pTime < mKeys.FirstTime()) {
        hint = 0;
        return -0.5;
    }
    if (mKeys.LastTime() < pTime) {
        hint = count;
        return count - 0.5;
    }
    if (count == 1) {
        hint = 0;
        return 0.0;
    }
    return IndexOf(FindByWalk(mKeys, pTime, hint), pTime);
}

// The time of the next key, that time itself where there is none. A walk over the keys of many
// curves does this with each of them at each step, nearly always for a time well inside a segment:
// the fraction, a division, is left for the others.
KTime Glissa::KeyTimeAfter(KTime pTime)
{
    const int count = KeyGetCount();
    if (count == 0 || mKeys.LastTime() <= pTime) {
        return pTime;
    }
    if (pTime < mKeys.FirstTime()) {
        return mKeys.FirstTime();
    }
    SegmentPlace place;
    const bool isOnePage = count <= static_cast<int>(KeyList::kKeysPerPage);
    const bool isFound = WithOwnHint([&](int& pOwn) {
        return (count > kFewKeys && FindBeside(mKeys, pTime, pOwn, place)) ||
               (isOnePage ? FindInOnePage(mKeys, pTime, pOwn, place)
                          : FindInPages(mKeys, pTime, pOwn, place));
    });
    if (isFound) {
        const KTime next = place.to->mTime;
        const std::uint64_t gap = TicksBetween(place.from->mTime, next);
        if (TicksBetween(pTime, next) > gap >> kClearOfKey) {
            return next;
        }
    }
    const double index = std::ceil(KeyFind(pTime, nullptr) + kOnKey);
    const KTime time = index < count ? KeyGetTime(static_cast<int>(index)) : pTime;
    return time > pTime ? time : pTime;
}

KTime Glissa::KeyTimeBefore(KTime pTime)
{
    const double index = std::floor(KeyFind(pTime, nullptr) - kOnKey);
    const KTime time = index >= 0.0 ? KeyGetTime(static_cast<int>(index)) : pTime;
    return time < pTime ? time : pTime;
}
