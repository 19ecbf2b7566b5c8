// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/keys_on_frame.h"

#include "glissa/curve/curve.h"

#include <cmath>

template class KClassFrame<GlissaFilterKeysOnFrame, GlissaCurveFilter>;

GlissaFilterKeysOnFrame::GlissaFilterKeysOnFrame()
    : KClassFrame("KeysOnFrame", kUsualErrors, 1),
      mPeriod(KTime::GetOneFrameValue(eTimeModeDefault))
{}

void GlissaFilterKeysOnFrame::SetPeriod(const KTime& pPeriod)
{
    mPeriod = pPeriod;
}

// The keys inside the span: those around it that the frame adds are left out again.
int GlissaFilterKeysOnFrame::FirstKey(Glissa& pCurve) const
{
    const int first = GetStartKey(pCurve);
    const bool isOutside = pCurve.KeyGetTime(first) < GetStartTime();
    return isOutside && first != pCurve.KeyGetCount() - 1 ? first + 1 : first;
}

int GlissaFilterKeysOnFrame::LastKey(Glissa& pCurve) const
{
    const int last = GetStopKey(pCurve);
    return pCurve.KeyGetTime(last) > GetStopTime() && last > 0 ? last - 1 : last;
}

// The multiple that a key moves to. False for a key that stays.
bool GlissaFilterKeysOnFrame::FindFrame(Glissa& pCurve, int pIndex, KTime& pTarget) const
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    const KTime time = pCurve.KeyGetTime(pIndex);
    const KTime rest(time.Get() % mPeriod.Get());
    if (rest == KTime()) {
        return false;
    }
    // Towards 0, or away from it where that is nearer.
    const KTime towards = time - rest;
    const KTime away = rest > KTime() ? towards + mPeriod : towards - mPeriod;
    const bool isAwayNearer = rest > KTime() ? rest > away - time : time - away < -rest;
    pTarget = isAwayNearer ? away : towards;
    if (isAwayNearer && away - towards != mPeriod && towards - away != mPeriod) {
        return false;  // out of the range of times
    }
    int hint = pIndex;
    const double place = pCurve.KeyFind(pTarget, &hint);
    if (pTarget < time) {
        return static_cast<int>(std::ceil(place)) == pIndex;
    }
    const int next = static_cast<int>(std::ceil(place));
    return static_cast<int>(std::floor(place)) == pIndex && next < pCurve.KeyGetCount() &&
           pCurve.KeyGetTime(next) - pTarget >= pTarget - time;
}

EGlissaFilterAnswer GlissaFilterKeysOnFrame::Examine(Glissa& pCurve)
{
    if (pCurve.KeyGetCount() == 0) {
        return RefuseCurve(eFilterNoKey, "KeysOnFrame, No key to be filtered.");
    }
    if (mPeriod < KTime(1)) {
        return eFilterRefused;
    }
    KTime target;
    for (int i = FirstKey(pCurve); i <= LastKey(pCurve); ++i) {
        if (FindFrame(pCurve, i, target)) {
            return eFilterChanges;
        }
    }
    return eFilterNothingToDo;
}

bool GlissaFilterKeysOnFrame::Change(Glissa& pCurve)
{
    KTime target;
    const int last = LastKey(pCurve);
    for (int i = FirstKey(pCurve); i <= last; ++i) {
        if (FindFrame(pCurve, i, target)) {
            pCurve.KeySetTime(i, target);
        }
    }
    return true;
}
