// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// How a node tells its listeners. What is pending is taken out of the list before they are called:
// what a listener itself brings about is told apart, and is not lost.

#include "glissa/node/node_event.h"

#include "glissa/node/node_state.h"

#include <utility>

GlissaNodeEvent::~GlissaNodeEvent() = default;
GlissaNodeCallbackList::~GlissaNodeCallbackList() = default;

void GlissaNodeCallbackList::Register(GlissaNodeCallback pFunction, void* pData)
{
    if (mFunctions.Add(pFunction) >= 0 && mData.Add(pData) < 0) {
        mFunctions.RemoveAt(mFunctions.GetCount() - 1);
    }
}

bool GlissaNodeCallbackList::Unregister(GlissaNodeCallback pFunction, void* pData)
{
    for (int i = mFunctions.GetCount() - 1; i >= 0; --i) {
        if (mFunctions[i] == pFunction && mData[i] == pData) {
            mFunctions.RemoveAt(i);
            mData.RemoveAt(i);
            return true;
        }
    }
    return false;
}

void GlissaNode::CallbackRegister(GlissaNodeCallback pFunction, void* pData)
{
    if (!pFunction) {
        return;
    }
    if (!mState->mCallbacks) {
        mState->mCallbacks = new GlissaNodeCallbackList;
        ++mState->mCallbackListsSoFar;
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
    if (!mState->mCallbacks->IsEnabled()) {
        return;
    }
    GlissaNodeEvent event = *mState->mCallbacks;
    mState->mCallbacks->Clear();
    const unsigned walked = mState->mCallbackListsSoFar;
    for (int i = mState->mCallbacks->GetCount() - 1; i >= 0; --i) {
        if (!mState->mCallbacks || mState->mCallbackListsSoFar != walked) {
            return;
        }
        if (i < mState->mCallbacks->GetCount()) {
            mState->mCallbacks->Call(i, this, &event);
        }
    }
}

bool GlissaNode::CallbackEnable(bool pEnable)
{
    GlissaNodeCallbackList* list = mState->mCallbacks;
    if (!list || list->IsEnabled() == pEnable) {
        return true;
    }
    if (pEnable && list->GetEventCount() > 0) {
        GlissaNodeEvent event = *list;
        list->Clear();
        const unsigned walked = mState->mCallbackListsSoFar;
        for (int i = 0; i < mState->mCallbacks->GetCount(); ++i) {
            mState->mCallbacks->Call(i, this, &event);
            if (!mState->mCallbacks || mState->mCallbackListsSoFar != walked) {
                return true;
            }
        }
    }
    mState->mCallbacks->SetEnabled(pEnable);
    return true;
}
