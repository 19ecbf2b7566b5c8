// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Keys in time: one, all behind one, all or the selected ones, a range.
//
// A key that would come nearer than 1e-5 s to the next key in the direction of its move, or pass
// it, is removed and added again; the left sides of the keys around both places are restored.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/key_index.h"
#include "glissa/curve/left_side.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/curve/ticks.h"
#include "glissa/ext/active.h"

#include <algorithm>
#include <set>

namespace
{
constexpr KTime kMinimalKeyGap(1411);  // 1e-5 s

// Whether each key of a range can take its time plus pDelta. Past an end of the range of times the
// sums would all be that end.
bool CanShiftKeys(const Glissa& pCurve, int pFirst, int pLast, KTime pDelta)
{
    CORVEKIT_ASSERT(pFirst >= 0 && pFirst <= pLast && pLast < pCurve.KeyGetCount());
    return CanShift(pCurve.KeyGetTime(pFirst), pDelta) &&
           CanShift(pCurve.KeyGetTime(pLast), pDelta);
}

// A time on no other key than the one that moves: the one given, or the next one in steps of the
// minimal gap. At the end of time the steps are negative.
KTime FreeTimeNear(Glissa& pCurve, int pMoved, KTime pTime, int* pHint)
{
    CORVEKIT_ASSERT(pCurve.KeyGetCount() > 0 && pTime != kNoKeyTime);
    KTime time = pTime;
    KTime step = kMinimalKeyGap;
    while (time != pCurve.KeyGetTime(pMoved) && IsWhole(pCurve.KeyFind(time, pHint))) {
        if (time + step == time || time + step == KTime::Infinite()) {
            step = -kMinimalKeyGap;
        }
        time += step;
    }
    return time;
}

// Takes a key out and puts it in at another time, or at the next free one behind it. The key, the
// one that was behind it and the one in front of which it arrives keep their left sides.
int Reinsert(Glissa& pCurve, int pIndex, KTime pTime, const GlissaKey& pKey)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    int hint = pIndex;
    const KTime time = FreeTimeNear(pCurve, pIndex, pTime, &hint);
    const int arrival = Ceil(pCurve.KeyFind(time, &hint));
    const bool hasNext = pIndex + 1 < pCurve.KeyGetCount();
    // Between the neighbours that it had, the key arrives in front of the one it leaves behind.
    const bool hasArrival =
        arrival < pCurve.KeyGetCount() && arrival != pIndex && arrival != pIndex + 1;
    const GlissaTangeantInfo ownLeft = pCurve.KeyGetLeftDerivativeInfo(pIndex);
    const GlissaTangeantInfo nextLeft =
        hasNext ? pCurve.KeyGetLeftDerivativeInfo(pIndex + 1) : GlissaTangeantInfo();
    const GlissaTangeantInfo arrivalLeft =
        hasArrival && arrival > 0 ? pCurve.KeyGetLeftDerivativeInfo(arrival) : GlissaTangeantInfo();
    pCurve.KeyRemove(pIndex);
    const int index = pCurve.KeyAdd(time, pKey, &hint);
    KeepLeftSide(pCurve, index, ownLeft);
    if (hasArrival) {
        KeepLeftSide(pCurve, index + 1, arrivalLeft);
    }
    if (hasNext) {
        KeepLeftSide(pCurve, index > pIndex ? pIndex : pIndex + 1, nextLeft);
    }
    return index;
}

// Takes a key out and puts it in at the time of another one, which it replaces. It keeps both its
// sides, the key behind that place its left side.
void ReplaceKey(Glissa& pCurve, int pIndex, int pReplaced)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    CORVEKIT_ASSERT(pReplaced >= 0 && pReplaced < pCurve.KeyGetCount());
    const GlissaKey key = pCurve.KeyGet(pIndex);
    const KTime time = pCurve.KeyGetTime(pReplaced);
    const int behind = pReplaced + 1 == pIndex ? pIndex + 1 : pReplaced + 1;
    const bool hasBehind = behind < pCurve.KeyGetCount();
    const GlissaTangeantInfo left = pCurve.KeyGetLeftDerivativeInfo(pIndex);
    const GlissaTangeantInfo right = pCurve.KeyGetRightDerivativeInfo(pIndex);
    const GlissaTangeantInfo behindLeft =
        hasBehind ? pCurve.KeyGetLeftDerivativeInfo(behind) : GlissaTangeantInfo();
    int hint = pReplaced;
    pCurve.KeyRemove(pIndex);
    const int index = pCurve.KeyAdd(time, key, &hint);
    KeepLeftSide(pCurve, index, left);
    pCurve.KeySetRightDerivativeInfo(index, right, false);
    if (hasBehind) {
        KeepLeftSide(pCurve, index + 1, behindLeft);
    }
}
}  // namespace

