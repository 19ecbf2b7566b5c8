// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// An outermost operation has the list of what is deferred to its end. The calls are made at depth
// 0: an operation that begins within one of them is an outermost one too, with a list of its own.

#include "corvekit/event/operation.h"

#include "corvekit/assert.h"

#include <memory>
#include <utility>

namespace
{
// Without destructors, so that static objects may end at process exit in any order.
struct ThreadState
{
    int depth = 0;
    KOperation* outermost = nullptr;
    KWatch* watches = nullptr;
};

// Accessed without a call, as the parts of KMemoryPool.
[[gnu::tls_model("initial-exec")]] constinit thread_local ThreadState tState;
}  // namespace

void KWaiting::EnterBefore(KWaiting& pOther)
{
    CORVEKIT_ASSERT(mBehind == this);
    mBefore = pOther.mBefore;
    mBehind = &pOther;
    mBefore->mBehind = this;
    mBehind->mBefore = this;
}

void KWaiting::Leave()
{
    mBefore->mBehind = mBehind;
    mBehind->mBefore = mBefore;
    mBefore = this;
    mBehind = this;
}

KWaitingCall::KWaitingCall(KOperationSubject* pSubject)
{
    if (pSubject) {
        mNextOfSubject = std::exchange(pSubject->mCalls, this);
        mPlace = &pSubject->mCalls;
        if (mNextOfSubject) {
            mNextOfSubject->mPlace = &mNextOfSubject;
        }
    }
}

KWaitingCall::~KWaitingCall()
{
    Leave();
    if (mPlace) {
        *mPlace = mNextOfSubject;
    }
    if (mNextOfSubject) {
        mNextOfSubject->mPlace = mPlace;
    }
}

KOperationSubject::~KOperationSubject()
{
    Leave();
    while (mCalls) {
        mCalls->End(true);
    }
    for (KWatch* watch = tState.watches; watch; watch = watch->mOuter) {
        if (watch->mObject == this) {
            watch->mObject = nullptr;
        }
    }
}

// Within an operation, so that what the destructor deletes is deferred.
void KOperationSubject::Make()
{
    ++tState.depth;
    DeleteSubject();
    --tState.depth;
}

void KOperation::Begin() noexcept
{
    mHasBegun = true;
    if (tState.depth++ == 0) {
        std::construct_at(&mWaiting);
        mOuter = std::exchange(tState.outermost, this);
    }
}

// Calls that are added meanwhile are made too.
void KOperation::End() noexcept
{
    if (--tState.depth > 0) {
        return;
    }
    CORVEKIT_ASSERT(tState.depth == 0 && tState.outermost == this);
    while (mWaiting.mBehind != &mWaiting) {
        KWaiting& waiting = *mWaiting.mBehind;
        waiting.Leave();
        waiting.Make();
    }
    tState.outermost = mOuter;
}

bool KOperation::IsUnderWay()
{
    return tState.depth > 0;
}

void KOperation::Keep(KWaiting& pWaiting)
{
    CORVEKIT_ASSERT(IsUnderWay());
    pWaiting.EnterBefore(tState.outermost->mWaiting);
}

void KOperation::DeleteAtEnd(KOperationSubject& pSubject)
{
    if (!IsUnderWay()) {
        pSubject.DeleteSubject();
    } else if (pSubject.mBehind == &pSubject) {
        Keep(pSubject);
    }
}

KWatch::KWatch(const KOperationSubject* pObject) noexcept : mObject(pObject), mOuter(tState.watches)
{
    tState.watches = this;
}

KWatch::~KWatch()
{
    tState.watches = mOuter;
}
