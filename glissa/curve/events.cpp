// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// How a curve tells what changed: one pending event, folded until it is sent, and plain callbacks;
// beside them the hooks of the custom tangent manager.

#include "glissa/curve/curve.h"
#include "glissa/ext/active.h"
#include "glissa/ext/custom_tangent_manager.h"

void Glissa::CallbackRegister(Listener pFunction, void* pObject)
{
    mListenerObjects.SetCapacity(mListenerObjects.GetCount() + 1);
    mListenerFunctions.Add(reinterpret_cast<std::uint64_t>(pFunction));
    mListenerObjects.Add(reinterpret_cast<std::uint64_t>(pObject));
}

void Glissa::CallbackUnregister(Listener pFunction, void* pObject)
{
    for (int i = mListenerFunctions.GetCount() - 1; i >= 0; --i) {
        if (mListenerFunctions[i] == reinterpret_cast<std::uint64_t>(pFunction) &&
            mListenerObjects[i] == reinterpret_cast<std::uint64_t>(pObject)) {
            mListenerFunctions.RemoveAt(i);
            mListenerObjects.RemoveAt(i);
            return;
        }
    }
}

// By position, with the count read anew: a listener may remove itself.
void Glissa::CallListeners()
{
    mChangesBeingSent = mPendingEvent.GetEventCount();
    for (int i = 0; i < mListenerFunctions.GetCount(); ++i) {
        const auto listener = reinterpret_cast<Listener>(mListenerFunctions[i]);
        listener(this, &mPendingEvent, reinterpret_cast<void*>(mListenerObjects[i]));
    }
    CallbackClear();
}

void Glissa::CallbackAddEvent(int pType, int pKey)
{
    constexpr int kOneValueChange = 0x1;
    constexpr int kOneSelectionChange = 0x10000;

    mPendingEvent.Add(pType, pKey);
    IncrementUpdateId((pType & eEventSelection) != 0 ? kOneSelectionChange : kOneValueChange);
    if (IsCallbackEnabled()) {
        CallListeners();
    }
}

void Glissa::CallbackEnable(bool pEnable)
{
    if (IsCallbackEnabled() == pEnable) {
        return;
    }
    // The flag goes on after the listeners have run: what they post to this curve is not sent from
    // inside the call. A bracket that a listener opens and changes nothing in sends nothing either.
    if (pEnable && mPendingEvent.GetEventCount() > mChangesBeingSent) {
        CallListeners();
    }
    mFlags = pEnable ? mFlags | kCallbacksEnabled : mFlags & ~kCallbacksEnabled;
}

void Glissa::CallKeyAddCallback(KPriFCurveKey* pKey, int pIndex)
{
    if (!mCustomKeyAddEnabled || !IsKeyAddListened()) {
        return;
    }
    GlissaCustomTangentManager& manager = GlissaCustomTangentManager::TheOne();
    GlissaCustomKeyAddEvent* event = manager.AcquireCustomTangentKeyAddEventObject();
    event->mIndex = pIndex;
    event->mTime = pKey->mTime;
    event->mCurve = this;
    if (pKey->mAttribute->GetInterpolation() == eInterpolationCustom) {
        manager.CallCustomAddCustomKey(event);
    } else {
        manager.CallCustomAddKey(event);
    }
    manager.ReleaseCustomTangentKeyAddEventObject(event);
}

void Glissa::CallKeyChangeCallback(KPriFCurveKey* pKey, int pIndex, bool pBefore,
                                   eCustomKeyChangeType pType)
{
    if (!mCustomKeyChangeEnabled || !IsKeyChangeListened()) {
        return;
    }
    GlissaCustomTangentManager& manager = GlissaCustomTangentManager::TheOne();
    GlissaCustomKeyChangeEvent* event = manager.AcquireCustomTangentKeyChangeEventObject();
    event->mIndex = pIndex;
    event->mTime = pKey->mTime;
    event->mCurve = this;
    event->mBefore = pBefore;
    event->mChangeType = pType;
    manager.CallCustomKeyChange(event);
    manager.ReleaseCustomTangentKeyChangeEventObject(event);
}
