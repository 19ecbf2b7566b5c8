// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/utils/parked_keys.h"

#include <algorithm>

namespace
{
/// Keys behind the place of work that stay there: an edit looks at three of them at most.
constexpr int kNear = 8;
/// How many come back together.
constexpr int kStep = 128;
/// A shorter end is not put aside. Moving so many keys costs less than an edit.
constexpr int kLong = 512;
}  // namespace

ParkedKeys::ParkedKeys(Glissa& pCurve) : mCurve(pCurve), mParked(GlissaCreate())
{
    mParked->SetCallbackForCustomKeyAddEnabled(false);
}

void ParkedKeys::WorkAt(int pIndex)
{
    const int behind = mCurve.KeyGetCount() - 1 - pIndex;
    if (behind > kLong) {
        Park(behind - kStep);
    } else if (behind < kNear) {
        BringBack(std::min(kStep, mParked->KeyGetCount()));
    }
}

void ParkedKeys::Park(int pCount)
{
    const int last = mCurve.KeyGetCount() - 1;
    for (int i = last; i > last - pCount; --i) {
        mParked->KeyAppend(mCurve.KeyGetTime(i), &mCurve, i);
    }
    mCurve.Delete(last - pCount + 1, last);
}

void ParkedKeys::BringBack(int pCount)
{
    if (pCount == 0) {
        return;
    }
    // To the host these are no new keys.
    const bool isTold = mCurve.GetCallbackForCustomKeyAddEnabled();
    mCurve.SetCallbackForCustomKeyAddEnabled(false);
    const int last = mParked->KeyGetCount() - 1;
    for (int i = last; i > last - pCount; --i) {
        mCurve.KeyAppend(mParked->KeyGetTime(i), mParked.get(), i);
    }
    mCurve.SetCallbackForCustomKeyAddEnabled(isTold);
    mParked->Delete(last - pCount + 1, last);
}
