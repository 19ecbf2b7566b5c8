// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Two numbers belong to a type: its position in the list, which look-ups and key bits use, and
// its tangent index, which it keeps when types before it go. They differ while there is a hole.

#include "glissa/ext/custom_tangent_manager.h"

#include "corvekit/assert.h"
#include "glissa/ext/active.h"

#include <cstring>
#include <memory>

template class KClassFrame<GlissaCustomTangentManager, KObject>;

namespace
{
// The custom index bits of a key, by position of the type.
constexpr int kKeyBits[] = {0x100, 0x200, 0x400};
}  // namespace

GlissaCustomTangentManager& GlissaCustomTangentManager::TheOne()
{
    static GlissaCustomTangentManager manager;
    return manager;
}

IObject* GlissaCustomTangentManager::IQuery(unsigned long pId, int pArgument)
{
    if (pId == kIQueryRegister) {
        return static_cast<IRegister*>(this);
    }
    return KObject::IQuery(pId, pArgument);
}

void GlissaCustomTangentManager::Destroy(int) {}

GlissaCustomTangentManager::~GlissaCustomTangentManager()
{
    EndObject();
}

void GlissaCustomTangentManager::Destruct()
{
    gExtActivity.mCustomTangentTypeCount = 0;
    gExtActivity.mKeyAddListened = false;
    gExtActivity.mKeyChangeListened = false;
    for (int i = mTangents.GetCount() - 1; i >= 0; --i) {
        mTangents[i]->Destroy(0);
    }
    mTangents.Clear();
    DeleteAll(mEvaluationPool);
    DeleteAll(mKeyAddPool);
    DeleteAll(mKeyChangePool);
    KObject::Destruct();
}

int GlissaCustomTangentManager::AddNewCustomTangent(const char* pName, const char* pStoredName)
{
    if (!pName || !pStoredName) {
        return -1;
    }
    for (const GlissaCustomTangent* each : mTangents) {
        if (KCompareNoCase(pName, each->GetTangentName()) == 0 ||
            KCompareNoCase(pStoredName, each->GetTangentTDFName()) == 0) {
            return -1;
        }
    }
    if (mTangents.GetCount() >= kTypeLimit) {
        return -1;
    }
    int place = 0;
    while (place < mTangents.GetCount() && mTangents[place]->GetTangentIndex() <= place) {
        ++place;
    }
    CORVEKIT_ASSERT(place < kTypeLimit);
    mTangents.SetCapacity(mTangents.GetCount() + 1);
    auto* tangent = new GlissaCustomTangent(pName, pStoredName);
    tangent->SetTangentIndex(place);
    mTangents.InsertAt(place, tangent);
    TypesChanged();
    return place;
}

bool GlissaCustomTangentManager::RemoveCustomTangent(const char* pName)
{
    if (!pName) {
        return false;
    }
    // A copy: the name may belong to the type that is deleted.
    const KString name(pName);
    const int count = mTangents.GetCount();
    for (int i = count - 1; i >= 0; --i) {
        if (KCompareNoCase(name.c_str(), mTangents[i]->GetTangentName()) == 0) {
            GlissaCustomTangent* tangent = mTangents[i];
            mTangents.RemoveAt(i);
            tangent->Destroy(0);
        }
    }
    if (mTangents.GetCount() == count) {
        return false;
    }
    TypesChanged();
    return true;
}

const char* GlissaCustomTangentManager::GetCustomTangentName(int pIndex) const
{
    return pIndex >= 0 && pIndex < mTangents.GetCount() ? mTangents[pIndex]->GetTangentName() : "";
}

const char* GlissaCustomTangentManager::GetCustomTangentTDFName(int pIndex) const
{
    return pIndex >= 0 && pIndex < mTangents.GetCount() ? mTangents[pIndex]->GetTangentTDFName()
                                                        : "";
}

int GlissaCustomTangentManager::GetCustomTangentIndexBasedOnTDFName(const char* pStoredName) const
{
    for (int i = 0; pStoredName && i < mTangents.GetCount(); ++i) {
        if (std::strcmp(pStoredName, mTangents[i]->GetTangentTDFName()) == 0) {
            return i;
        }
    }
    return -1;
}

int GlissaCustomTangentManager::GetCustomTangentIndexBasedOnTDFChecksum(
    std::uint64_t pChecksum) const
{
    for (int i = 0; i < mTangents.GetCount(); ++i) {
        if (mTangents[i]->GetTangentTDFChecksum() == pChecksum) {
            return i;
        }
    }
    return -1;
}

int GlissaCustomTangentManager::GetCustomTangentFCurveEnumBasedOnTDFName(
    const char* pStoredName) const
{
    const int position = GetCustomTangentIndexBasedOnTDFName(pStoredName);
    return position >= 0 && position < static_cast<int>(std::size(kKeyBits)) ? kKeyBits[position]
                                                                             : -1;
}