void Glissa::KeySetValue(int pIndex, float pValue)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < KeyGetCount());
    ResetCandidate();
    if (!IsInvalidKeyCheckActive()) [[likely]] {
        // Filters set every key: this path makes one call and keeps nothing on the stack.
        mKeys[pIndex].mValue = pValue;
        CallbackAddEvent(kGlissaEventValue, pIndex);
        return;
    }
    const KOperation operation;
    mKeys[pIndex].mValue = CheckedKeyValue(pValue);
    CallbackAddEvent(kGlissaEventValue, pIndex);
}

void Glissa::KeyIncValue(int pIndex, float pValue)
{
    KeySetValue(pIndex, KeyGetValue(pIndex) + pValue);
}

void Glissa::KeyMultValue(int pIndex, float pFactor)
{
    KeySetValue(pIndex, KeyGetValue(pIndex) * pFactor);
}

void Glissa::KeySetTime(int pIndex, KTime pTime)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < KeyGetCount());
    ResetCandidate();
    mKeys[pIndex].mTime = pTime;
    mKeys.TimeChanged(pIndex);
    CallbackAddEvent(kGlissaEventTime, pIndex);
}

void Glissa::KeyIncTime(int pIndex, KTime pTime)
{
    KeySetTime(pIndex, KeyGetTime(pIndex) + pTime);
}

int Glissa::KeyMove(int pIndex, KTime pTime)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < KeyGetCount());
    if (pTime == kNoKeyTime) {
        return pIndex;
    }
    const KTime delta = pTime - KeyGetTime(pIndex);
    const KeyModifyBracket bracket(*this);
    if (delta > KTime() && pIndex < KeyGetCount() - 1) {
        if (KeyGetTime(pIndex + 1) - pTime < kMinimalKeyGap) {
            return Reinsert(*this, pIndex, pTime, KeyGet(pIndex));
        }
    } else if (delta < KTime() && pIndex > 0) {
        if (pTime - KeyGetTime(pIndex - 1) < kMinimalKeyGap) {
            return Reinsert(*this, pIndex, pTime, KeyGet(pIndex));
        }
    }
    KeySetTime(pIndex, pTime);
    return pIndex;
}

bool Glissa::KeyMoveOf(int pIndex, KTime pDelta, float pValue)
{
    CORVEKIT_ASSERT(pIndex >= 0);
    const KOperation operation(IsObserved());
    const int count = KeyGetCount();
    if (pIndex < count && !CanShiftKeys(*this, pIndex, count - 1, pDelta)) {
        return false;
    }
    if (pIndex > 0 && pIndex < count && KeyGetTime(pIndex) + pDelta <= KeyGetTime(pIndex - 1)) {
        return false;
    }
    for (int i = pIndex; i < count && pDelta != KTime(); ++i) {
        KeyIncTime(i, pDelta);
    }
    for (int i = pIndex; i < count && pValue != 0.0f; ++i) {
        KeyIncValue(i, pValue);
    }
    return true;
}

