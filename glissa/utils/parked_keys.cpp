// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/utils/parked_keys.h"

#include <algorithm>
#include <utility>

namespace
{
/// Keys behind the place of work that stay there: an edit looks at three of them at most.
constexpr int kNear = 8;
/// How many come back together.
constexpr int kStep = 128;
/// A shorter end is not put aside. Moving so many keys costs less than an edit.
constexpr int kLong = 512;

// Puts a key that is about to be removed behind those of another curve. Its value is no new one and
// is not checked, whatever it is.
void MoveKey(Glissa& pFrom, int pIndex, Glissa& pTo)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pFrom.KeyGetCount());
    const float value = std::exchange(pFrom.InternalPriKeyGetPtr(pIndex)->mValue, 0.0f);
    const int index = pTo.KeyAppend(pFrom.KeyGetTime(pIndex), &pFrom, pIndex);
    pTo.InternalPriKeyGetPtr(index)->mValue = value;
}
}  // namespace

ParkedKeys::ParkedKeys(Glissa& pCurve) : mCurve(pCurve), mParked(GlissaCreate())
{
    mParked->SetCallbackForCustomKeyAddEnabled(false);
}

void ParkedKeys::WorkAt(int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0);
    const int behind = mCurve.KeyGetCount() - 1 - pIndex;
    if (behind > kLong) {
        Park(behind - kStep);
    } else if (behind < kNear) {
        BringBack(std::min(kStep, mParked->KeyGetCount()));
    }
}

void ParkedKeys::Park(int pCount)
{
    CORVEKIT_ASSERT(pCount >= 0);
    const int last = mCurve.KeyGetCount() - 1;
    for (int i = last; i > last - pCount; --i) {
        MoveKey(mCurve, i, *mParked);
    }
    mCurve.Delete(last - pCount + 1, last);
}

void ParkedKeys::BringBack(int pCount)
{
    CORVEKIT_ASSERT(pCount >= 0);
    if (pCount == 0) {
        return;
    }
    const int last = mParked->KeyGetCount() - 1;
    for (int i = last; i > last - pCount; --i) {
        MoveKey(*mParked, i, mCurve);
    }
    mParked->Delete(last - pCount + 1, last);
}
