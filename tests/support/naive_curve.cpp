// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Keys of the naive curve: added, replaced, removed, moved. Where a step speaks of a key after
// others have come or gone, the key is found again by its number.

#include "tests/support/naive_curve.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace
{
constexpr std::int64_t kGap = 1411;  // 1e-5 s

bool IsWhole(double x)
{
    return x == std::floor(x);
}
}  // namespace

struct NaiveCurve::Bracket
{
    explicit Bracket(NaiveCurve& pCurve) : curve(pCurve) { curve.Begin(); }
    ~Bracket() { curve.End(); }
    NaiveCurve& curve;
};

void NaiveCurve::Post(int pType, int pIndex)
{
    mPending.type |= pType;
    ++mPending.count;
    if (pIndex < mPending.first || mPending.first == -1) {
        mPending.first = pIndex;
    }
    mPending.last = std::max(mPending.last, pIndex);
    updateId += (pType & 0x100) != 0 ? 0x10000 : 1;
    if (mNesting == 0) {
        sent.push_back(mPending);
        mPending = {};
    }
}

void NaiveCurve::End()
{
    if (--mNesting == 0 && mPending.count > 0) {
        sent.push_back(mPending);
        mPending = {};
    }
}

int NaiveCurve::IndexOf(int pId) const
{
    int i = 0;
    while (i < Count() && Key(i).id != pId) {
        ++i;
    }
    return i;
}

void NaiveCurve::SetDefault(float pValue)
{
    value = pValue;
    Post(0x1, -1);
}

int NaiveCurve::Add(std::int64_t pTime, NaiveKey pKey)
{
    pKey.time = pTime;
    const double x = Find(pTime);
    const int index = static_cast<int>(std::ceil(std::max(x, -0.5)));
    if (!keys.empty() && IsWhole(x)) {
        Set(index, pKey);
        return index;
    }
    pKey.id = mNextId++;
    keys.insert(keys.begin() + index, pKey);
    Post(0xE010, index);
    Post(0x810, index);
    return index;
}

int NaiveCurve::AddHere(std::int64_t pTime)
{
    NaiveKey key;
    key.value = Evaluate(pTime);
    return Add(pTime, key);
}

int NaiveCurve::AddShared(std::int64_t pTime, NaiveKey pSource)
{
    pSource.time = pTime;
    const double x = Find(pTime);
    const int index = static_cast<int>(std::ceil(std::max(x, -0.5)));
    if (!keys.empty() && IsWhole(x)) {
        pSource.id = Key(index).id;
        Key(index) = pSource;  // silently
        return index;
    }
    pSource.id = mNextId++;
    keys.insert(keys.begin() + index, pSource);
    Post(0x810, index);
    return index;
}

int NaiveCurve::Append(std::int64_t pTime, NaiveKey pSource)
{
    pSource.time = pTime;
    pSource.id = mNextId++;
    keys.push_back(pSource);
    Post(0x810, Count() - 1);
    return Count() - 1;
}

int NaiveCurve::AppendFast(std::int64_t pTime, float pValue)
{
    NaiveKey key;
    key.time = pTime;
    key.value = pValue;
    key.id = mNextId++;
    keys.push_back(key);
    ++updateId;
    return Count() - 1;
}

bool NaiveCurve::KeepsOrder(int pIndex, std::int64_t pTime) const
{
    return (pIndex < 1 || pTime > Key(pIndex - 1).time) &&
           (pIndex >= Count() - 1 || pTime < Key(pIndex + 1).time);
}

bool NaiveCurve::Set(int pIndex, const NaiveKey& pKey)
{
    if (!KeepsOrder(pIndex, pKey.time)) {
        return false;
    }
    if (pIndex == Count()) {
        keys.push_back(pKey);
        keys.back().id = mNextId++;
        Post(0x810, pIndex);
        return true;
    }
    NaiveKey& key = Key(pIndex);
    const NaiveKey old = key;
    if (!old.HasEqualAttributes(pKey)) {
        key = pKey;
        key.id = old.id;
        Post(0xE010, pIndex);
        return true;
    }
    key.value = pKey.value;
    key.time = pKey.time;
    if (std::bit_cast<std::uint32_t>(old.value) != std::bit_cast<std::uint32_t>(key.value)) {
        Post(0x2010, pIndex);
    }
    if (old.time != key.time) {
        Post(0x4010, pIndex);
    }
    return true;
}

