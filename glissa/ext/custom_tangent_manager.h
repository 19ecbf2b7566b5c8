// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/array.h"
#include "corvekit/event/entry_list.h"
#include "corvekit/object/class_frame.h"
#include "glissa/export.h"
#include "glissa/ext/custom_tangent.h"
#include "glissa/ext/custom_tangent_events.h"

#include <cstdint>

/// What a host can listen to at GlissaCustomTangentManager.
enum eCustomTangentEventId : int
{
    eCustomTangentListChanged = 0xFF30E,   ///< a type was added or removed; the event is null
    eCustomTangentEvaluation = 0xFF30F,    ///< GlissaEvaluationEvent: a curve needs a value
    eCustomTangentAddKey = 0xFF31F,        ///< GlissaCustomKeyAddEvent: a key of another kind
    eCustomTangentKeyChange = 0xFF32F,     ///< GlissaCustomKeyChangeEvent
    eCustomTangentAddCustomKey = 0xFF34F,  ///< GlissaCustomKeyAddEvent: a custom key was added
};

/// Registers interpolations of the host and calls them for curves.
///
/// A host registers a type by its two names and listens to the events above; the library does
/// not know what the type computes. A key names its type by one of three bits, which mean
/// the first three positions of the list of types; a fourth type can be registered and looked up,
/// but no key can name it. One instance, from first use to the end of the process. Takes no lock:
/// custom keys are evaluated and edited on one thread at a time. Listeners for added keys are
/// called on each thread that edits curves.
class GLISSA_API GlissaCustomTangentManager
    : public KClassFrame<GlissaCustomTangentManager, KObject>,
      public IRegister
{
public:
    static constexpr char kClassName[] = "GlissaCustomTangentManager";
    /// How many types there can be.
    static constexpr int kTypeLimit = 4;

    static GlissaCustomTangentManager& TheOne();

    /// The IRegister side for kIQueryRegister; else as KObject.
    IObject* IQuery(unsigned long pId, int pArgument) override;
    /// Nothing: the instance ends with the process.
    void Destroy(int pArgument) override;
    ~GlissaCustomTangentManager() override;
    /// Deletes the types and the pooled events.
    void Destruct() override;

    // Types

    /// Adds a type in the first free slot and returns its tangent index. -1, and nothing changes,
    /// for a null name, when a type has the same name or the same stored name, case ignored, and
    /// when there are four already.
    int AddNewCustomTangent(const char* pName, const char* pStoredName);
    /// Removes the type of that name, case ignored. The others keep their tangent index; their
    /// positions close up. False if there is none.
    bool RemoveCustomTangent(const char* pName);
    int GetCustomTangentTypeCount() const { return mTangents.GetCount(); }
    /// Name by position in the list; "" for a position that is not there.
    const char* GetCustomTangentName(int pIndex) const;
    /// Stored name by position in the list; "" for a position that is not there.
    const char* GetCustomTangentTDFName(int pIndex) const;
    /// Position of the type with exactly that stored name, or -1.
    int GetCustomTangentIndexBasedOnTDFName(const char* pStoredName) const;
    /// Position of the first type whose stored name has that checksum, or -1.
    int GetCustomTangentIndexBasedOnTDFChecksum(std::uint64_t pChecksum) const;
    /// The bit by which a key names the type: 0x100, 0x200 or 0x400; -1 for the fourth type and
    /// for a name that is not there.
    int GetCustomTangentFCurveEnumBasedOnTDFName(const char* pStoredName) const;

    // Events. An object from Acquire has no curve and result and belongs to the caller until
    // Release; nested use returns another object. Nothing is allocated while one is free. An event
    // that is not the manager's is not released.

    GlissaEvaluationEvent* AcquireCustomTangentEvaluationEventObject();
    void ReleaseCustomTangentEvaluationEventObject(GlissaEvaluationEvent* pEvent);
    GlissaCustomKeyAddEvent* AcquireCustomTangentKeyAddEventObject();
    void ReleaseCustomTangentKeyAddEventObject(GlissaCustomKeyAddEvent* pEvent);
    GlissaCustomKeyChangeEvent* AcquireCustomTangentKeyChangeEventObject();
    void ReleaseCustomTangentKeyChangeEventObject(GlissaCustomKeyChangeEvent* pEvent);

    // Each runs the listeners of its event, with the IRegister side as sender, before it returns.

    void CallCustomEvaluation(GlissaEvaluationEvent* pEvent);
    void CallCustomAddKey(GlissaCustomKeyAddEvent* pEvent);
    void CallCustomAddCustomKey(GlissaCustomKeyAddEvent* pEvent);
    void CallCustomKeyChange(GlissaCustomKeyChangeEvent* pEvent);

    // IRegister, with the ids of eCustomTangentEventId.

    bool Register(int pEventId, ICallback* pCallback, KCallbackMethod pMethod,
                  int pPriority) override;
    bool Unregister(int pEventId, ICallback* pCallback, KCallbackMethod pMethod) override;

private:
    template <typename Event>
    struct PoolEntry
    {
        Event* mEvent;  // owned
        bool mInUse;
    };
    template <typename Event>
    using EventPool = KArrayTemplate<PoolEntry<Event>*>;

    GlissaCustomTangentManager() = default;
    GlissaCustomTangentManager(const GlissaCustomTangentManager&) = delete;
    GlissaCustomTangentManager& operator=(const GlissaCustomTangentManager&) = delete;

    template <typename Event>
    static Event* Acquire(EventPool<Event>& pPool);
    template <typename Event>
    static void Release(EventPool<Event>& pPool, const Event* pEvent);
    template <typename Event>
    static void DeleteAll(EventPool<Event>& pPool);

    RegisterEntryList* ListenersOf(int pEventId);
    void TypesChanged();
    void ListenersChanged();

    KArrayTemplate<GlissaCustomTangent*> mTangents;  // owned, in order of tangent index
    RegisterEntryList mListChangedListeners;
    RegisterEntryList mEvaluationListeners;
    RegisterEntryList mAddKeyListeners;
    RegisterEntryList mAddCustomKeyListeners;
    RegisterEntryList mKeyChangeListeners;
    EventPool<GlissaEvaluationEvent> mEvaluationPool;
    EventPool<GlissaCustomKeyAddEvent> mKeyAddPool;
    EventPool<GlissaCustomKeyChangeEvent> mKeyChangePool;
};

extern template class KClassFrame<GlissaCustomTangentManager, KObject>;
