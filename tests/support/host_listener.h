// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "corvekit/event/entry_list.h"

#include <functional>

/// A listener that records its last call and then calls a function of the test.
class HostListener final : public ICallback
{
public:
    HostListener() = default;
    explicit HostListener(std::function<void(KEventBase*)> pThen) : mThen(std::move(pThen)) {}
    IObject* IQuery(unsigned long, int) override { return nullptr; }
    void Destroy(int) override {}
    void Hear(IRegister* pSender, KEventBase* pEvent)
    {
        ++mCalls;
        mSender = pSender;
        mEvent = pEvent;
        if (mThen) {
            mThen(pEvent);
        }
    }

    std::function<void(KEventBase*)> mThen;
    int mCalls = 0;
    IRegister* mSender = nullptr;
    KEventBase* mEvent = nullptr;
};
inline const auto kHear = static_cast<KCallbackMethod>(&HostListener::Hear);