bool NaiveCurve::SetShared(int pIndex, const NaiveKey& pSource)
{
    if (!KeepsOrder(pIndex, pSource.time)) {
        return false;
    }
    const bool isNew = pIndex == Count();
    if (isNew) {
        keys.emplace_back();
        keys.back().id = mNextId++;
    }
    const int id = Key(pIndex).id;
    Key(pIndex) = pSource;
    Key(pIndex).id = id;
    Post(isNew ? 0x810 : 0xE010, pIndex);
    return true;
}

void NaiveCurve::SetRaw(int pIndex, const NaiveKey& pKey)
{
    if (pIndex == Count()) {
        keys.push_back(pKey);
        keys.back().id = mNextId++;
        Post(0x810, pIndex);
    } else if (!Key(pIndex).HasEqualAttributes(pKey)) {
        const int id = Key(pIndex).id;
        Key(pIndex) = pKey;
        Key(pIndex).id = id;
        Post(0xE010, pIndex);
    }
    SetValue(pIndex, pKey.value);
    SetTime(pIndex, pKey.time);
}

bool NaiveCurve::Remove(int pIndex)
{
    if (pIndex < 0 || pIndex >= Count()) {
        return false;
    }
    const Bracket bracket(*this);
    if (Count() == 1) {
        SetDefault(Key(0).value);
    }
    const bool hasNext = pIndex + 1 < Count();
    const NaiveSide side = hasNext ? LeftSide(pIndex + 1) : NaiveSide();
    keys.erase(keys.begin() + pIndex);
    if (hasNext) {
        SetLeftSide(pIndex, side, false);
    }
    Post(0x1010, pIndex);
    return true;
}

bool NaiveCurve::Delete(int pFirst, int pLast)
{
    if (keys.empty() || pFirst > pLast || pFirst < 0 || pLast >= Count()) {
        return false;
    }
    const Bracket bracket(*this);
    const float firstValue = Key(0).value;
    if (pFirst == pLast) {
        Remove(pFirst);
    } else if (pFirst == 0 && pLast == Count() - 1) {
        Clear();
    } else {
        const bool hasNext = pLast + 1 < Count();
        const NaiveSide side = hasNext ? LeftSide(pLast + 1) : NaiveSide();
        keys.erase(keys.begin() + pFirst, keys.begin() + pLast + 1);
        if (hasNext) {
            SetLeftSide(pFirst, side, false);
        }
        Post(0x1010, pFirst);
        Post(0x1010, pLast);
    }
    if (keys.empty()) {
        SetDefault(firstValue);
    }
    return true;
}

bool NaiveCurve::Range(std::int64_t pFrom, std::int64_t pTo, bool pInclusive, int& pFirst,
                       int& pLast) const
{
    const auto isOutside = [&](const NaiveKey& pKey) {
        return pInclusive ? pKey.time < pFrom : pKey.time <= pFrom;
    };
    const auto isInside = [&](const NaiveKey& pKey) {
        return pInclusive ? pKey.time <= pTo : pKey.time < pTo;
    };
    pFirst = static_cast<int>(std::count_if(keys.begin(), keys.end(), isOutside));
    pLast = static_cast<int>(std::count_if(keys.begin(), keys.end(), isInside)) - 1;
    return !keys.empty();
}

bool NaiveCurve::DeleteTimes(std::int64_t pFrom, std::int64_t pTo, bool pInclusive)
{
    int first = 0;
    int last = 0;
    return Range(pFrom, pTo, pInclusive, first, last) && Delete(first, last);
}

void NaiveCurve::Clear()
{
    const int last = Count() - 1;
    keys.clear();
    const Bracket bracket(*this);
    Post(0x1010, 0);
    Post(0x1010, last);
}

void NaiveCurve::Empty()
{
    keys.clear();
}

void NaiveCurve::SetValue(int pIndex, float pValue)
{
    Key(pIndex).value = pValue;
    Post(0x2010, pIndex);
}

void NaiveCurve::SetTime(int pIndex, std::int64_t pTime)
{
    Key(pIndex).time = pTime;
    Post(0x4010, pIndex);
}

int NaiveCurve::Move(int pIndex, std::int64_t pTime)
{
    const Bracket bracket(*this);
    const bool isForward = pTime > Key(pIndex).time;
    const int other = isForward ? pIndex + 1 : pIndex - 1;
    if (other >= 0 && other < Count() &&
        (isForward ? Key(other).time - pTime : pTime - Key(other).time) < kGap) {
        return Reinsert(pIndex, pTime, Key(pIndex), false);
    }
    SetTime(pIndex, pTime);
    return pIndex;
}

