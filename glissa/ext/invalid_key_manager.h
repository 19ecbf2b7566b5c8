// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/event/entry_list.h"
#include "corvekit/object/class_frame.h"
#include "glissa/export.h"

#include <cstdint>

/// An invalid key value was written. Names neither key nor curve. Valid during the call only.
class GLISSA_API GlissaInvalidKeyEvent : public KEventBase
{
public:
    /// The kind that the value check sends.
    static constexpr std::int32_t kInvalidValue = 2;

    std::int32_t GetKind() const { return mKind; }
    void SetKind(std::int32_t pKind) { mKind = pKind; }

private:
    std::int32_t mKind = 1;
};

/// What a host can listen to at GlissaInvalidKeyManager.
enum eInvalidKeyEventId : int
{
    eInvalidKeyFound = 0xFC30E  ///< GlissaInvalidKeyEvent
};

/// Reports key values that are infinite or not a number to a host.
///
/// While somebody listens, such a value is reported and replaced by 0 wherever a key's value is
/// written; while nobody does, values are stored as they are. A GlissaKey reports first, an
/// operation on a curve at its end. One instance, from first use to
/// the end of the process. Takes no lock: listeners change while no curve is edited, and are called
/// on each thread that edits curves.
class GLISSA_API GlissaInvalidKeyManager : public KClassFrame<GlissaInvalidKeyManager, KObject>,
                                           public IRegister
{
public:
    static constexpr char kClassName[] = "GlissaInvalidKeyManager";

    static GlissaInvalidKeyManager& TheOne();

    /// The IRegister side for kIQueryRegister; else as KObject.
    IObject* IQuery(unsigned long pId, int pArgument) override;
    /// Nothing: the instance ends with the process.
    void Destroy(int pArgument) override;
    ~GlissaInvalidKeyManager() override;
    void Destruct() override;

    /// Whether there is at least one listener.
    bool IsActive() const { return mListeners.GetCount() > 0; }
    /// Runs the listeners, with the IRegister side as sender, before it returns.
    void CallInvalidKey(GlissaInvalidKeyEvent* pEvent);

    /// The event id is eInvalidKeyFound; another one is refused.
    bool Register(int pEventId, ICallback* pCallback, KCallbackMethod pMethod,
                  int pPriority) override;
    bool Unregister(int pEventId, ICallback* pCallback, KCallbackMethod pMethod) override;

private:
    GlissaInvalidKeyManager() = default;
    GlissaInvalidKeyManager(const GlissaInvalidKeyManager&) = delete;
    GlissaInvalidKeyManager& operator=(const GlissaInvalidKeyManager&) = delete;

    RegisterEntryList mListeners;
};

extern template class KClassFrame<GlissaInvalidKeyManager, KObject>;
