// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/time_shift_and_scale.h"

#include "glissa/curve/curve.h"

#include <algorithm>
#include <cmath>

template class KClassFrame<GlissaFilterTimeShiftAndScale, GlissaCurveFilter>;

namespace
{
const char* const kErrors[] = {"No key", "Left unchanged", "Time is out of range"};
constexpr int kOutOfRange = 2;
}  // namespace

GlissaFilterTimeShiftAndScale::GlissaFilterTimeShiftAndScale()
    : KClassFrame("TimeShiftAndScaleFilter", kErrors, 3)
{}

KTime& GlissaFilterTimeShiftAndScale::GetShift()
{
    return mShift;
}

void GlissaFilterTimeShiftAndScale::SetShift(const KTime& pShift)
{
    mShift = pShift;
}

double GlissaFilterTimeShiftAndScale::GetScale()
{
    return mScale;
}

void GlissaFilterTimeShiftAndScale::SetScale(double pScale)
{
    mScale = pScale;
}

// With room for as many ticks as there are keys, which may have to be kept apart.
bool GlissaFilterTimeShiftAndScale::CanMove(KTime pTime, int pKeyCount) const
{
    CORVEKIT_ASSERT(pKeyCount >= 0);
    const KTime shifted = pTime + mShift;
    if (shifted - mShift != pTime || shifted - pTime != mShift) {
        return false;
    }
    const KTime moved = Moved(pTime);
    return !HasScale() ||
           (moved > KTime::MinusInfinite() && moved < KTime::Infinite() - KTime(pKeyCount));
}

KTime GlissaFilterTimeShiftAndScale::Moved(KTime pTime) const
{
    const KTime shifted = pTime + mShift;
    return HasScale() ? KTime::FromSeconds(shifted.GetSecondDouble() * mScale) : shifted;
}

EGlissaFilterAnswer GlissaFilterTimeShiftAndScale::Examine(Glissa& pCurve)
{
    const bool isInfinite = mShift == KTime::Infinite() || mShift <= KTime::MinusInfinite();
    if ((mShift == KTime() && !HasScale()) || isInfinite || !std::isfinite(mScale)) {
        return RefuseCurve(eFilterUnchanged,
                           "TimeShiftAndScaleFilter, No key were changed by filter.");
    }
    const int count = pCurve.KeyGetCount();
    if (count == 0) {
        return RefuseCurve(eFilterNoKey, "TimeShiftAndScaleFilter, No key to be filtered.");
    }
    if (!CanMove(pCurve.KeyGetTime(0), count) || !CanMove(pCurve.KeyGetTime(count - 1), count)) {
        return RefuseCurve(kOutOfRange,
                           "TimeShiftAndScaleFilter, A key would leave the range of times.");
    }
    return eFilterChanges;
}

bool GlissaFilterTimeShiftAndScale::Change(Glissa& pCurve)
{
    KTime before = KTime::MinusInfinite() - KTime(1);
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        before = std::max(Moved(pCurve.KeyGetTime(i)), before + KTime(1));
        pCurve.KeySetTime(i, before);
    }
    return true;
}