// The moved key, the one that followed it and the one it arrives in front of keep the left sides
// that they had; a first key that gets a left side gets a fresh one.
int NaiveCurve::Reinsert(int pIndex, std::int64_t pTime, NaiveKey pKey, bool pArrivalReadLate)
{
    while (IsWhole(Find(pTime))) {
        pTime += kGap;
    }
    const int arrival = static_cast<int>(std::ceil(Find(pTime)));
    const bool hasNext = pIndex + 1 < Count();
    const int nextId = hasNext ? Key(pIndex + 1).id : 0;
    const bool hasArrival = arrival < Count() && arrival != pIndex && arrival != pIndex + 1;
    const int arrivalId = hasArrival ? Key(arrival).id : 0;
    const NaiveSide own = LeftSide(pIndex);
    const NaiveSide next = hasNext ? LeftSide(pIndex + 1) : NaiveSide();
    NaiveSide arrived = hasArrival && arrival > 0 ? LeftSide(arrival) : NaiveSide();
    Remove(pIndex);
    const int index = Add(pTime, pKey);
    if (pArrivalReadLate) {
        arrived = index > 0 ? LeftSide(index) : NaiveSide();
    }
    SetLeftSide(index, own, false);
    if (pArrivalReadLate) {
        SetLeftSide(index + 1, arrived, false);
    } else if (hasArrival) {
        SetLeftSide(IndexOf(arrivalId), arrived, false);
    }
    if (hasNext) {
        SetLeftSide(IndexOf(nextId), next, false);
    }
    return index;
}

bool NaiveCurve::MoveBehind(int pIndex, std::int64_t pDelta, float pValue)
{
    if (pIndex > 0 && Key(pIndex).time + pDelta <= Key(pIndex - 1).time) {
        return false;
    }
    for (int i = pIndex; i < Count() && pDelta != 0; ++i) {
        SetTime(i, Key(i).time + pDelta);
    }
    for (int i = pIndex; i < Count() && pValue != 0.0f; ++i) {
        SetValue(i, Key(i).value + pValue);
    }
    return true;
}

void NaiveCurve::MoveAll(bool pSelected, std::int64_t pDelta, float pValue)
{
    const Bracket bracket(*this);
    if (keys.empty() && !pSelected) {
        SetDefault(value + pValue);
    }
    const bool isUpward = pDelta <= 0;
    for (int step = 0; step < Count(); ++step) {
        const int c = isUpward ? step : Count() - 1 - step;
        if (pSelected && (Key(c).flags & 0x10000) == 0) {
            continue;
        }
        const std::int64_t target = Key(c).time + pDelta;
        const int n = isUpward ? c - 1 : c + 1;
        if (pSelected && n >= 0 && n < Count() &&
            (isUpward ? target - Key(n).time : Key(n).time - target) < kGap) {
            NaiveKey key = Key(c);
            key.value += pValue;
            Reinsert(c, target, key, isUpward);
        } else {
            SetTime(c, target);
            SetValue(c, Key(c).value + pValue);
        }
    }
}

bool NaiveCurve::MoveRange(std::int64_t pDelta, int pFirst, int pLast)
{
    if (pDelta == 0) {
        return true;
    }
    if (pFirst > pLast || pFirst < 0 || pLast >= Count()) {
        return false;
    }
    const Bracket bracket(*this);
    const bool isUpward = pDelta < 0;
    // The moving keys, in the order in which they move; those that are landed on go.
    std::vector<int> moving;
    for (int i = pFirst; i <= pLast; ++i) {
        moving.push_back(Key(i).id);
    }
    if (pFirst != pLast) {
        const std::int64_t from = Key(pFirst).time;
        const std::int64_t to = Key(pLast).time;
        DeleteTimes(isUpward ? from + pDelta : std::max(from + pDelta, to),
                    isUpward ? std::min(to + pDelta, from) : to + pDelta, false);
    }
    if (!isUpward) {
        std::reverse(moving.begin(), moving.end());
    }
    for (const int id : moving) {
        const int c = IndexOf(id);
        const std::int64_t target = Key(c).time + pDelta;
        const int n = isUpward ? c - 1 : c + 1;
        if (n < 0 || n >= Count() ||
            (isUpward ? target - Key(n).time : Key(n).time - target) >= kGap) {
            SetTime(c, target);
            continue;
        }
        const NaiveKey key = Key(c);
        const double x = Find(target);
        const NaiveSide own = LeftSide(c);
        const NaiveSide right = RightSide(c);
        if (IsWhole(x)) {
            // The key behind the one that is landed on, among those that stay.
            int behind = static_cast<int>(x) + 1;
            behind += behind == c ? 1 : 0;
            const int behindId = behind < Count() ? Key(behind).id : 0;
            const NaiveSide behindLeft = behindId != 0 ? LeftSide(behind) : NaiveSide();
            Remove(c);
            const int index = Add(target, key);
            SetLeftSide(index, own, false);
            SetRightSide(index, right, false);
            if (behindId != 0) {
                SetLeftSide(IndexOf(behindId), behindLeft, false);
            }
            continue;
        }
        const int passedId = Key(n).id;
        const NaiveSide passed = LeftSide(n);
        const int beside = static_cast<int>(isUpward ? std::floor(x) : std::ceil(x));
        const bool hasBeside = beside >= 0 && beside < Count();
        const int besideId = hasBeside ? Key(beside).id : 0;
        const NaiveSide arrived = hasBeside ? LeftSide(beside) : NaiveSide();
        Remove(c);
        const int index = Add(target, key);
        SetLeftSide(index, own, false);
        if (index != c) {
            SetLeftSide(IndexOf(passedId), passed, false);
        }
        if (hasBeside) {
            SetLeftSide(IndexOf(besideId), arrived, false);
        }
    }
    return true;
}

