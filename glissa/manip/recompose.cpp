// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A curve put together of the keys that it had at begin.

#include "glissa/curve/key_kind.h"
#include "glissa/curve/left_side.h"
#include "glissa/curve/take_keys.h"
#include "glissa/manip/curve_writer.h"

#include <algorithm>
#include <bit>
#include <cstdint>

namespace
{
// The part of a shift that keeps two times, and those between them, in the range of key times.
KTime LimitedShift(KTime pShift, KTime pFirst, KTime pLast)
{
    return std::clamp(pShift, KTime::MinusInfinite() - pFirst, KTime::Infinite() - pLast);
}

bool HasSameBits(float pLeft, float pRight)
{
    return std::bit_cast<std::uint32_t>(pLeft) == std::bit_cast<std::uint32_t>(pRight);
}

// Default value, colour and extrapolation. What does not differ is not posted.
void TakeSettings(Glissa& pTo, Glissa& pFrom)
{
    if (!HasSameBits(pTo.GetValue(), pFrom.GetValue())) {
        pTo.SetValue(pFrom.GetValue());
    }
    pTo.SetColor(pFrom.GetColor());
    pTo.SetWasData(pFrom.GetWasData());
    if (pTo.GetPreExtrapolation() != pFrom.GetPreExtrapolation()) {
        pTo.SetPreExtrapolation(pFrom.GetPreExtrapolation());
    }
    if (pTo.GetPreExtrapolationCount() != pFrom.GetPreExtrapolationCount()) {
        pTo.SetPreExtrapolationCount(pFrom.GetPreExtrapolationCount());
    }
    if (pTo.GetPostExtrapolation() != pFrom.GetPostExtrapolation()) {
        pTo.SetPostExtrapolation(pFrom.GetPostExtrapolation());
    }
    if (pTo.GetPostExtrapolationCount() != pFrom.GetPostExtrapolationCount()) {
        pTo.SetPostExtrapolationCount(pFrom.GetPostExtrapolationCount());
    }
}
// The events are those of keys that are all removed and added, though the pages remain.
void PostRewrite(Glissa& pCurve, int pOldLast, int pEvent)
{
    const int last = pCurve.KeyGetCount() - 1;
    if (last < pOldLast || (pEvent & eEventEditCopied) != 0) {
        pCurve.CallbackAddEvent(kGlissaEventRemoved, 0);
        pCurve.CallbackAddEvent(kGlissaEventRemoved, pOldLast);
    }
    if (last >= 0) {
        pCurve.CallbackAddEvent(kGlissaEventAdded | pEvent, 0);
        pCurve.CallbackAddEvent(kGlissaEventAdded | pEvent, last);
    }
}
}  // namespace

void SetLeftSide(Glissa& pCurve, int pIndex, const GlissaTangeantInfo& pInfo)
{
    if (!IsCubic(pCurve, pIndex) || (pCurve.KeyGetTangeantMode(pIndex, false) & eTangentTCB) == 0) {
        KeepLeftSide(pCurve, pIndex, pInfo);
        return;
    }
    // Slopes of a TCB key are its own; weight and velocity are stored in the key before.
    pCurve.KeySetLeftTangeantWeight(pIndex, pInfo.mWeight);
    pCurve.KeySetLeftTangeantWeightedMode(pIndex, pInfo.mIsWeighted);
    pCurve.KeySetLeftTangeantVelocity(pIndex, pInfo.mVelocity);
    pCurve.KeySetLeftTangeantVelocityMode(pIndex, pInfo.mIsVelocity);
}

// The host does not see this curve.
CurveWriter::CurveWriter() : mCurve(GlissaCreate())
{
    mCurve->SetCallbackForCustomKeyAddEnabled(false);
    mCurve->SetCallbackForCustomKeyChangeEnabled(false);
}

void CurveWriter::Begin(int pCount)
{
    mIndexes.clear();
    mIndexes.reserve(static_cast<std::size_t>(pCount));
    mCurve->InitBuffers(pCount, true);
}

