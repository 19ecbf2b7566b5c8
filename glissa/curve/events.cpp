// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// How a curve reports what changed: one pending event, folded until it is sent, plain callbacks,
// and the hooks of the custom tangent manager. All calls but the one before a change of a key wait
// for the end of the operation under way.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/ticks.h"
#include "glissa/ext/active.h"
#include "glissa/ext/custom_tangent_manager.h"

#include <cmath>

void Glissa::CallbackRegister(Listener pFunction, void* pObject)
{
    mListeners.Add({pFunction, pObject});
}

void Glissa::CallbackUnregister(Listener pFunction, void* pObject)
{
    mListeners.RemoveAt(mListeners.FindLast({pFunction, pObject}));
}

// A curve that ends calls its listeners while it is there.
bool Glissa::MustCallsWait() const
{
    return KOperation::IsUnderWay() && (mFlags & kIsEnding) == 0;
}

// False when the curve is gone.
bool Glissa::CallListeners(GlissaEvent pEvent)
{
    CORVEKIT_ASSERT(pEvent.GetEventCount() > 0 || pEvent.GetDetailedType() != 0);
    return mListeners.Call(false, [this, &pEvent](const ListenerPair& pListener) {
        pListener.mFunction(this, &pEvent, pListener.mObject);
    });
}

// Takes the pending event out, so that what the listeners post becomes another one.
GlissaEvent Glissa::TakePendingEvent()
{
    const GlissaEvent event = mPendingEvent;
    mPendingEvent.Clear();
    return event;
}

void Glissa::CallbackAddEvent(int pType, int pKey)
{
    constexpr int kOneValueChange = 0x1;
    constexpr int kOneSelectionChange = 0x10000;

    IncrementUpdateId((pType & eEventSelection) != 0 ? kOneSelectionChange : kOneValueChange);
    if (!IsCallbackEnabled()) {
        mPendingEvent.Add(pType, pKey);
        return;
    }
    if (mListeners.GetCount() == 0) {
        if (mPendingEvent.GetEventCount() > 0 || mPendingEvent.GetDetailedType() != 0) {
            mPendingEvent.Clear();
        }
        return;
    }
    mPendingEvent.Add(pType, pKey);
    if (!MustCallsWait()) {
        CallListeners(TakePendingEvent());
    } else if (mPendingEvent.GetEventCount() == 1 && mPendingEvent.GetDetailedType() == 0) {
        // Nearly every post. What it takes to wait needs no memory of its own.
        mPendingEvent.Clear();
        KOperation::CallAtEnd(this, [this, pType, pKey] {
            GlissaEvent event;
            event.Add(pType, pKey);
            CallListeners(event);
        });
    } else {
        KOperation::CallAtEnd(this, [this, event = TakePendingEvent()] { CallListeners(event); });
    }
}

void Glissa::CallbackEnable(bool pEnable)
{
    if (IsCallbackEnabled() == pEnable) {
        return;
    }
    if (!pEnable || mPendingEvent.GetEventCount() == 0 || mListeners.GetCount() == 0) {
        if (pEnable) {
            mPendingEvent.Clear();
        }
        SetFlag(kCallbacksEnabled, pEnable);
    } else if (MustCallsWait()) {
        SetFlag(kCallbacksEnabled, true);
        KOperation::CallAtEnd(this, [this, event = TakePendingEvent()] {
            SendCollected(event, IsCallbackEnabled());
        });
    } else {
        SendCollected(TakePendingEvent(), true);
    }
}

// Callbacks are off while the listeners run: what they post to this curve is not sent from inside
// the call, but collected.
void Glissa::SendCollected(const GlissaEvent& pEvent, bool pEnableAfter)
{
    SetFlag(kCallbacksEnabled, false);
    if (CallListeners(pEvent)) {
        SetFlag(kCallbacksEnabled, pEnableAfter);
    }
}

// Reports a key when the operation is done, with the index that it has then. Not one that is gone.
template <typename Report>
void Glissa::ReportAtEnd(KTime pTime, int pIndex, Report pReport)
{
    KOperation::CallAtEnd(this, [this, pReport, pTime, pIndex] {
        const int place = PlaceOfKey(pTime, pIndex);
        if (place >= 0) {
            pReport(pTime, place);
        }
    });
}

void Glissa::CallKeyAddCallback(KPriFCurveKey* pKey, int pIndex)
{
    CORVEKIT_ASSERT(pKey && pKey->mAttribute && pIndex >= 0);
    if (!mCustomKeyAddEnabled || !IsKeyAddListened()) {
        return;
    }
    const bool isCustom = pKey->mAttribute->GetInterpolation() == eInterpolationCustom;
    const auto report = [this, isCustom](KTime pTime, int pPlace) {
        GlissaCustomTangentManager& manager = GlissaCustomTangentManager::TheOne();
        GlissaCustomKeyAddEvent event;  // of this thread: others edit curves of their own
        event.mIndex = pPlace;
        event.mTime = pTime;
        event.mCurve = this;
        if (isCustom) {
            manager.CallCustomAddCustomKey(&event);
        } else {
            manager.CallCustomAddKey(&event);
        }
    };
    if (!MustCallsWait()) {
        report(pKey->mTime, pIndex);
    } else {
        ReportAtEnd(pKey->mTime, pIndex, report);
    }
}

// Where a key of this time is now, which was at an index; -1 when it is gone.
int Glissa::PlaceOfKey(KTime pTime, int pIndex)
{
    CORVEKIT_ASSERT(pTime != kNoKeyTime && pIndex >= 0);
    if (pIndex < KeyGetCount() && mKeys[pIndex].mTime == pTime) {
        return pIndex;
    }
    int hint = pIndex;
    const double place = KeyGetCount() > 0 ? KeyFind(pTime, &hint) : -1.0;
    return place >= 0.0 && place == std::floor(place) ? static_cast<int>(place) : -1;
}

void Glissa::CallKeyChangeCallback(KPriFCurveKey* pKey, int pIndex, bool pBefore,
                                   eCustomKeyChangeType pType)
{
    CORVEKIT_ASSERT(pKey && pIndex >= 0);
    if (!mCustomKeyChangeEnabled || !IsKeyChangeListened()) {
        return;
    }
    const auto report = [this, pBefore, pType](KTime pTime, int pPlace) {
        GlissaCustomKeyChangeEvent event;
        event.mIndex = pPlace;
        event.mTime = pTime;
        event.mCurve = this;
        event.mBefore = pBefore;
        event.mChangeType = pType;
        GlissaCustomTangentManager::TheOne().CallCustomKeyChange(&event);
    };
    if (pBefore || !MustCallsWait()) {
        report(pKey->mTime, pIndex);
    } else {
        ReportAtEnd(pKey->mTime, pIndex, report);
    }
}
