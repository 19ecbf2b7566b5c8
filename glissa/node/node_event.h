// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/event/event.h"
#include "corvekit/event/listener_list.h"
#include "glissa/export.h"

class GlissaNode;

/// Types of events of a node: bits of the type of GlissaNodeEvent.
enum EGlissaNodeEventType : int
{
    eNodeEventVisibility = 1,  ///< visibility was set
    eNodeEventDestroy = 2,     ///< the node is being destroyed
    eNodeEventCurve = 4,       ///< the curve was replaced
    eNodeEventTimeWarp = 8,    ///< the time warp was replaced
    eNodeEventLayers = 16,     ///< layers or their use of quaternions changed; on the base node
};

/// The changes of a node since the last event, united.
class GLISSA_API GlissaNodeEvent : public KEventBase
{
public:
    GlissaNodeEvent() = default;
    GlissaNodeEvent(const GlissaNodeEvent&) = default;
    GlissaNodeEvent& operator=(const GlissaNodeEvent&) = default;
    ~GlissaNodeEvent() override;

    /// Adds a bit to the type and counts the change.
    void Add(int pBit)
    {
        mType |= pBit;
        ++mEventCount;
    }
    void Clear()
    {
        mType = 0;
        mEventCount = 0;
        mData = nullptr;
    }
    /// Data of the host.
    void SetData(void* pData) { mData = pData; }
    void* GetData() const { return mData; }
    /// Number of changes that were united.
    int GetEventCount() const { return mEventCount; }

private:
    int mEventCount = 0;
    void* mData = nullptr;
};

/// A listener of a node. The event is valid during the call.
using GlissaNodeCallback = void (*)(GlissaNode* pNode, GlissaNodeEvent* pEvent, void* pData);

/// The listeners of a node and the event that is pending for them.
class GLISSA_API GlissaNodeCallbackList final : public GlissaNodeEvent
{
public:
    GlissaNodeCallbackList() = default;
    GlissaNodeCallbackList(const GlissaNodeCallbackList&) = delete;
    GlissaNodeCallbackList& operator=(const GlissaNodeCallbackList&) = delete;
    ~GlissaNodeCallbackList() override;

    int GetCount() const { return mListeners.GetCount(); }
    void Register(GlissaNodeCallback pFunction, void* pData);
    /// Removes the last equal pair. False when there is none.
    bool Unregister(GlissaNodeCallback pFunction, void* pData);
    /// Returns and clears the pending event. Changes that listeners make are another event.
    GlissaNodeEvent TakePending();
    /// Calls the listeners as KListenerList does. False where a listener has deleted the list.
    bool Call(GlissaNode* pNode, GlissaNodeEvent pEvent, bool pLastFirst);
    bool IsEnabled() const { return mEnabled; }
    void SetEnabled(bool pEnabled) { mEnabled = pEnabled; }

private:
    struct Pair
    {
        GlissaNodeCallback mFunction;
        void* mData;

        friend bool operator==(const Pair&, const Pair&) = default;
    };

    KListenerList<Pair> mListeners;
    bool mEnabled = true;
};
