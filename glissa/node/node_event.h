// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/event/event.h"
#include "corvekit/event/listener_list.h"
#include "glissa/export.h"

class GlissaNode;

/// What a node reports to its listeners: bits of GlissaNodeEvent's type.
enum EGlissaNodeEventType : int
{
    eNodeEventVisibility = 1,  ///< visibility was set
    eNodeEventDestroy = 2,     ///< the node is being destroyed
    eNodeEventCurve = 4,       ///< another curve
    eNodeEventTimeWarp = 8,    ///< another time warp
    eNodeEventLayers = 16,     ///< the chain of layers or its use of quaternions; to the base node
};

/// Changes of a node, united since the last that was sent.
class GLISSA_API GlissaNodeEvent : public KEventBase
{
public:
    GlissaNodeEvent() = default;
    GlissaNodeEvent(const GlissaNodeEvent&) = default;
    GlissaNodeEvent& operator=(const GlissaNodeEvent&) = default;
    ~GlissaNodeEvent() override;

    /// Unites a bit with the type and counts it.
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
    /// A word of the host.
    void SetData(void* pData) { mData = pData; }
    void* GetData() const { return mData; }
    /// How many changes were united.
    int GetEventCount() const { return mEventCount; }

private:
    int mEventCount = 0;
    void* mData = nullptr;
};

/// A listener of a node. The event is valid during the call.
using GlissaNodeCallback = void (*)(GlissaNode* pNode, GlissaNodeEvent* pEvent, void* pData);

/// The listeners of a node and what is pending for them.
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
    /// What is pending, which is cleared: what listeners post is an event of its own.
    GlissaNodeEvent TakePending();
    /// Calls the listeners as KListenerList does. False when the list is gone.
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