template <typename Event>
Event* GlissaCustomTangentManager::Acquire(EventPool<Event>& pPool)
{
    for (PoolEntry<Event>* each : pPool) {
        if (!each->mInUse) {
            each->mInUse = true;
            each->mEvent->Reset();
            return each->mEvent;
        }
    }
    pPool.SetCapacity(pPool.GetCount() + 1);
    auto event = std::make_unique<Event>();
    pPool.Add(new PoolEntry<Event>{event.get(), true});
    return event.release();
}

template <typename Event>
void GlissaCustomTangentManager::Release(EventPool<Event>& pPool, const Event* pEvent)
{
    for (PoolEntry<Event>* each : pPool) {
        if (each->mEvent == pEvent) {
            CORVEKIT_ASSERT(each->mInUse);
            each->mInUse = false;
            return;
        }
    }
}

template <typename Event>
void GlissaCustomTangentManager::DeleteAll(EventPool<Event>& pPool)
{
    for (int i = pPool.GetCount() - 1; i >= 0; --i) {
        delete pPool[i]->mEvent;
        delete pPool[i];
    }
    pPool.Clear();
}

GlissaEvaluationEvent* GlissaCustomTangentManager::AcquireCustomTangentEvaluationEventObject()
{
    return Acquire(mEvaluationPool);
}

void GlissaCustomTangentManager::ReleaseCustomTangentEvaluationEventObject(
    GlissaEvaluationEvent* pEvent)
{
    Release(mEvaluationPool, pEvent);
}

GlissaCustomKeyAddEvent* GlissaCustomTangentManager::AcquireCustomTangentKeyAddEventObject()
{
    return Acquire(mKeyAddPool);
}

void GlissaCustomTangentManager::ReleaseCustomTangentKeyAddEventObject(
    GlissaCustomKeyAddEvent* pEvent)
{
    Release(mKeyAddPool, pEvent);
}

GlissaCustomKeyChangeEvent* GlissaCustomTangentManager::AcquireCustomTangentKeyChangeEventObject()
{
    return Acquire(mKeyChangePool);
}

void GlissaCustomTangentManager::ReleaseCustomTangentKeyChangeEventObject(
    GlissaCustomKeyChangeEvent* pEvent)
{
    Release(mKeyChangePool, pEvent);
}

void GlissaCustomTangentManager::CallCustomEvaluation(GlissaEvaluationEvent* pEvent)
{
    CORVEKIT_ASSERT(pEvent && pEvent->mCurve);
    mEvaluationListeners.Call(this, pEvent);
}

void GlissaCustomTangentManager::CallCustomAddKey(GlissaCustomKeyAddEvent* pEvent)
{
    CORVEKIT_ASSERT(pEvent && pEvent->mIndex >= 0);
    mAddKeyListeners.Call(this, pEvent);
}

void GlissaCustomTangentManager::CallCustomAddCustomKey(GlissaCustomKeyAddEvent* pEvent)
{
    CORVEKIT_ASSERT(pEvent && pEvent->mIndex >= 0);
    mAddCustomKeyListeners.Call(this, pEvent);
}

void GlissaCustomTangentManager::CallCustomKeyChange(GlissaCustomKeyChangeEvent* pEvent)
{
    CORVEKIT_ASSERT(pEvent && pEvent->mIndex >= 0);
    mKeyChangeListeners.Call(this, pEvent);
}

bool GlissaCustomTangentManager::Register(int pEventId, ICallback* pCallback,
                                          KCallbackMethod pMethod, int pPriority)
{
    RegisterEntryList* listeners = ListenersOf(pEventId);
    if (!listeners) {
        return false;
    }
    if (!listeners->Find(pCallback, pMethod)) {
        listeners->Add(pCallback, pMethod, pPriority);
        ListenersChanged();
    }
    return true;
}

bool GlissaCustomTangentManager::Unregister(int pEventId, ICallback* pCallback,
                                            KCallbackMethod pMethod)
{
    RegisterEntryList* listeners = ListenersOf(pEventId);
    if (!listeners) {
        return false;
    }
    listeners->Remove(pCallback, pMethod);
    ListenersChanged();
    return true;
}

RegisterEntryList* GlissaCustomTangentManager::ListenersOf(int pEventId)
{
    switch (pEventId) {
    case eCustomTangentListChanged:
        return &mListChangedListeners;
    case eCustomTangentEvaluation:
        return &mEvaluationListeners;
    case eCustomTangentAddKey:
        return &mAddKeyListeners;
    case eCustomTangentAddCustomKey:
        return &mAddCustomKeyListeners;
    case eCustomTangentKeyChange:
        return &mKeyChangeListeners;
    default:
        return nullptr;
    }
}

void GlissaCustomTangentManager::ListenersChanged()
{
    gExtActivity.mKeyAddListened =
        mAddKeyListeners.GetCount() > 0 || mAddCustomKeyListeners.GetCount() > 0;
    gExtActivity.mKeyChangeListened = mKeyChangeListeners.GetCount() > 0;
}

void GlissaCustomTangentManager::TypesChanged()
{
    CORVEKIT_ASSERT(mTangents.GetCount() <= kTypeLimit);
    gExtActivity.mCustomTangentTypeCount = mTangents.GetCount();
    mListChangedListeners.Call(this, nullptr);
}
