// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Room for keys and the brackets around their changes.

#include "corvekit/event/operation.h"
#include "glissa/curve/attribute_count.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/curve/ticks.h"
#include "glissa/ext/active.h"

void Glissa::InitBuffers(int pCount, bool pClear)
{
    if (pCount > 0 && !mKeys.HasRoomFor(pCount - 1)) {
        mKeys.Reserve(pCount);
    }
    if (pClear) {
        ReleaseAllAttributes();
        for (int i = 0; i < KeyGetCount(); ++i) {
            mKeys[i].mAttribute = nullptr;
        }
        mKeys.SetCount(0);
        mKeys.PagesChangedFrom(0);
    }
    ResetCandidate();
}

int Glissa::KeyAppendFast(KTime pTime, float pValue)
{
    const int index = mKeys.Count();
    if (!mKeys.HasRoomFor(index) || IsInvalidKeyCheckActive() || pTime == kNoKeyTime) [[unlikely]] {
        return AppendWithChecks(pTime, pValue);
    }
    // Field by field: an aggregate would be put together in memory and read back in other widths,
    // which stalls every key.
    KPriFCurveKey& key = mKeys.Append();
    key.mTime = pTime;
    key.mAttribute = GlissaDefaultKeyAttr;
    key.mValue = pValue;
    CountDefaultBlock(1);
    ResetCandidate();
    IncrementUpdateId(1);
    return index;
}

// The same where a page is needed, a listener checks values, or the time cannot be that of a key.
int Glissa::AppendWithChecks(KTime pTime, float pValue)
{
    if (pTime == kNoKeyTime) {
        return -1;
    }
    const KOperation operation(IsObserved());
    const float value = CheckedKeyValue(pValue);
    mKeys.Reserve(KeyGetCount() + 1);
    mKeys.Append() = {pTime, GlissaDefaultKeyAttr, value};
    CountDefaultBlock(1);
    ResetCandidate();
    IncrementUpdateId(1);
    return KeyGetCount() - 1;
}

void Glissa::KeyShrink()
{
    mKeys.Shrink();
    if (KeyGetCount() >= 2) {
        KeyAttrShrink(0, KeyGetCount() - 2);
    }
}

void Glissa::KeyClear()
{
    const int last = KeyGetCount() - 1;
    ResetCandidate();
    ReleaseAllAttributes();
    mKeys.FreeAll();
    KeyModifyBegin();
    CallbackAddEvent(kGlissaEventRemoved, 0);
    CallbackAddEvent(kGlissaEventRemoved, last);
    KeyModifyEnd();
}

void Glissa::KeySetOptimizeEnable(bool pEnable)
{
    mFlags = pEnable ? mFlags | kOptimizeEnabled : mFlags & ~kOptimizeEnabled;
}

bool Glissa::IsObserved() const
{
    return mListeners.GetCount() > 0 || IsInvalidKeyCheckActive() || IsKeyAddListened() ||
           IsKeyChangeListened();
}

void Glissa::KeyModifyBegin()
{
    CORVEKIT_ASSERT(mModifyNesting >= 0);
    ++mModifyNesting;
    SetFlag(kCallbacksEnabled, false);
}

void Glissa::KeyModifyEnd()
{
    CORVEKIT_ASSERT(mModifyNesting > 0);
    if (mModifyNesting <= 0 || --mModifyNesting > 0) {
        return;
    }
    constexpr int kMayBreakSharing = eEventKeyAdd | eEventEditOther;
    if ((mFlags & kOptimizeEnabled) != 0 && mPendingEvent.GetEventCount() > 0 &&
        KeyGetCount() > mOptimizeThreshold && (mPendingEvent.GetType() & kMayBreakSharing) != 0) {
        KeyAttrShrink(mPendingEvent.GetFirstKey() - 1, mPendingEvent.GetLastKey());
    }
    ResetCandidate();
    CallbackEnable(true);
}

KeyModifyBracket::KeyModifyBracket(Glissa& pCurve) : mOperation(pCurve.IsObserved()), mCurve(pCurve)
{
    mCurve.KeyModifyBegin();
}

KeyModifyBracket::~KeyModifyBracket()
{
    mCurve.KeyModifyEnd();
}