void CurveWriter::Append(KTime pTime, const Glissa& pOriginal, int pIndex)
{
    AppendShared(*mCurve, pTime, *pOriginal.InternalPriKeyGetPtr(pIndex));
    mIndexes.push_back(pIndex);
}

void CurveWriter::Commit(Glissa& pCurve, Glissa& pSettings, int pEvent)
{
    const int oldLast = pCurve.KeyGetCount() - 1;
    TakeKeys(pCurve, *mCurve);
    mCurve->InitBuffers(0, true);
    TakeSettings(pCurve, pSettings);
    PostRewrite(pCurve, oldLast, pEvent);
}

void CurveWriter::Copy(Glissa& pCurve, Glissa& pSource)
{
    const int oldLast = pCurve.KeyGetCount() - 1;
    const int count = pSource.KeyGetCount();
    pCurve.InitBuffers(count, true);  // all the memory that is needed
    for (int i = 0; i < count; ++i) {
        AppendShared(pCurve, pSource.KeyGetTime(i), *pSource.InternalPriKeyGetPtr(i));
    }
    pCurve.IncrementUpdateId(-count);
    TakeSettings(pCurve, pSource);
    PostRewrite(pCurve, oldLast, kGlissaEventOther | eEventEditCopied);
}

void CurveWriter::RecomposeFCurve(Glissa& pCurve, Glissa& pOriginal, const MarkedSpan& pMarked,
                                  PartShifts pShifts, bool pKeepOriginals)
{
    CORVEKIT_ASSERT(!pMarked.IsEmpty() && pShifts.before <= KTime() && pShifts.after >= KTime());
    const auto timeOf = [&](int pIndex) { return pOriginal.KeyGetTime(pIndex); };
    const auto isMarked = [&](int pIndex) { return pOriginal.KeyGetMarkedForManipulation(pIndex); };
    const int count = pOriginal.KeyGetCount();
    pShifts = {LimitedShift(pShifts.marked, timeOf(pMarked.first), timeOf(pMarked.last)),
               LimitedShift(pShifts.before, timeOf(0), timeOf(0)),
               LimitedShift(pShifts.after, timeOf(count - 1), timeOf(count - 1))};

    // Two ascending sequences are merged: the keys that are not marked, and the marked ones.
    Begin(pKeepOriginals ? 2 * count : count);
    int marked = pMarked.first;
    const auto placeMarkedBefore = [&](KTime pTime) {
        for (; marked <= pMarked.last; ++marked) {
            if (isMarked(marked)) {
                const KTime time = timeOf(marked) + pShifts.marked;
                if (time >= pTime) {
                    return time == pTime;
                }
                Append(time, pOriginal, marked);
            }
        }
        return false;
    };
    for (int i = 0; i < count; ++i) {
        if (isMarked(i) && !pKeepOriginals) {
            continue;
        }
        const KTime shift = i < pMarked.first  ? pShifts.before
                            : i > pMarked.last ? pShifts.after
                                               : KTime();
        const KTime time = timeOf(i) + shift;
        if (placeMarkedBefore(time)) {
            continue;  // replaced by a marked key
        }
        Append(time, pOriginal, i);
        if (isMarked(i)) {
            const int copy = mCurve->KeyGetCount() - 1;
            mCurve->KeySetMarkedForManipulation(copy, false);
            mCurve->KeySetSelected(copy, false);
        }
    }
    if (placeMarkedBefore(KTime::Infinite())) {
        Append(KTime::Infinite(), pOriginal, marked);
    }

    const int last = mCurve->KeyGetCount() - 1;
    for (int k = 0; k <= last; ++k) {
        const int index = mIndexes[static_cast<std::size_t>(k)];
        if (k > 0 && mIndexes[static_cast<std::size_t>(k) - 1] + 1 != index) {
            SetLeftSide(*mCurve, k, pOriginal.KeyGetLeftDerivativeInfo(index));
        }
        if (k < last && index == count - 1) {
            mCurve->KeySetRightDerivativeInfo(k, pOriginal.KeyGetRightDerivativeInfo(index), false);
        }
    }
    Commit(pCurve, pOriginal, kGlissaEventOther | eEventEditCopied);
}