bool NaiveCurve::MoveTimes(std::int64_t pFrom, std::int64_t pTo, std::int64_t pDelta,
                           bool pInclusive)
{
    int first = 0;
    int last = 0;
    return Range(pFrom, pTo, pInclusive, first, last) && MoveRange(pDelta, first, last);
}

int NaiveCurve::KeyCandidate(const NaiveKey& pKey, float pSlope, bool pOverride)
{
    const Bracket bracket(*this);
    if (keys.empty()) {
        return Add(pKey.time, pKey);
    }
    const double x = Find(pKey.time);
    const bool exists = IsWhole(x);
    const int lo = static_cast<int>(std::floor(x)) - (exists ? 1 : 0);
    const int hi = exists ? lo + 2 : lo + 1;
    const bool hasLo = lo >= 0;
    const bool hasHi = hi < Count();
    const NaiveSide loLeft = hasLo ? LeftSide(lo) : NaiveSide();
    const NaiveSide hiLeft = hasHi ? LeftSide(hi) : NaiveSide();
    const NaiveSide hiRight = hasHi ? RightSide(hi) : NaiveSide();
    NaiveSide left;
    NaiveSide right;
    left.slope = right.slope = pSlope;
    const int index = lo + 1;
    if (exists && !pOverride) {
        SetValue(index, pKey.value);
        SetTime(index, pKey.time);
        return index;
    }
    if (exists) {
        left = LeftSide(index);
        right = RightSide(index);
        SetRaw(index, pKey);
    } else {
        Add(pKey.time, pKey);
    }
    SetLeftSide(index, left, false);
    SetRightSide(index, right, false);
    if (hasHi && (hasLo || exists)) {
        SetLeftSide(index + 1, hiLeft, false);
    }
    if (!exists && hasLo && !hasHi) {
        RunOn(lo, true, loLeft);
    } else if (!exists && hasHi && !hasLo) {
        RunOn(index + 1, false, hiRight);
    }
    return index;
}

// The old end key runs on into a new segment with the side that it had.
void NaiveCurve::RunOn(int pIndex, bool pBehind, const NaiveSide& pSide)
{
    const std::uint32_t bits = Key(pIndex).Is(kRefCubic) ? Key(pIndex).flags : 0;
    const float parameter = pBehind ? LeftAuto(pIndex) : RightAuto(pIndex);
    const bool force = (bits & 0x400) != 0 || ((bits & 0x100) != 0 && parameter != 0.0f);
    const auto setInner = [&](bool pForce) {
        pBehind ? SetLeftSide(pIndex, pSide, pForce) : SetRightSide(pIndex, pSide, pForce);
    };
    const auto setOuter = [&](bool pForce) {
        pBehind ? SetRightSide(pIndex, pSide, pForce) : SetLeftSide(pIndex, pSide, pForce);
    };
    setOuter(force);
    if ((bits & 0x900) == 0x900) {
        pBehind ? SetRightAuto(pIndex, 100.0f) : SetLeftAuto(pIndex, 100.0f);
    }
    if (force && (bits & 0x800) == 0) {
        setInner(true);
    }
}
