// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// How a node tells its listeners. What is pending is taken out of the list before they are called:
// what a listener itself brings about is told apart, and is not lost.

#include "glissa/node/node_event.h"

#include "glissa/node/node_state.h"

GlissaNodeEvent::~GlissaNodeEvent() = default;

/// Where the calls of one event have got to. Lives on the stack of the call.
struct GlissaNodeCallbackList::Walk
{
    GlissaNodeCallbackList* list;
    Walk* outer;
    int place;  // listeners from here on have been called (last first), or those before have
    int end;    // of the listeners that were there at the start

    void Removed(int pIndex)
    {
        place -= pIndex < place ? 1 : 0;
        end -= pIndex < end ? 1 : 0;
    }
};

GlissaNodeCallbackList::~GlissaNodeCallbackList()
{
    for (Walk* walk = mWalks; walk; walk = walk->outer) {
        walk->list = nullptr;
    }
}

void GlissaNodeCallbackList::Register(GlissaNodeCallback pFunction, void* pData)
{
    mData.SetCapacity(mData.GetCount() + 1);
    mFunctions.Add(pFunction);
    mData.Add(pData);
}

bool GlissaNodeCallbackList::Unregister(GlissaNodeCallback pFunction, void* pData)
{
    for (int i = mFunctions.GetCount() - 1; i >= 0; --i) {
        if (mFunctions[i] == pFunction && mData[i] == pData) {
            mFunctions.RemoveAt(i);
            mData.RemoveAt(i);
            for (Walk* walk = mWalks; walk; walk = walk->outer) {
                walk->Removed(i);
            }
            return true;
        }
    }
    return false;
}

bool GlissaNodeCallbackList::SendPending(GlissaNode* pNode, bool pLastFirst)
{
    GlissaNodeEvent event = *this;
    Clear();
    Walk walk{this, mWalks, pLastFirst ? GetCount() : 0, GetCount()};
    mWalks = &walk;
    while (pLastFirst ? walk.place > 0 : walk.place < walk.end) {
        const int index = pLastFirst ? --walk.place : walk.place++;
        mFunctions[index](pNode, &event, mData[index]);
        if (!walk.list) {
            return false;
        }
    }
    mWalks = walk.outer;
    return true;
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
    // A list that loses its last pair stays until it is asked once more.
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
    if (!mState->mCallbacks) {
        return;
    }
    mState->mCallbacks->Add(pBit);
    mState->mUpdateId = static_cast<int>(static_cast<unsigned>(mState->mUpdateId) + 1u);
    if (mState->mCallbacks->IsEnabled()) {
        mState->mCallbacks->SendPending(this, true);
    }
}

bool GlissaNode::CallbackEnable(bool pEnable)
{
    GlissaNodeCallbackList* list = mState->mCallbacks;
    if (!list || list->IsEnabled() == pEnable) {
        return true;
    }
    const bool sends = pEnable && list->GetEventCount() > 0;
    if (!sends || list->SendPending(this, false)) {
        list->SetEnabled(pEnable);
    }
    return true;
}