bool Glissa::KeyMoveOf(bool pSelectedOnly, KTime pDelta, float pValue)
{
    const int count = KeyGetCount();
    int first = 0;
    int last = count - 1;
    while (pSelectedOnly && first <= last && !KeyGetSelected(first)) {
        ++first;
    }
    while (pSelectedOnly && first <= last && !KeyGetSelected(last)) {
        --last;
    }
    if (first <= last && !CanShiftKeys(*this, first, last, pDelta)) {
        return false;
    }
    const KeyModifyBracket bracket(*this);
    ResetCandidate();
    if (count == 0 && !pSelectedOnly) {
        SetValue(GetValue() + pValue);
    }
    // No key overtakes one that has not moved yet, unless it finds a free time only behind that
    // one: the walk passes over such keys, and looks again at the place that they have left.
    std::set<KTime> arrived;
    const bool isUpward = pDelta <= KTime();
    for (int step = 0; step < count; ++step) {
        const int i = isUpward ? step : count - 1 - step;
        if ((pSelectedOnly && !KeyGetSelected(i)) || arrived.contains(KeyGetTime(i))) {
            continue;
        }
        const int neighbour = isUpward ? i - 1 : i + 1;
        const KTime target = KeyGetTime(i) + pDelta;
        const bool isTooNear =
            pSelectedOnly && pDelta != KTime() && neighbour >= 0 && neighbour < count &&
            (isUpward ? target - KeyGetTime(neighbour) : KeyGetTime(neighbour) - target) <
                kMinimalKeyGap;
        if (!isTooNear) {
            KeyIncTime(i, pDelta);
            KeyIncValue(i, pValue);
            continue;
        }
        GlissaKey key = KeyGet(i);
        key.IncValue(pValue);
        const int index = Reinsert(*this, i, target, key);
        if (isUpward ? index > i : index < i) {
            arrived.insert(KeyGetTime(index));
            --step;
        }
    }
    return true;
}

bool Glissa::KeyMoveOf(KTime pDelta, int pFirst, int pLast)
{
    if (pDelta == KTime()) {
        return true;
    }
    if (pFirst > pLast || pFirst < 0 || pLast >= KeyGetCount() ||
        !CanShiftKeys(*this, pFirst, pLast, pDelta)) {
        return false;
    }
    const KeyModifyBracket bracket(*this);
    ResetCandidate();
    const bool isUpward = pDelta < KTime();
    int first = pFirst;
    int last = pLast;
    KTime behindTime = kNoKeyTime;
    GlissaTangeantInfo behindLeft;
    if (first != last) {
        // The keys that the range will land on are removed. The key behind them may then be the
        // first one, which has no left side, until the range lands in front of it.
        const KTime firstTime = KeyGetTime(first);
        const KTime lastTime = KeyGetTime(last);
        KTime from = firstTime + pDelta;
        KTime to = lastTime + pDelta;
        int hint = first;
        if (isUpward) {
            to = std::min(to, firstTime);
            const int behind = Floor(KeyFind(to, &hint)) + 1;
            if (behind > 0 && behind < first && KeyGetTime(0) >= from) {
                behindTime = KeyGetTime(behind);
                behindLeft = KeyGetLeftDerivativeInfo(behind);
            }
        } else {
            from = std::max(from, lastTime);
        }
        if (Delete(from, to, false) && isUpward) {
            first = Ceil(KeyFind(firstTime, &hint));
            last = Floor(KeyFind(lastTime, &hint));
        }
    }

    int c = isUpward ? first : last;
    while (isUpward ? c <= last : c >= first) {
        const KTime target = KeyGetTime(c) + pDelta;
        const int neighbour = isUpward ? c - 1 : c + 1;
        const bool hasNeighbour = neighbour >= 0 && neighbour < KeyGetCount();
        if (!hasNeighbour || (isUpward ? target - KeyGetTime(neighbour)
                                       : KeyGetTime(neighbour) - target) >= kMinimalKeyGap) {
            KeySetTime(c, target);
            c += isUpward ? 1 : -1;
            continue;
        }
        int hint = isUpward ? KeyGetCount() : 0;
        const double place = KeyFind(target, &hint);
        if (IsWhole(place)) {
            ReplaceKey(*this, c, static_cast<int>(place));
            if (isUpward) {
                --last;
            } else {
                --c;
            }
            continue;
        }
        Reinsert(*this, c, target, KeyGet(c));
        c += isUpward ? 1 : -1;
    }
    if (behindTime != kNoKeyTime) {
        int hint = 0;
        KeepLeftSide(*this, Ceil(KeyFind(behindTime, &hint)), behindLeft);
    }
    return true;
}

bool Glissa::KeyMoveOf(KTime pFrom, KTime pTo, KTime pDelta, bool pInclusive)
{
    int first = 0;
    int last = 0;
    return FindKeyRange(*this, pFrom, pTo, pInclusive, first, last) &&
           KeyMoveOf(pDelta, first, last);
}
