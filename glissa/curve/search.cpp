// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// From a time to a fractional key index. KeyFind searches the keys as they
// stand; KeyFindAll first maps a time outside them into them.

#include "glissa/curve/curve.h"
#include "glissa/curve/segment_search.h"

#include <cmath>
#include <limits>

namespace
{
// A time this far, in key index steps, from a key counts as on it: a search from the time of a key
// goes on to the next one.
constexpr double kOnKey = 1e-6;
// 2^-18 of a step, 4e-6, is clearly more than that.
constexpr int kClearOfKey = 18;
// Up to this many keys a bisection is shorter than the way past the hint.
constexpr int kFewKeys = 16;

// The repetitions that pCount stands for. Where they would run past the end of time, pRoom ticks
// away, only whole ones inside the range count, and of those the outermost is held.
std::int64_t Repetitions(unsigned pCount, std::uint64_t pSpan, std::uint64_t pRoom)
{
    CORVEKIT_ASSERT(pSpan > 0);
    const std::uint64_t fitting = pRoom / pSpan;
    return pCount <= fitting ? static_cast<std::int64_t>(pCount)
                             : static_cast<std::int64_t>(fitting) - 1;
}

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
}  // namespace

double Glissa::KeyFind(KTime pTime, int* pHint)
{
    const int count = KeyGetCount();
    if (count == 0) {
        return -1.0;
    }
    int& hint = pHint ? *pHint : mSearchIndex;
    SegmentPlace place;
    if (count > 1 &&
        (FindBeside(mKeys, pTime, hint, place) || FindInPages(mKeys, pTime, hint, place))) {
        return place.KeyIndex();
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
    return FindByWalk(mKeys, pTime, hint).KeyIndex();
}

double Glissa::KeyFindAll(KTime pTime, int* pHint)
{
    if (KeyGetCount() == 0) {
        return -1.0;
    }
    int& hint = pHint ? *pHint : mSearchIndex;
    if (pTime < mKeys.FirstTime()) {
        return FindBefore(pTime, hint);
    }
    if (mKeys.LastTime() < pTime) {
        return FindAfter(pTime, hint);
    }
    return KeyFind(pTime, &hint);
}

// The time of the next key, that time itself where there is none. A walk over the keys of many
// curves asks this of each of them at each step, nearly always for a time well inside a segment:
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
    const bool is_one_page = count <= static_cast<int>(KeyList::kKeysPerPage);
    if ((count > kFewKeys && FindBeside(mKeys, pTime, mSearchIndex, place)) ||
        (is_one_page ? FindInOnePage(mKeys, pTime, mSearchIndex, place)
                     : FindInPages(mKeys, pTime, mSearchIndex, place))) {
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

double Glissa::FindBefore(KTime pTime, int& pHint)
{
    CORVEKIT_ASSERT(KeyGetCount() > 0 && pTime < mKeys.FirstTime());
    const KTime first = mKeys.FirstTime();
    const KTime last = mKeys.LastTime();
    const auto hold = [&pHint] {
        pHint = 0;
        return 0.0;
    };
    if (mPreExtrapolation == eExtrapolationConstant || !(first < last)) {
        return hold();
    }
    const std::uint64_t span = TicksBetween(first, last);
    const std::uint64_t distance = TicksBetween(pTime, first);
    const std::uint64_t room = TicksBetween(KTime(std::numeric_limits<std::int64_t>::min()), first);
    const std::uint64_t repetition = distance / span;
    const std::uint64_t rest = distance % span;
    const std::int64_t repetitions = Repetitions(mPreExtrapolationCount, span, room);
    if (repetitions < 0 || repetition >= static_cast<std::uint64_t>(repetitions)) {
        return hold();
    }
    switch (mPreExtrapolation) {
    case eExtrapolationRepetition:
    case eExtrapolationRelativeRepetition:
        return KeyFind(Earlier(last, rest), &pHint);
    case eExtrapolationMirror:
        return KeyFind(repetition % 2 == 0 ? Later(first, rest) : Earlier(last, rest), &pHint);
    default:
        return KeyFind(pTime, &pHint);
    }
}

double Glissa::FindAfter(KTime pTime, int& pHint)
{
    CORVEKIT_ASSERT(KeyGetCount() > 0 && mKeys.LastTime() < pTime);
    const KTime first = mKeys.FirstTime();
    const KTime last = mKeys.LastTime();
    const int lastIndex = KeyGetCount() - 1;
    const auto hold = [&pHint, lastIndex] {
        pHint = lastIndex;
        return static_cast<double>(lastIndex);
    };
    if (mPostExtrapolation == eExtrapolationConstant || !(first < last)) {
        return hold();
    }
    const std::uint64_t span = TicksBetween(first, last);
    const std::uint64_t distance = TicksBetween(last, pTime);
    const std::uint64_t repetition = distance / span;
    const std::uint64_t rest = distance % span;
    // Past the end of time the limit is the greatest time, which no time is above.
    if (repetition >= mPostExtrapolationCount || pTime == KTime::Infinite()) {
        return hold();
    }
    switch (mPostExtrapolation) {
    case eExtrapolationRepetition:
    case eExtrapolationRelativeRepetition:
        return KeyFind(Later(first, rest), &pHint);
    case eExtrapolationMirror:
        return KeyFind(repetition % 2 == 0 ? Earlier(last, rest) : Later(first, rest), &pHint);
    default:
        return KeyFind(pTime, &pHint);
    }
}

int Glissa::MapIndexAll(int pIndexAll, int& pPart) const
{
    const std::int64_t index = pIndexAll;
    const std::int64_t count = KeyGetCount();
    const std::int64_t step = count - 1;
    const std::int64_t before = step * mPreExtrapolationCount;
    const std::int64_t all =
        (static_cast<std::int64_t>(mPreExtrapolationCount) + mPostExtrapolationCount) * step +
        count;
    const auto isOdd = [](std::int64_t pNumber) { return (pNumber & 1) != 0; };

    if (index < 0) {
        pPart = 0;
        return 0;
    }
    if (index < before) {
        pPart = 1;
        switch (mPreExtrapolation) {
        case eExtrapolationConstant:
            return 0;
        case eExtrapolationRepetition:
        case eExtrapolationRelativeRepetition:
            return static_cast<int>(index % step);
        case eExtrapolationMirror: {
            const std::int64_t rest = index % step;
            return static_cast<int>(isOdd(mPreExtrapolationCount) ? count - rest - 1 : rest);
        }
        default:
            return pIndexAll;
        }
    }
    if (index < before + count) {
        pPart = 2;
        return static_cast<int>(index - before);
    }
    if (index < all) {
        pPart = 3;
        const std::int64_t place = index - 1 + count - before;
        switch (mPostExtrapolation) {
        case eExtrapolationConstant:
            return static_cast<int>(step);
        case eExtrapolationRepetition:
        case eExtrapolationRelativeRepetition:
            return static_cast<int>(place % step);
        case eExtrapolationMirror: {
            const std::int64_t rest = place % step;
            const std::int64_t turn = (count - before - 1 + rest) / step;
            return static_cast<int>(isOdd(mPostExtrapolationCount - turn - 1) ? count - rest - 1
                                                                              : rest);
        }
        default:
            return pIndexAll;
        }
    }
    pPart = 4;
    return static_cast<int>(step);
}
