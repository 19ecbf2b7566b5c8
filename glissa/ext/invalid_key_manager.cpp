// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/ext/invalid_key_manager.h"

#include "corvekit/assert.h"
#include "corvekit/event/operation.h"
#include "glissa/ext/active.h"

#include <cmath>

template class KClassFrame<GlissaInvalidKeyManager, KObject>;

GlissaInvalidKeyManager& GlissaInvalidKeyManager::TheOne()
{
    static GlissaInvalidKeyManager manager;
    return manager;
}

IObject* GlissaInvalidKeyManager::IQuery(unsigned long pId, int pArgument)
{
    if (pId == kIQueryRegister) {
        return static_cast<IRegister*>(this);
    }
    return KObject::IQuery(pId, pArgument);
}

void GlissaInvalidKeyManager::Destroy(int) {}

GlissaInvalidKeyManager::~GlissaInvalidKeyManager()
{
    EndObject();
}

void GlissaInvalidKeyManager::Destruct()
{
    // Curves that outlive the manager at process exit do not call listeners any more.
    gExtActivity.mInvalidKeyCheck = false;
    KObject::Destruct();
}

void GlissaInvalidKeyManager::CallInvalidKey(GlissaInvalidKeyEvent* pEvent)
{
    CORVEKIT_ASSERT(pEvent);
    mListeners.Call(this, pEvent);
}

bool GlissaInvalidKeyManager::Register(int pEventId, ICallback* pCallback, KCallbackMethod pMethod,
                                       int pPriority)
{
    if (pEventId != eInvalidKeyFound) {
        return false;
    }
    if (!mListeners.Find(pCallback, pMethod)) {
        mListeners.Add(pCallback, pMethod, pPriority);
    }
    gExtActivity.mInvalidKeyCheck = IsActive();
    return true;
}

bool GlissaInvalidKeyManager::Unregister(int pEventId, ICallback* pCallback,
                                         KCallbackMethod pMethod)
{
    if (pEventId != eInvalidKeyFound) {
        return false;
    }
    mListeners.Remove(pCallback, pMethod);
    gExtActivity.mInvalidKeyCheck = IsActive();
    return true;
}

// A listener of a value that is written by itself finds it in its place; in an operation it is
// called at the end.
float ReportedKeyValue(float pValue)
{
    if (std::isfinite(pValue)) {
        return pValue;
    }
    const auto report = [] {
        GlissaInvalidKeyEvent event;
        event.SetKind(GlissaInvalidKeyEvent::kInvalidValue);
        GlissaInvalidKeyManager::TheOne().CallInvalidKey(&event);
    };
    if (KOperation::IsUnderWay()) {
        KOperation::CallAtEnd(nullptr, report);
    } else {
        report();
    }
    return 0.0f;
}
