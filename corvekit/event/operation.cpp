// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Each thread has one list of deferred calls. An operation that begins within a deferred call, at
// depth 0, uses the end of that list.

#include "corvekit/event/operation.h"

#include <utility>
#include <vector>

namespace
{
struct WaitingCall
{
    const void* subject;
    std::function<void()> call;  // empty if discarded
    bool isDeletion;
};

// Without destructors, so that static objects may end at process exit in any order.
constinit thread_local int tDepth = 0;
constinit thread_local std::vector<WaitingCall>* tWaiting = nullptr;
constinit thread_local KWatch* tWatches = nullptr;

std::size_t WaitingCount()
{
    return tWaiting ? tWaiting->size() : 0;
}

// Makes the calls from pFirst on, including those that are added meanwhile.
void MakeWaitingCalls(std::size_t pFirst)
{
    for (std::size_t i = pFirst; i < WaitingCount(); ++i) {
        const WaitingCall waiting = std::exchange((*tWaiting)[i], WaitingCall{});
        if (!waiting.call) {
            continue;
        }
        tDepth += waiting.isDeletion ? 1 : 0;
        waiting.call();
        tDepth -= waiting.isDeletion ? 1 : 0;
    }
    if (pFirst > 0) {
        tWaiting->resize(pFirst);
    } else {
        delete std::exchange(tWaiting, nullptr);
    }
}
}  // namespace

void KOperation::Begin() noexcept
{
    mHasBegun = true;
    mFirst = WaitingCount();
    ++tDepth;
}

void KOperation::End() noexcept
{
    if (--tDepth == 0 && WaitingCount() > mFirst) {
        MakeWaitingCalls(mFirst);
    }
}

bool KOperation::IsUnderWay()
{
    return tDepth > 0;
}

void KOperation::Wait(const void* pSubject, std::function<void()> pCall, bool pIsDeletion)
{
    if (!tWaiting) {
        tWaiting = new std::vector<WaitingCall>;
    }
    tWaiting->push_back({pSubject, std::move(pCall), pIsDeletion});
}

void KOperation::Forget(const void* pSubject) noexcept
{
    for (std::size_t i = 0; i < WaitingCount(); ++i) {
        if ((*tWaiting)[i].subject == pSubject) {
            (*tWaiting)[i] = WaitingCall{};
        }
    }
    for (KWatch* watch = tWatches; watch; watch = watch->mOuter) {
        if (watch->mObject == pSubject) {
            watch->mObject = nullptr;
        }
    }
}

KWatch::KWatch(const void* pObject) noexcept : mObject(pObject), mOuter(tWatches)
{
    tWatches = this;
}

KWatch::~KWatch()
{
    tWatches = mOuter;
}
