// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The events of a node. Listeners are called at the end of the outermost operation.

#include "glissa/node/node_event.h"

#include "corvekit/event/operation.h"
#include "glissa/node/node_state.h"

GlissaNodeEvent::~GlissaNodeEvent() = default;

GlissaNodeCallbackList::~GlissaNodeCallbackList() = default;

void GlissaNodeCallbackList::Register(GlissaNodeCallback pFunction, void* pData)
{
    mListeners.Add({pFunction, pData});
}

bool GlissaNodeCallbackList::Unregister(GlissaNodeCallback pFunction, void* pData)
{
    return mListeners.RemoveAt(mListeners.FindLast({pFunction, pData}));
}

GlissaNodeEvent GlissaNodeCallbackList::TakePending()
{
    const GlissaNodeEvent event = *this;
    Clear();
    return event;
}

bool GlissaNodeCallbackList::Call(GlissaNode* pNode, GlissaNodeEvent pEvent, bool pLastFirst)
{
    return mListeners.Call(pLastFirst, [pNode, &pEvent](const Pair& pPair) {
        pPair.mFunction(pNode, &pEvent, pPair.mData);
    });
}

void GlissaNode::CallbackRegister(GlissaNodeCallback pFunction, void* pData)
{
    if (!pFunction) {
        return;
    }
    if (!mState->mCallbacks) {
        mState->mCallbacks = new GlissaNodeCallbackList;
    }
    mState->mCallbacks->Register(pFunction, pData);
}

void GlissaNode::CallbackUnregister(GlissaNodeCallback pFunction, void* pData)
{
    GlissaNodeCallbackList* list = mState->mCallbacks;
    // An empty list is deleted by the next call that finds nothing to remove.
    if (list && !list->Unregister(pFunction, pData) && list->GetCount() == 0) {
        mState->mCallbacks = nullptr;
        delete list;
    }
}

bool GlissaNode::CallbackIsEnable() const
{
    return !mState->mCallbacks || mState->mCallbacks->IsEnabled();
}

void GlissaNode::CallbackClear()
{
    if (mState->mCallbacks) {
        mState->mCallbacks->Clear();
    }
}

void GlissaNode::CallbackAddEvent(int pBit)
{
    CORVEKIT_ASSERT(pBit != 0);
    GlissaNodeCallbackList* list = mState->mCallbacks;
    if (!list) {
        return;
    }
    list->Add(pBit);
    mState->mUpdateId = static_cast<int>(static_cast<unsigned>(mState->mUpdateId) + 1u);
    if (!list->IsEnabled()) {
        return;
    }
    if (!MustCallsWait()) {
        list->Call(this, list->TakePending(), true);
        return;
    }
    KOperation::CallAtEnd(this, [this, event = list->TakePending()] {
        if (mState->mCallbacks) {
            mState->mCallbacks->Call(this, event, true);
        }
    });
}

bool GlissaNode::CallbackEnable(bool pEnable)
{
    GlissaNodeCallbackList* list = mState->mCallbacks;
    if (!list || list->IsEnabled() == pEnable) {
        return true;
    }
    if (!pEnable || list->GetEventCount() == 0) {
        list->SetEnabled(pEnable);
    } else if (MustCallsWait()) {
        list->SetEnabled(true);
        KOperation::CallAtEnd(this, [this, event = list->TakePending()] {
            SendCollected(event, CallbackIsEnable());
        });
    } else {
        SendCollected(list->TakePending(), true);
    }
    return true;
}

// Events are collected while the listeners run: what they post is sent with the next one.
void GlissaNode::SendCollected(const GlissaNodeEvent& pEvent, bool pEnableAfter)
{
    GlissaNodeCallbackList* list = mState->mCallbacks;
    if (list) {
        list->SetEnabled(false);
        if (list->Call(this, pEvent, false)) {
            list->SetEnabled(pEnableAfter);
        }
    }
}

// A node that is being destroyed calls its listeners while it still exists.
bool GlissaNode::MustCallsWait() const
{
    return KOperation::IsUnderWay() && !mState->mIsEnding;
}
